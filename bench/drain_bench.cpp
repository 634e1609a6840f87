#include <stdexcept>

#include "bench/compare.h"
#include "bench/libav_reader.h"
#include "bench/limit_reader.h"
#include "bench/player.h"
#include "bench/shelf.h"

namespace {

/// Plays all tracks out from a parser just opened. @return the seconds behind its opening.
double DrainLibrary(IDataSource& source, const ReadyFile& ready) {
  Player player(source);
  uint64_t bytes = 0;
  const double start = CpuSeconds();
  player.Drain(ready.file.video ? Player::kBoth : Player::kAudio,
               [&](Player::Tracks, std::span<const uint8_t> unit, unsigned long) { bytes += unit.size(); });
  const double seconds = CpuSeconds() - start;
  if (bytes != ready.delivered.bytes) throw std::runtime_error("a drain delivered other bytes than the one checked");
  return seconds;
}

double DrainLibav(IDataSource& source, const ReadyFile& ready) {
  LibavReader reader(source);
  const double start = CpuSeconds();
  const uint64_t bytes = reader.Drain();
  const double seconds = CpuSeconds() - start;
  if (bytes < ready.delivered.bytes) throw std::runtime_error("libavformat delivered less than the library");
  return seconds;
}

void Drain(benchmark::State& state, Shelf& shelf, const FileRow& row, bool fromMemory) {
  ReadyFile& ready = shelf.Get(row);
  IDataSource& source = fromMemory ? static_cast<IDataSource&>(ready.inMemory) : ready.onDisk;
  LimitReader limit(source, ready.file.layout);
  std::vector<Contender> contenders = {{"library", [&] { return DrainLibrary(source, ready); }},
                                       {"limit", [&] {
                                          const double start = CpuSeconds();
                                          limit.Drain();
                                          return CpuSeconds() - start;
                                        }}};
  if (!LibavReader::Version().empty()) contenders.push_back({"libavformat", [&] { return DrainLibav(source, ready); }});
  TakeTurns(state, contenders);
  state.counters["units"] = static_cast<double>(ready.delivered.units);
  state.counters["bytes"] = static_cast<double>(ready.delivered.bytes);
  state.counters["chunks"] = static_cast<double>(ready.file.layout.chunks.size());
  state.counters["missing sound"] = static_cast<double>(ready.delivered.missingSound);
}

}  // namespace

void AddDrain(Shelf& shelf, const FileRow& row) {
  for (const bool fromMemory : {false, true}) {
    const std::string name = (fromMemory ? "drain from memory/" : "drain from a file/") + row.name;
    benchmark::RegisterBenchmark(
        name.c_str(), [&shelf, row, fromMemory](benchmark::State& state) { Drain(state, shelf, row, fromMemory); })
        ->Iterations(row.rounds)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  }
}
