#ifndef ZU_AVIFILE_OLD_INDEX_READER_H_
#define ZU_AVIFILE_OLD_INDEX_READER_H_

#include <cstddef>
#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/movie.h"
#include "base/c_heap.h"

/// Reads one legacy index chunk, "idx1". Owns the block it reads through; the table that it fills belongs to the
/// movie's streams. All entries of all streams live in that one table. Streams are filled in pairs, one pass over the
/// chunk each: the even one forward from the front, the odd one backward from the back and then reversed in place.
class OldIndexReader {
 public:
  OldIndexReader(FileView& file, SMovie& movie) : m_File(file), m_Movie(movie) {}

  /// @param offset  position of the chunk's `size` bytes of data.
  /// @return 1; 0 when the chunk was refused or broke off.
  int ParseChunkOldIdx(uint32_t offset, uint32_t size);

 private:
  /// @param capacity  entries of the table. @param block  raw entries read at once.
  bool Allocate(uint64_t capacity, uint32_t block);
  bool ReadPass(uint32_t offset, uint32_t entries);
  void AddBlock(uint32_t count);
  void CountEntries(int number, ptrdiff_t added, uint32_t maxSize);
  void FinishPass();
  void Abandon();

  FileView& m_File;
  SMovie& m_Movie;
  MallocPtr<uint8_t> m_pBlock;  // raw entries as read; what an earlier block left behind stays visible
  // The entries of the table from front to back are free; the table is stream 0's.
  SIndexEntry* m_pFront = nullptr;
  SIndexEntry* m_pBack = nullptr;
  int m_nPass = 0;
  bool m_bBaseKnown = false;
  uint64_t m_qwBase = 0;
};

#endif  // ZU_AVIFILE_OLD_INDEX_READER_H_
