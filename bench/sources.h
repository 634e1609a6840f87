#ifndef ZU_BENCH_SOURCES_H_
#define ZU_BENCH_SOURCES_H_

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "bench/avi_writer.h"
#include "zu_parser_avi/idata_source.h"

/// A source of known length; the rest is how it reads.
class SizedSource : public IDataSource {
 public:
  int Prepare() override { return 0; }
  int GetSize(int64_t* length) override { return *length = m_size, 0; }
  int SetPosition(int64_t, int) override { return 0; }
  int IsStreaming() override { return 0; }
  int64_t Size() const { return m_size; }

 protected:
  explicit SizedSource(int64_t size) : m_size(size) {}
  int64_t m_size;
};

/// One pread per ReadAt.
class FileSource : public SizedSource {
 public:
  /// Throws std::runtime_error when the file cannot be opened.
  explicit FileSource(const std::filesystem::path& path);
  ~FileSource() override;
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override;

 private:
  int m_file;
};

/// Another source, whose reads are kept.
class RecordingSource : public SizedSource {
 public:
  explicit RecordingSource(SizedSource& source) : SizedSource(source.Size()), m_source(source) {}
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override {
    const int status = m_source.ReadAt(offset, buffer, length);
    m_reads.push_back({static_cast<uint64_t>(offset), *length});
    return status;
  }
  /// As far as they were delivered.
  const std::vector<FileRange>& Reads() const { return m_reads; }

 private:
  SizedSource& m_source;
  std::vector<FileRange> m_reads;
};

/// The whole file in memory; one memcpy per ReadAt.
class MappedSource : public SizedSource {
 public:
  /// Throws std::runtime_error when the file cannot be mapped.
  explicit MappedSource(const std::filesystem::path& path);
  ~MappedSource() override;
  MappedSource(const MappedSource&) = delete;
  MappedSource& operator=(const MappedSource&) = delete;
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override;
  std::span<const uint8_t> All() const { return {m_bytes, static_cast<size_t>(m_size)}; }

 private:
  const uint8_t* m_bytes;
};

#endif  // ZU_BENCH_SOURCES_H_
