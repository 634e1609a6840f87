#include "tools/aviprobe/host/file_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "zu_parser_avi/status.h"

static_assert(sizeof(off_t) == 8, "files beyond 2 GiB need 64-bit offsets");

FileSource::FileSource(const std::string& path, bool streaming)
    : m_sPath(path),
      // Without O_NONBLOCK a named pipe would hold the tool here until somebody writes to it.
      m_nFd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)),
      m_bStreaming(streaming) {
  if (m_nFd < 0 && path == "-") {
    throw HostError("-: standard input cannot be read from any place; save it to a file first (./- is a file named -)");
  }
  if (m_nFd < 0) throw HostError(path + ": " + std::strerror(errno));
  struct stat status;
  int error = fstat(m_nFd, &status) < 0 ? errno : S_ISDIR(status.st_mode) ? EISDIR : 0;
  // Such as /dev/zero: it may be sought in, has no length and gives what it likes.
  if (!error && S_ISCHR(status.st_mode)) error = ESPIPE;
  if (!error && (m_nSize = lseek(m_nFd, 0, SEEK_END)) < 0) error = errno;
  if (!error) return;
  close(m_nFd);
  throw HostError(path + ": " +
                  (error == ESPIPE ? "a pipe or device that cannot be read from any place; save it to a file first"
                                   : std::strerror(error)));
}

FileSource::~FileSource() { close(m_nFd); }

HostError FileSource::ParseError() const {
  return HostError(m_sPath + ": " + (m_nErrno ? std::strerror(m_nErrno) : "not an AVI file, or damaged beyond use"));
}

int FileSource::GetSize(int64_t* length) noexcept {
  *length = m_bStreaming ? 0 : m_nSize;
  return 0;
}

int FileSource::ReadAt(int64_t offset, void* buffer, uint64_t* length) noexcept {
  const uint64_t wanted = *length;
  uint64_t done = 0;
  while (done < wanted) {
    // One pread delivers at most about 2 GiB, whatever it is asked for.
    const ssize_t count =
        pread(m_nFd, static_cast<char*>(buffer) + done, wanted - done, offset + static_cast<int64_t>(done));
    if (count == 0) break;
    if (count > 0) {
      done += static_cast<uint64_t>(count);
    } else if (errno != EINTR) {
      m_nErrno = errno;
      *length = 0;
      return AVI_IO_ERROR;
    }
  }
  *length = done;
  return done == 0 && wanted > 0 ? AVI_END_OF_STREAM : AVI_OK;
}
