#ifndef ZU_TOOLS_AVIPROBE_MODEL_INDEX_CHUNKS_H_
#define ZU_TOOLS_AVIPROBE_MODEL_INDEX_CHUNKS_H_

#include <cstdint>
#include <string>
#include <vector>

/// The headers of all chunks that are an index or a part of one, by offset. @throw HostError when the file cannot be
/// read.
std::vector<int64_t> IndexChunks(const std::string& path);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_INDEX_CHUNKS_H_
