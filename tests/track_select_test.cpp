#include <gtest/gtest.h>

#include "plugin/avi_parser.h"
#include "tests/support/elementary.h"
#include "tests/support/log_capture.h"
#include "tests/support/sources.h"

namespace {

const Bytes kSound = Frame({}, 16000, 1);

// Two chunks of sound in blocks of 1600 bytes or 50 ms.
AviFile Movie() {
  AviBuilder builder;
  builder.Video({}, {.length = 2}).Audio({.rate = 8000, .bytesPerSecond = 32000}).Audio(Coded(0xFF, 44100, 16000));
  for (const Bytes& chunk : Cut(kSound, 8000)) builder.Chunk(1, chunk).Chunk(2, "aac").Chunk(0, "I");
  return builder.OldIndex().Build();
}
Unit Block(ptrdiff_t at, uint32_t ms) { return Unit(Bytes(kSound.begin() + at, kSound.begin() + at + 1600), ms); }
Unit PullAudio(IParser* parser) { return Pull(parser, AVI_TRACK_AUDIO); }

TEST(TrackSelect, OnlyAKnownTrackAndAnAudioSeekDropBufferedSound) {
  MemorySource source(Movie());
  LogCapture log("5");
  OpenedParser parser(&source);
  EXPECT_EQ(PullAudio(parser), Block(0, 0));
  EXPECT_EQ(parser->SelectAudioTrack(0), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "aviparser", "Should not be HERE! set Default audio track"));
  EXPECT_EQ(PullAudio(parser), Block(1600, 50));
  for (int kind : {1, 3}) EXPECT_EQ(parser->Seek(0, kind, 0), 0);
  EXPECT_EQ(PullAudio(parser), Block(3200, 100));
  AVIParser* const direct = static_cast<AVIParser*>(static_cast<IParser*>(parser));
  EXPECT_EQ(direct->avi_parser_seek_ff(250, AVI_TRACK_AUDIO, 0), 250u);  // moves the cursor only
  EXPECT_EQ(direct->avi_parser_seek_rw(0, AVI_TRACK_AUDIO, 0), 0u);
  EXPECT_EQ(PullAudio(parser), Block(4800, 150));
  EXPECT_EQ(parser->Seek(0x1000000FA, AVI_TRACK_AUDIO, 0), 0);  // 250 ms
  EXPECT_TRUE(log.Has(ANDROID_LOG_VERBOSE, "aviparser", "Call Seek Start : 4294967546, TrackType 2 SeekMode 0"));
  EXPECT_EQ(PullAudio(parser), Block(8000, 250));
  parser->Seek(0, AVI_TRACK_AUDIO, 0);
  EXPECT_EQ(PullAudio(parser), Block(0, 0));
  parser->SelectAudioTrack(1);  // leaves the cursor behind the first chunk
  EXPECT_TRUE(log.Has(ANDROID_LOG_VERBOSE, "aviparser", "Set AudioIdx 0, Track Index 1"));
  EXPECT_EQ(PullAudio(parser), Block(8000, 250));
  parser->SelectAudioTrack(2);
  EXPECT_EQ(PullAudio(parser), Unit("aac", 0));
  parser->SelectAudioTrack(99);
  EXPECT_EQ(PullAudio(parser).status, -1011);  // nothing was kept for the first track, which has no more chunks
}

TEST(TrackSelect, TheSelectedTracksLayerSetsTheDuration) {
  const auto frame = [](uint32_t n) { return Frame({0xFF, 0xF3, 0x80, 0}, 208, n); };  // Layer III, 22050 Hz
  AviBuilder builder;
  builder.Audio(Coded(0x55, 22050, 8000)).Audio(Coded(0x50, 22050, 8000));
  builder.Chunk(0, Join({frame(0), frame(1), frame(2)})).Chunk(0, Join({frame(3), frame(4), frame(5)}));
  MemorySource source(builder.OldIndex().Build());
  OpenedParser parser(&source);
  EXPECT_EQ(PullAudio(parser), Unit(frame(0), 0));
  EXPECT_EQ(PullAudio(parser), Unit(frame(1), 52));  // by the last track mapped, a Layer II one
  parser->SelectAudioTrack(0);
  EXPECT_EQ(PullAudio(parser), Unit(frame(3), 78));
  EXPECT_EQ(PullAudio(parser), Unit(frame(4), 104));
}

TEST(TrackSelect, AClosedOrUnopenedParserAnswersNothing) {
  MemorySource source(Movie());
  IParser* const parser = createParser();
  for (const bool opened : {false, true}) {
    EXPECT_EQ(opened ? parser->Open(&source) + parser->Close() + parser->Close() : 0, 0);
    LogCapture log;
    const size_t reads = source.reads.size();
    unsigned long ms = 7, len = 7, none = 0;
    EXPECT_EQ(parser->SelectAudioTrack(9) | parser->SelectTextTrack(9) | parser->Seek(0, 2, 0) | parser->Seek(9, 1, 0),
              0);
    EXPECT_EQ(parser->GetTrackCount() | parser->GetDurationMs(&ms) | parser->GetVideoConfig(nullptr, &none, 0), 0);
    EXPECT_EQ(parser->GetAudioConfig(nullptr, &len, 0), INT32_MIN);
    EXPECT_EQ(ms + len + none + parser->GetNextVideoKeyFrameTime(0), 0u);
    EXPECT_EQ(parser->GetTrackInfo(0), nullptr);
    for (uint32_t kind : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT}) EXPECT_EQ(Pull(parser, kind), Unit("", 0));
    std::string lines;
    for (const LogLine& line : log.Lines()) lines += line.text + "|";
    EXPECT_EQ(lines,
              "Should not be HERE! set Default audio track|Should not be HERE! set Default Text track|mTrackInfos "
              "cleared|Error Case|");
    EXPECT_EQ(source.reads.size(), reads);
  }
  destroyParser(parser);
}

}  // namespace
