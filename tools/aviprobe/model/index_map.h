#ifndef ZU_TOOLS_AVIPROBE_MODEL_INDEX_MAP_H_
#define ZU_TOOLS_AVIPROBE_MODEL_INDEX_MAP_H_

#include "tools/aviprobe/model/file_map.h"

/// Reads both kinds of index into a map whose chunks are known, and finds the chunks that their entries name.
/// @param entries  whether to read the entries, too, or only what the indexes say of themselves.
void ReadIndexes(FileSource& source, bool entries, SFileMap* map);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_INDEX_MAP_H_
