#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "tools/aviprobe/model/findings.h"
#include "tools/aviprobe/text/names.h"

// What the headers say against what is there.

namespace {

// Encoders write the last moment of a stream or leave it out, and round: shorter differences show in no player.
constexpr uint64_t kLengthSlackMs = 500;
constexpr uint64_t kLengthSlackShare = 100;  // 1/100: what a progress bar shows
// A slide show has a picture a minute, a high-speed camera records a thousand a second.
constexpr double kRateSlack = 0.001;  // writers round
constexpr double kFewestPerSecond = 1.0 / 60, kMostPerSecond = 1000;

/// Whether a list without a type stands where the one with the data does: what is wrong with it is said already.
bool MayHideData(const SFileMap& map) {
  return std::any_of(map.marks.begin(), map.marks.end(), [&](const SMarked& marked) {
    const SChunk& chunk = map.chunks[marked.nChunk];
    const bool behindHeaders = map.main && chunk.nDepth == 1 && chunk.nOffset > map.main->nOffset;
    return marked.mark.mark == EMark::kNoType && behindHeaders;
  });
}

/// The list that has the data, under another name; null when there is none.
const SChunk* FindHiding(const SFileMap& map) {
  const auto found = std::find_if(map.marks.begin(), map.marks.end(),
                                  [](const SMarked& marked) { return marked.mark.mark == EMark::kHidesData; });
  return found == map.marks.end() ? nullptr : &map.chunks[found->nChunk];
}

void CheckMissing(Findings* findings) {
  const SFileMap& map = findings->Map();
  const auto missing = [&](const std::string& what, int64_t offset) {
    findings->Add({.pCode = "header-missing",
                   .nOffset = offset,
                   .sConsequence = what + ": players do not open the file, or play nothing of it",
                   .sAdvice = kAdviceResync});
  };
  if (!map.main) missing("there is no main header (avih)", 0);
  if (map.streams.empty()) missing("no stream is described (strl)", 0);
  if (const SChunk* list = FindHiding(map); map.movis.empty() && list) {
    missing(fmt::format("the list with the data is named \"{}\", not \"movi\"", Printable(list->type.Text())),
            list->nOffset);
  } else if (map.movis.empty() && !MayHideData(map)) {
    missing("there is no list with data (movi)", 0);
  }
  for (size_t i = 0; i < map.streams.size(); ++i) {
    const SStreamHeader& stream = map.streams[i];
    if (!stream.nStrhOffset) missing(fmt::format("stream {} has no header (strh)", i), stream.nListOffset);
    if (!stream.nStrfOffset) missing(fmt::format("stream {} has no format (strf)", i), stream.nListOffset);
  }
}

void CheckStreamCount(Findings* findings) {
  const SFileMap& map = findings->Map();
  if (map.main && map.main->nStreams != map.streams.size()) {
    findings->Add(
        {.pCode = "stream-count",
         .nOffset = map.main->nOffset - kChunkHeaderBytes,
         .sConsequence = fmt::format("the main header announces {}, {} described: players refuse the file or "
                                     "miss a track",
                                     CountText(map.main->nStreams, "stream"),
                                     map.streams.size() == 1 ? "1 is" : fmt::format("{} are", map.streams.size())),
         .sAdvice = kAdviceFields});
  }
  STally orphans;
  for (const SChunk& chunk : std::span(map.chunks).first(map.OwnChunks())) {
    if (chunk.bData && (chunk.nStream < 0 || static_cast<size_t>(chunk.nStream) >= map.streams.size())) {
      orphans.Hit(chunk.nOffset);
    }
  }
  findings->Add("orphan-chunks", orphans, {},
                CountText(orphans.nCount, "chunk") + " of streams without a header are played by nobody",
                kAdviceFields);
}

bool DiffersMuch(uint64_t a, uint64_t b) {
  const uint64_t larger = std::max(a, b), smaller = std::min(a, b);
  return larger - smaller > std::max(kLengthSlackMs, larger / kLengthSlackShare);
}

/// A writer that leaves one length at 0 relies on the index; when all are 0, it never came to its end.
bool NeverFinished(const SFileMap& map) {
  return (!map.main || map.main->nTotalFrames == 0) &&
         std::all_of(map.streams.begin(), map.streams.end(), [](const SStreamHeader& s) { return s.nLength == 0; });
}

/// Of an OpenDML file some writers count the first group only.
bool CountsFirstGroup(const SFileMap& map, const STrackFacts& track) {
  if (map.movis.size() < 2) return false;
  const int64_t end = map.chunks[static_cast<size_t>(map.movis[1])].nOffset;
  const auto behind = std::find_if(track.chunks.begin(), track.chunks.end(),
                                   [&](uint32_t chunk) { return map.chunks[chunk].nOffset > end; });
  return !DiffersMuch(track.MsBefore(static_cast<size_t>(behind - track.chunks.begin())), track.nDeclaredMs);
}

void CheckLength(const STrackFacts& track, Findings* findings) {
  const SFileMap& map = findings->Map();
  const SStreamHeader& header = *track.pHeader;
  if (map.movis.empty() || !header.nStrhOffset || !(header.IsVideo() || header.IsAudio())) return;
  if (track.nDeclaredUnits == 0 && !NeverFinished(map)) return;
  if (!DiffersMuch(track.nDeclaredMs, track.present.nMs) || CountsFirstGroup(map, track)) return;
  findings->Add({.pCode = "header-length-differs",
                 .nOffset = *header.nStrhOffset - kChunkHeaderBytes,
                 .nTrack = track.nTrack,
                 .sConsequence = fmt::format("players show a length of {} for {} of {}", ClockText(track.nDeclaredMs),
                                             ClockText(track.present.nMs), TrackText(track)),
                 .sAdvice = kAdviceRemux});
}

void CheckRate(const STrackFacts& track, Findings* findings) {
  const SStreamHeader& header = *track.pHeader;
  if (!header.nStrhOffset || !(header.IsVideo() || header.IsAudio())) return;
  if (header.nScale != 0 && header.nRate != 0) return;
  // Of sound the library counts by the format's bytes per second, if it can.
  const bool timed = header.IsAudio() && track.DeliveredMs() > 0;
  const std::string what = timed
                               ? fmt::format("players that go by it have no times; this one plays to {} by the format",
                                             ClockText(track.DeliveredMs()))
                               : fmt::format("its {} has no times, all of it comes at once", TrackText(track));
  SFinding finding{.pCode = "rate-zero",
                   .nOffset = *header.nStrhOffset - kChunkHeaderBytes,
                   .nTrack = track.nTrack,
                   .sConsequence = fmt::format("{} {} of {} is 0: {}", header.nScale == 0 ? "the scale" : "the rate",
                                               "in the header", fmt::format("stream {}", track.nTrack), what),
                   .sAdvice = kAdviceFields};
  findings->Add(std::move(finding), timed ? std::optional(ESeverity::kWarning) : std::nullopt);
}

void CheckPictureRate(const STrackFacts& track, Findings* findings) {
  const SStreamHeader& header = *track.pHeader;
  if (!header.IsVideo() || track.chunks.size() < 2 || header.nScale == 0 || header.nRate == 0) return;
  const double perSecond = static_cast<double>(header.nRate) / header.nScale;
  if (perSecond >= kFewestPerSecond && perSecond <= kMostPerSecond) return;
  findings->Add({.pCode = "rate-implausible",
                 .nOffset = *header.nStrhOffset - kChunkHeaderBytes,
                 .nTrack = track.nTrack,
                 .sConsequence = fmt::format("rate {} and scale {} make {:.6g} pictures a second: {} last {}",
                                             header.nRate, header.nScale, perSecond,
                                             CountText(track.chunks.size(), "picture"), ClockText(track.present.nMs)),
                 .sAdvice = kAdviceFields});
}

/// Numbers of a PCM format that follow from each other, and do not.
std::vector<std::string> Contradictions(const SStreamHeader& header) {
  std::vector<std::string> found;
  const uint64_t channels = header.Channels(), bits = header.BitsPerSample(), align = header.BlockAlign();
  const uint64_t rate = header.SamplesPerSec(), byteRate = header.AvgBytesPerSec();
  if (align != channels * ((bits + 7) / 8)) {
    found.push_back(fmt::format("blocks of {} bytes for {} of {} bits", align, CountText(channels, "channel"), bits));
  }
  if (byteRate != rate * align) {
    found.push_back(fmt::format("{} bytes/s for blocks of {} bytes at {} Hz", byteRate, align, rate));
  }
  if (header.nSampleSize == 0 || header.nScale == 0 || header.nRate == 0) return found;
  const double streamed = static_cast<double>(header.nSampleSize) * header.nRate / header.nScale;
  const double off = streamed - static_cast<double>(rate * align);
  if (off > streamed * kRateSlack || -off > streamed * kRateSlack) {
    found.push_back(fmt::format("{:.6g} bytes/s by the stream's header, {} by the format", streamed, rate * align));
  }
  return found;
}

void CheckFormat(const STrackFacts& track, Findings* findings) {
  constexpr uint16_t kPcmTag = 1, kFloatTag = 3;
  const SStreamHeader& header = *track.pHeader;
  if (!header.IsAudio() || !header.nStrfOffset) return;
  if (header.FormatTag() != kPcmTag && header.FormatTag() != kFloatTag) return;
  // Of such there is no sound, which is said.
  if (header.Channels() == 0 || header.SamplesPerSec() == 0 || header.BitsPerSample() == 0) return;
  const std::vector<std::string> found = Contradictions(header);
  if (found.empty()) return;
  findings->Add({.pCode = "format-contradicts",
                 .nOffset = *header.nStrfOffset - kChunkHeaderBytes,
                 .nTrack = track.nTrack,
                 .sConsequence = fmt::format("{}: players differ in what they play, noise or another speed",
                                             fmt::join(found, "; ")),
                 .sAdvice = kAdviceFields});
}

}  // namespace

void CheckHeaders(Findings* findings) {
  CheckMissing(findings);
  CheckStreamCount(findings);
  for (const STrackFacts& track : findings->Facts().Tracks()) {
    CheckLength(track, findings);
    CheckRate(track, findings);
    CheckPictureRate(track, findings);
    CheckFormat(track, findings);
  }
}
