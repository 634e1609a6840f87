#include <fmt/format.h>

#include "tools/aviprobe/commands.h"
#include "tools/aviprobe/core_view.h"
#include "tools/aviprobe/json_line.h"
#include "tools/aviprobe/parser_library.h"

namespace {

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

}  // namespace

int RunIndex(const SHostOptions& host, const SIndexOptions& options) {
  const CoreView view(options.sFile, host.bStreaming, LogMask(host.nVerbosity));
  if (options.nTrack && *options.nTrack >= view.TrackCount()) {
    throw HostError(fmt::format("{}: has no track {}", options.sFile, *options.nTrack));
  }
  const auto wanted = [&](uint32_t track) { return !options.nTrack || *options.nTrack == track; };

  if (host.bJson) {
    Json tracks = Json::array();
    for (uint32_t track = 0; track < view.TrackCount(); ++track) {
      if (!wanted(track)) continue;
      tracks.push_back({{"track", track}, {"type", view.TrackType(track)}, {"entries", view.EntryCount(track)}});
    }
    PrintJsonLine({{"record", "index"}, {"file", options.sFile}, {"index", view.IndexKind()}, {"tracks", tracks}});
  } else {
    fmt::print("{}: {}\n", options.sFile, view.HasIndex() ? view.IndexKind() : "no index");
  }
  for (uint32_t track = 0; view.HasIndex() && track < view.TrackCount(); ++track) {
    if (!wanted(track)) continue;
    const uint32_t entries = view.EntryCount(track);
    if (!host.bJson) fmt::print("track {}: {}, {} entries\n", track, view.TrackType(track), entries);
    if (!host.bJson && entries) fmt::print("   entry     position     bytes   time ms\n");
    uint64_t bytesBefore = 0;
    for (uint32_t i = 0; i < entries; ++i) {
      const CoreView::SEntry entry = view.Entry(track, i, bytesBefore);
      PrintEntry(host.bJson, track, i, entry);
      bytesBefore += entry.nBytes;
    }
  }
  return 0;
}
