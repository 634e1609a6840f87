#ifndef ZU_AVIFILE_OPEN_DML_INDEX_READER_H_
#define ZU_AVIFILE_OPEN_DML_INDEX_READER_H_

#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/movie.h"
#include "base/bytes.h"
#include "base/c_heap.h"
#include "base/limits.h"
#include "base/log.h"

/// Reads the index chunks of the OpenDML AVI file format extensions, "indx" and "ix##", for one walk of a file. Owns
/// the counts of bytes read and of messages written so far, which bound what tables that name each other can cost.
class OpenDmlIndexReader {
 public:
  OpenDmlIndexReader(FileView& file, SMovie& movie) : m_File(file), m_Movie(movie) {}

  /// Adds the entries of an index chunk to `pIndex`, or to a new record when that is null. The super index of a video
  /// stream sets the movie's play time.
  /// @param offset  position of the chunk's `size` bytes of data, where the file stands.
  /// @return the record, the caller's again; null when there is none, `pIndex` having been freed.
  SIndex* ParseChunkNewIdx(long offset, uint32_t size, SIndex* pIndex);

 private:
  struct SHeader;
  enum class EResult { kKept, kLost, kNoMemory };
  bool ReadIndex(long offset, uint32_t size, int level, SIndex** index);
  EResult ReadChunkIndex(const SHeader& header, long offset, SIndex** index);
  EResult AddEntries(const SHeader& header, ByteSpan table, SIndex** index);
  EResult ReadSuperIndex(const SHeader& header, long offset, int level, SIndex** index);
  EResult ReadChunkIndexes(ByteSpan table, uint64_t fileLength, int level, SIndex** index);
  /// Entries of a stream: a file has room for no more chunks.
  uint64_t MaxEntries() const { return m_File.Rest(0, AVI_MAX_STREAM_TABLE) / AVI_NEW_ENTRY_BYTES; }
  /// Room for `entries` entries; whatever was there stays. @return false without memory.
  bool MakeRoom(SIndex* index, uint64_t entries);
  bool Resize(SIndex* index, uint64_t capacity);
  void SetPlayTime(ByteSpan superTable);
  MallocPtr<uint8_t> AllocateTable(const SHeader& header, long offset);

  FileView& m_File;
  SMovie& m_Movie;
  uint64_t m_nBytesRead = 0;
  uint64_t m_nCapacity = 0;  // entries that the record being filled has room for

  // Tables that name each other can give one of these per entry.
  enum class ELine {
    kNoSize,
    kShortHeader,
    kEntryBytes,
    kFieldIndex,
    kStdIndex,
    kNoFieldTable,
    kNoStdTable,
    kNoEntries,
    kNoRecord,
    kSuperEntryBytes,
    kNoSuperTable,
    kNoSuperEntries,
    kNoChunk,
    kCount
  };
  LineLimits<ELine, AVI_LINES_PER_WALK> m_Lines;
};

#endif  // ZU_AVIFILE_OPEN_DML_INDEX_READER_H_
