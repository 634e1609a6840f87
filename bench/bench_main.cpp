// The timed rows: zu_bench FOLDER [--quick] [options of Google Benchmark]. Files are written to FOLDER one at a time
// and removed. Ends with 1 when what the library delivers is not what was written.
#include <benchmark/benchmark.h>

#include <cstring>
#include <exception>
#include <iostream>

#include "bench/libav_reader.h"
#include "bench/shelf.h"

namespace {

const FileRow kRows[] = {
    {"big", "film", 180000, 11, true, true},
    {"big 1/10", "film", 18000, 41, false, true},
    {"big 1/100", "film", 1800, 75, false, true},
    {"small", "film", 1350, 75, true, false},
    {"many", "tiny", 1000000, 7, true, false},
    {"OpenDML, 3 groups", "film-opendml", 18000, 41, true, false},
    {"OpenDML, 8,000 ix##", "short-ix", 80000, 25, true, false},
    {"PCM, 7,056 a chunk", "pcm", 16000, 41, false, false},
    {"PCM, 92,000 a chunk", "pcm-large", 1200, 41, false, false},
    {"MP3, 16,000 a chunk", "mp3-large", 4000, 25, false, false},
    {"MP3, a frame a chunk", "mp3-frames", 150000, 25, false, false},
    {"no index", "film-noindex", 18000, 41, false, false},
};

void Run(const std::filesystem::path& folder, bool quick) {
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
