#ifndef ZU_TOOLS_AVIPROBE_MODEL_CHUNK_WALK_H_
#define ZU_TOOLS_AVIPROBE_MODEL_CHUNK_WALK_H_

#include <vector>

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/wrong_sizes.h"

/// Finds the chunks of a file, their marks and what is left over: the part of a map that needs no chunk's data.
/// @return the chunks that may have a wrong size; which of them do, the indexes tell.
std::vector<SSuspect> WalkChunks(FileSource& source, const SMapOptions& options, SFileMap* map);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_CHUNK_WALK_H_
