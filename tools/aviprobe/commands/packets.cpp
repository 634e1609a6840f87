#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/delivery.h"
#include "tools/aviprobe/model/playback.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct SPacketsOptions {
  std::vector<std::string> files;
  std::optional<uint32_t> nTrack;  ///< only this track
  bool bHash = false;
  bool bPosition = false;
  bool bKey = false;
  bool bSummary = false;         ///< a line per track instead of one per unit
  std::string sOrder = "track";  ///< "track": as they are played; "file": merged by position
};

/// Chunks without bytes of each stream, as stand for pictures that do not change.
std::vector<uint64_t> CountEmptyFrames(const SFileMap& map) {
  std::vector<uint64_t> counts(map.streams.size());
  for (const SChunk& chunk : std::span(map.chunks).first(map.OwnChunks())) {
    const bool empty = chunk.bData && chunk.nSize == 0 && chunk.nStream >= 0;
    if (empty && static_cast<size_t>(chunk.nStream) < counts.size()) ++counts[static_cast<size_t>(chunk.nStream)];
  }
  return counts;
}

class Printer {
 public:
  Printer(const Host& host, const SPacketsOptions& options, const std::string& path, Presence* presence)
      : m_bJson(host.Json()), m_Options(options), m_sPath(path), m_Presence(*presence) {
    // One file's records need not say whose they are: the total does.
    if (m_bJson && options.files.size() > 1) m_sOfFile = fmt::format(R"(,"file":{})", Quoted(path));
    if (m_bJson) return;
    if (options.files.size() > 1) fmt::print("{}\n", Shown(path));
    if (options.bSummary) return;
    fmt::print("track   time ms     bytes{}  {:<{}}{}{}\n", options.bHash ? "  hash            " : "", "time",
               options.bPosition || options.bKey ? 12 : 0, options.bPosition ? "      position" : "",
               options.bKey ? "  key" : "");
  }

  // Written without a JSON object on the way: a film has a hundred thousand of these.
  void Unit(uint32_t track, const SPlayedUnit& unit) const {
    if (m_Options.bSummary) return;
    m_bJson ? JsonUnit(track, unit) : TextUnit(track, unit);
  }

  void Track(const STrackPlayback& track) {
    if (!m_EmptyFrames) m_EmptyFrames = CountEmptyFrames(m_Presence.Map());
    m_bJson ? JsonTrack(track) : TextTrack(track);
  }

  void Total(const SPlayback& playback, int failed) const {
    uint64_t units = 0, bytes = 0, emptyReads = 0;
    for (const STrackPlayback& track : playback.tracks) {
      units += track.nUnits;
      bytes += track.nBytes;
      emptyReads += track.nEmptyReads;
    }
    const size_t tracks = playback.tracks.size();
    if (m_bJson) {
      return PrintJsonLine({{"record", "total"},
                            {"file", m_sPath},
                            {"tracks", tracks},
                            {"units", units},
                            {"bytes", bytes},
                            {"empty_reads", emptyReads},
                            {"failed_tracks", failed},
                            {"source_reads", playback.nReads},
                            {"source_bytes", playback.nBytesRead}});
    }
    fmt::print("total: {} units, {} bytes, {} empty reads, tracks: {}\n", units, bytes, emptyReads, tracks);
  }

 private:
  static std::string Quoted(const std::string& text) { return JsonText(text); }

  void JsonUnit(uint32_t track, const SPlayedUnit& unit) const {
    fmt::print(R"({{"record":"unit"{},"track":{},"time_ms":{},"bytes":{})", m_sOfFile, track, unit.nTimeMs,
               unit.nBytes);
    if (m_Options.bHash) fmt::print(R"(,"hash":"{:016x}")", unit.nHash);
    fmt::print(R"(,"time":"{}")", ClockText(unit.nTimeMs));
    if (m_Options.bPosition) {
      fmt::print(R"(,"position":{})", unit.nPosition < 0 ? "null" : std::to_string(unit.nPosition));
    }
    if (m_Options.bKey) fmt::print(R"(,"key":{})", !unit.bKeyKnown ? "null" : unit.bKey ? "true" : "false");
    fmt::print("}}\n");
  }

  void TextUnit(uint32_t track, const SPlayedUnit& unit) const {
    fmt::print("{:>5} {:>9} {:>9}", track, unit.nTimeMs, unit.nBytes);
    if (m_Options.bHash) fmt::print("  {:016x}", unit.nHash);
    fmt::print("  {}", ClockText(unit.nTimeMs));
    if (m_Options.bPosition) fmt::print("  {:>12}", unit.nPosition < 0 ? "-" : std::to_string(unit.nPosition));
    if (m_Options.bKey) fmt::print("  {}", !unit.bKeyKnown ? "?" : unit.bKey ? "key" : "-");
    fmt::print("\n");
  }

  uint64_t EmptyFrames(const STrackPlayback& track) const {
    return track.nTrack < m_EmptyFrames->size() ? (*m_EmptyFrames)[track.nTrack] : 0;
  }

