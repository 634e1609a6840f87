#include <fmt/format.h>

#include <algorithm>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/delivery.h"
#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/playback.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct SSeekTestOptions {
  std::vector<std::string> files;
  uint32_t nEveryMs = 5000;
  std::string sMode = "0";  ///< see IParser::Seek, or "all"
  bool bSummary = false;    ///< no line per seek
};

constexpr size_t kShownSlowest = 10;
constexpr uint64_t kDroppedMs = 200;     // the end of sound that is no whole frame is not delivered
constexpr uint32_t kMaxSeeks = 100'000;  // of a track in one mode: a header may state any length

struct SSeekResult {
  uint32_t nAskedMs = 0;
  std::optional<uint32_t> nReachedMs;  ///< none: no unit followed
  uint64_t nReads = 0, nBytes = 0;     ///< of the source, the first unit included
  Ending ending = Ending::kStopped;    ///< kStopped: a unit followed
  int nStatus = 0;

  uint32_t Distance() const {
    if (!nReachedMs) return 0;
    return *nReachedMs > nAskedMs ? *nReachedMs - nAskedMs : nAskedMs - *nReachedMs;
  }
};

const char* Plural(uint64_t count) { return count == 1 ? "" : "s"; }

SSeekResult SeekOnce(const Host& host, const MediaFile& file, uint32_t track, uint32_t askedMs, int mode) {
  const uint32_t type = file.Track(track).nTrackType;
  const uint64_t reads = file.Source().Reads(), bytes = file.Source().BytesRead();
  SSeekResult seek;
  seek.nAskedMs = askedMs;
  file.Parser().Seek(askedMs, static_cast<int>(type), mode);
  const SPullResult result = host.Pull(file, type, [&](const SUnit& unit) {
    seek.nReachedMs = static_cast<uint32_t>(unit.nTimeMs);
    return false;
  });
  seek.nReads = file.Source().Reads() - reads;
  seek.nBytes = file.Source().BytesRead() - bytes;
  seek.ending = result.ending;
  seek.nStatus = result.nStatus;
  return seek;
}

/// The seeks in one track with one mode.
class SeekRow {
 public:
  SeekRow(bool json, const std::string& path, uint32_t track, const TrackInfo& info, int mode)
      : m_bJson(json), m_sPath(path), m_nTrack(track), m_pType(TrackTypeName(info.nTrackType)), m_nMode(mode) {}

  void Add(const SSeekResult& seek, bool print) {
    m_Seeks.push_back(seek);
    if (print) Print(seek, "seek_step");
  }

  /// Seeks after which the library failed or stalled.
  size_t Failed() const {
    return Count([](const SSeekResult& s) { return s.ending == Ending::kFailed || s.ending == Ending::kStalled; });
  }

  /// Seeks to a time that the track should have, and no unit followed. Behind the last key frame mode 1 finds none.
  size_t Lost(uint64_t declaredMs) const {
    if (m_nMode == 1) return 0;
    return Count([&](const SSeekResult& s) {
      return s.ending == Ending::kEndOfTrack && uint64_t{s.nAskedMs} + kDroppedMs < declaredMs;
    });
  }

  /// @param printed  each seek stands above already. @param declaredMs  how long the track's header says it is.
  void Summary(bool printed, uint64_t declaredMs) const {
    const size_t ended = Count([](const SSeekResult& s) { return s.ending == Ending::kEndOfTrack; });
    uint64_t reads = 0, bytes = 0;
    uint32_t farthest = 0;
    for (const SSeekResult& seek : m_Seeks) {
      reads += seek.nReads;
      bytes += seek.nBytes;
      farthest = std::max(farthest, seek.Distance());
    }
    if (m_bJson) {
      return PrintJsonLine({{"record", "seek_summary"},
                            {"file", m_sPath},
                            {"track", m_nTrack},
                            {"type", m_pType},
                            {"mode", m_nMode},
                            {"seeks", m_Seeks.size()},
                            {"failed", Failed()},
                            {"at_end", ended},
                            {"lost", Lost(declaredMs)},
                            {"farthest_ms", farthest},
                            {"source_reads", reads},
                            {"source_bytes", bytes},
                            {"slowest", SlowestJson()}});
    }
    fmt::print(
        "track {}: {}, mode {}: {} seek{}, {} failed, {} without a unit, {} lost, up to {} ms off, {} read{}, {} "
        "bytes\n",
        m_nTrack, m_pType, m_nMode, m_Seeks.size(), Plural(m_Seeks.size()), Failed(), ended, Lost(declaredMs), farthest,
        reads, Plural(reads), bytes);
    if (printed && m_Seeks.size() <= kShownSlowest) return;
    fmt::print("slowest:\n");
    for (const SSeekResult& seek : Slowest()) Print(seek, "");
  }

