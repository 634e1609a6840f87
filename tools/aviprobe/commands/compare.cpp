#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/alignment.h"
#include "tools/aviprobe/model/delivery.h"
#include "tools/aviprobe/model/playback.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct SCompareOptions {
  std::vector<std::string> files;
  bool bTimes = true;  ///< equal units have to come at equal times
};

/// What is compared of a unit. The children write them to their stdout as they are in memory.
struct SRecord {
  uint64_t nHash;
  uint32_t nTrack;
  uint32_t nTimeMs;
};
static_assert(sizeof(SRecord) == 16, "no bytes that nobody wrote");

struct SSide {
  std::vector<uint64_t> hashes;
  std::vector<uint32_t> times;
  bool bPlayed = false;  ///< the track is there
  bool bWhole = true;    ///< it came to its end
  std::string sType = "none";
};

constexpr const char* kSides[] = {"A", "B"};

int TellUnits(const Host& host, const std::string& path, Progress& progress) {
  Json tracks = Json::object();
  int code = kExitFine;
  SPlayOptions play;
  play.bUnits = false;
  play.onStage = [&](const std::string& stage) { progress.Stage(stage); };
  play.onDone = [&](double share) { progress.Done(share); };
  play.onUnit = [](uint32_t track, const SUnit&, const SPlayedUnit& unit) {
    const SRecord record = {unit.nHash, track, unit.nTimeMs};
    std::fwrite(&record, sizeof record, 1, stdout);
  };
  play.onTrack = [&](const STrackPlayback& track, const SPullResult& result) {
    const std::string trouble = Trouble(result);
    tracks[std::to_string(track.nTrack)] = {{"type", TrackTypeName(track.info.nTrackType)}, {"whole", trouble.empty()}};
    if (trouble.empty()) return;
    PrintError(fmt::format("{}: track {} {} after {} units", path, track.nTrack, trouble, track.nUnits));
    code = kExitFindings;
  };
  const SPlayback playback = Play(host, path, play);
  if (!playback.bOpened) throw HostError(playback.sRefusal);
  progress.Tell("tracks", tracks);
  if (playback.tracks.empty()) return NothingToPlay(path);
  return code;
}

/// The tracks of one file, by number.
std::vector<SSide> Sides(const SOutcome& outcome) {
  std::vector<SSide> sides;
  const auto side = [&](uint32_t track) -> SSide& {
    if (track >= sides.size()) sides.resize(size_t{track} + 1);
    return sides[track];
  };
  for (const auto& [number, facts] : outcome.told["tracks"].items()) {
    SSide& found = side(static_cast<uint32_t>(std::stoul(number)));
    found.bPlayed = true;
    found.bWhole = facts["whole"].get<bool>();
    found.sType = facts["type"].get<std::string>();
  }
  for (size_t at = 0; at + sizeof(SRecord) <= outcome.sOutput.size(); at += sizeof(SRecord)) {
    SRecord record;
    std::memcpy(&record, outcome.sOutput.data() + at, sizeof record);
    SSide& found = side(record.nTrack);
    found.hashes.push_back(record.nHash);
    found.times.push_back(record.nTimeMs);
  }
  return sides;
}

/// Units that are the same and come at another time.
struct SShifts {
  uint64_t nUnits = 0;
  uint32_t nFirstMs = 0;  ///< in A
  int64_t nLargestMs = 0;
};

SShifts Shifts(const SSide& a, const SSide& b, const std::vector<SDifference>& differences) {
  SShifts shifts;
  auto next = differences.begin();
  for (size_t i = 0, j = 0; i < a.times.size() && j < b.times.size();) {
    if (next != differences.end() && i == next->nFirstA && j == next->nFirstB) {
      i += next->nA;
      j += next->nB;
      ++next;
      continue;
    }
    const int64_t shift = int64_t{b.times[j++]} - int64_t{a.times[i]};
    if (shift != 0 && shifts.nUnits++ == 0) shifts.nFirstMs = a.times[i];
    if (std::abs(shift) > std::abs(shifts.nLargestMs)) shifts.nLargestMs = shift;
    ++i;
  }
  return shifts;
}

std::string Units(const char* side, size_t first, size_t count) {
  return count == 1 ? fmt::format("unit {} of {}", first, side)
                    : fmt::format("units {}-{} of {}", first, first + count - 1, side);
}

/// The time at which a difference begins; behind the last unit that one's.
uint32_t TimeAt(const SSide& side, size_t unit) {
  if (side.times.empty()) return 0;
  return side.times[std::min(unit, side.times.size() - 1)];
}

class Comparison {
 public:
  Comparison(bool json, bool times) : m_bJson(json), m_bTimes(times) {}

  void Track(size_t track, const SSide& a, const SSide& b) {
    if (!a.bPlayed && !b.bPlayed) return;
    if (a.bPlayed != b.bPlayed) return OnlyIn(track, a, b);
    const std::vector<SDifference> differences = Differences(a.hashes, b.hashes);
    for (const SDifference& difference : differences) Tell(track, difference, a, b);
    const SShifts shifts = Shifts(a, b, differences);
    const bool equal = differences.empty() && (shifts.nUnits == 0 || !m_bTimes);
    m_bEqual = m_bEqual && equal;
    Summary(track, a, b, differences, shifts, equal);
  }