  void JsonTrack(const STrackPlayback& track) const {
    Json json = {{"record", "track"},
                 {"track", track.nTrack},
                 {"type", TrackTypeName(track.info.nTrackType)},
                 {"codec_id", track.info.nCodecId},
                 {"codec", CodecName(track.info.nTrackType, track.info.nCodecId)},
                 {"units", track.nUnits},
                 {"bytes", track.nBytes},
                 {"empty_reads", track.nEmptyReads},
                 {"empty_frames", EmptyFrames(track)},
                 {"first_ms", track.nUnits ? Json(track.nFirstMs) : Json()},
                 {"last_ms", track.nUnits ? Json(track.nLastMs) : Json()},
                 {"end", EndingName(track.ending)},
                 {"status", track.nStatus}};
    if (m_Options.bHash) json["hash"] = fmt::format("{:016x}", track.nHash);
    if (m_Options.files.size() > 1) json["file"] = m_sPath;
    if (track.nGrown) json["grown_bytes"] = track.nGrown;
    if (track.nTooLarge) json["too_large_bytes"] = track.nTooLarge;
    PrintJsonLine(json);
  }

  void TextTrack(const STrackPlayback& track) const {
    fmt::print("track {}: {}, {}: {} units, {} bytes", track.nTrack, TrackTypeName(track.info.nTrackType),
               CodecName(track.info.nTrackType, track.info.nCodecId), track.nUnits, track.nBytes);
    if (track.nUnits) fmt::print(", {} to {} ms", track.nFirstMs, track.nLastMs);
    fmt::print(", {} empty reads, {} empty frames in the file", track.nEmptyReads, EmptyFrames(track));
    if (m_Options.bHash) fmt::print(", hash {:016x}", track.nHash);
    if (track.nGrown) fmt::print(", needs a buffer of {} bytes", track.nGrown);
    if (track.ending != Ending::kEndOfTrack) fmt::print(", {}", EndingName(track.ending));
    fmt::print("\n");
  }

  bool m_bJson;
  const SPacketsOptions& m_Options;
  std::string m_sPath;
  Presence& m_Presence;
  std::string m_sOfFile;
  std::optional<std::vector<uint64_t>> m_EmptyFrames;  // by track; none yet
};

struct SPlaced {
  int64_t nPosition;
  uint32_t nTrack;
  const SPlayedUnit* pUnit;
};

/// All units by position. One without a read of its own goes with those before it on its track.
std::vector<SPlaced> InFileOrder(const SPlayback& playback) {
  std::vector<SPlaced> placed;
  for (const STrackPlayback& track : playback.tracks) {
    int64_t position = 0;
    for (const SPlayedUnit& unit : track.units) {
      if (unit.nPosition >= 0) position = unit.nPosition;
      placed.push_back({position, track.nTrack, &unit});
    }
  }
  std::stable_sort(placed.begin(), placed.end(),
                   [](const SPlaced& a, const SPlaced& b) { return a.nPosition < b.nPosition; });
  return placed;
}

int RunPackets(const Host& host, const SPacketsOptions& options, const std::string& path, Progress& progress) {
  const bool merged = options.sOrder == "file" && !options.bSummary;
  Presence presence(host, path);
  std::optional<Printer> printer;
  int failed = 0;
  const auto complain = [&](const STrackPlayback& track, const SPullResult& result) {
    const std::string trouble = Trouble(result);
    if (trouble.empty()) {
      failed += presence.ComplainOfMissing(
          {track.nTrack, track.info.nTrackType, track.info.nCodecId, track.nUnits, track.nBytes});
      return;
    }
    PrintError(fmt::format("{}: track {} {} after {} units", path, track.nTrack, trouble, track.nUnits));
    ++failed;
  };

  SPlayOptions play;
  play.nTrack = options.nTrack;
  play.bHash = options.bHash;
  play.bUnits = merged;
  play.onStage = [&](const std::string& stage) { progress.Stage(stage); };
  play.onDone = [&](double share) { progress.Done(share); };
  play.onOpened = [&](const MediaFile&) { printer.emplace(host, options, path, &presence); };
  if (!merged) play.onUnit = [&](uint32_t track, const SUnit&, const SPlayedUnit& unit) { printer->Unit(track, unit); };
  play.onTrack = [&](const STrackPlayback& track, const SPullResult& result) {
    if (!merged) printer->Track(track);
    complain(track, result);
  };
  const SPlayback playback = Play(host, path, play);
  if (!playback.bOpened) throw HostError(playback.sRefusal);
  if (merged) {
    for (const SPlaced& unit : InFileOrder(playback)) printer->Unit(unit.nTrack, *unit.pUnit);
    for (const STrackPlayback& track : playback.tracks) printer->Track(track);
  }
  printer->Total(playback, failed);
  if (playback.tracks.empty()) return NothingToPlay(path);
  return failed ? kExitFindings : kExitFine;
}

}  // namespace

void AddPackets(CLI::App& app, Command& command) {
  auto options = std::make_shared<SPacketsOptions>();
  CommandOptions packets(app, "packets", "List the units that the library delivers");
  packets.Files(&options->files);
  packets.Track("--track", &options->nTrack, "Only this track");
  packets.Flag("--hash", &options->bHash, "Add a hash of the bytes (FNV-1a, 64 bits)");
  packets.Flag("--pos", &options->bPosition, "Add where in the file the library read it");
  packets.Flag("--key", &options->bKey, "Add whether it is a key frame, as far as its bytes tell");
  packets
      .OneOf("--order", &options->sOrder, {"track", "file"}, "track|file",
             "One track after the other as they are played, or merged as in the file")
      .ShowDefault();
  packets.Flag("--summary", &options->bSummary, "Only a line per track and the total");
  packets.OnRead([=, &command] {
    command = [=](const SHostOptions& hostOptions) {
      const Host host(hostOptions);
      return WorstExit(ForEachFile(hostOptions, {}, options->files, [&](const std::string& path, Progress& progress) {
        return RunPackets(host, *options, path, progress);
      }));
    };
  });
}
