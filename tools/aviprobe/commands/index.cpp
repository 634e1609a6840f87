#include <fmt/format.h>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/core_view.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/host/parser_library.h"
#include "tools/aviprobe/model/delivery.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct SIndexOptions {
  std::vector<std::string> files;
  std::optional<uint32_t> nTrack;  ///< only this track
};

// Written without a JSON object on the way: an index may have millions of these.
void PrintEntry(bool json, uint32_t track, uint32_t number, const CoreView::SEntry& entry) {
  const std::string time = entry.nTimeMs ? fmt::format("{}", *entry.nTimeMs) : json ? "null" : "-";
  if (json) {
    fmt::print(R"({{"record":"entry","track":{},"entry":{},"position":{},"bytes":{},"key":{},"time_ms":{}}})"
               "\n",
               track, number, entry.nPosition, entry.nBytes, entry.bKey, time);
  } else {
    fmt::print("{:>8} {:>12} {:>9} {:>9}{}\n", number, entry.nPosition, entry.nBytes, time, entry.bKey ? "  key" : "");
  }
}

int RunIndex(const SHostOptions& host, const SIndexOptions& options, const std::string& path, Progress& progress) {
  progress.Stage("opening");
  const CoreView view(path, host, LogMask(host.nVerbosity));
  if (view.TrackCount() == 0) return NothingToPlay(path);
  if (options.nTrack && *options.nTrack >= view.TrackCount()) {
    throw HostError(fmt::format("{}: has no track {}", path, *options.nTrack));
  }
  const auto wanted = [&](uint32_t track) { return !options.nTrack || *options.nTrack == track; };

  if (host.bJson) {
    Json tracks = Json::array();
    for (uint32_t track = 0; track < view.TrackCount(); ++track) {
      if (!wanted(track)) continue;
      tracks.push_back({{"track", track}, {"type", view.TrackType(track)}, {"entries", view.EntryCount(track)}});
    }
    PrintJsonLine({{"record", "index"}, {"file", path}, {"index", view.IndexKind()}, {"tracks", tracks}});
  } else {
    fmt::print("{}: {}\n", Shown(path), view.HasIndex() ? view.IndexKind() : "no index");
  }
  for (uint32_t track = 0; view.HasIndex() && track < view.TrackCount(); ++track) {
    if (!wanted(track)) continue;
    const uint32_t entries = view.EntryCount(track);
    if (!host.bJson) fmt::print("track {}: {}, {} entries\n", track, view.TrackType(track), entries);
    if (!host.bJson && entries) fmt::print("   entry     position     bytes   time ms\n");
    uint64_t bytesBefore = 0;
    progress.Stage(fmt::format("listing the index of track {}", track));
    for (uint32_t i = 0; i < entries; ++i) {
      const CoreView::SEntry entry = view.Entry(track, i, bytesBefore);
      PrintEntry(host.bJson, track, i, entry);
      bytesBefore += entry.nBytes;
    }
  }
  return kExitFine;
}

}  // namespace

void AddIndex(CLI::App& app, Command& command) {
  auto options = std::make_shared<SIndexOptions>();
  CommandOptions index(app, "index", "List the entries of the file's index");
  index.Files(&options->files);
  index.Track("--track", &options->nTrack, "Only this track");
  index.OnRead([=, &command] {
    command = [=](const SHostOptions& host) {
      return WorstExit(ForEachFile(host, {}, options->files, [&](const std::string& path, Progress& progress) {
        return RunIndex(host, *options, path, progress);
      }));
    };
  });
}
