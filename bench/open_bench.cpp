#include "bench/compare.h"
#include "bench/libav_reader.h"
#include "bench/limit_reader.h"
#include "bench/shelf.h"
#include "zu_parser_avi/iparser.h"

namespace {

constexpr int kRounds = 15;
constexpr size_t kEntriesPerRound = 200000;  // small files are opened more than once

void OpenLibrary(IDataSource& source) {
  IParser* const parser = createParser();
  parser->Open(&source);
  parser->Close();
  destroyParser(parser);
}

/// Opens `times` times, and closes each time.
template <typename Open>
Work Repeat(size_t times, Open open) {
  return [=] {
    const double start = CpuSeconds();
    for (size_t i = 0; i < times; ++i) open();
    return (CpuSeconds() - start) / static_cast<double>(times);
  };
}

void Open(benchmark::State& state, Shelf& shelf, const FileRow& row) {
  ReadyFile& ready = shelf.Get(row);
  FileSource& source = ready.onDisk;
  LimitReader limit(source, ready.file.layout);
  const size_t entries = ready.file.layout.chunks.size();
  const size_t times = 1 + kEntriesPerRound / entries;
  std::vector<Contender> contenders = {{"library", Repeat(times, [&] { OpenLibrary(source); })},
                                       {"limit", Repeat(times, [&] { limit.Open(); })}};
  RecordingSource recorder(source);
  if (ready.file.layout.indexed.empty()) {
    OpenLibrary(recorder);
    contenders.push_back({"same calls", Repeat(times, [&] { limit.OpenWith(recorder.Reads()); })});
  }
  if (!LibavReader::Version().empty()) {
    contenders.push_back({"libavformat", Repeat(times, [&] { LibavReader reader(source); })});
  }
  TakeTurns(state, contenders);
  state.counters["entries"] = static_cast<double>(entries);
}

}  // namespace

void AddOpen(Shelf& shelf, const FileRow& row) {
  benchmark::RegisterBenchmark(("open/" + row.name).c_str(),
                               [&shelf, row](benchmark::State& state) { Open(state, shelf, row); })
      ->Iterations(kRounds)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}
