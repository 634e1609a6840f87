#include "tools/aviprobe/model/file_map.h"

std::vector<SField> DecodeFields(FileSource&, const SFileMap&, size_t) { return {}; }
