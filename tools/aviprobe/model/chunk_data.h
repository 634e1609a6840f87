#ifndef ZU_TOOLS_AVIPROBE_MODEL_CHUNK_DATA_H_
#define ZU_TOOLS_AVIPROBE_MODEL_CHUNK_DATA_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tools/aviprobe/model/file_map.h"

/// Where a chunk's own data end: as it says, but before the next chunk that was found and the end of the file. What
/// many chunks with wrong sizes claim together is thereby no more than the file.
int64_t OwnEnd(const SFileMap& map, size_t chunk);

/// The first bytes of a chunk's own data, at most `most`. @throw HostError when they cannot be read.
std::vector<uint8_t> ReadOwnData(FileSource& source, const SFileMap& map, size_t chunk, size_t most);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_CHUNK_DATA_H_
