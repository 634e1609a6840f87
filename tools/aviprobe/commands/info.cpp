#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/core_view.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"

namespace {

constexpr size_t kShownBytes = 64;

std::string Hex(std::span<const uint8_t> bytes, const char* separator) {
  return fmt::format("{:02x}", fmt::join(bytes, separator));
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

/// The one thing here that no host can ask for: the library's own classes tell it, from a parse of their own. They stay
/// silent, the library having said it all.
const char* IndexKind(const Host& host, const MediaFile& file) {
  return CoreView(file.Path(), host.Options().bStreaming, 0).IndexKind();
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
  fmt::print("  index: {}\n", IndexKind(host, file));
  for (uint32_t track = 0; track < file.TrackCount(); ++track) {
    const TrackInfo& info = file.Track(track);
    fmt::print("  track {}: {}, {}{}\n", track, TrackTypeName(info.nTrackType), Describe(info),
               info.nTrackType == AVI_TRACK_NONE || file.Plays(track) ? "" : "; not the one that is played");
    const MediaFile::SConfig config = file.ReadConfig(track, host.Buffer());
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
  const MediaFile::SConfig config = file.ReadConfig(track, host.Buffer());
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
                 {"index", IndexKind(host, file)},
                 {"tracks", tracks}});
}

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

}  // namespace

void AddInfo(CLI::App& app, Command& command) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* info = app.add_subcommand("info", "Show duration, tracks and their configuration");
  info->add_option("FILE", *files, "AVI files")->required();
  info->callback([=, &command] { command = [=](const SHostOptions& host) { return RunInfo(Host(host), *files); }; });
}
