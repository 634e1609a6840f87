#include <fmt/format.h>

#include <algorithm>

#include "tools/aviprobe/model/findings.h"
#include "tools/aviprobe/text/names.h"
#include "zu_parser_avi/codec_ids.h"

// What the library delivers against what is in the file.

namespace {

constexpr uint32_t kGapMs = 1000;  // a picture that stands still that long is seen, a silence heard
constexpr uint64_t kLossMs = 200;  // the end of sound that is no whole frame is dropped as a rule
constexpr uint32_t kNarrowedBits = 16;

bool IsUnknown(const TrackInfo& info) {
  if (info.nTrackType == AVI_TRACK_VIDEO) return info.nCodecId == AVI_CODEC_UNKNOWN_VIDEO;
  if (info.nTrackType != AVI_TRACK_AUDIO) return false;
  return std::string_view(CodecName(info.nTrackType, info.nCodecId)) == "unknown";
}

void CheckCodec(const STrackFacts& track, Findings* findings) {
  const SStreamHeader& header = *track.pHeader;
  if (!(header.IsVideo() || header.IsAudio()) || !header.nStrfOffset) return;
  if (!track.pPlayed || !IsUnknown(track.pPlayed->info)) return;
  const std::string name = header.IsVideo() ? fmt::format("\"{}\"", Printable(header.Compression().Text()))
                                            : fmt::format("0x{:04X}", header.FormatTag());
  findings->Add({.pCode = "codec-unknown",
                 .nOffset = *header.nStrfOffset - kChunkHeaderBytes,
                 .nTrack = track.nTrack,
                 .sConsequence = fmt::format("no decoder is named for {}: no {}", name, TrackText(track)),
                 .sAdvice = "encode the track with a codec that the library knows"});
}

/// An index may be what leaves the data out.
std::string RemuxAdvice(const Findings& findings) {
  return findings.Facts().Entries().empty() ? kAdviceRemux : kAdviceIgnoreIndex;
}

bool IsEnded(const STrackPlayback& played) {
  return played.ending == Ending::kEndOfTrack || played.ending == Ending::kStopped;
}

void CheckEnding(const STrackFacts& track, Findings* findings) {
  const STrackPlayback& played = *track.pPlayed;
  if (IsEnded(played)) return;
  const auto at = static_cast<uint32_t>(track.DeliveredMs());
  const std::string how = played.ending == Ending::kStalled ? std::string("gives nothing more, and no end")
                                                            : "fails with " + StatusText(played.nStatus);
  SFinding finding{.pCode = "track-failed",
                   .nTimeMs = at,
                   .nTrack = track.nTrack,
                   .sConsequence = fmt::format("the library {} at {}", how, ShareText(at, track.present.nMs)),
                   .sAdvice = RemuxAdvice(*findings)};
  if (!played.units.empty() && played.units.back().nPosition >= 0) finding.nOffset = played.units.back().nPosition;
  findings->Add(std::move(finding));
}

/// Bytes of a track as they should arrive: PCM of more than 16 bits is narrowed to them.
uint64_t ExpectedBytes(const STrackFacts& track) {
  const TrackInfo& info = track.pPlayed->info;
  const uint32_t bits = track.pHeader->BitsPerSample();
  const bool narrowed = info.nTrackType == AVI_TRACK_AUDIO && info.nCodecId == AVI_CODEC_PCM && bits == 24;
  return narrowed ? track.present.nBytes / bits * kNarrowedBits : track.present.nBytes;
}

/// Milliseconds of a track that are in the file and do not come out.
uint64_t LostMs(const STrackFacts& track) {
  const STrackPlayback& played = *track.pPlayed;
  const bool isRecut = played.info.nCodecId == AVI_CODEC_MPEG12;  // pictures may lie across chunks
  if (track.pHeader->IsVideo() && !isRecut) {
    const uint64_t there = track.chunks.size() - track.nEmpty;
    return there > played.units.size() ? track.MsOf(there - played.units.size(), 0) : 0;
  }
  const uint64_t expected = ExpectedBytes(track);
  if (expected == 0 || played.nBytes >= expected) return 0;
  const double lost = static_cast<double>(expected - played.nBytes) / static_cast<double>(expected);
  return static_cast<uint64_t>(lost * static_cast<double>(track.present.nMs));
}

void CheckLoss(const STrackFacts& track, Findings* findings) {
  if (!IsEnded(*track.pPlayed)) return;  // said already
  const uint64_t lost = LostMs(track);
  const bool isVideo = track.pHeader->IsVideo();
  if (isVideo ? lost == 0 : lost <= kLossMs) return;
  const uint64_t at = track.DeliveredMs();
  const bool early = at + lost / 2 < track.present.nMs;
  SFinding finding{
      .pCode = "delivered-less-than-present",
      .nTrack = track.nTrack,
      .sConsequence = early ? fmt::format("the {} stops at {}", TrackText(track), ShareText(at, track.present.nMs))
                            : fmt::format("{:.1f} s of {} are left out on the way", static_cast<double>(lost) / 1000,
                                          TrackText(track)),
      .sAdvice = "aviprobe packets FILE lists what arrives; " + RemuxAdvice(*findings)};
  if (early) finding.nTimeMs = static_cast<uint32_t>(at);
  const auto& units = track.pPlayed->units;
  if (early && !units.empty() && units.back().nPosition >= 0) finding.nOffset = units.back().nPosition;
  findings->Add(std::move(finding));
}

/// Where the times of a track's units jump.
void CheckGap(const STrackFacts& track, Findings* findings) {
  const auto& units = track.pPlayed->units;
  if (units.size() < 2 || !(track.pHeader->IsVideo() || track.pHeader->IsAudio())) return;
  const auto usual = static_cast<uint32_t>(track.DeliveredMs() / units.size());
  STally gaps;
  uint32_t firstMs = 0, longest = 0;
  for (size_t i = 1; i < units.size(); ++i) {
    const uint32_t from = units[i - 1].nTimeMs, to = units[i].nTimeMs;
    if (to < from || to - from <= kGapMs + 2 * usual) continue;
    if (gaps.nCount == 0) firstMs = from;
    longest = std::max(longest, to - from);
    gaps.Hit(std::max<int64_t>(units[i].nPosition, 0));
  }
  if (gaps.nCount == 0) return;
  findings->Add({.pCode = "gap",
                 .nOffset = gaps.nFirst,
                 .nLastOffset = gaps.nCount > 1 ? std::optional(gaps.nLast) : std::nullopt,
                 .nCount = gaps.nCount,
                 .nTimeMs = firstMs,
                 .nTrack = track.nTrack,
                 .sConsequence = fmt::format("the {} {} for {:.1f} s from {} on", TrackText(track),
                                             track.pHeader->IsVideo() ? "stands still" : "is silent",
                                             static_cast<double>(longest) / 1000, ClockText(firstMs)),
                 .sAdvice = "aviprobe packets FILE shows the units around it"});
}

}  // namespace

void CheckPlayback(Findings* findings) {
  const SPlayback* playback = findings->Playback();
  if (!playback) return;
  if (!playback->bOpened) {
    return findings->Add({.pCode = "library-refuses",
                          .nOffset = 0,
                          .sConsequence = "nothing plays: the library answers " + StatusText(playback->nOpenStatus),
                          .sAdvice = kAdviceNotOpened});
  }
  for (const STrackFacts& track : findings->Facts().Tracks()) {
    if (!track.pPlayed) continue;
    CheckCodec(track, findings);
    CheckEnding(track, findings);
    CheckLoss(track, findings);
    CheckGap(track, findings);
  }
}
