#include <fmt/format.h>

#include "tools/aviprobe/commands.h"
#include "tools/aviprobe/json_line.h"

namespace {

uint32_t FindTrack(const MediaFile& file, uint32_t type, const SSeekOptions& options) {
  const std::optional<uint32_t> track = options.nTrack ? options.nTrack : file.FirstTrack(type);
  if (!track) throw HostError(fmt::format("{}: has no {} track", file.Path(), options.sKind));
  if (*track >= file.TrackCount() || file.Track(*track).nTrackType != type || !file.Plays(*track)) {
    throw HostError(fmt::format("{}: track {} is no {} track that can be played", file.Path(), *track, options.sKind));
  }
  return *track;
}

}  // namespace

int RunSeek(const Host& host, const SSeekOptions& options) {
  const uint32_t type = options.sKind == "audio" ? AVI_TRACK_AUDIO : AVI_TRACK_VIDEO;
  const MediaFile file = host.Open(options.sFile);
  const uint32_t track = FindTrack(file, type, options);
  file.Select(track);
  file.Parser().Seek(options.nAtMs, static_cast<int>(type), options.nMode);

  Json json = {{"record", "seek"},      {"file", file.Path()},       {"track", track},
               {"type", options.sKind}, {"asked_ms", options.nAtMs}, {"mode", options.nMode},
               {"reached_ms", nullptr}, {"bytes", nullptr},          {"hash", nullptr}};
  std::string reached = "reached the end of the track";
  const SPullResult result = host.Pull(file, type, [&](const SUnit& unit) {
    const std::string hash = fmt::format("{:016x}", Hash(unit.payload));
    json["reached_ms"] = unit.nTimeMs;
    json["bytes"] = unit.payload.size();
    json["hash"] = hash;
    reached = fmt::format("reached {} ms, {} bytes, hash {}", unit.nTimeMs, unit.payload.size(), hash);
    return false;
  });
  json["empty_reads"] = result.nEmptyReads;
  json["end"] = EndingName(result.ending);
  json["status"] = result.nStatus;

  const std::string trouble = Trouble(result);
  if (host.Json()) {
    PrintJsonLine(json);
  } else if (trouble.empty()) {
    fmt::print("track {}: {}, asked {} ms, mode {}: {}\n", track, options.sKind, options.nAtMs, options.nMode, reached);
  }
  if (trouble.empty()) return 0;
  PrintError(fmt::format("{}: track {} {} after the seek", file.Path(), track, trouble));
  return 1;
}
