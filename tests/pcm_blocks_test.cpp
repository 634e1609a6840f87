#include <gtest/gtest.h>

#include "tests/support/elementary.h"

namespace {

using Blocks = std::vector<std::pair<size_t, uint32_t>>;  // bytes and milliseconds
const AudioFormat kStereo8k = {.rate = 8000, .bytesPerSecond = 32000};

// Pulls with these buffer sizes, during which the source blocks from its read `blocked` on, and then drains, beyond the
// first end too. Fails the test unless the blocks join to the beginning of the stream.
Blocks Pieces(const AudioFormat& format, size_t bytes, size_t chunk, const std::vector<unsigned long>& pulls = {},
              size_t blocked = SIZE_MAX) {
  const Bytes stream = Frame({}, bytes, 1);
  Host host(AudioFile(format, Cut(stream, chunk)));
  host.faulty.Arm({.first = blocked, .status = -11});
  Units units;
  for (unsigned long maxLen : pulls) units.push_back(host.Audio(maxLen));
  host.faulty.Arm(kNoFault);
  for (const Units& part : {host.Rest(AVI_TRACK_AUDIO), host.Rest(AVI_TRACK_AUDIO)}) {
    units.insert(units.end(), part.begin(), part.end());
  }
  Blocks blocks;
  Bytes joined;
  for (const Unit& unit : units) {
    blocks.emplace_back(unit.data.size(), unit.timeMs);
    Append(joined, unit.data);
  }
  EXPECT_EQ(joined, Head(stream, joined.size()));
  return blocks;
}

TEST(PcmBlocks, TheChunkAndTheSampleRateSetTheBlockSize) {
  EXPECT_EQ(Pieces(kStereo8k, 15998, 7999), (Blocks{{7999, 0}, {7999, 249}}));
  // What is left at the end, no more than a block and a byte, is not delivered.
  EXPECT_EQ(Pieces(kStereo8k, 8001, 8001), (Blocks{{1600, 0}, {1600, 50}, {1600, 100}, {1600, 150}}));
  EXPECT_EQ(Pieces(kStereo8k, 32768, 16384), (Blocks{{16384, 0}, {16384, 512}}));
  EXPECT_EQ(Pieces({}, 32770, 16385), (Blocks{{16385, 0}, {16385, 92}}));
  EXPECT_EQ(Pieces({}, 50000, 16386), (Blocks{{16384, 92}, {16384, 184}, {16384, 278}}));
  EXPECT_EQ(Pieces({}, 50000, 32768), (Blocks{{16384, 185}, {16384, 277}, {16384, 369}}));
  // A tenth of a second may be nothing, or too much.
  EXPECT_EQ(Pieces({.channels = 65535, .rate = 8000, .bytesPerSecond = 32000}, 16000, 8000),
            (Blocks{{8000, 0}, {8000, 250}}));
  EXPECT_EQ(Pieces(Coded(1, 4, 8), 18, 9), (Blocks{{9, 0}, {9, 1125}}));
}

TEST(PcmBlocks, NothingIsLostToASmallBufferABlockedSourceOrAnEnd) {
  EXPECT_EQ(Pieces(kStereo8k, 8000, 8000, {8000, 1000, 1000, 600}),
            (Blocks{{1600, 0}, {1000, 31}, {1000, 62}, {600, 80}, {1600, 130}, {1600, 180}}));
  // The end is met reading on for a second chunk; the block held comes with the next call.
  EXPECT_EQ(Pieces({}, 20000, 20000), (Blocks{{16384, 92}}));
  EXPECT_EQ(Pieces(kStereo8k, 8000, 4000, {4000}, 0), (Blocks{{0, 0}, {4000, 0}, {4000, 125}}));
  EXPECT_EQ(Pieces({}, 40000, 20000, {40000}, 1), (Blocks{{0, 113}, {16384, 92}, {16384, 184}}));
}

TEST(PcmBlocks, OnlyPcmIsNarrowedFrom24To16Bits) {
  const Bytes bytes = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  const auto first = [&](uint32_t tag, uint32_t bits, size_t size, unsigned long maxLen = 100) {
    return Host(AudioFile({.tag = tag, .bits = bits}, {Head(bytes, size)})).Audio(maxLen).data;
  };
  EXPECT_EQ(first(1, 24, 9), (Bytes{1, 2, 4, 5, 7, 8}));
  EXPECT_EQ(first(1, 24, 10), (Bytes{1, 2, 4, 5, 7, 8, 0, 0}));
  EXPECT_EQ(first(0x1234, 24, 11, 11), (Bytes{1, 2, 4, 5, 7, 8, 10, 0}));
  EXPECT_EQ(first(1, 24, 1, 1), Bytes());
  EXPECT_EQ(first(1, 16, 9), Head(bytes, 9));
  EXPECT_EQ(first(7, 24, 9), Head(bytes, 9));
}

}  // namespace
