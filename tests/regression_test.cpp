#include <gtest/gtest.h>

#include "tests/support/core_file.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

// Inputs that once did harm, found by fuzzing and by review. They have to be read again and again without any.

namespace {

void PlayAll(const Bytes& file, int expectedOpen = 0) {
  const LogCapture silence("0");
  Host host(file, {.open = expectedOpen});
  for (int track = 0; track < 3; ++track) {
    host->SelectAudioTrack(track);
    for (const uint32_t kind : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT}) {
      for (const unsigned long ms : {1u, 0u}) {  // from the start nothing looks into an index
        host->Seek(ms, static_cast<int>(kind), 0);
        host.Rest(kind);
      }
    }
  }
}

TEST(Regression, ARefusedStreamCountIsNotCountedThrough) {
  // 0x70000000 streams, none described: a seek afterwards walked that many.
  const Bytes file = Riff("AVI ", List("hdrl", Chunk("avih", Avih({.streams = 0x70000000}))));
  PlayAll(file, -1);
}

TEST(Regression, AnAc3FrameFourBytesBeforeTheEndOfTheBufferIsCutInsideIt) {
  // The carry-over buffer is filled to its last byte. The frame at its front has no successor, so that the search goes
  // on to one that is followed by just four bytes: the last place for its successor reached beyond the block.
  constexpr size_t kFrame = 2 * 64;  // 48 kHz, 32 kbit/s
  const Bytes head{0x0B, 0x77, 0, 0, 0x00, 0x40};
  Bytes stream(1u << 20, 0);
  std::copy(head.begin(), head.end(), stream.begin());
  std::copy(head.begin(), head.end(), stream.end() - static_cast<ptrdiff_t>(kFrame + 4));
  PlayAll(AviBuilder()
              .Audio({.tag = 0x2000, .rate = 48000, .bytesPerSecond = 4000, .blockAlign = 1, .bits = 0},
                     StreamHeader{.type = "auds", .rate = 4000, .sampleSize = 1})
              .Chunk(0, stream)
              .OldIndex()
              .Build());
}

TEST(Regression, AnOpenDmlIndexBehindATruncatedMovieFreesNoSharedTable) {
  // The second movi is longer than the file and takes the legacy index back, whose table both streams share; the indx
  // then replaces the first stream's.
  const Bytes stream = Join({Chunk("strh", Strh({})), Chunk("strf", Strf(VideoFormat{}))});
  const Bytes entries = Join({"00dc", Le32(16), Le32(4), Le32(4), "01dc", Le32(16), Le32(16), Le32(4)});
  const Bytes indx = Join({Le16(2), Bytes{0, 1}, Le32(1), "00dc", Le64(0), Le32(0), Le32(300), Le32(4)});
  const Bytes children =
      Join({Chunk("avih", Avih({.streams = 2})), List("strl", stream),
            List("movi", Join({Chunk("00dc", "aaaa"), Chunk("01dc", "bbbb")})), Chunk("idx1", entries),
            List("movi", "", 0x10000), Chunk("indx", indx), List("strl", stream)});
  const Bytes file = Riff("AVI ", List("hdrl", children, 0x40000), 0x50000);
  PlayAll(file);
  CoreFile core(file);
  EXPECT_EQ(core.Index(0), (Entries{{300, 4}}));
  EXPECT_EQ(core.Index(1), Entries());  // it went with the table
}

}  // namespace
