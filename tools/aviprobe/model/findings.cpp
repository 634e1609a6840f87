#include "tools/aviprobe/model/findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <limits>
#include <sstream>

#include "tools/aviprobe/text/names.h"

void STally::Hit(int64_t offset, std::optional<uint32_t> ms) {
  if (nCount == 0 || offset < nFirst) nFirstMs = ms;
  nFirst = nCount == 0 ? offset : std::min(nFirst, offset);
  nLast = nCount == 0 ? offset : std::max(nLast, offset);
  ++nCount;
}

namespace {

/// Without an index the library reads on to the end of what is there.
bool DeliversBehind(const SPlayback& playback, int64_t offset) {
  return std::any_of(playback.tracks.begin(), playback.tracks.end(), [&](const STrackPlayback& track) {
    return std::any_of(track.units.begin(), track.units.end(),
                       [&](const SPlayedUnit& unit) { return unit.nPosition >= offset; });
  });
}

/// A name as one word of a command, in quotes where a shell would take it apart.
std::string ForShell(const std::string& name) {
  const auto isPlain = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || std::strchr("/._-+", c); };
  if (std::all_of(name.begin(), name.end(), isPlain)) return name;
  std::string quoted(1, '\'');
  for (const char c : name) quoted.append(c == '\'' ? "'\\''" : std::string(1, c));
  return quoted.append(1, '\'');
}

}  // namespace

Findings::Findings(const SFileMap& map, const SPlayback* playback, const FileFacts& facts)
    : m_Map(map), m_pPlayback(playback), m_Facts(facts) {
  m_bPlaysJoined = playback && map.joined && DeliversBehind(*playback, map.chunks[*map.joined].nOffset);
}

bool Findings::Delivers() const {
  return m_pPlayback && std::any_of(m_pPlayback->tracks.begin(), m_pPlayback->tracks.end(),
                                    [](const STrackPlayback& track) { return track.nUnits > 0; });
}

std::string Findings::AdviceThatWorks(std::string advice) const {
  if (!m_pPlayback) return ReplaceAdvice(advice, "remux", kAdvicePlay);
  if (!m_pPlayback->bOpened) {
    return ReplaceAdvice(ReplaceAdvice(advice, "remux", kAdviceNoCopy), "packets", kAdviceResync);
  }
  if (m_bPlaysJoined) return ReplaceAdvice(advice, "remux", AdviceHead(m_Map.chunks[*m_Map.joined].nOffset));
  if (!Delivers()) return ReplaceAdvice(advice, "remux", m_Facts.PlaysUnindexed() ? kAdviceIgnoreIndex : kAdviceNoCopy);
  return m_Facts.PlaysUnindexed() ? advice : ReplaceAdvice(advice, "remux FILE --ignore-index", kAdviceRemux);
}

void Findings::Add(SFinding finding, std::optional<ESeverity> severity) {
  const SFindingKind& kind = FindingKind(finding.pCode);
  finding.pCode = kind.pCode;
  finding.severity = severity.value_or(kind.severity);
  finding.sAdvice = NameFile(AdviceThatWorks(std::move(finding.sAdvice)), m_Map.sPath);
  if (finding.nOffset && !finding.nTimeMs) finding.nTimeMs = m_Facts.MsOfData(*finding.nOffset);
  m_Found.push_back(std::move(finding));
}

void Findings::Add(std::string_view code, const STally& tally, std::optional<int> track, const std::string& consequence,
                   const std::string& advice, std::optional<ESeverity> severity) {
  if (tally.nCount == 0) return;
  SFinding finding{.pCode = FindingKind(code).pCode,
                   .nOffset = tally.nFirst,
                   .nCount = tally.nCount,
                   .nTimeMs = tally.nFirstMs,
                   .nTrack = track,
                   .sConsequence = consequence,
                   .sAdvice = advice};
  if (tally.nCount > 1) finding.nLastOffset = tally.nLast;
  Add(std::move(finding), severity);
}

std::string NameFile(std::string advice, std::string_view path) {
  constexpr std::string_view kFile = "FILE";
  if (path.empty() || Printable(path) != path) return advice;
  const std::string name = ForShell((path[0] == '-' ? "./" : "") + std::string(path));
  for (size_t at = 0; (at = advice.find(kFile, at)) != std::string::npos; at += name.size()) {
    advice.replace(at, kFile.size(), name);
  }
  return advice;
}

std::vector<SFinding> Findings::Take() {
  std::stable_sort(m_Found.begin(), m_Found.end(), [](const SFinding& a, const SFinding& b) {
    constexpr int64_t kLast = std::numeric_limits<int64_t>::max();
    if (a.severity != b.severity) return a.severity > b.severity;
    return a.nOffset.value_or(kLast) < b.nOffset.value_or(kLast);
  });
  return std::move(m_Found);
}

std::string AdviceHead(int64_t offset) { return fmt::format("head -c {} FILE > OUT.avi gives the first file", offset); }

std::string ReplaceAdvice(const std::string& advice, std::string_view command, std::string_view instead) {
  const std::string start = fmt::format("aviprobe {} ", command);
  std::istringstream lines(advice);
  std::string line, replaced;
  while (std::getline(lines, line)) {
    if (!replaced.empty()) replaced += '\n';
    replaced += line.starts_with(start) ? instead : std::string_view(line);
  }
  return replaced;
}

std::string CountText(uint64_t count, std::string_view noun) {
  if (count == 1) return fmt::format("1 {}", noun);
  if (noun.ends_with('y')) return fmt::format("{} {}ies", count, noun.substr(0, noun.size() - 1));
  return fmt::format("{} {}s", count, noun);
}

std::string ShareText(uint64_t ms, uint64_t ofMs) { return fmt::format("{} of {}", ClockText(ms), ClockText(ofMs)); }

std::string TrackText(const STrackFacts& track) {
  if (track.pHeader->IsVideo()) return "picture";
  if (track.pHeader->IsAudio()) return "sound";
  return fmt::format("stream {}", track.nTrack);
}

namespace {

std::string WhyNoAvi(const SFileMap& map) {
  if (map.nSize == 0) return "the file is empty";
  const bool riff = !map.chunks.empty() && map.chunks[0].nOffset == 0 && map.chunks[0].bList;
  if (!riff) return "the file does not begin with RIFF and AVI";
  return fmt::format("the file begins with {} and \"{}\", not with RIFF and AVI", Printable(map.chunks[0].id.Text()),
                     Printable(map.chunks[0].type.Text()));
}

}  // namespace

std::vector<SFinding> Check(const SFileMap& map, const SPlayback* playback, FileSource& source) {
  const FileFacts facts(map, playback);
  Findings findings(map, playback, facts);
  if (!map.IsAvi()) {
    findings.Add(
        {.pCode = "not-an-avi",
         .nOffset = 0,
         .sConsequence = "nothing plays: " + WhyNoAvi(map),
         .sAdvice = "file FILE tells what it is\naviprobe tree --resync FILE shows whether an AVI begins further on"});
    return findings.Take();
  }
  CheckStructure(&findings);
  CheckHeaders(&findings);
  CheckIndex(&findings);
  CheckKeys(source, &findings);
  CheckStreams(&findings);
  CheckSync(&findings);
  CheckPlayback(source, &findings);
  return findings.Take();
}
