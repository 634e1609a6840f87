#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "tools/aviprobe/model/findings.h"
#include "tools/aviprobe/text/names.h"
#include "zu_parser_avi/codec_ids.h"
#include "zu_parser_avi/status.h"

// What the library delivers against what is in the file.

namespace {

constexpr uint32_t kGapMs = 1000;  // a picture that stands still that long is seen, a silence heard
constexpr uint64_t kLossMs = 200;  // the end of sound that is no whole frame is dropped as a rule
constexpr uint32_t kNarrowedBits = 16;
constexpr uint64_t kClockSlackMs = 500, kClockSlackShare = 5;
constexpr uint64_t kGarbageAtLeast = 2;
constexpr uint64_t kGarbageShare = 100;  // 1/100

bool IsUnknown(const TrackInfo& info) {
  if (info.nTrackType == AVI_TRACK_VIDEO) return info.nCodecId == AVI_CODEC_UNKNOWN_VIDEO;
  if (info.nTrackType != AVI_TRACK_AUDIO) return false;
  return std::string_view(CodecName(info.nTrackType, info.nCodecId)) == "unknown";
}

/// Sound that the library takes for PCM without a reason, or can make nothing of.
void CheckPcm(const STrackFacts& track, Findings* findings) {
  const SStreamHeader& header = *track.pHeader;
  if (!header.IsAudio()) return;
  const uint16_t tag = header.FormatTag();
  constexpr uint16_t kPcmTag = 1, kFloatTag = 3, kExtensibleTag = 0xFFFE;
  const bool guessed =
      track.pPlayed->info.nCodecId == AVI_CODEC_PCM && tag != kPcmTag && tag != kFloatTag && tag != kExtensibleTag;
  const bool silent = header.Channels() == 0 || header.SamplesPerSec() == 0;
  if (!guessed && !silent) return;
  findings->Add({.pCode = "codec-unknown",
                 .nOffset = *header.nStrfOffset - kChunkHeaderBytes,
                 .nTrack = track.nTrack,
                 .sConsequence = silent
                                     ? fmt::format("the format states {} channels at {} Hz: no sound",
                                                   header.Channels(), header.SamplesPerSec())
                                     : fmt::format("format 0x{:04X} is unknown and played as PCM: noise is heard", tag),
                 .sAdvice = kAdviceFields});
}

/// A stream that the library has no track for.
void CheckNotPlayed(const STrackFacts& track, Findings* findings) {
  const SStreamHeader& header = *track.pHeader;
  if (!header.nStrhOffset) return;
  SFinding finding{.pCode = header.IsVideo() ? "second-picture" : "stream-not-played",
                   .nOffset = *header.nStrhOffset - kChunkHeaderBytes,
                   .nTrack = track.nTrack,
                   .sConsequence = header.IsVideo() ? std::string("of several pictures the first is played")
                                                    : fmt::format("a stream of type \"{}\" is not played",
                                                                  Printable(header.kind.Text())),
                   .sAdvice = kAdviceFields};
  findings->Add(std::move(finding));
}

void CheckHeight(const STrackFacts& track, Findings* findings) {
  const SStreamHeader& header = *track.pHeader;
  if (!header.IsVideo() || !header.nStrfOffset || header.Height() >= 0) return;
  findings->Add({.pCode = "height-top-down",
                 .nOffset = *header.nStrfOffset - kChunkHeaderBytes,
                 .nTrack = track.nTrack,
                 .sConsequence = fmt::format("the height is {}: this player reports a picture of {} lines",
                                             header.Height(), track.pPlayed->info.video.nHeight),
                 .sAdvice = kAdviceFields});
}

void CheckCodec(const STrackFacts& track, Findings* findings) {
  const SStreamHeader& header = *track.pHeader;
  if (!(header.IsVideo() || header.IsAudio()) || !header.nStrfOffset) return;
  if (!track.pPlayed) return;
  CheckPcm(track, findings);
  if (!IsUnknown(track.pPlayed->info)) return;
  const bool rgb = header.IsVideo() && header.Compression() == FourCC();
  const std::string name = rgb                ? "uncompressed RGB (BI_RGB)"
                           : header.IsVideo() ? fmt::format("\"{}\"", Printable(header.Compression().Text()))
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
      .sAdvice = "aviprobe packets FILE lists what arrives\n" + RemuxAdvice(*findings)};
  if (early) finding.nTimeMs = static_cast<uint32_t>(at);
  const auto& units = track.pPlayed->units;
  if (early && !units.empty() && units.back().nPosition >= 0) finding.nOffset = units.back().nPosition;
  findings->Add(std::move(finding));
}

