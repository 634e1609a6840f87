#ifndef ZU_BENCH_LIMIT_READER_H_
#define ZU_BENCH_LIMIT_READER_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "bench/avi_writer.h"
#include "bench/unit_buffer.h"
#include "zu_parser_avi/idata_source.h"

/// The least that any reader of a file can do: it is told where everything stands, parses nothing and only fetches the
/// bytes, one ReadAt for each thing. Throws std::runtime_error when a read fails.
class LimitReader {
 public:
  LimitReader(IDataSource& source, const AviLayout& layout);

  /// Every chunk in file order, each to the start of UnitBuffer.
  void Drain();
  void Read(const ChunkRef& chunk) { Fetch(chunk.offset, chunk.size, UnitBuffer().data()); }
  /// Reads all in front of the first chunk, then the index, and makes a record of 16 bytes out of each entry, in a
  /// table per stream of just the right size: idx1 in blocks of 10,000 entries, each ix## in one read. Frees the
  /// tables.
  void Open();
  /// The same with other reads, in their order: those of a parser that looks at one header after the other.
  void OpenWith(const std::vector<FileRange>& reads);

 private:
  struct Record {
    uint64_t offset;
    uint32_t size, reserved;
  };
  using Table = std::unique_ptr<Record[]>;
  void Fetch(uint64_t offset, uint64_t size, void* to);
  struct Tables {
    std::vector<Table> tables;
    std::vector<Record*> ends;  // per stream, where the next entry goes
  };
  Tables MakeTables() const;
  void TakeLegacy(uint64_t size, std::vector<Record*>& ends) const;
  void ReadLegacy(std::vector<Record*>& ends);
  void ReadChunkIndexes(std::vector<Record*>& ends);

  IDataSource& m_source;
  const AviLayout& m_layout;
  std::vector<size_t> m_entries;  // per stream
};

#endif  // ZU_BENCH_LIMIT_READER_H_
