#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/commands/info_facts.h"
#include "tools/aviprobe/model/delivery.h"

namespace {

struct SInfoOptions {
  std::vector<std::string> files;
  bool bBrief = false;
  bool bPlay = false;
};

/// Says which tracks did not play to their end. @return whether all did.
bool AllPlayed(const Host& host, const SInfo& info) {
  bool all = true;
  Presence presence(host, info.sPath);
  for (const SInfoTrack& track : info.tracks) {
    if (!track.delivered) continue;
    const std::string trouble = Trouble(track.delivered->result);
    if (trouble.empty()) {
      all &= !presence.ComplainOfMissing(
          {track.nTrack, track.info.nTrackType, track.info.nCodecId, track.delivered->nUnits, track.delivered->nBytes});
      continue;
    }
    PrintError(
        fmt::format("{}: track {} {} after {} units", info.sPath, track.nTrack, trouble, track.delivered->nUnits));
    all = false;
  }
  return all;
}

int RunInfo(const SHostOptions& options, const SInfoOptions& wanted) {
  const Host host(options);
  const auto work = [&](const std::string& path, Progress& progress) -> int {
    const SInfo info = GatherInfo(host, path, wanted.bPlay, progress);
    const bool nothing =
        std::none_of(info.tracks.begin(), info.tracks.end(), [](const SInfoTrack& track) { return track.bPlayed; });
    const int code = nothing ? NothingToPlay(path) : kExitFine;
    if (options.bJson) {
      PrintInfoJson(info);
    } else {
      wanted.bBrief ? PrintInfoBrief(info) : PrintInfoText(info);
    }
    return AllPlayed(host, info) ? code : kExitFindings;
  };
  return WorstExit(ForEachFile(options, {}, wanted.files, work));
}

}  // namespace

void AddInfo(CLI::App& app, Command& command) {
  auto options = std::make_shared<SInfoOptions>();
  CommandOptions info(app, "info", "Show duration, indexes, tracks and their configuration");
  info.Files(&options->files);
  info.Flag("--brief", &options->bBrief, "A line per file");
  info.Flag("--play", &options->bPlay, "Play each track too, to tell what the library delivers of it; takes longer");
  info.OnRead([=, &command] { command = [=](const SHostOptions& host) { return RunInfo(host, *options); }; });
}
