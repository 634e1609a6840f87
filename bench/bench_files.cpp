#include "bench/bench_files.h"

#include <algorithm>

namespace {

Bytes Mp3Stream(size_t frames) {
  Bytes stream;
  stream.reserve(frames * kMp3FrameBytes);
  for (size_t i = 0; i < frames; ++i) {
    Append(stream, Bytes{0xFF, 0xFB, 0x90, 0x00});
    for (uint32_t at = 4; at < kMp3FrameBytes; ++at) stream.push_back(static_cast<uint8_t>((i * 31 + at) % 0xE0));
  }
  return stream;
}

}  // namespace

AviFile Mp3File(size_t frames, size_t chunkBytes) {
  const Bytes stream = Mp3Stream(frames);
  AviBuilder builder;
  builder.Audio({.tag = 0x55, .rate = 44100, .bytesPerSecond = 16000, .blockAlign = 1, .bits = 0},
                StreamHeader{.type = "auds", .scale = 1, .rate = 16000, .sampleSize = 1});
  for (size_t at = 0; at < stream.size(); at += chunkBytes) {
    const size_t end = std::min(at + chunkBytes, stream.size());
    builder.Chunk(0, Bytes(stream.begin() + static_cast<ptrdiff_t>(at), stream.begin() + static_cast<ptrdiff_t>(end)));
  }
  return builder.OldIndex().Build();
}

AviFile LongIndexFile(uint32_t entries) {
  AviBuilder builder;
  builder.Audio().Chunk(0, Bytes(1764));
  for (uint32_t i = 1; i < entries; ++i) builder.IndexEntry("00wb", 0x10, 4, 1764);
  return builder.OldIndex().Build();
}
