// The times of audio chunks.
#include "tests/support/core_file.h"

namespace {

TEST(AudioRead, TimesFollowBytesOrPositions) {
  const struct {
    uint32_t tag, avg = 24000, scale = 1, rate, sampleSize = 4;
    uint32_t second, third;  // times behind 1000 and 4000 bytes
  } kRows[] = {
      {.tag = 1, .rate = 8000, .second = 41, .third = 166},
      {.tag = 1, .avg = 0, .rate = 128000, .second = 0, .third = 0},
      {.tag = 0x2001, .scale = 1152, .rate = 44100, .second = 26, .third = 52},
      {.tag = 0x2001, .scale = 1024, .rate = 48000, .sampleSize = 0, .second = 21, .third = 42},
      {.tag = 0x2001, .scale = 1024, .rate = 48000, .second = 41, .third = 166},
      {.tag = 0xFF, .rate = 8, .second = 125, .third = 250},
      {.tag = 0x1601, .rate = 8, .second = 125, .third = 250},
      {.tag = 0xFF, .rate = 0, .second = 0, .third = 0},
      {.tag = 0x2000, .avg = 0, .scale = 1000, .rate = 8000, .second = 125, .third = 250},
  };
  for (const auto& row : kRows) {
    const StreamHeader header{.scale = row.scale, .rate = row.rate, .sampleSize = row.sampleSize};
    AviBuilder builder;
    builder.Audio({.tag = row.tag, .rate = 48000, .bytesPerSecond = row.avg}, header);
    CoreFile movie(builder.Chunk(0, Bytes(1000)).Chunk(0, Bytes(3000)).Chunk(0, "").OldIndex().Build());
    EXPECT_EQ((Units{movie.Audio(0), movie.Audio(0), movie.Audio(0)}),
              (Units{Unit(Bytes(1000), 0), Unit(Bytes(3000), row.second), Unit("", row.third)}))
        << "row " << &row - kRows;
  }
}

TEST(AudioRead, ADetectedBitRateServesOneReadOfAnAc3Stream) {
  AviBuilder builder;
  builder.Audio({.tag = 0x2000, .bytesPerSecond = 24000}, StreamHeader{.rate = 8000, .sampleSize = 1});
  builder.Audio({.bytesPerSecond = 24000});
  for (unsigned i = 0; i < 6; ++i) builder.Chunk(i % 2, Bytes(1000));
  CoreFile movie(builder.OldIndex().Build());
  movie.Audio(0), movie.Audio(1), movie->SetAC3BitRate(64000);
  EXPECT_EQ((Units{movie.Audio(1), movie.Audio(0), movie.Audio(0)}),
            (Units{Unit(Bytes(1000), 41), Unit(Bytes(1000), 125), Unit(Bytes(1000), 83)}));
}

TEST(AudioRead, BytesBeyondFourGibibytesCount) {
  AviBuilder builder;
  builder.Audio({.bytesPerSecond = 2000, .blockAlign = 1}).Chunk(0, "a");
  for (int i = 0; i < 3; ++i) builder.IndexEntry("00wb", 0x10, 4, 0x7FFFFFFF);
  CoreFile movie(builder.Chunk(0, Bytes(2000)).Chunk(0, "z").OldIndex().Build());
  movie->SetStartTime(0xC0000000, nullptr, 1, AVI_TRACK_AUDIO, 0);  // byte 6442450944, in the fifth chunk
  EXPECT_EQ((Units{movie.Audio(0), movie.Audio(0)}), (Units{Unit(Bytes(2000), 3221225471), Unit("z", 3221226471)}));
}

}  // namespace
