#ifndef ZU_TOOLS_AVIPROBE_MODEL_CHECK_FACTS_H_
#define ZU_TOOLS_AVIPROBE_MODEL_CHECK_FACTS_H_

#include <span>

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/finding.h"
#include "tools/aviprobe/model/playback.h"
#include "tools/aviprobe/text/json_line.h"

/// A finding as programs get it: severity, code, offset, last_offset, count, time_ms, track, consequence, advice.
Json FindingFacts(const SFinding& finding);

/// All that a check says of a file: file, size, verdict, counts, what plays of what, findings, tracks with what is
/// declared, indexed, present and delivered. @param playback  null: nothing was played.
Json CheckFacts(const SFileMap& map, const SPlayback* playback, std::span<const SFinding> findings);

/// The verdict on a file that could not be read at all, or is no AVI.
constexpr const char* kUnreadable = "unreadable";

/// Puts a finding in front of all that such facts have, and counts it: for what is learnt only after the library ended
/// the process.
void AddFinding(const SFinding& finding, Json* facts);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_CHECK_FACTS_H_
