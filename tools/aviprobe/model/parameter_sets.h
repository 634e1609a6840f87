#ifndef ZU_TOOLS_AVIPROBE_MODEL_PARAMETER_SETS_H_
#define ZU_TOOLS_AVIPROBE_MODEL_PARAMETER_SETS_H_

#include <cstdint>
#include <span>
#include <vector>

/// The parameter sets of an H.264 configuration record (ISO/IEC 14496-15) with start codes; as many as it really holds.
std::vector<uint8_t> ParameterSets(std::span<const uint8_t> record);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_PARAMETER_SETS_H_
