#include "tests/support/elementary.h"

#include <gtest/gtest.h>

#include <algorithm>

static uint32_t NextRandom(uint32_t state) { return static_cast<uint32_t>(uint64_t{state} * 1664525 + 1013904223); }

AudioFormat Coded(uint32_t tag, uint32_t rate, uint32_t bytesPerSecond) {
  return {.tag = tag, .rate = rate, .bytesPerSecond = bytesPerSecond, .blockAlign = 1, .bits = 0};
}

Bytes Frame(const Bytes& header, size_t size, uint32_t number) {
  Bytes frame = header;
  while (frame.size() < size) frame.push_back(static_cast<uint8_t>(0x80 | (number = NextRandom(number)) >> 26));
  return frame;
}

std::vector<Bytes> Cut(const Bytes& stream, size_t size, uint32_t seed) {
  std::vector<Bytes> pieces;
  for (size_t at = 0; at < stream.size(); at += pieces.back().size()) {
    if (seed) size = 5 + ((seed = NextRandom(seed)) >> 8) % 1496;
    pieces.emplace_back(stream.data() + at, stream.data() + std::min(at + size, stream.size()));
  }
  return pieces;
}

AviFile AudioFile(const AudioFormat& format, const std::vector<Bytes>& chunks, std::optional<StreamHeader> header) {
  AviBuilder builder;
  builder.Audio(format, std::move(header)).OldIndex();
  for (const Bytes& chunk : chunks) builder.Chunk(0, chunk);
  return builder.Build();
}

Units Play(const AviFile& file) {
  Host host(file);
  Units units = {host.Audio()};
  while (units.back().status == 0 && units.size() < 1000) units.push_back(host.Audio());
  EXPECT_EQ(units.back(), End());
  units.pop_back();
  return units;
}

void ExpectEveryFrame(const AudioFormat& format, uint32_t ms, const std::vector<std::pair<Bytes, size_t>>& kinds,
                      const std::string& lost) {
  std::vector<Bytes> frames;
  Bytes all;
  for (uint32_t n = 0; n < 100; ++n) {
    frames.push_back(Frame(kinds[n % kinds.size()].first, kinds[n % kinds.size()].second, n));
    Append(all, frames.back());
  }
  const std::vector<Bytes> files[] = {Cut(all, 100),  Cut(all, 417),  Cut(all, 1000), Cut(all, 16384),
                                      Cut(all, 0, 1), Cut(all, 0, 2), Cut(all, 0, 3), frames};
  std::string notGiven;
  for (const std::vector<Bytes>& chunks : files) {
    SCOPED_TRACE(testing::PrintToString(kinds) + ", cut " + std::to_string(notGiven.size()));
    const bool exact = notGiven.size() == 7;
    const Units units = Play(AudioFile(format, chunks));
    notGiven += std::to_string(100 - units.size());
    uint32_t bytes = 0;
    for (size_t n = 0; n < units.size(); bytes += static_cast<uint32_t>(frames[n++].size())) {
      ASSERT_EQ(units[n].data, frames[n]) << "frame " << n;
      // A chunk's time goes to the first frame cut after reading it, which begins up to two frames before the chunk.
      // Whole milliseconds per frame fall behind where a large chunk has many frames.
      const uint64_t trueMs = bytes * 1000 / format.bytesPerSecond;
      ASSERT_NEAR(units[n].timeMs, static_cast<double>(trueMs), exact ? 0 : 2 * ms + 1) << "frame " << n;
    }
  }
  EXPECT_EQ(notGiven, lost + "0");
}
