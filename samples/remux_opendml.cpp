#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

#include "avifile/avi_file_parser.h"
#include "tests/support/avi_builder.h"
#include "tests/support/sources.h"

// usage: remux_opendml IN.avi OUT.avi
// Puts the chunks of a file with one XVID and one 16-bit PCM stream into two RIFF groups with OpenDML indexes.

namespace {

Bytes ChunkOf(const Bytes& file, const SIndexEntry& entry) {
  const auto at = file.begin() + static_cast<ptrdiff_t>(entry.qwOffset);
  return Bytes(at, at + ChunkSize(entry));
}

/// Adds the `part`th of two halves of stream `number`, in the order of the file, and its chunk index.
void AddHalf(AviBuilder& out, const Bytes& file, const CAVIFileParser& in, int number, uint32_t part) {
  const SAVIStream* stream = in.GetStream(number);
  const uint32_t count = IndexCount(stream);
  for (uint32_t i = part * count / 2; i < (part + 1) * count / 2; ++i) {
    const SIndexEntry& entry = stream->pIndex->aIdx[i];
    out.Chunk(static_cast<unsigned>(number), ChunkOf(file, entry), IsKeyFrame(entry));
  }
  out.ChunkIndex(static_cast<unsigned>(number));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::ifstream input(argv[1], std::ios::binary);
  const Bytes file((std::istreambuf_iterator<char>(input)), {});
  MemorySource source(file);
  AVISourceReader reader(&source);
  CAVIFileParser in;
  in.Init(&reader);
  if (!in.Parse(0) || in.GetStreamNum() != 2) return 1;
  const uint32_t frames = IndexCount(in.GetStream(0));

  AviBuilder out;
  out.Main({.totalFrames = frames, .width = 160, .height = 120});
  out.Video({.fourcc = "XVID", .width = 160, .height = 120}, {.length = frames, .handler = "XVID"});
  out.Audio({.rate = 11025, .bytesPerSecond = 44100});
  for (uint32_t part = 0; part < 2; ++part) {
    if (part == 1) out.NextRiff();
    for (int number = 0; number < 2; ++number) AddHalf(out, file, in, number, part);
  }
  const AviFile made = out.Build();
  std::ofstream output(argv[2], std::ios::binary);
  output.write(reinterpret_cast<const char*>(made.bytes.data()), static_cast<std::streamsize>(made.bytes.size()));
  return output ? 0 : 1;
}
