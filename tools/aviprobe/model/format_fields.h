#ifndef ZU_TOOLS_AVIPROBE_MODEL_FORMAT_FIELDS_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FORMAT_FIELDS_H_

#include "tools/aviprobe/model/field_reader.h"

// "strf" of the kinds of stream.

void ReadVideoFormatFields(FieldReader* reader);
void ReadAudioFormatFields(FieldReader* reader);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FORMAT_FIELDS_H_
