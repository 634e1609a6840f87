#include <cstdio>
#include <cstdlib>
#include <memory>

#include "bench/bench_files.h"
#include "tests/support/sources.h"
#include "zu_parser_avi/iparser.h"
#include "zu_parser_avi/sample_index.h"

// usage: frame_cost CHUNK_BYTES   plays an MP3 track of that chunk size out and prints the number of frames.

int main(int argc, char** argv) {
  const size_t chunkBytes = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 0;
  if (chunkBytes == 0) return 2;
  const AviFile file = Mp3File(2048, chunkBytes);
  MemorySource source(file);
  std::unique_ptr<IParser, void (*)(IParser*)> parser(createParser(), destroyParser);
  debug_level = 0;
  if (parser->Open(&source) != 0) return 1;
  auto buffer = std::make_unique<unsigned char[]>(1u << 20);
  unsigned long frames = 0, len = 0, ms = 0;
  while (parser->GetAudioData(buffer.get(), &len, &ms, 1u << 20) == 0) frames += len != 0;
  parser->Close();
  std::printf("%lu\n", frames);
  return 0;
}