 private:
  template <typename Accept>
  size_t Count(Accept accept) const {
    return static_cast<size_t>(std::count_if(m_Seeks.begin(), m_Seeks.end(), accept));
  }

  /// By what they cost the source: how long a read takes is the source's matter.
  std::vector<SSeekResult> Slowest() const {
    std::vector<SSeekResult> sorted = m_Seeks;
    std::stable_sort(sorted.begin(), sorted.end(), [](const SSeekResult& a, const SSeekResult& b) {
      return a.nReads != b.nReads ? a.nReads > b.nReads : a.nBytes > b.nBytes;
    });
    sorted.resize(std::min(sorted.size(), kShownSlowest));
    return sorted;
  }

  Json SlowestJson() const {
    Json list = Json::array();
    for (const SSeekResult& seek : Slowest()) {
      list.push_back({{"asked_ms", seek.nAskedMs},
                      {"reached_ms", seek.nReachedMs ? Json(*seek.nReachedMs) : Json()},
                      {"source_reads", seek.nReads},
                      {"source_bytes", seek.nBytes}});
    }
    return list;
  }

  void Print(const SSeekResult& seek, const char* record) const {
    if (m_bJson) {
      return PrintJsonLine({{"record", record},
                            {"file", m_sPath},
                            {"track", m_nTrack},
                            {"type", m_pType},
                            {"mode", m_nMode},
                            {"asked_ms", seek.nAskedMs},
                            {"reached_ms", seek.nReachedMs ? Json(*seek.nReachedMs) : Json()},
                            {"source_reads", seek.nReads},
                            {"source_bytes", seek.nBytes},
                            {"end", EndingName(seek.ending)},
                            {"status", seek.nStatus}});
    }
    fmt::print("{:>5} {:>4}  {}  {:>12} {:>7} {:>9}\n", m_nTrack, m_nMode, ClockText(seek.nAskedMs),
               seek.nReachedMs ? ClockText(*seek.nReachedMs) : EndingName(seek.ending), seek.nReads, seek.nBytes);
  }

  bool m_bJson;
  std::string m_sPath;
  uint32_t m_nTrack;
  const char* m_pType;
  int m_nMode;
  std::vector<SSeekResult> m_Seeks;
};

std::vector<int> Modes(const std::string& mode, uint32_t trackType) {
  if (trackType == AVI_TRACK_AUDIO) return {0};  // sound has no modes
  if (mode == "all") return {0, 1, 2, 3};
  return {std::stoi(mode)};
}

