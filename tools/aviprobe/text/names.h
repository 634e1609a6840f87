#ifndef ZU_TOOLS_AVIPROBE_TEXT_NAMES_H_
#define ZU_TOOLS_AVIPROBE_TEXT_NAMES_H_

#include <cstdint>
#include <string>
#include <string_view>

/// "video", "audio", "text"; "none" for a stream that the library does not describe.
const char* TrackTypeName(uint32_t trackType);

/// The name of a codec number, "unknown" when it has none.
const char* CodecName(uint32_t trackType, uint32_t codecId);

/// Text from a file with everything that could upset a terminal made visible.
std::string Printable(std::string_view text);

/// A status as number and words, such as "-1004 (read failed)".
std::string StatusText(int status);

#endif  // ZU_TOOLS_AVIPROBE_TEXT_NAMES_H_
