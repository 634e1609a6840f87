#include "tools/aviprobe/model/check_facts.h"

#include <fmt/format.h>

#include "tools/aviprobe/model/track_facts.h"
#include "tools/aviprobe/text/names.h"

namespace {

template <typename T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

const char* KindName(const SStreamHeader& header) {
  if (header.IsVideo()) return "video";
  if (header.IsAudio()) return "audio";
  return header.kind == FourCC("txts") ? "text" : "other";
}

/// The library's name for it; what stands in the header when it was not asked.
std::string CodecText(const STrackFacts& track) {
  if (track.pPlayed) return CodecName(track.pPlayed->info.nTrackType, track.pPlayed->info.nCodecId);
  if (track.pHeader->IsVideo()) return Printable(track.pHeader->Compression().Text());
  if (track.pHeader->IsAudio()) return fmt::format("0x{:04X}", track.pHeader->FormatTag());
  return Printable(track.pHeader->handler.Text());
}

Json AmountFacts(const SAmount& amount) {
  return {{"chunks", amount.nChunks}, {"bytes", amount.nBytes}, {"units", amount.nUnits}, {"ms", amount.nMs}};
}

Json DeliveredFacts(const STrackFacts& track) {
  if (!track.pPlayed) return nullptr;
  return {{"units", track.pPlayed->units.size()},
          {"bytes", track.pPlayed->nBytes},
          {"ms", track.DeliveredMs()},
          {"end", EndingName(track.pPlayed->ending)},
          {"status", track.pPlayed->nStatus}};
}

Json TrackFactsJson(const STrackFacts& track) {
  return {{"track", track.nTrack},
          {"type", KindName(*track.pHeader)},
          {"codec", CodecText(track)},
          {"index", track.indexKinds},
          {"declared", {{"units", track.nDeclaredUnits}, {"ms", track.nDeclaredMs}}},
          {"indexed", AmountFacts(track.indexed)},
          {"present", AmountFacts(track.present)},
          {"delivered", DeliveredFacts(track)}};
}

/// Counts a finding and lets the verdict follow: "fine", "notes", "warnings", "errors".
void Count(ESeverity severity, Json* facts) {
  constexpr const char* kCounts[] = {"notes", "warnings", "errors"};
  Json& count = (*facts)["counts"][kCounts[static_cast<int>(severity)]];
  count = count.get<uint64_t>() + 1;
  (*facts)["verdict"] = "fine";
  for (const char* name : kCounts) {
    if ((*facts)["counts"][name].get<uint64_t>() > 0) (*facts)["verdict"] = name;
  }
}

}  // namespace

Json FindingFacts(const SFinding& finding) {
  return {{"severity", SeverityName(finding.severity)},
          {"code", finding.pCode},
          {"offset", OrNull(finding.nOffset)},
          {"last_offset", OrNull(finding.nLastOffset)},
          {"count", finding.nCount},
          {"time_ms", OrNull(finding.nTimeMs)},
          {"track", OrNull(finding.nTrack)},
          {"consequence", finding.sConsequence},
          {"advice", finding.sAdvice}};
}

void AddFinding(const SFinding& finding, Json* facts) {
  Json& findings = (*facts)["findings"];
  findings.insert(findings.begin(), FindingFacts(finding));
  Count(finding.severity, facts);
}

Json CheckFacts(const SFileMap& map, const SPlayback* playback, std::span<const SFinding> findings) {
  const FileFacts file(map, playback);
  Json facts = {{"file", map.sPath},
                {"size", map.nSize},
                {"verdict", "fine"},
                {"counts", {{"notes", 0}, {"warnings", 0}, {"errors", 0}}},
                {"played", playback != nullptr},
                {"expected_ms", file.ExpectedMs()},
                {"delivered_ms", playback ? Json(file.DeliveredMs()) : Json()},
                {"findings", Json::array()},
                {"tracks", Json::array()}};
  for (const SFinding& finding : findings) {
    facts["findings"].push_back(FindingFacts(finding));
    Count(finding.severity, &facts);
  }
  if (!map.IsAvi()) facts["verdict"] = kUnreadable;
  for (const STrackFacts& track : file.Tracks()) facts["tracks"].push_back(TrackFactsJson(track));
  return facts;
}
