#ifndef ZU_TOOLS_AVIPROBE_REPORT_DETAILS_H_
#define ZU_TOOLS_AVIPROBE_REPORT_DETAILS_H_

#include <cstdint>
#include <span>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/finding.h"
#include "tools/aviprobe/text/json_line.h"

/// The headers' fields: a list of {"chunk", "offset", "fields": [{"offset", "name", "raw", "meaning"}]}, of the first
/// chunks that have any.
Json HeaderDetails(FileSource& source, const SFileMap& map);

/// The bytes around the findings that have a place: a list of {"finding": its number, "offset", "bytes": hex,
/// "mark_offset", "mark_bytes"}, of the first ones.
Json HexDetails(FileSource& source, std::span<const SFinding> findings);

/// Seeks to some twenty times through the library, each to the unit that follows: the series "seeks" with the lines
/// "read" in kilobytes and "source reads", and the list "places": {"asked_ms", "reached_ms" (null: none followed),
/// "reads", "bytes"}. "words" instead of places where there is nothing to seek in.
Json SeekDetails(const Host& host, const std::string& path);

#endif  // ZU_TOOLS_AVIPROBE_REPORT_DETAILS_H_
