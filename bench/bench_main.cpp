// The timed rows: zu_bench FOLDER [--quick] [options of Google Benchmark]. Files are written to FOLDER one at a time
// and removed. Ends with 1 when what the library delivers is not what was written.
#include <benchmark/benchmark.h>

#include <cstring>
#include <exception>
#include <iostream>

#include "bench/libav_reader.h"
#include "bench/shelf.h"

namespace {

constexpr uintmax_t kDiskBytes = 1400ull << 20, kQuickDiskBytes = 300ull << 20;

// The large ones are left out for a quick run.
const FileRow kRows[] = {
    {"big", "film", 180000, 9, true, true},
    {"big 1/10", "film", 18000, 25, false, true},
    {"big 1/100", "film", 1800, 75, false, true},
    {"small", "film", 1350, 75, true, false},
    {"many", "tiny", 1000000, 7, true, false},
    {"OpenDML, 3 groups", "film-opendml", 18000, 25, true, false},
    {"OpenDML, 8,000 ix##", "short-ix", 80000, 15, true, false},
    {"PCM, 7,056 a chunk", "pcm", 16000, 25, false, false},
    {"PCM, 92,000 a chunk", "pcm-large", 1200, 25, false, false},
    {"MP3, 16,000 a chunk", "mp3-large", 4000, 15, false, false},
    {"MP3, a frame a chunk", "mp3-frames", 150000, 15, false, false},
    {"no index", "film-noindex", 18000, 25, false, false},
};

void Run(const std::filesystem::path& folder, bool quick) {
  const uintmax_t needed = quick ? kQuickDiskBytes : kDiskBytes;
  if (std::filesystem::space(folder).available < needed) {
    throw std::runtime_error("needs " + std::to_string(needed >> 20) + " MB free in " + folder.string() +
                             ": choose another folder with TMPDIR");
  }
  Shelf shelf(folder);
  for (FileRow row : kRows) {
    if (quick && row.name == "big") continue;
    if (quick && row.name == "many") row.units /= 10;
    if (row.opens) AddOpen(shelf, row);
    AddDrain(shelf, row);
    if (row.seeks) AddSeek(shelf, row);
  }
  benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
  benchmark::AddCustomContext("libavformat", LibavReader::Version());
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const bool quick = argc == 3 && std::strcmp(argv[2], "--quick") == 0;
  if (argc != 2 && !quick) return std::cerr << "usage: zu_bench FOLDER [--quick] [--benchmark_...]\n", 2;
  try {
    Run(argv[1], quick);
  } catch (const std::exception& error) {
    return std::cerr << "zu_bench: " << error.what() << '\n', 1;
  }
}
