#ifndef ZU_BENCH_SHELF_H_
#define ZU_BENCH_SHELF_H_

#include <filesystem>
#include <memory>
#include <string>

#include "bench/bench_files.h"
#include "bench/check.h"
#include "bench/sources.h"

/// A file that the rows of a benchmark are about.
struct FileRow {
  std::string name;  ///< in the rows
  std::string kind;  ///< for MakeFile
  uint32_t units;
  int rounds;  ///< of the drains
  bool opens;  ///< whether opening is measured too
  bool seeks;  ///< and seeking
};

/// A file that stands ready: written, in memory, and compared with what the library delivers of it.
struct ReadyFile {
  ReadyFile(const FileRow& row, const std::filesystem::path& path)
      : file(MakeFile(row.kind, row.units, path)), onDisk(path), inMemory(path) {}
  BenchFile file;
  FileSource onDisk;
  MappedSource inMemory;
  Delivered delivered;
};

/// Has one file at a time, so that the disk need not hold them all.
class Shelf {
 public:
  explicit Shelf(std::filesystem::path folder) : m_folder(std::move(folder)) {}
  /// The file of `row`, made anew if another one was there. Throws std::runtime_error, for a wrong delivery too.
  ReadyFile& Get(const FileRow& row);

 private:
  std::filesystem::path m_folder;
  std::string m_name;
  std::unique_ptr<ReadyFile> m_ready;
};

// Each adds the rows of one file to the benchmarks to be run.
void AddOpen(Shelf& shelf, const FileRow& row);
void AddDrain(Shelf& shelf, const FileRow& row);
void AddSeek(Shelf& shelf, const FileRow& row);

#endif  // ZU_BENCH_SHELF_H_
