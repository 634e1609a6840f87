#include <memory>

#include "bench/compare.h"
#include "bench/libav_reader.h"
#include "bench/limit_reader.h"
#include "bench/player.h"
#include "bench/shelf.h"

namespace {

constexpr size_t kSeeks = 1000;
constexpr int kRounds = 25;

void Seek(benchmark::State& state, Shelf& shelf, const FileRow& row, bool withSound) {
  ReadyFile& ready = shelf.Get(row);
  FileSource& source = ready.onDisk;
  const std::vector<SeekTarget> targets = SeekTargets(ready.file, kSeeks);
  CheckSeeks(targets, source, ready.file, ready.inMemory);

  Player player(source);
  unsigned long reached = 0;
  player.SeekVideo(targets[0].ms, &reached);
  const double start = CpuSeconds();
  player.SeekAudio(targets[0].ms, &reached);
  const double firstInSound = CpuSeconds() - start;

  LimitReader limit(source, ready.file.layout);
  const auto timed = [&targets](auto seek) {
    return [&targets, seek] {
      const double begin = CpuSeconds();
      for (const SeekTarget& target : targets) seek(target);
      return CpuSeconds() - begin;
    };
  };
  std::vector<Contender> contenders = {{"library", timed([&, withSound](const SeekTarget& target) {
                                          unsigned long at = 0, heard = 0;
                                          player.SeekVideo(target.ms, &at);
                                          if (withSound) player.SeekAudio(at, &heard);
                                        })},
                                       {"limit", timed([&, withSound](const SeekTarget& target) {
                                          limit.Read(*target.video);
                                          if (withSound) limit.Read(*target.audio);
                                        })}};
  std::unique_ptr<LibavReader> libav;
  if (!LibavReader::Version().empty()) {
    libav = std::make_unique<LibavReader>(source);
    double elsewhere = 0;
    for (const SeekTarget& target : targets) elsewhere += libav->Seek(target.picture, false) != target.video->size;
    state.counters["libavformat elsewhere"] = elsewhere;
    contenders.push_back({"libavformat", timed([&libav, withSound](const SeekTarget& target) {
                            libav->Seek(target.picture, withSound);
                          })});
  }
  TakeTurns(state, contenders);
  state.counters["first seek in sound"] = firstInSound;
}

}  // namespace

void AddSeek(Shelf& shelf, const FileRow& row) {
  for (const bool withSound : {false, true}) {
    const std::string name = (withSound ? "1000 seeks, video and audio/" : "1000 seeks, video/") + row.name;
    benchmark::RegisterBenchmark(
        name.c_str(), [&shelf, row, withSound](benchmark::State& state) { Seek(state, shelf, row, withSound); })
        ->Iterations(kRounds)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  }
}
