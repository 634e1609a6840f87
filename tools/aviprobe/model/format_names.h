#ifndef ZU_TOOLS_AVIPROBE_MODEL_FORMAT_NAMES_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FORMAT_NAMES_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "tools/aviprobe/model/fourcc.h"

/// What a compression of video is, "" when it is not known here. Capitals make no difference.
const char* CompressionName(const FourCC& code);

/// What a format tag of sound stands for, "" when it is not known here.
const char* WaveFormatName(uint16_t tag);

constexpr uint16_t kExtensibleTag = 0xFFFE;  ///< a sub-format says which format it is
constexpr size_t kGuidBytes = 16;

/// The tag that a sub-format stands for; kExtensibleTag when it stands for none.
uint16_t TagOfSubFormat(std::span<const uint8_t, kGuidBytes> guid);
/// What a sub-format stands for, "" when it is not known here.
const char* SubFormatName(std::span<const uint8_t, kGuidBytes> guid);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FORMAT_NAMES_H_
