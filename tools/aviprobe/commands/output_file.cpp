#include "tools/aviprobe/commands/output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "tools/aviprobe/host/host_error.h"

namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const std::string& path, int error) {
  throw HostError(fmt::format("cannot write {}: {}", path, std::strerror(error)));
}

std::string TargetOf(const std::string& path) {
  std::error_code error;
  const std::string target = fs::weakly_canonical(path, error).string();
  return error ? path : target;
}

/// A file without a name yet, beside the one that it is to become; gone with the object unless it got that.
class Unfinished {
 public:
  explicit Unfinished(const std::string& path)
      : m_sPath(path), m_sTarget(TargetOf(path)), m_sTemporary(fmt::format("{}.{}.part", m_sTarget, getpid())) {
    std::error_code ignored;
    if (fs::is_directory(m_sTarget, ignored)) Fail(path, EISDIR);
    if (access(m_sTarget.c_str(), W_OK) < 0 && errno != ENOENT) Fail(path, errno);
    const int fd = open(m_sTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) Fail(path, errno);
    m_pFile = fdopen(fd, "wb");
  }
  ~Unfinished() {
    if (m_pFile) std::fclose(m_pFile);
    unlink(m_sTemporary.c_str());
  }
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;

  void Write(std::string_view text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), m_pFile) == text.size();
    const bool closed = std::fclose(std::exchange(m_pFile, nullptr)) == 0;
    if (!written || !closed || std::rename(m_sTemporary.c_str(), m_sTarget.c_str()) < 0) Fail(m_sPath, errno);
  }

 private:
  std::string m_sPath;
  std::string m_sTarget;  // where a link leads
  std::string m_sTemporary;
  std::FILE* m_pFile = nullptr;
};

bool IsNoFile(const std::string& path) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

}  // namespace

void CheckWritable(const std::string& path) {
  if (IsNoFile(path)) {
    if (access(path.c_str(), W_OK) < 0) Fail(path, errno);
    return;
  }
  const Unfinished here(path);
}

void WriteWhole(const std::string& path, std::string_view text) {
  if (!IsNoFile(path)) return Unfinished(path).Write(text);
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) Fail(path, errno);
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  if (std::fclose(file) != 0 || !written) Fail(path, errno);
}
