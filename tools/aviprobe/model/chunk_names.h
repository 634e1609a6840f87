#ifndef ZU_TOOLS_AVIPROBE_MODEL_CHUNK_NAMES_H_
#define ZU_TOOLS_AVIPROBE_MODEL_CHUNK_NAMES_H_

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/fourcc.h"

// Which chunks an AVI file has, and in which lists.

bool IsPrintableId(const FourCC& id);
/// "RIFF" or "LIST".
bool IsListId(const FourCC& id);
/// Of a list that an AVI file has.
bool IsFormType(const FourCC& type);
/// "##xx": the chunk of a stream.
bool IsDataId(const FourCC& id);
/// The number in "##xx" or "ix##"; kNoStream without one.
int16_t StreamOfId(const FourCC& id);

enum class EPlace { kFits, kMisplaced, kUnknown };
/// Whether a chunk belongs into a list.
/// @param type    its form type when it is a list that has one.
/// @param parent  form type of the list; null: it stands in no list.
EPlace PlaceOf(const FourCC& id, const FourCC* type, const FourCC* parent);

/// Whether four characters begin a chunk so surely that one may be looked for among other bytes.
bool IsLandmark(const FourCC& id);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_CHUNK_NAMES_H_
