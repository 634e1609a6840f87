#ifndef ZU_TOOLS_AVIPROBE_TEXT_TIMES_H_
#define ZU_TOOLS_AVIPROBE_TEXT_TIMES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// "00:01:30.500" of milliseconds; hours take as many digits as they need.
std::string ClockText(uint64_t ms);

/// Milliseconds of "1500", "1500ms", "1.5s", "2m", "1h" or "01:30.5", "00:01:30.500"; parts of a millisecond are cut
/// off. None: no such time, or beyond what a file can have (0xFFFFFFFF).
std::optional<uint32_t> ParseTime(std::string_view text);

#endif  // ZU_TOOLS_AVIPROBE_TEXT_TIMES_H_