/// A copy's header has what the sound's frames say. Of other codecs it has what this header says.
std::string ClockAdvice(uint32_t codec) {
  if (codec == AVI_CODEC_EAC3 || codec == AVI_CODEC_PCM) {
    return "aviprobe remux FILE -o OUT.avi writes a header by which this player's times are right";
  }
  return "compare the format's byte rate with the stream's\n" + std::string(kAdviceFields);
}

/// Sound that is all there, with times that are not its header's.
void CheckClock(const STrackFacts& track, Findings* findings) {
  const STrackPlayback& played = *track.pPlayed;
  if (!track.pHeader->IsAudio() || !IsEnded(played) || played.units.size() < 2) return;
  const uint64_t there = track.present.nMs, timed = track.DeliveredMs();
  if (there == 0 || LostMs(track) > kLossMs) return;
  const uint64_t off = there > timed ? there - timed : timed - there;
  if (off <= kClockSlackMs || off <= there / kClockSlackShare) return;
  findings->Add({.pCode = "audio-clock",
                 .nOffset = *track.pHeader->nStrhOffset - kChunkHeaderBytes,
                 .nTrack = track.nTrack,
                 .sConsequence = fmt::format(
                     "this player's sound times run at {} speed: {} for {} of sound",
                     std::llabs(static_cast<int64_t>(2 * timed) - static_cast<int64_t>(there)) <
                             static_cast<int64_t>(there / kClockSlackShare)
                         ? "half"
                         : fmt::format("{:.2f} of the", static_cast<double>(timed) / static_cast<double>(there)),
                     ClockText(timed), ClockText(there)),
                 .sAdvice = ClockAdvice(played.info.nCodecId)});
}

/// Whether a chunk of the track stands there, known to the map or hidden from it by damage.
bool IsChunkData(const STrackFacts& track, int64_t position, const Findings& findings, FileSource& source) {
  const SChunk* chunk = findings.Map().ChunkAt(position - kChunkHeaderBytes);
  if (chunk) return chunk->bData && chunk->nStream == track.nTrack;
  uint8_t id[2] = {};
  uint64_t length = sizeof id;
  if (position < kChunkHeaderBytes) return false;
  if (source.ReadAt(position - kChunkHeaderBytes, id, &length) == AVI_IO_ERROR) throw source.ParseError();
  return length == sizeof id && fmt::format("{:02}", track.nTrack) == std::string_view(reinterpret_cast<char*>(id), 2);
}

void CheckGarbage(const STrackFacts& track, FileSource& source, Findings* findings) {
  if (!track.pHeader->IsVideo() && !track.pHeader->IsAudio()) return;
  STally wrong;
  uint64_t read = 0;
  for (const SPlayedUnit& unit : track.pPlayed->units) {
    if (unit.nPosition < 0) continue;
    ++read;
    if (!IsChunkData(track, unit.nPosition, *findings, source)) wrong.Hit(unit.nPosition);
  }
  if (wrong.nCount < kGarbageAtLeast || wrong.nCount * kGarbageShare <= read) return;
  const bool video = track.pHeader->IsVideo();
  findings->Add(
      "delivered-garbage", wrong, track.nTrack,
      fmt::format("{} of {} {} delivered are not what the file holds: {}", wrong.nCount, read,
                  video ? "pictures" : "pieces of sound", video ? "the picture shows rubbish" : "noise is heard"),
      kAdviceIgnoreIndex);
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

void CheckPlayback(FileSource& source, Findings* findings) {
  const SPlayback* playback = findings->Playback();
  if (!playback) return;
  if (!playback->bOpened) {
    return findings->Add({.pCode = "library-refuses",
                          .nOffset = 0,
                          .sConsequence = "nothing plays: the library answers " + StatusText(playback->nOpenStatus),
                          .sAdvice = kAdviceNoCopy});
  }
  if (playback->tracks.empty()) {
    findings->Add({.pCode = "no-track",
                   .nOffset = 0,
                   .sConsequence = "nothing plays: the library finds no picture, sound or text",
                   .sAdvice = kAdviceFields});
  }
  for (const STrackFacts& track : findings->Facts().Tracks()) {
    if (!track.pPlayed) {
      CheckNotPlayed(track, findings);
      continue;
    }
    CheckHeight(track, findings);
    CheckCodec(track, findings);
    CheckEnding(track, findings);
    if (findings->PlaysJoined()) continue;
    CheckClock(track, findings);
    CheckGarbage(track, source, findings);
    CheckLoss(track, findings);
    CheckGap(track, findings);
  }
}
