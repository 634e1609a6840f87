#include <benchmark/benchmark.h>

#include <memory>

#include "avifile/avi_file_parser.h"
#include "bench/bench_files.h"
#include "tests/support/sources.h"
#include "zu_parser_avi/iparser.h"
#include "zu_parser_avi/sample_index.h"

// Compare rows of one run with each other; single figures depend on the machine and its load.

namespace {

constexpr size_t kFrames = 4096;

/// Plays an MP3 track out; the argument is the chunk size in bytes.
void Mp3Frames(benchmark::State& state) {
  const AviFile file = Mp3File(kFrames, static_cast<size_t>(state.range(0)));
  MemorySource source(file);
  std::unique_ptr<IParser, void (*)(IParser*)> parser(createParser(), destroyParser);
  debug_level = 0;
  if (parser->Open(&source) != 0) return state.SkipWithError("does not open");
  auto buffer = std::make_unique<unsigned char[]>(1u << 20);
  int64_t frames = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
    parser->Seek(0, AVI_TRACK_AUDIO, 0);
    source.reads.clear();
    unsigned long len = 0, ms = 0;
    while (parser->GetAudioData(buffer.get(), &len, &ms, 1u << 20) == 0) frames += len != 0;
  }
  parser->Close();
  state.SetItemsProcessed(frames);
}
BENCHMARK(Mp3Frames)->Arg(kMp3FrameBytes)->Arg(1000)->Arg(16000)->Arg(16 * 16000);

/// An audio seek far into an index; the argument is its number of entries. Flat but for the first seek, which is left
/// out.
void AudioSeek(benchmark::State& state) {
  const uint32_t entries = static_cast<uint32_t>(state.range(0));
  const AviFile file = LongIndexFile(entries);
  MemorySource source(file);
  std::unique_ptr<IParser, void (*)(IParser*)> parser(createParser(), destroyParser);
  debug_level = 0;
  if (parser->Open(&source) != 0) return state.SkipWithError("does not open");
  unsigned long time = 1;
  parser->Seek(time, AVI_TRACK_AUDIO, 0);
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
    time = (time * 7919 + 1) % (entries * 10ul);
    parser->Seek(time + 1, AVI_TRACK_AUDIO, 0);
  }
  parser->Close();
}
BENCHMARK(AudioSeek)->Arg(2000)->Arg(200000)->Arg(2000000);

}  // namespace
