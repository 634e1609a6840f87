#ifndef ZU_TOOLS_AVIPROBE_MODEL_FINDING_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FINDING_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/playback.h"

enum class ESeverity { kNote, kWarning, kError };

/// One thing worth knowing about a file.
struct SFinding {
  const char* pCode = "";  ///< as FindingKinds() has it: "index-short"
  ESeverity severity = ESeverity::kNote;
  std::optional<int64_t> nOffset{};      ///< in the file; of several equal faults that of the first
  std::optional<int64_t> nLastOffset{};  ///< of several that of the last
  uint64_t nCount = 1;                   ///< equal faults that this stands for
  std::optional<uint32_t> nTimeMs{};     ///< of the movie
  std::optional<int> nTrack{};
  std::string sConsequence{};  ///< what a viewer meets: "playback stops at 00:01:30.000 of 00:03:00.000"
  std::string sAdvice{};       ///< what to do next, a line each
};

/// All codes, what each means and how bad it is: the table that the command's help and the tests are made from.
struct SFindingKind {
  const char* pCode;
  ESeverity severity;
  const char* pMeaning;  ///< one line
};
std::span<const SFindingKind> FindingKinds();
/// The row of a code. @throw std::logic_error when the table has none.
const SFindingKind& FindingKind(std::string_view code);

/// "note", "warning", "error".
const char* SeverityName(ESeverity severity);

/// Advice with the file's name for FILE, as a shell takes it; one with control characters leaves FILE.
std::string NameFile(std::string advice, std::string_view path);

/// What is to be said of a file, the worst first, then by offset, those of no offset last; `playback` null: nothing was
/// played
/// (--quick, or the library ended the process). Reads the file where a bitstream has to tell whether a chunk is a key
/// frame.
/// @throw HostError when that cannot be read.
std::vector<SFinding> Check(const SFileMap& map, const SPlayback* playback, FileSource& source);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FINDING_H_
