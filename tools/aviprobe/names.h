#ifndef ZU_TOOLS_AVIPROBE_NAMES_H_
#define ZU_TOOLS_AVIPROBE_NAMES_H_

#include <cstdint>
#include <string>

/// "video", "audio", "text"; "none" for a stream that the library does not describe.
const char* TrackTypeName(uint32_t trackType);

/// The name of a codec number, "unknown" when it has none.
const char* CodecName(uint32_t trackType, uint32_t codecId);

/// A status as number and words, such as "-1004 (read failed)".
std::string StatusText(int status);

#endif  // ZU_TOOLS_AVIPROBE_NAMES_H_
