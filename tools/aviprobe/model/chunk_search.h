#ifndef ZU_TOOLS_AVIPROBE_MODEL_CHUNK_SEARCH_H_
#define ZU_TOOLS_AVIPROBE_MODEL_CHUNK_SEARCH_H_

#include <cstdint>
#include <optional>

#include "tools/aviprobe/model/block_reader.h"
#include "tools/aviprobe/model/file_map.h"

/// Reads a chunk's header at chunk->nOffset. @return whether it is whole before `end`.
bool ReadChunkHeader(BlockReader& reader, int64_t end, SChunk* chunk);

/// Looks for the next chunk behind damage.
class ChunkSearch {
 public:
  explicit ChunkSearch(FileSource& source);

  /// The first position from `from` on where a chunk begins in all likelihood: a known FourCC, a size that ends before
  /// `end`, and behind it another one or the end. Asked again further on, it goes on from what it found.
  std::optional<int64_t> Find(int64_t from, int64_t end);

  /// Whether a chunk with a known FourCC begins there and ends in the file.
  bool IsLandmarkAt(int64_t at);

 private:
  int64_t Scan(int64_t from, int64_t end);
  bool IsChunk(int64_t at, int64_t end);
  bool IsListStart(const SChunk& list);

  BlockReader m_Scanned;
  BlockReader m_Peeked;  // small: what a size points at may be anywhere
  int64_t m_nAskedFrom = 0, m_nAskedEnd = -1, m_nAnswer = 0;
};

#endif  // ZU_TOOLS_AVIPROBE_MODEL_CHUNK_SEARCH_H_
