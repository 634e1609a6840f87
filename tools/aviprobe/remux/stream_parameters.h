#ifndef ZU_TOOLS_AVIPROBE_REMUX_STREAM_PARAMETERS_H_
#define ZU_TOOLS_AVIPROBE_REMUX_STREAM_PARAMETERS_H_

#include <cstdint>
#include <span>
#include <vector>

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/remux/av.h"
#include "tools/aviprobe/remux/remux.h"
#include "zu_parser_avi/track_info.h"

/// What a container says of one stream of the copy.
struct SStreamParameters {
  AvParameters codec;
  AVRational rate{0, 1};  ///< pictures per second
  bool bTopDown = false;  ///< lines of raw pictures run from the top
};

/// What there is to know of a track.
struct SStreamFacts {
  const TrackInfo* pInfo = nullptr;
  const SStreamHeader* pHeader = nullptr;  ///< of the input; the record alone does not tell FourCC, tag and exact rate
  std::vector<uint8_t> config;             ///< from the library
  std::vector<uint8_t> firstUnit;          ///< empty: the track has none
};

/// @throw HostError when the container cannot have such a stream.
SStreamParameters ParametersFor(const SStreamFacts& facts, EContainer container);

/// Samples per channel in a unit of sound; 0: nothing tells.
int64_t SamplesIn(AVCodecParameters* codec, size_t bytes);

#endif  // ZU_TOOLS_AVIPROBE_REMUX_STREAM_PARAMETERS_H_
