#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"

namespace {

struct SPacketsOptions {
  std::string sFile;
  std::optional<uint32_t> nTrack;  ///< only this track
  bool bHash = false;
  bool bSummary = false;  ///< a line per track instead of one per unit
};

struct STotal {
  uint64_t nUnits = 0;
  uint64_t nBytes = 0;
  uint64_t nEmptyReads = 0;
  unsigned long nFirstMs = 0;
  unsigned long nLastMs = 0;
  uint64_t nHash = kHashStart;  // of the units' hashes, so that a moved boundary between two units shows
};

uint64_t AddHash(uint64_t unitHash, uint64_t hash) {
  uint8_t bytes[8];
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<uint8_t>(unitHash >> (8 * i));
  return Hash(bytes, hash);
}

/// The tracks in the order in which they are pulled: video, audio, text.
std::vector<uint32_t> PlayedTracks(const MediaFile& file, const std::optional<uint32_t>& only) {
  if (only) {
    file.CheckPlays(*only);
    return {*only};
  }
  std::vector<uint32_t> tracks;
  for (const uint32_t type : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT}) {
    for (uint32_t track = 0; track < file.TrackCount(); ++track) {
      if (file.Track(track).nTrackType == type && file.Plays(track)) tracks.push_back(track);
    }
  }
  return tracks;
}

class Printer {
 public:
  Printer(const Host& host, const SPacketsOptions& options)
      : m_bJson(host.Json()), m_bHash(options.bHash), m_bUnits(!options.bSummary) {
    if (m_bUnits && !m_bJson) fmt::print("track   time ms     bytes{}\n", m_bHash ? "  hash" : "");
  }

  // Written without a JSON object on the way: a film has a hundred thousand of these.
  void Unit(uint32_t track, const SUnit& unit, uint64_t hash) const {
    if (!m_bUnits) return;
    const size_t bytes = unit.payload.size();
    if (m_bJson) {
      fmt::print(R"({{"record":"unit","track":{},"time_ms":{},"bytes":{})", track, unit.nTimeMs, bytes);
      if (m_bHash) fmt::print(R"(,"hash":"{:016x}")", hash);
      fmt::print("}}\n");
    } else {
      fmt::print("{:>5} {:>9} {:>9}", track, unit.nTimeMs, bytes);
      if (m_bHash) fmt::print("  {:016x}", hash);
      fmt::print("\n");
    }
  }

  void Track(uint32_t track, const TrackInfo& info, const STotal& total, const SPullResult& result) const {
    const char* type = TrackTypeName(info.nTrackType);
    const char* codec = CodecName(info.nTrackType, info.nCodecId);
    if (m_bJson) {
      Json json = {{"record", "track"},
                   {"track", track},
                   {"type", type},
                   {"codec_id", info.nCodecId},
                   {"codec", codec},
                   {"units", total.nUnits},
                   {"bytes", total.nBytes},
                   {"empty_reads", total.nEmptyReads},
                   {"first_ms", total.nUnits ? Json(total.nFirstMs) : Json()},
                   {"last_ms", total.nUnits ? Json(total.nLastMs) : Json()},
                   {"end", EndingName(result.ending)},
                   {"status", result.nStatus}};
      if (m_bHash) json["hash"] = fmt::format("{:016x}", total.nHash);
      return PrintJsonLine(json);
    }
    fmt::print("track {}: {}, {}: {} units, {} bytes", track, type, codec, total.nUnits, total.nBytes);
    if (total.nUnits) fmt::print(", {} to {} ms", total.nFirstMs, total.nLastMs);
    fmt::print(", {} empty reads", total.nEmptyReads);
    if (m_bHash) fmt::print(", hash {:016x}", total.nHash);
    if (result.ending != Ending::kEndOfTrack) fmt::print(", {}", EndingName(result.ending));
    fmt::print("\n");
  }

  void Total(const MediaFile& file, size_t tracks, const STotal& total, int failed) const {
    if (m_bJson) {
      return PrintJsonLine({{"record", "total"},
                            {"file", file.Path()},
                            {"tracks", tracks},
                            {"units", total.nUnits},
                            {"bytes", total.nBytes},
                            {"empty_reads", total.nEmptyReads},
                            {"failed_tracks", failed}});
    }
    fmt::print("total: {} units, {} bytes, {} empty reads, tracks: {}\n", total.nUnits, total.nBytes, total.nEmptyReads,
               tracks);
  }

 private:
  bool m_bJson, m_bHash, m_bUnits;
};

int RunPackets(const Host& host, const SPacketsOptions& options) {
  const MediaFile file = host.Open(options.sFile);
  const std::vector<uint32_t> tracks = PlayedTracks(file, options.nTrack);
  const Printer printer(host, options);
  STotal sum;
  int failed = 0;
  for (const uint32_t track : tracks) {
    const TrackInfo& info = file.Track(track);
    STotal total;
    const SPullResult result = host.PullTrack(file, track, [&](const SUnit& unit) {
      const uint64_t hash = options.bHash ? Hash(unit.payload) : 0;
      if (options.bHash) total.nHash = AddHash(hash, total.nHash);
      if (total.nUnits++ == 0) total.nFirstMs = unit.nTimeMs;
      total.nLastMs = unit.nTimeMs;
      total.nBytes += unit.payload.size();
      printer.Unit(track, unit, hash);
      return true;
    });
    total.nEmptyReads = result.nEmptyReads;
    printer.Track(track, info, total, result);
    if (const std::string trouble = Trouble(result); !trouble.empty()) {
      PrintError(fmt::format("{}: track {} {} after {} units", file.Path(), track, trouble, total.nUnits));
      ++failed;
    }
    sum.nUnits += total.nUnits;
    sum.nBytes += total.nBytes;
    sum.nEmptyReads += total.nEmptyReads;
  }
  printer.Total(file, tracks.size(), sum, failed);
  return failed ? 1 : 0;
}

}  // namespace

void AddPackets(CLI::App& app, Command& command) {
  auto options = std::make_shared<SPacketsOptions>();
  CLI::App* packets = app.add_subcommand("packets", "List the units that the library delivers");
  packets->add_option("FILE", options->sFile, "AVI file")->required();
  packets->add_option("--track", options->nTrack, "Only this track")->type_name("N")->check(Within(0, kMaxInt));
  packets->add_flag("--hash", options->bHash, "Add a hash of the bytes (FNV-1a, 64 bits)");
  packets->add_flag("--summary", options->bSummary, "Only a line per track and the total");
  packets->callback(
      [=, &command] { command = [=](const SHostOptions& host) { return RunPackets(Host(host), *options); }; });
}
