#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/aviprobe/commands.h"
#include "tools/aviprobe/json_line.h"
#include "tools/aviprobe/names.h"

namespace {

constexpr size_t kShownBytes = 64;

/// What a decoder needs before the first unit.
struct SConfig {
  unsigned long nLength = 0;       ///< bytes that it has
  std::span<const uint8_t> bytes;  ///< in the host's buffer; empty when it is larger than that
};

SConfig ReadConfig(const Host& host, const MediaFile& file, uint32_t track) {
  const std::span<uint8_t> buffer = host.Buffer();
  SConfig config;
  int status = AVI_ERROR;
  if (file.Plays(track)) {
    const uint32_t type = file.Track(track).nTrackType;
    file.Select(track);
    if (type == AVI_TRACK_VIDEO) status = file.Parser().GetVideoConfig(buffer.data(), &config.nLength, buffer.size());
    if (type == AVI_TRACK_AUDIO) status = file.Parser().GetAudioConfig(buffer.data(), &config.nLength, buffer.size());
  }
  if (status == AVI_OK && config.nLength <= buffer.size()) config.bytes = buffer.first(config.nLength);
  return config;
}

std::string Hex(std::span<const uint8_t> bytes, const char* separator) {
  return fmt::format("{:02x}", fmt::join(bytes, separator));
}

/// Text from the file with everything that could upset a terminal made visible.
std::string Printable(const char* text) {
  std::string shown;
  for (; *text; ++text) {
    const auto c = static_cast<unsigned char>(*text);
    shown += c >= 0x20 && c != 0x7F && c < 0x80 ? std::string(1, *text) : fmt::format("\\x{:02x}", c);
  }
  return shown;
}

bool Seekable(const TrackInfo& info) {
  switch (info.nTrackType) {
    case AVI_TRACK_VIDEO:
      return info.video.bSeekable;
    case AVI_TRACK_AUDIO:
      return info.audio.bSeekable;
    case AVI_TRACK_TEXT:
      return info.text.bSeekable;
  }
  return false;
}

/// The index is the file's, so any track can answer.
bool Indexed(const MediaFile& file) {
  for (uint32_t track = 0; track < file.TrackCount(); ++track) {
    if (Seekable(file.Track(track))) return true;
  }
  return false;
}

std::string Describe(const TrackInfo& info) {
  const std::string codec = fmt::format("{} ({})", CodecName(info.nTrackType, info.nCodecId), info.nCodecId);
  switch (info.nTrackType) {
    case AVI_TRACK_VIDEO:
      return fmt::format("{}, {}x{}, {} fps", codec, info.video.nWidth, info.video.nHeight, info.video.nFrameRate);
    case AVI_TRACK_AUDIO:
      return fmt::format("{}, {} Hz, {} channels, {} bits, {} bit/s, blocks of {}, {} extra bytes", codec,
                         info.audio.nSampleRate, info.audio.nChannels, info.audio.nBitsPerSample, info.audio.nBitRate,
                         info.audio.nBlockAlign, info.audio.nExtraSize);
    case AVI_TRACK_TEXT:
      return fmt::format("{}, name \"{}\"{}{}", codec,
                         Printable(info.text.pSubtitleName ? info.text.pSubtitleName : ""),
                         info.text.bSubtitle ? ", bitmap" : "", info.text.bSubtitleAlpha ? ", with alpha" : "");
  }
  return "not described by the library";
}

void PrintText(const Host& host, const MediaFile& file) {
  const std::string tracks = file.TrackCount() ? fmt::format("tracks: {}", file.TrackCount()) : "no streams";
  fmt::print("{}: {} ms, {}, {}\n", file.Path(), file.Duration(), Indexed(file) ? "indexed" : "no index", tracks);
  for (uint32_t track = 0; track < file.TrackCount(); ++track) {
    const TrackInfo& info = file.Track(track);
    fmt::print("  track {}: {}, {}{}\n", track, TrackTypeName(info.nTrackType), Describe(info),
               info.nTrackType == AVI_TRACK_NONE || file.Plays(track) ? "" : "; not the one that is played");
    const SConfig config = ReadConfig(host, file, track);
    if (config.nLength == 0) continue;
    fmt::print("    configuration, {} bytes: {}{}\n", config.nLength,
               Hex(config.bytes.first(std::min(config.bytes.size(), kShownBytes)), " "),
               config.nLength > std::min(config.bytes.size(), kShownBytes) ? " ..." : "");
  }
}

Json TrackJson(const Host& host, const MediaFile& file, uint32_t track) {
  const TrackInfo& info = file.Track(track);
  Json json = {{"track", track},
               {"type", TrackTypeName(info.nTrackType)},
               {"codec_id", info.nCodecId},
               {"codec", CodecName(info.nTrackType, info.nCodecId)},
               {"played", file.Plays(track)},
               {"seekable", Seekable(info)}};
  switch (info.nTrackType) {
    case AVI_TRACK_VIDEO:
      json["width"] = info.video.nWidth;
      json["height"] = info.video.nHeight;
      json["frame_rate"] = info.video.nFrameRate;
      break;
    case AVI_TRACK_AUDIO:
      json["sample_rate"] = info.audio.nSampleRate;
      json["channels"] = info.audio.nChannels;
      json["bits_per_sample"] = info.audio.nBitsPerSample;
      json["bit_rate"] = info.audio.nBitRate;
      json["block_align"] = info.audio.nBlockAlign;
      json["extra_bytes"] = info.audio.nExtraSize;
      break;
    case AVI_TRACK_TEXT:
      json["name"] = info.text.pSubtitleName ? Json(info.text.pSubtitleName) : Json();
      json["bitmap"] = info.text.bSubtitle != 0;
      json["alpha"] = info.text.bSubtitleAlpha != 0;
      break;
  }
  const SConfig config = ReadConfig(host, file, track);
  json["config_bytes"] = config.nLength;
  json["config"] = Hex(config.bytes, "");
  return json;
}

void PrintJson(const Host& host, const MediaFile& file) {
  Json tracks = Json::array();
  for (uint32_t track = 0; track < file.TrackCount(); ++track) tracks.push_back(TrackJson(host, file, track));
  PrintJsonLine({{"record", "file"},
                 {"file", file.Path()},
                 {"duration_ms", file.Duration()},
                 {"indexed", Indexed(file)},
                 {"tracks", tracks}});
}

}  // namespace

int RunInfo(const Host& host, const std::vector<std::string>& files) {
  int code = 0;
  for (const std::string& path : files) {
    try {
      const MediaFile file = host.Open(path);
      host.Json() ? PrintJson(host, file) : PrintText(host, file);
    } catch (const HostError& error) {
      PrintError(error.what());
      code = 1;
    }
  }
  return code;
}
