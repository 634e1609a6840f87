#include <gtest/gtest.h>

#include "tests/support/elementary.h"
#include "tests/support/log_capture.h"

namespace {

const AudioFormat kFormat = Coded(0x2000, 48000, 8000), kFast = Coded(0x2000, 48000, 24000);
const Bytes kEac3 = {0x0B, 0x77, 0x01, 0x80, 0x00, 0x80};  // 770 bytes

Bytes F(uint32_t n) { return Frame({0x0B, 0x77, 0x80, 0x80, 0x08, 0x40}, 256, n); }  // 64 kbit/s, 32 ms
Bytes Stray(size_t size) { return Frame({}, size, 1000); }
Units PlayChunks(const std::vector<Bytes>& chunks) { return Play(AudioFile(kFormat, chunks)); }

TEST(Ac3Framer, FramesComeWholeHoweverTheyAreCutIntoChunks) {
  const Bytes swapped = {0x77, 0x0B, 0, 0, 0x40, 0x08}, largeEac3 = {0x77, 0x0B, 0x80, 0x04, 0x80, 0};
  const Bytes plain = {0x0B, 0x77, 0, 0, 0x48, 0x40}, padded = {0x0B, 0x77, 0, 0, 0x49, 0x40};  // 44100 Hz
  ExpectEveryFrame(kFormat, 32, {{Head(F(0), 6), 256}}, "2111112");
  ExpectEveryFrame(kFormat, 32, {{swapped, 256}}, "2111112");
  ExpectEveryFrame(kFormat, 35, {{plain, 278}, {padded, 280}}, "0000010");
  ExpectEveryFrame(kFast, 32, {{kEac3, 770}}, "2221111");
  ExpectEveryFrame(Coded(0x2000, 48000, 72000), 32, {{largeEac3, 2306}}, "2221222");
}

TEST(Ac3Framer, TheSizeAndRateCodesTellAFramesSize) {
  const struct {
    uint8_t code;  // of size, and in the two upper bits of the rate
    size_t size;
  } kRows[] = {{.code = 0x00, .size = 128},  {.code = 0x25, .size = 2560}, {.code = 0x40, .size = 138},
               {.code = 0x5B, .size = 1394}, {.code = 0x65, .size = 2788}, {.code = 0xA5, .size = 3840}};
  for (const auto& row : kRows) {
    const Bytes f = Frame({0x0B, 0x77, 0, 0, row.code, 0x40}, row.size, 1);
    EXPECT_EQ(PlayChunks({f, f}), (Units{{f, 0}, {f, static_cast<uint32_t>(row.size / 8)}})) << int{row.code};
  }
}

TEST(Ac3Framer, WhatIsNoUsableHeaderIsSkipped) {
  Bytes junk = Stray(20);
  // bsid 9, 10, 17 and a swapped 9; size code 38; rate code 3.
  for (const char* header : {"\x0B\x77--\x08\x48", "\x0B\x77--\x08\x57", "\x0B\x77--\x08\x88", "\x77\x0B--\x48\x08",
                             "\x0B\x77--\x26\x40", "\x0B\x77--\xC8\x40"}) {
    Append(junk, Join({std::string(header), Stray(14)}));
  }
  LogCapture log;
  const Bytes last = Join({F(1), F(2), F(3)});
  EXPECT_EQ(PlayChunks({Stray(50), Join({junk, F(0)}), last}), (Units{{F(0), 6}, {F(1), 55}, {F(2), 87}}));
  EXPECT_EQ(log.Count("DetectedAC3StartCode bsid is invalid"), 4u);
  EXPECT_EQ(log.Count("DetectedAC3StartCode Get abnormal frame size."), 2u);
  EXPECT_EQ(log.Count("AC3 Start code not found."), 1u);
  // A sync word just half way through a chunk is not seen.
  EXPECT_EQ(PlayChunks({Join({Stray(252), F(0)}), last}), (Units{{F(1), 63}, {F(2), 95}}));
  EXPECT_EQ(PlayChunks({Join({Stray(251), F(0)}), F(1)}), (Units{{F(0), 0}, {F(1), 63}}));
}

TEST(Ac3Framer, ThreeStrayBytesTravelWithTheFrameFourMakeTheSearchGoOn) {
  const Bytes last = Join({F(3), F(4)}), three = Join({F(0), Stray(3)});
  LogCapture log;
  EXPECT_EQ(PlayChunks({Join({three, F(1), F(2)}), last}), (Units{{three, 0}, {F(1), 32}, {F(2), 96}, {F(3), 128}}));
  EXPECT_EQ(PlayChunks({Join({F(0), Stray(4), F(1), F(2)}), last}), (Units{{F(1), 0}, {F(2), 96}, {F(3), 128}}));
  EXPECT_EQ(log.Count("[ERROR] Can't find next start code "), 0u);
  // Nothing confirms the frame behind them.
  EXPECT_EQ(PlayChunks({Join({F(0), Stray(300), F(1)}), last}), (Units{{F(3), 101}}));
  EXPECT_EQ(log.Count("[ERROR] Can't find next start code "), 1u);
}

TEST(Ac3Framer, WhatLiesBehindTheBytesHeldIsNoSyncWord) {
  // Moving the frames over the two stray bytes leaves 77 behind the 0B that then ends the buffer.
  const Bytes first = Join({Stray(2), F(0), F(1), Bytes{0x80, 0x80, 0x77, 0x0B}});
  EXPECT_EQ(PlayChunks({first, Join({F(2), F(3)}), Join({F(4), F(5)})}),
            (Units{{F(0), 0}, {F(2), 128}, {F(3), 160}, {F(4), 192}}));
}

TEST(Ac3Framer, AnEac3FramesSizeIsReadAtTheFrontAndItsBitRateServesOneRead) {
  Bytes f[5];  // 768 is taken for the words of 384 kbit/s
  for (uint32_t n = 0; n < 5; ++n) f[n] = Frame({0x0B, 0x77, 0x01, 0x7F, 0, 0x80}, 768, n);
  EXPECT_EQ(Play(AudioFile(kFast, {f[0], f[1], f[2]})), (Units{{f[0], 0}, {f[1], 16}, {f[2], 32}}));
  // Eight bytes of junk tell a size of 2, so that the chunk is not taken for a frame, nor any chunk after it.
  EXPECT_EQ(Play(AudioFile(kFast, {Join({Bytes(8), f[0]}), f[1], f[2], f[3], f[4]})),
            (Units{{f[0], 0}, {f[1], 96}, {f[2], 128}}));
}

TEST(Ac3Framer, AnEac3FramesSizeInBytesIsLookedUpAmongTheWordsOfEvenSizeCodes) {
  const struct {
    size_t size;
    uint8_t rateByte;
    uint32_t secondMs;  // by the bit rate found, otherwise by the format's 24 bytes a millisecond
  } kRows[] = {{.size = 64, .rateByte = 0x00, .secondMs = 16},   {.size = 66, .rateByte = 0x00, .secondMs = 2},
               {.size = 104, .rateByte = 0x40, .secondMs = 17},  {.size = 70, .rateByte = 0x40, .secondMs = 2},
               {.size = 1920, .rateByte = 0x80, .secondMs = 24}, {.size = 1922, .rateByte = 0x80, .secondMs = 80},
               {.size = 1920, .rateByte = 0xC0, .secondMs = 80}};
  for (const auto& row : kRows) {
    const auto words = static_cast<uint32_t>(row.size / 2 - 1);
    const Bytes f = Frame(
        {0x0B, 0x77, static_cast<uint8_t>(words >> 8), static_cast<uint8_t>(words), row.rateByte, 0x80}, row.size, 1);
    EXPECT_EQ(Play(AudioFile(kFast, {f, f})), (Units{{f, 0}, {f, row.secondMs}})) << row.size << ' ' << +row.rateByte;
  }
}

TEST(Ac3Framer, ChunksAndBuffersMayBeSmall) {
  const Bytes stream = Join({F(0), F(1), F(2)});
  EXPECT_EQ(PlayChunks(Cut(stream, 7)), (Units{{F(0), 63}, {F(1), 95}}));
  for (size_t size : {1u, 4u}) EXPECT_EQ(PlayChunks(Cut(stream, size)), Units()) << size;
  Host host(AudioFile(kFormat, Cut(stream, 100)));
  EXPECT_EQ(host.Audio(200), Unit(Head(F(0), 200), 62));
  EXPECT_EQ(host.Audio(256), Unit(F(1), 94));
  host->Seek(0, AVI_TRACK_AUDIO, 0);
  EXPECT_EQ(host.Audio(), Unit(F(0), 62));
  // A variable rate does not keep AC-3 from being read ahead.
  const auto vbr =
      AudioFile(Coded(0x2000, 48000, 0), {Head(stream, 300), F(2), F(3)}, StreamHeader{.scale = 1536, .rate = 48000});
  EXPECT_EQ(Play(vbr).at(0), Unit(F(0), 32));
}

}  // namespace
