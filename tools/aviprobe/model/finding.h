#ifndef ZU_TOOLS_AVIPROBE_MODEL_FINDING_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FINDING_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/playback.h"

enum class ESeverity { kNote, kWarning, kError };

/// One thing worth knowing about a file.
struct SFinding {
  const char* pCode = "";  ///< as CodeText() has it: "index-short"
  ESeverity severity = ESeverity::kNote;
  std::optional<int64_t> nOffset;   ///< in the file
  std::optional<uint32_t> nTimeMs;  ///< of the movie
  std::optional<int> nTrack;
  std::string sConsequence;  ///< what a viewer meets: "playback stops at 00:01:30.000 of 00:03:00.000"
  std::string sAdvice;       ///< what to do next
};

/// All codes, what each means and how bad it is: the table that `check --help`, the manual and the tests are made from.
struct SFindingKind {
  const char* pCode;
  ESeverity severity;
  const char* pMeaning;  ///< one line
};
std::span<const SFindingKind> FindingKinds();

/// "note", "warning", "error".
const char* SeverityName(ESeverity severity);

struct SCheckOptions {
  bool bStrict = false;  ///< notes count as findings for the exit code
};

/// What is to be said of a file, by offset; `playback` null: nothing was played (--quick, or the library ended the
/// process). Reads the file where a bitstream has to tell whether a chunk is a key frame.
std::vector<SFinding> Check(const SFileMap& map, const SPlayback* playback, FileSource& source);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FINDING_H_
