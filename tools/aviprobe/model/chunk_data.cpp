#include "tools/aviprobe/model/chunk_data.h"

#include <algorithm>

#include "zu_parser_avi/status.h"

int64_t OwnEnd(const SFileMap& map, size_t chunk) {
  const SChunk& own = map.chunks[chunk];
  const int64_t next = chunk + 1 < map.chunks.size() ? map.chunks[chunk + 1].nOffset : map.nSize;
  return std::max(std::min({own.End(), next, map.nSize}), std::min(own.DataOffset(), map.nSize));
}

std::vector<uint8_t> ReadOwnData(FileSource& source, const SFileMap& map, size_t chunk, size_t most) {
  const int64_t at = map.chunks[chunk].DataOffset();
  const int64_t there = std::max<int64_t>(OwnEnd(map, chunk) - at, 0);
  uint64_t length = std::min(static_cast<uint64_t>(there), uint64_t{most});
  std::vector<uint8_t> bytes(length);
  if (length == 0) return bytes;
  if (source.ReadAt(at, bytes.data(), &length) == AVI_IO_ERROR) throw source.ParseError();
  bytes.resize(length);
  return bytes;
}
