#ifndef ZU_TOOLS_AVIPROBE_MODEL_INDEX_FIELDS_H_
#define ZU_TOOLS_AVIPROBE_MODEL_INDEX_FIELDS_H_

#include "tools/aviprobe/model/field_reader.h"

// Of the indexes: what they say of themselves, and their first entries.

/// "indx" and "ix##".
void ReadOdmlFields(const SFileMap& map, FieldReader* reader);
/// "idx1".
void ReadLegacyFields(const SFileMap& map, FieldReader* reader);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_INDEX_FIELDS_H_
