#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>

#include "tools/aviprobe/commands/info_facts.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"
#include "tools/aviprobe/text/times.h"

namespace {

constexpr size_t kShownBytes = 64;
constexpr size_t kBitmapHeaderBytes = 40;

/// Whole milliseconds as a clock shows them.
std::string Clock(double ms) { return ClockText(static_cast<uint64_t>(std::llround(std::min(ms, 1e15)))); }

std::string Clock(const std::optional<double>& ms) { return ms ? Clock(*ms) : "unknown"; }

std::string Kilobits(double bitsPerSecond) { return fmt::format("{:.1f} kbit/s", bitsPerSecond / 1000); }

void Row(const char* name, const std::string& text) {
  if (!text.empty()) fmt::print("    {:<15}{}\n", name, text);
}

/// "30000/1001 = 29.970 frames/s", or why there is none.
std::string RateText(const SStreamHeader& header) {
  const std::string fraction = fmt::format("{}/{}", header.nRate, header.nScale);
  if (header.nScale == 0) return fraction + ", no rate: scale 0";
  if (header.nRate == 0) return fraction + ", no rate: rate 0";
  return fmt::format("{} = {:.3f} frames/s", fraction, static_cast<double>(header.nRate) / header.nScale);
}

std::string PictureText(const SInfoTrack& track) {
  const TrackInfo::Video& video = track.info.video;
  std::string library = fmt::format("{}x{}", video.nWidth, video.nHeight);
  if (!track.pHeader) return library;
  const int64_t width = track.pHeader->Width(), height = track.pHeader->Height();
  std::string text = fmt::format("{}x{}", width, std::abs(height));
  if (height < 0) text += fmt::format(", top-down (the header says {})", height);
  if (video.nWidth != width || video.nHeight != std::abs(height)) text += "; the library says " + library;
  return text;
}

std::string FormatText(const SInfoTrack& track) {
  std::string library = track.info.nTrackType == AVI_TRACK_NONE
                            ? "not described by the library"
                            : fmt::format("the library calls it {} ({})", track.sCodec, track.info.nCodecId);
  if (!track.pHeader) return library;
  const SStreamHeader& header = *track.pHeader;
  if (header.IsAudio()) return fmt::format("tag 0x{:04X}; {}", header.FormatTag(), library);
  if (header.IsVideo()) {
    const std::string format = header.Compression() == FourCC() && header.format.size() >= kBitmapHeaderBytes
                                   ? "uncompressed RGB (BI_RGB)"
                                   : fmt::format("FourCC \"{}\"", Printable(header.Compression().Text()));
    return fmt::format("{}, handler \"{}\"; {}", format, Printable(header.handler.Text()), library);
  }
  return fmt::format("stream of kind \"{}\"; {}", Printable(header.kind.Text()), library);
}

std::string SoundText(const SInfoTrack& track) {
  const TrackInfo::Audio& audio = track.info.audio;
  const std::string bits = track.IsNarrowed()          ? "24 bits, delivered as 16"
                           : audio.nBitsPerSample == 0 ? "bits not stated"
                                                       : fmt::format("{} bits", audio.nBitsPerSample);
  return fmt::format("{} Hz, {} {}, {}, blocks of {} bytes", audio.nSampleRate, audio.nChannels,
                     audio.nChannels == 1 ? "channel" : "channels", bits, audio.nBlockAlign);
}

std::string DeclaredText(const SInfoTrack& track) {
  if (!track.pHeader) return "no header found";
  const SStreamHeader& header = *track.pHeader;
  const std::optional<double> seconds = header.DeclaredSeconds();
  const std::string duration = seconds ? Clock(*seconds * 1000) : "no duration";
  if (header.IsVideo()) return fmt::format("{} frames, {}", header.nLength, duration);
  const std::string units = header.nSampleSize ? fmt::format("samples of {} bytes", header.nSampleSize) : "chunks";
  return fmt::format("{} {}, {}{}", header.nLength, units, duration,
                     header.IsAudio() ? ", " + Kilobits(8.0 * header.AvgBytesPerSec()) : "");
}

std::string PresentText(const SInfoTrack& track) {
  const SStreamMeasure& present = track.present;
  const std::optional<double> rate = present.BitRate();
  const char* noun = track.IsVideo() ? "frames" : "chunks";
  return fmt::format("{} {}, {} of them empty, {} bytes, {}{}", present.nChunks, noun, present.nEmpty, present.nBytes,
                     present.dMs ? Clock(*present.dMs) : "no duration", rate ? ", " + Kilobits(*rate) : "");
}

std::string DeliveredText(const SDelivered& delivered) {
  const std::string times =
      delivered.nUnits ? fmt::format(", at {} to {}", ClockText(delivered.nFirstMs), ClockText(delivered.nLastMs)) : "";
  const std::string trouble = Trouble(delivered.result);
  return fmt::format("{} units, {} bytes{}, {} empty reads{}{}", delivered.nUnits, delivered.nBytes, times,
                     delivered.nEmptyReads, trouble.empty() ? "" : "; ", trouble);
}

std::string KeysText(const SInfoTrack& track) {
  if (!track.keys) return "";
  const SKeyFrames& keys = *track.keys;
  std::string text = fmt::format("{} of {} frames by the index", keys.nKeys, keys.nEntries);
  if (keys.nKeys < 2) return text;
  if (keys.nShortest == keys.nLongest) {
    text += keys.nLongest == 1 ? ", every frame" : fmt::format(", every {} frames", keys.nLongest);
  } else {
    text += fmt::format(", {} to {} frames apart, {:.1f} on average", keys.nShortest, keys.nLongest, keys.dAverage);
  }
  const StreamClock clock(*track.pHeader);
  if (clock.Runs()) text += fmt::format(", at the most {}", Clock(clock.Ms(keys.nLongest, 0)));
  return text;
}

std::string ConfigText(const SInfoTrack& track) {
  if (track.nConfig == 0) return "";
  const std::span<const uint8_t> shown(track.config.data(), std::min(track.config.size(), kShownBytes));
  return fmt::format("{} bytes: {:02x}{}", track.nConfig, fmt::join(shown, " "),
                     track.nConfig > shown.size() ? " ..." : "");
}

void PrintTrack(const SInfoTrack& track) {
  const bool passed = track.info.nTrackType != AVI_TRACK_NONE && !track.bPlayed;
  fmt::print("  track {}: {}{}\n", track.nTrack, TrackTypeName(track.info.nTrackType),
             passed ? ", not the one that is played" : "");
  Row("format", FormatText(track));
  if (track.IsVideo()) {
    Row("picture", PictureText(track));
    if (track.pHeader) Row("frame rate", RateText(*track.pHeader));
  }
  if (track.IsAudio()) Row("sound", SoundText(track));
  if (track.info.nTrackType == AVI_TRACK_TEXT) {
    Row("subtitles",
        fmt::format("name \"{}\"{}{}", Printable(track.sTextName.value_or("")),
                    track.info.text.bSubtitle ? ", bitmap" : "", track.info.text.bSubtitleAlpha ? ", with alpha" : ""));
  }
  Row("declared", DeclaredText(track));
  if (track.pHeader && track.pHeader->nStart) Row("starts at", fmt::format("{} (dwStart)", track.pHeader->nStart));
  if (track.pHeader) Row("in the file", PresentText(track));
  if (track.delivered) Row("delivered", DeliveredText(*track.delivered));
  Row("key frames", KeysText(track));
  Row("configuration", ConfigText(track));
}

std::string OneIndexText(const char* name, bool present, size_t entries) {
  return present ? fmt::format("{} with {} entries", name, entries) : fmt::format("no {}", name);
}

/// What the library goes by.
std::string PlaysByText(const SInfo& info) {
  if (info.IsIndexed()) return fmt::format("plays by {}, {} entries", info.sIndexKind, info.nIndexEntries);
  if (!info.bSeekable) return "plays without an index: no seeking";
  return fmt::format("plays by {}, which has no entries for its tracks", info.sIndexKind);
}

}  // namespace

