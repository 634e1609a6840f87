#ifndef ZU_TOOLS_AVIPROBE_MODEL_HEADER_MAP_H_
#define ZU_TOOLS_AVIPROBE_MODEL_HEADER_MAP_H_

#include "tools/aviprobe/model/file_map.h"

/// Reads the main header and the streams' into a map whose chunks are known.
void ReadHeaders(FileSource& source, SFileMap* map);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_HEADER_MAP_H_
