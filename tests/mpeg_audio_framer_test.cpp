#include <gtest/gtest.h>

#include "tests/support/elementary.h"
#include "tests/support/log_capture.h"

namespace {

const AudioFormat kFormat = Coded(0x55, 44100, 16000);
const std::string kDiffers = "Sampling rate is differ than configuration. default: 44100 detect : 48000";

Bytes H(uint8_t version, uint8_t rates) { return {0xFF, version, rates, 0}; }
Bytes F(uint32_t n) { return Frame(H(0xFB, 0x90), 417, n); }  // 128 kbit/s, 26 ms
Bytes G(uint32_t n) { return Frame(H(0xFB, 0xA0), 522, n); }  // 160 kbit/s
Bytes Stray(size_t size) { return Frame({}, size, 1000); }
Units PlayChunks(const std::vector<Bytes>& chunks) { return Play(AudioFile(kFormat, chunks)); }

// What is lost at the end is what the look at the next frame holds back.
TEST(MpegAudioFramer, FramesComeWholeHoweverTheyAreCutIntoChunks) {
  ExpectEveryFrame(Coded(0x55, 44100, 24000), 26, {{H(0xFB, 0xB0), 626}, {H(0xFB, 0xB2), 627}}, "1111111");
  ExpectEveryFrame(Coded(0x55, 22050, 8000), 26, {{H(0xF3, 0x80), 208}, {H(0xF3, 0x82), 209}}, "1111111");
  ExpectEveryFrame(Coded(0x55, 11025, 4000), 52, {{H(0xE3, 0x40), 208}}, "2211111");
  ExpectEveryFrame(Coded(0x50, 48000, 24000), 24, {{H(0xFD, 0xA4), 576}}, "2211121");
  ExpectEveryFrame(Coded(0x50, 24000, 8000), 48, {{H(0xF5, 0x84), 384}}, "2121111");
}

TEST(MpegAudioFramer, ChunksAndBuffersMayBeSmall) {
  const Bytes stream = Join({F(0), F(1), F(2)});
  EXPECT_EQ(PlayChunks(Cut(stream, 7)), (Units{{F(0), 52}, {F(1), 78}}));
  for (size_t size : {1u, 4u}) EXPECT_EQ(PlayChunks(Cut(stream, size)), Units());  // no header is found in so little
  Host host(AudioFile(kFormat, Cut(stream, 100)));
  EXPECT_EQ(host.Audio(300), Unit(Head(F(0), 300), 50));  // the rest is dropped
  EXPECT_EQ(host.Audio(417), Unit(F(1), 76));
}

TEST(MpegAudioFramer, AChunkWithinAByteOfAFrameIsPassedOnAsItStands) {
  const Bytes shorter = Head(F(0), 416), longer = Join({F(1), "."}), longest = Join({F(1), ".."});
  EXPECT_EQ(PlayChunks({Head(F(0), 415), F(1), F(2), F(3)}), (Units{{F(3), 78}}));
  EXPECT_EQ(PlayChunks({shorter, longer, F(2)}), (Units{{shorter, 0}, {longer, 26}, {F(2), 52}}));
  // Once a chunk is not, frames are cut for good, even after two bytes alone.
  const Bytes two = Join({F(1), F(2)}), rest(two.begin() + 2, two.end());
  EXPECT_EQ(PlayChunks({F(0), Head(two, 2), rest, Join({F(3), F(4)})}),
            (Units{{F(0), 0}, {F(1), 78}, {F(2), 104}, {F(3), 130}}));
  EXPECT_EQ(PlayChunks({longest, F(2), F(3), F(4), F(5)}), (Units{{longest, 26}, {F(2), 78}, {F(3), 104}}));
}

TEST(MpegAudioFramer, WhatIsNoHeaderOfTheTrackIsSkipped) {
  const Bytes junk = Join({Stray(9), Frame(H(0xFB, 0x94), 60, 7), Frame(H(0xFB, 0), 40, 8)});  // 48000 Hz; free format
  LogCapture log;
  EXPECT_EQ(PlayChunks({Stray(50), Join({junk, F(0)}), Join({F(1), F(2), F(3)})}),
            (Units{{F(0), 3}, {F(1), 36}, {F(2), 62}}));
  EXPECT_EQ(log.Count("[DetectedMp3StartCode] Start code not found."), 1u);
  EXPECT_EQ(log.Count("[DetectedMp3StartCode] " + kDiffers), 1u);
  // A header in the last four bytes of a chunk is not seen; one byte earlier it is, and nothing follows its frame.
  const Bytes last = Join({F(3), F(4), F(5)});
  EXPECT_EQ(PlayChunks({Join({Stray(9), Head(F(0), 4)}), last}), (Units{{F(3), 0}, {F(4), 26}}));
  EXPECT_EQ(PlayChunks({Join({Stray(9), Head(F(0), 5)}), Join({F(1), F(2)}), last}), (Units{{F(3), 53}, {F(4), 79}}));
}

TEST(MpegAudioFramer, JunkInTheIndexMakesTheSearchKeepToTheTracksLayer) {
  const Bytes others = Join({Frame(H(0xFD, 0x84), 30, 7), Frame(H(0xFB, 0x94), 30, 8), Frame(H(0xFD, 0x80), 417, 9)});
  const auto play = [&](uint32_t tag, const std::string& id) {
    AviBuilder builder;
    builder.Audio(Coded(tag, 44100, 16000)).IndexEntry(id, 0, 4, 0).OldIndex();
    return Play(builder.Chunk(0, Join({others, F(0), F(1)})).Chunk(0, Join({F(2), F(3), F(4)})).Build());
  };
  LogCapture log;
  EXPECT_EQ(play(0x55, "ABCD"), (Units{{F(2), 81}, {F(3), 107}}));  // nothing follows the Layer II header
  EXPECT_EQ(log.Count("[DetectedMp3StartCode] " + kDiffers), 2u);
  EXPECT_EQ(play(0x55, "JUNK"), (Units{{F(0), 81}, {F(1), 107}, {F(2), 133}, {F(3), 159}}));
  EXPECT_EQ(play(0x50, "JUNK"), Units());
  for (const char* layer : {"3 ", "2 "}) EXPECT_EQ(log.Count("[DetectedMp3StartCode] Layer " + (layer + kDiffers)), 1u);
}

TEST(MpegAudioFramer, ThreeStrayBytesTravelWithTheFrameFourDropWhatIsBuffered) {
  const Bytes three = Join({F(0), Stray(3)}), last = Join({F(3), F(4), F(5)});
  LogCapture log;
  EXPECT_EQ(PlayChunks({Join({three, F(1), F(2)}), F(3)}), (Units{{three, 0}, {F(1), 26}}));
  EXPECT_EQ(log.Count("[GetMp3Data] [ERROR] Can't find next start code "), 0u);
  EXPECT_EQ(PlayChunks({Join({F(0), Stray(4), F(1), F(2)}), last}), (Units{{F(3), 78}, {F(4), 104}}));
  EXPECT_EQ(log.Count("[GetMp3Data] [ERROR] Can't find next start code "), 1u);
}

TEST(MpegAudioFramer, WhatLiesBehindTheBytesHeldIsNoHeader) {
  // Moving the frame over the two stray bytes leaves FB behind the FF that then ends the buffer.
  const Bytes first = Join({Stray(2), F(0), Bytes{0x80, 0x80, 0xFB, 0xFF}});
  EXPECT_EQ(
      Play(AudioFile(Coded(0x55, 44100, 0), {first, Join({F(1), F(2)})}, StreamHeader{.scale = 1152, .rate = 44100})),
      (Units{{F(1), 26}}));
}

TEST(MpegAudioFramer, AChunkThatTurnsATrackVariableEndsNoReadingAhead) {
  Bytes tagged = F(1);
  std::copy_n("Xing", 4, tagged.begin() + 36);
  const Bytes first = Join({F(0), Stray(2)}), rest(tagged.begin() + 40, tagged.end());
  const StreamHeader header = {.scale = 1000, .rate = 38281};
  const Units units = Play(AudioFile(kFormat, {first, Head(tagged, 40), rest, F(2)}, header));
  EXPECT_EQ(units, (Units{{first, 52}, {tagged, 78}}));  // the time of the third chunk, the tag being in the second
}

TEST(MpegAudioFramer, AVariableRateChunkIsCutByItsFirstHeaderAndNeverReadAhead) {
  const AudioFormat vbr = Coded(0x55, 44100, 0);
  const StreamHeader header = {.scale = 1152, .rate = 44100};
  EXPECT_EQ(Play(AudioFile(vbr, {G(0), F(1), G(2)}, header)), (Units{{G(0), 0}, {F(1), 26}, {G(2), 52}}));
  EXPECT_EQ(Play(AudioFile(vbr, {F(0), Head(F(2), 200), Join({F(3), G(4)}), F(5)}, header)),
            (Units{{F(0), 0}, {Join({Head(F(2), 200), Bytes(217)}), 26}, {F(3), 52}, {F(5), 78}}));
  // Without an index no chunk is examined, and each header tells its own frame's size.
  const AviFile scanned = AviBuilder().Audio(vbr, header).Chunk(0, Join({F(3), G(4), F(5)})).Build();
  EXPECT_EQ(Play(scanned), (Units{{F(3), 0}, {G(4), 26}}));
}

TEST(MpegAudioFramer, AnUnevenBitRateOrAXingTagMakesATrackVariable) {
  const auto tagged = [](uint8_t mode, ptrdiff_t at) {
    Bytes frame = Frame({0xFF, 0xFB, 0x90, mode}, 417, 0);
    std::copy_n("Xing", 4, frame.begin() + at);
    return frame;
  };
  const auto firstTime = [](const Bytes& first, uint32_t sampleSize) {  // of a chunk read ahead unless variable
    const StreamHeader header = {.scale = 1000, .rate = 38281, .sampleSize = sampleSize};
    return Play(AudioFile(kFormat, {Join({first, F(1)}), F(2), F(3)}, header)).at(0).timeMs;
  };
  const struct {
    const char* name;
    Bytes first;
    uint32_t sampleSize = 0, ms;
  } kRows[] = {{.name = "even", .first = F(0), .ms = 52},
               {.name = "stereo, mono's tag", .first = tagged(0, 21), .ms = 52},
               {.name = "mono, stereo's tag", .first = tagged(0xC0, 36), .ms = 52},
               {.name = "uneven", .first = G(0), .ms = 0},
               {.name = "stereo, tagged", .first = tagged(0, 36), .ms = 0},
               {.name = "mono, tagged", .first = tagged(0xC0, 21), .ms = 0},
               {.name = "uneven, with samples", .first = G(0), .sampleSize = 1, .ms = 58},
               {.name = "tagged, with samples", .first = tagged(0, 36), .sampleSize = 1, .ms = 0}};
  for (const auto& row : kRows) EXPECT_EQ(firstTime(row.first, row.sampleSize), row.ms) << row.name;
}

TEST(MpegAudioFramer, ASourceThatWouldBlockCostsNothing) {
  for (const auto& chunks : {Cut(Join({F(0), F(1), F(2)}), 100), std::vector{F(0), F(1), F(2), F(3)}}) {
    Host host(AudioFile(kFormat, chunks));
    Units units;
    for (int i = 0; i < 20; ++i) {
      host.faulty.Arm(i % 2 ? kNoFault : Fault{.status = -11});
      if (const Unit unit = host.Audio(); !unit.data.empty()) units.push_back(unit);
    }
    EXPECT_EQ(units, PlayChunks(chunks));
  }
}

TEST(MpegAudioFramer, ASeekBeginsWithAWholeFrame) {
  Bytes stream;
  for (uint32_t n = 0; n < 30; ++n) Append(stream, F(n));
  Host host(AudioFile(kFormat, Cut(stream, 1000)));
  EXPECT_EQ(host.Audio(), Unit(F(0), 0));
  host->Seek(500, AVI_TRACK_AUDIO, 0);  // to the eighth chunk, 89 bytes before frame 17
  EXPECT_EQ(host.Audio(), Unit(F(17), 437));
  EXPECT_EQ(host.Audio(), Unit(F(18), 463));
}

}  // namespace
