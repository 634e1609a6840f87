#include <fmt/format.h>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/delivery.h"
#include "tools/aviprobe/model/playback.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/shown.h"
#include "tools/aviprobe/text/times.h"

namespace {

struct SSeekOptions {
  std::vector<std::string> files;
  uint32_t nAtMs = 0;
  int nMode = 0;                   ///< see IParser::Seek
  std::string sKind = "video";     ///< "video" or "audio"
  std::optional<uint32_t> nTrack;  ///< empty: the first one of that kind
};

uint32_t FindTrack(const MediaFile& file, uint32_t type, const SSeekOptions& options) {
  const std::optional<uint32_t> track = options.nTrack ? options.nTrack : file.FirstTrack(type);
  if (!track) throw HostError(fmt::format("{}: has no {} track", file.Path(), options.sKind));
  if (*track >= file.TrackCount() || file.Track(*track).nTrackType != type || !file.Plays(*track)) {
    throw HostError(fmt::format("{}: track {} is no {} track that can be played", file.Path(), *track, options.sKind));
  }
  return *track;
}

/// Says so when a seek that gave nothing should have given something. @return whether it should.
bool ComplainOfLost(const Host& host, uint32_t track, const SSeekOptions& options, const std::string& path,
                    Progress& progress) {
  constexpr uint64_t kSlackMs = 500;
  progress.Stage(fmt::format("playing track {} to see where it ends", track));
  const MediaFile file = host.Open(path);  // the other one stands where the seek led
  const TrackInfo& info = file.Track(track);
  STrackDelivery delivery{track, info.nTrackType, info.nCodecId};
  uint64_t lastMs = 0;
  host.PullTrack(file, track, [&](const SUnit& unit) {
    ++delivery.nUnits;
    delivery.nBytes += unit.payload.size();
    lastMs = unit.nTimeMs;
    return true;
  });
  Presence presence(host, path);
  if (options.nAtMs < presence.Ms(track) && presence.ComplainOfMissing(delivery)) return true;
  // Behind the last key frame mode 1 finds none.
  if (options.nMode == 1 || options.nAtMs + kSlackMs >= lastMs) return false;
  PrintError(fmt::format("{}: track {}: nothing came after the seek, though it goes on to {} ms", path, track, lastMs));
  return true;
}

int RunSeek(const Host& host, const SSeekOptions& options, const std::string& path, Progress& progress) {
  const uint32_t type = options.sKind == "audio" ? AVI_TRACK_AUDIO : AVI_TRACK_VIDEO;
  progress.Stage("opening");
  const MediaFile file = host.Open(path);
  if (PlayedTracks(file, {}).empty()) return NothingToPlay(path);
  const uint32_t track = FindTrack(file, type, options);
  file.Select(track);
  progress.Stage(fmt::format("seeking in track {} to {}", track, ClockText(options.nAtMs)));
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
    if (options.files.size() > 1) fmt::print("{}: ", Shown(path));
    fmt::print("track {}: {}, asked {} ms, mode {}: {}\n", track, options.sKind, options.nAtMs, options.nMode, reached);
  }
  if (trouble.empty()) {
    const bool ended = result.ending == Ending::kEndOfTrack;
    return ended && ComplainOfLost(host, track, options, path, progress) ? kExitFindings : kExitFine;
  }
  PrintError(fmt::format("{}: track {} {} after the seek", file.Path(), track, trouble));
  return kExitFindings;
}

}  // namespace

void AddSeek(CLI::App& app, Command& command) {
  auto options = std::make_shared<SSeekOptions>();
  CommandOptions seek(app, "seek", "Seek and show the unit that comes next");
  seek.Files(&options->files);
  seek.Time("--at", &options->nAtMs, "Time to go to: 1500, 1500ms, 1.5s, 00:01:30.500").Required();
  seek.Number("--mode", &options->nMode, {0, 3}, "0..3",
              "Key frame: 0 at or before, 1 at or after, 2 or 3 the nearer one")
      .ShowDefault();
  seek.OneOf("--kind", &options->sKind, {"video", "audio"}, "video|audio", "What to seek in").ShowDefault();
  seek.Track("--track", &options->nTrack, "The track instead of the first one of its kind");
  seek.OnRead([=, &command] {
    command = [=](const SHostOptions& hostOptions) {
      const Host host(hostOptions);
      return WorstExit(ForEachFile(hostOptions, {}, options->files, [&](const std::string& path, Progress& progress) {
        return RunSeek(host, *options, path, progress);
      }));
    };
  });
}
