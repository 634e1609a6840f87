#include "tools/aviprobe/model/index_chunks.h"

#include <algorithm>

#include "tools/aviprobe/model/file_map.h"

std::vector<int64_t> IndexChunks(const std::string& path) {
  FileSource source(path, false);
  const SFileMap map = MapFile(source, path, {.bEntries = false});
  std::vector<int64_t> offsets;
  for (const SChunk& chunk : map.chunks) {
    if (chunk.id == FourCC("idx1") || chunk.id == FourCC("indx")) offsets.push_back(chunk.nOffset);
  }
  for (const SChunkIndex& index : map.chunkIndexes) offsets.push_back(index.nOffset);
  std::sort(offsets.begin(), offsets.end());
  return offsets;
}