  bool IsEqual() const { return m_bEqual; }

 private:
  void OnlyIn(size_t track, const SSide& a, const SSide& b) {
    m_bEqual = false;
    const int there = a.bPlayed ? 0 : 1;
    const SSide& side = there == 0 ? a : b;
    if (m_bJson) {
      return PrintJsonLine({{"record", "only_in"},
                            {"side", kSides[there]},
                            {"track", track},
                            {"type", side.sType},
                            {"units", side.hashes.size()}});
    }
    fmt::print("track {}: {}, only in {}, {} units\n", track, side.sType, kSides[there], side.hashes.size());
  }

  void Tell(size_t track, const SDifference& found, const SSide& a, const SSide& b) const {
    const char* kind = found.nB == 0 ? "missing_in_b" : found.nA == 0 ? "missing_in_a" : "different";
    const uint32_t time = found.nA ? TimeAt(a, found.nFirstA) : TimeAt(b, found.nFirstB);
    if (m_bJson) {
      return PrintJsonLine({{"record", "difference"},
                            {"track", track},
                            {"kind", kind},
                            {"time_ms", time},
                            {"time", ClockText(time)},
                            {"first_a", found.nFirstA},
                            {"units_a", found.nA},
                            {"first_b", found.nFirstB},
                            {"units_b", found.nB}});
    }
    if (found.nA && found.nB) {
      fmt::print("track {}: {} different from {} at {}\n", track, Units("A", found.nFirstA, found.nA),
                 Units("B", found.nFirstB, found.nB), ClockText(time));
      return;
    }
    const bool missingInB = found.nB == 0;
    const size_t count = missingInB ? found.nA : found.nB;
    const size_t first = missingInB ? found.nFirstA : found.nFirstB;
    fmt::print("track {}: {} {} missing in {} at {} ({})\n", track, count, count == 1 ? "unit" : "units",
               missingInB ? "B" : "A", ClockText(time), Units(missingInB ? "A" : "B", first, count));
  }

  void Summary(size_t track, const SSide& a, const SSide& b, const std::vector<SDifference>& differences,
               const SShifts& shifts, bool equal) const {
    size_t onlyA = 0, onlyB = 0;
    for (const SDifference& difference : differences) {
      onlyA += difference.nA;
      onlyB += difference.nB;
    }
    if (m_bJson) {
      return PrintJsonLine({{"record", "compared"},
                            {"track", track},
                            {"type", a.sType},
                            {"equal", equal},
                            {"units_a", a.hashes.size()},
                            {"units_b", b.hashes.size()},
                            {"same", a.hashes.size() - onlyA},
                            {"only_a", onlyA},
                            {"only_b", onlyB},
                            {"shifted", shifts.nUnits},
                            {"largest_shift_ms", shifts.nLargestMs}});
    }
    fmt::print("track {}: {}, ", track, a.sType);
    if (equal) {
      fmt::print("equal, {} units\n", a.hashes.size());
      return;
    }
    fmt::print("{} units the same, {} only in A, {} only in B", a.hashes.size() - onlyA, onlyA, onlyB);
    if (shifts.nUnits) {
      fmt::print(", {} at another time from {} on, by up to {} ms", shifts.nUnits, ClockText(shifts.nFirstMs),
                 std::abs(shifts.nLargestMs));
    }
    fmt::print("\n");
  }

  bool m_bJson, m_bTimes;
  bool m_bEqual = true;
};

int RunCompare(const SHostOptions& hostOptions, const SCompareOptions& options) {
  const Host host(hostOptions);
  SIsolation isolation;
  isolation.nJobs = 2;
  isolation.bKeepOutput = true;
  const std::vector<SOutcome> outcomes =
      ForEachFile(hostOptions, isolation, options.files,
                  [&](const std::string& path, Progress& progress) { return TellUnits(host, path, progress); });
  const int worst = WorstExit(outcomes);
  if (worst > kExitFindings) return worst;

  std::vector<SSide> a = Sides(outcomes[0]), b = Sides(outcomes[1]);
  const size_t tracks = std::max(a.size(), b.size());
  a.resize(tracks);
  b.resize(tracks);
  Comparison comparison(hostOptions.bJson, options.bTimes);
  for (size_t track = 0; track < tracks; ++track) comparison.Track(track, a[track], b[track]);
  if (hostOptions.bJson) {
    PrintJsonLine(
        {{"record", "comparison"}, {"a", options.files[0]}, {"b", options.files[1]}, {"equal", comparison.IsEqual()}});
  } else {
    fmt::print("A {}\nB {}\n{}\n", Shown(options.files[0]), Shown(options.files[1]),
               comparison.IsEqual() ? "equal" : "different");
  }
  return comparison.IsEqual() ? worst : kExitFindings;
}

}  // namespace

void AddCompare(CLI::App& app, Command& command) {
  auto options = std::make_shared<SCompareOptions>();
  CommandOptions compare(app, "compare", "Name the units that one file delivers and the other does not");
  compare.Files(&options->files, "The two AVI files, A and B", 2);
  compare.Flag("!--no-times", &options->bTimes, "Equal units need not come at equal times");
  compare.OnRead([=, &command] { command = [=](const SHostOptions& host) { return RunCompare(host, *options); }; });
}
