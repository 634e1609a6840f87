#ifndef ZU_TOOLS_AVIPROBE_MODEL_CHUNK_WALK_H_
#define ZU_TOOLS_AVIPROBE_MODEL_CHUNK_WALK_H_

#include "tools/aviprobe/model/file_map.h"

/// Finds the chunks of a file, their marks and what is left over: the part of a map that needs no chunk's data.
void WalkChunks(FileSource& source, const SMapOptions& options, SFileMap* map);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_CHUNK_WALK_H_
