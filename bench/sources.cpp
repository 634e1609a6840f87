#include "bench/sources.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "zu_parser_avi/status.h"

FileSource::FileSource(const std::filesystem::path& path)
    : SizedSource(static_cast<int64_t>(std::filesystem::file_size(path))), m_file(open(path.c_str(), O_RDONLY)) {
  if (m_file < 0) throw std::runtime_error("cannot open " + path.string());
}

FileSource::~FileSource() { close(m_file); }

int FileSource::ReadAt(int64_t offset, void* buffer, uint64_t* length) {
  const ssize_t got = pread(m_file, buffer, *length, offset);
  if (got < 0) return AVI_END_OF_STREAM;
  *length = static_cast<uint64_t>(got);
  return 0;
}

MappedSource::MappedSource(const std::filesystem::path& path)
    : SizedSource(static_cast<int64_t>(std::filesystem::file_size(path))) {
  const int file = open(path.c_str(), O_RDONLY);
  // Every page is there before the clock runs.
  void* const at = file < 0
                       ? MAP_FAILED
                       : mmap(nullptr, static_cast<size_t>(m_size), PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
  if (file >= 0) close(file);
  if (at == MAP_FAILED) throw std::runtime_error("cannot map " + path.string());
  m_bytes = static_cast<const uint8_t*>(at);
}

MappedSource::~MappedSource() { munmap(const_cast<uint8_t*>(m_bytes), static_cast<size_t>(m_size)); }

int MappedSource::ReadAt(int64_t offset, void* buffer, uint64_t* length) {
  if (offset < 0 || offset > m_size) return AVI_END_OF_STREAM;
  *length = std::min(*length, static_cast<uint64_t>(m_size - offset));
  std::memcpy(buffer, m_bytes + offset, *length);
  return 0;
}
