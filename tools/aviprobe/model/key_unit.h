#ifndef ZU_TOOLS_AVIPROBE_MODEL_KEY_UNIT_H_
#define ZU_TOOLS_AVIPROBE_MODEL_KEY_UNIT_H_

#include <cstdint>
#include <optional>
#include <span>

#include "zu_parser_avi/track_info.h"

/// Whether a decoder can begin with this delivered unit, as its own bytes tell. None: the codec does not let one tell,
/// or the unit has no picture; sound and text too, of which any unit will do.
std::optional<bool> IsKeyUnit(const TrackInfo& info, std::span<const uint8_t> unit);

/// The same of H.264 with start codes, with more doubt: none of a picture that is no IDR and may be one to begin with
/// all the same, whose first slice is intra coded; `unit` may be its first kilobyte.
std::optional<bool> IsH264Start(std::span<const uint8_t> unit);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_KEY_UNIT_H_