void PrintInfoText(const SInfo& info) {
  fmt::print("{}\n", Shown(info.sPath));
  fmt::print("  size      {} bytes\n", info.map.nSize);
  fmt::print("  duration  {} ({} ms) as the library says, {} by what is in the file\n", ClockText(info.nDurationMs),
             info.nDurationMs, Clock(info.PresentMs()));
  fmt::print("  index     {}; the file has {}, {}\n", PlaysByText(info),
             OneIndexText("legacy idx1", info.map.idx1.has_value(), info.map.legacy.size()),
             OneIndexText("OpenDML", info.HasOpenDml(), info.map.odml.size()));
  if (info.tracks.empty()) fmt::print("  no streams\n");
  for (const SInfoTrack& track : info.tracks) PrintTrack(track);
}

void PrintInfoBrief(const SInfo& info) {
  const std::string index =
      info.IsIndexed() ? fmt::format("{} ({} entries)", info.sIndexKind, info.nIndexEntries) : "not indexed";
  fmt::print("{}: {}, {} bytes, {}", Shown(info.sPath), ClockText(info.nDurationMs), info.map.nSize, index);
  if (info.tracks.empty()) fmt::print("; no streams");
  for (const SInfoTrack& track : info.tracks) {
    fmt::print("; {} {} {}", track.nTrack, TrackTypeName(track.info.nTrackType), track.sCodec);
    if (track.IsVideo()) {
      fmt::print(" {}", PictureText(track));
      if (track.pHeader) fmt::print(" {}", RateText(*track.pHeader));
    }
    if (track.IsAudio()) fmt::print(" {} Hz {} ch", track.info.audio.nSampleRate, track.info.audio.nChannels);
  }
  fmt::print("\n");
}