/// @return the seeks that failed or were lost.
size_t TestTrack(const Host& host, const MediaFile& file, const SSeekTestOptions& options, uint32_t track,
                 uint64_t declaredMs, uint64_t presentMs, Progress& progress) {
  const TrackInfo& info = file.Track(track);
  // Without an index only the start can be reached, and other seeks move nothing.
  uint64_t last = HasSeeks(info) ? file.Duration() : 0;
  // A header may state any length: the first seek behind what is there tells as much as all others.
  if (presentMs) last = std::min(last, presentMs + options.nEveryMs);
  size_t failed = 0, lost = 0;
  file.Select(track);
  for (const int mode : Modes(options.sMode, info.nTrackType)) {
    SeekRow row(host.Json(), file.Path(), track, info, mode);
    uint32_t seeks = 0;
    for (uint64_t at = 0; at <= last && seeks < kMaxSeeks; at += options.nEveryMs, ++seeks) {
      const auto askedMs = static_cast<uint32_t>(at);
      progress.Stage(fmt::format("seeking in track {} to {}, mode {}", track, ClockText(at), mode));
      progress.Done(static_cast<double>(at) / static_cast<double>(std::max<uint64_t>(last, 1)));
      row.Add(SeekOnce(host, file, track, askedMs, mode), !options.bSummary);
    }
    row.Summary(!options.bSummary, declaredMs);
    failed += row.Failed();
    lost += row.Lost(declaredMs);
  }
  if (failed) PrintError(fmt::format("{}: track {}: {} seek{} failed", file.Path(), track, failed, Plural(failed)));
  if (lost) {
    PrintError(fmt::format("{}: track {}: {} seek{} before its declared end gave nothing", file.Path(), track, lost,
                           Plural(lost)));
  }
  if (!HasSeeks(info)) {
    PrintError(fmt::format("{}: track {} has no index: only its start can be reached", file.Path(), track));
  }
  return failed + lost + (HasSeeks(info) ? 0 : 1);
}

/// By the streams' headers, in the order of the tracks.
std::vector<uint64_t> DeclaredMs(const std::string& path) {
  FileSource source(path, false);
  std::vector<uint64_t> declared;
  for (const SStreamHeader& header :
       MapFile(source, path, {.bResync = false, .bEntries = false, .bData = false}).streams) {
    constexpr double kMostSeconds = 1e9;
    declared.push_back(static_cast<uint64_t>(std::min(header.DeclaredSeconds().value_or(0), kMostSeconds) * 1000));
  }
  return declared;
}

int RunSeekTest(const Host& host, const SSeekTestOptions& options, const std::string& path, Progress& progress) {
  progress.Stage("opening");
  const MediaFile file = host.Open(path);
  if (!host.Json()) {
    fmt::print("{}\n", Shown(path));
    if (!options.bSummary) fmt::print("track mode  asked         reached        reads     bytes\n");
  }
  const std::vector<uint64_t> declared = DeclaredMs(path);
  const std::vector<uint32_t> tracks = PlayedTracks(file, {});
  if (tracks.empty()) return NothingToPlay(path);
  Presence presence(host, path);
  size_t failed = 0;
  for (const uint32_t track : tracks) {
    if (file.Track(track).nTrackType == AVI_TRACK_TEXT) continue;  // seeks leave it where it is
    const uint64_t declaredMs = track < declared.size() ? declared[track] : 0;
    failed += TestTrack(host, file, options, track, declaredMs, presence.Ms(track), progress);
  }
  return failed ? kExitFindings : kExitFine;
}

}  // namespace

void AddSeekTest(CLI::App& app, Command& command) {
  auto options = std::make_shared<SSeekTestOptions>();
  CommandOptions seekTest(app, "seektest", "Seek to every few seconds and show what it takes");
  seekTest.Files(&options->files);
  seekTest.Time("--every", &options->nEveryMs, "Time from one seek to the next, 5s unless given");
  seekTest
      .OneOf("--mode", &options->sMode, {"0", "1", "2", "3", "all"}, "0..3|all",
             "Key frame: 0 at or before, 1 at or after, 2 or 3 the nearer one")
      .ShowDefault();
  seekTest.Flag("--summary", &options->bSummary, "No line for each seek");
  seekTest.OnRead([=, &command] {
    if (options->nEveryMs == 0) RefuseUsage("--every: 0 would never come to the end");
    command = [=](const SHostOptions& hostOptions) {
      const Host host(hostOptions);
      return WorstExit(ForEachFile(hostOptions, {}, options->files, [&](const std::string& path, Progress& progress) {
        return RunSeekTest(host, *options, path, progress);
      }));
    };
  });
}
