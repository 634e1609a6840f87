#ifndef ZU_TOOLS_AVIPROBE_MODEL_FINDINGS_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FINDINGS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/aviprobe/model/finding.h"
#include "tools/aviprobe/model/track_facts.h"

// What the checks share, each of which is a file findings_*.cpp.

/// Equal faults, counted: a thousand of them are one finding.
struct STally {
  uint64_t nCount = 0;
  int64_t nFirst = 0, nLast = 0;
  std::optional<uint32_t> nFirstMs{};  ///< when the first matters, where its offset does not tell

  void Hit(int64_t offset, std::optional<uint32_t> ms = {});
};

/// The file that is being checked, and what has been found in it.
class Findings {
 public:
  Findings(const SFileMap& map, const SPlayback* playback, const FileFacts& facts);

  const SFileMap& Map() const { return m_Map; }
  const SPlayback* Playback() const { return m_pPlayback; }
  const FileFacts& Facts() const { return m_Facts; }
  /// The library delivers data of another AVI file that is joined on: what comes is not to be held against this one.
  bool PlaysJoined() const { return m_bPlaysJoined; }

  /// Something was played, and something came of it.
  bool Delivers() const;

  /// Severity, that of the code unless given, and, where there is an offset among the data but no time, the time are
  /// filled in. Advice names the file where it says FILE, and no remux where the library does not open the file, was
  /// not asked to, delivers nothing that a copy could hold, or plays more than the file.
  void Add(SFinding finding, std::optional<ESeverity> severity = {});
  /// Nothing when nothing was counted.
  void Add(std::string_view code, const STally& tally, std::optional<int> track, const std::string& consequence,
           const std::string& advice, std::optional<ESeverity> severity = {});
  /// All, the worst first, then by offset.
  std::vector<SFinding> Take();

 private:
  std::string AdviceThatWorks(std::string advice) const;

  const SFileMap& m_Map;
  const SPlayback* m_pPlayback;
  const FileFacts& m_Facts;
  bool m_bPlaysJoined = false;
  std::vector<SFinding> m_Found{};
};

// In the order in which they are made.
void CheckStructure(Findings* findings);
void CheckHeaders(Findings* findings);
void CheckIndex(Findings* findings);
void CheckKeys(FileSource& source, Findings* findings);
void CheckStreams(Findings* findings);
void CheckSync(Findings* findings);
void CheckPlayback(FileSource& source, Findings* findings);

// For their texts.

/// "1 chunk", "3 chunks", "2 entries".
std::string CountText(uint64_t count, std::string_view noun);
/// "00:01:30.000 of 00:03:00.000".
std::string ShareText(uint64_t ms, uint64_t ofMs);
/// How to cut off what begins there.
std::string AdviceHead(int64_t offset);
/// Advice with other lines for those that name a command of aviprobe.
std::string ReplaceAdvice(const std::string& advice, std::string_view command, std::string_view instead);
/// "picture", "sound" or "stream 2".
std::string TrackText(const STrackFacts& track);

constexpr const char* kAdviceRemux =
    "aviprobe remux FILE -o OUT.avi writes what is there into a healthy file with a new index";
/// Where the index leaves data out: what the library finds by it is not all.
constexpr const char* kAdviceIgnoreIndex =
    "aviprobe remux FILE --ignore-index -o OUT.avi writes all that is there, with a new index";
/// Where the library takes no part in what helps.
constexpr const char* kAdviceNoCopy =
    "no remux mends it, which reads the file through the same library\n"
    "aviprobe tree --resync FILE shows what can still be found";
/// As long as nobody knows how the library takes the file.
constexpr const char* kAdvicePlay = "aviprobe check FILE plays it and tells whether a copy can be made";
constexpr const char* kAdviceResync = "aviprobe tree --resync FILE shows what can still be found";
constexpr const char* kAdviceFields = "aviprobe tree --fields FILE shows what the headers say";
constexpr const char* kAdviceSource = "get the file from its source again: what is missing is nowhere in it";

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FINDINGS_H_
