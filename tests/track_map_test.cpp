#include <gtest/gtest.h>

#include "tests/support/elementary.h"
#include "tests/support/log_capture.h"
#include "tests/support/sources.h"

namespace {

TEST(TrackMap, EveryCodecFamilyHasItsNumberAtTheHost) {
  const std::pair<const char*, uint32_t> kVideo[] = {
      {"XVID", 126}, {"Xvid", 100}, {"DIV1", 118}, {"DIV2", 102}, {"DIV5", 124}, {"DIVX", 123}, {"DXMF", 125},
      {"mp4v", 120}, {"WVC1", 109}, {"WMV3", 108}, {"WMV2", 107}, {"wmv1", 106}, {"MP43", 111}, {"MP42", 112},
      {"Vp62", 115}, {"vp62", 100}, {"VP72", 116}, {"VP80", 117}, {"VP90", 128}, {"THEO", 121}, {"MJPG", 114},
      {"X264", 104}, {"u263", 103}, {"MPG1", 101}, {"MPG2", 101}, {"dxsa", 100}, {"DXSA", 100}};
  const std::pair<uint32_t, uint32_t> kAudio[] = {
      {0x01, 206},  {0x02, 218},   {0x03, 206},   {0x06, 220},   {0x07, 221},   {0x10, 218},  {0x11, 218},
      {0x12, 218},  {0x45, 222},   {0x50, 219},   {0x55, 202},   {0xFF, 201},   {0x160, 210}, {0x161, 211},
      {0x162, 206}, {0x1600, 201}, {0x1601, 201}, {0x2000, 203}, {0x2001, 205}, {0x6771, 0},  {0xFFFE, 206}};
  const std::pair<uint32_t, uint32_t> kSlow[] = {{0x01, 200}, {0x03, 200}, {0xFFFE, 200}, {0x07, 221}};
  AviBuilder builder;
  for (const auto& [fourcc, codec] : kVideo) builder.Video({.fourcc = fourcc});
  for (const auto& [tag, codec] : kAudio) builder.Audio(Coded(tag, 44100, 44100));
  for (const auto& [tag, codec] : kSlow) builder.Audio(Coded(tag, 44100, 44099));
  LogCapture log;
  MemorySource source(builder.Build());
  OpenedParser parser(&source);
  ASSERT_EQ(parser->GetTrackCount(), 52);
  const TrackInfo* record = parser->GetTrackInfo(0);
  for (const auto& [fourcc, codec] : kVideo) EXPECT_EQ(record++->nCodecId, codec) << fourcc;
  for (const auto& [tag, codec] : kAudio) EXPECT_EQ(record++->nCodecId, codec) << tag;
  for (const auto& [tag, codec] : kSlow) EXPECT_EQ(record++->nCodecId, codec) << tag;
  EXPECT_EQ(log.Count("PCM AUDIO haven't normal parametera so Disable Audio Track"), 3u);
}

TEST(TrackMap, MpegAudioFramesAreEstimatedFromTheRates) {
  LogCapture log("4");
  const auto logs = [&](uint32_t tag, uint32_t rate, uint32_t bytesPerSecond, const std::string& text) {
    log.Clear();
    Play(AudioFile(Coded(tag, rate, bytesPerSecond), {}));
    return log.Count("check " + text) == 1;
  };
  EXPECT_TRUE(logs(0x55, 44100, 16000, "MPEG1 layer3 mMP3FrameSize[samplingRate:44100] : 417"));
  EXPECT_TRUE(logs(0x55, 32000, 3728270, "MPEG1 layer3 mMP3FrameSize[samplingRate:32000] : 134217"));
  EXPECT_TRUE(logs(0x55, 24000, 7456540, "MPEG2 layer3 mMP3FrameSize[samplingRate:24000] : 178956"));
  EXPECT_TRUE(logs(0x55, 0, 4000000, "MPEG2 layer3 mMP3FrameSize[samplingRate:0] : 0"));
  EXPECT_TRUE(logs(0x50, 22050, 8000, "MPEG1/2 layer2 mMP3FrameSize[samplingRate:22050] : 417"));
  EXPECT_TRUE(logs(0x50, 0, 4000000, "MPEG1/2 layer2 mMP3FrameSize[samplingRate:0] : 0"));
  EXPECT_DEATH(logs(0x55, 48000, 3728271, ""), "");
  EXPECT_DEATH(logs(0x55, 24000, 7456541, ""), "");
  EXPECT_DEATH(logs(0x50, 24000, 3728271, ""), "");
}

TEST(TrackMap, RecordsTellWhatTheFormatsHold) {
  for (const auto& [claimed, kept] : {std::pair<uint32_t, size_t>{0, 0}, {2, 2}, {4, 4}, {5, 4}, {0xFFFF, 4}}) {
    AviFile file = AviBuilder().Audio({.tag = 0xFF, .bytesPerSecond = 1u << 29, .extra = {1, 2, 3, 4}}).Build();
    MemorySource source(file.Put(file.Find("strf") + 8 + 16, Le16(claimed)));
    OpenedParser parser(&source);
    const TrackInfo::Audio& audio = parser->GetTrackInfo(0)->audio;
    EXPECT_EQ(Bytes(audio.pExtraData, audio.pExtraData + audio.nExtraSize), Head({1, 2, 3, 4}, kept));
    EXPECT_EQ(audio.pExtraData == nullptr, kept == 0);
    EXPECT_EQ(audio.bSeekable, 0u);
    EXPECT_EQ(audio.nBitRate, 0xFFFFFFFFu);
  }
  for (const bool divx : {false, true}) {
    AviBuilder builder;
    builder.Video({"DXSA"}).Video({divx ? "DIVX" : "XVID", 0x10280, 0x2001E0}, {.scale = 1001, .rate = 30000});
    MemorySource source(builder.Chunk(1, "I").OldIndex().Build());
    OpenedParser parser(&source);
    const TrackInfo *text = parser->GetTrackInfo(0), *video = parser->GetTrackInfo(1);
    EXPECT_EQ(text->nTrackType * 10 + video->nTrackType, 31u);
    EXPECT_EQ(Bytes(text->bytes, text->bytes + 20), Join({Le32(divx), Le32(divx), Le64(0), Le32(1)}));
    EXPECT_EQ(Bytes(video->bytes, video->bytes + 20), Join({Le32(640), Le32(480), Le32(0), Le32(29), Le32(1)}));
  }
}

TEST(TrackMap, TracksBeyondTheListsAreDescribedButNeverPlayed) {
  AviBuilder builder;
  for (unsigned i = 0; i < 11; ++i) builder.Audio(Coded(0xFF, 44100, 16000)).Chunk(i, Bytes{uint8_t(i)});
  for (unsigned i = 11; i < 40; ++i) builder.Video({.fourcc = "DXSB"}).Chunk(i, Bytes{uint8_t(i)});
  MemorySource source(builder.OldIndex().Build());
  OpenedParser parser(&source);
  EXPECT_EQ(parser->GetTrackInfo(10)->nCodecId, 201u);
  EXPECT_EQ(parser->GetTrackInfo(39)->nTrackType, 3u);
  for (const auto& [track, audio, played] :
       {std::tuple<int, bool, uint8_t>{9, true, 9}, {10, true, 0}, {38, false, 38}, {39, false, 11}}) {
    audio ? parser->SelectAudioTrack(track) : parser->SelectTextTrack(track);
    EXPECT_EQ(Pull(parser, audio ? AVI_TRACK_AUDIO : AVI_TRACK_TEXT), Unit(Bytes{played}, 0));
  }
}

TEST(TrackMap, TheFirstStreamThatIsNeitherSoundNorTextIsTheVideo) {
  AviBuilder builder;
  builder.Audio().Stream({.type = "mids"}, "format").Video().Chunk(2, "I").Chunk(1, "midi").Chunk(2, "P");
  MemorySource source(builder.OldIndex().Build());
  OpenedParser parser(&source);
  EXPECT_EQ(DrainVideo(parser).units, (Units{{"midi", 0}}));
  const auto record = reinterpret_cast<const uint8_t*>(parser->GetTrackInfo(1));
  EXPECT_EQ(Bytes(record, record + 192), Bytes(192));
}

TEST(TrackMap, AParserOpensAgainUntilItIsClosed) {
  MemorySource first(AudioFile(Coded(0x55, 44100, 16000), {Bytes(4)})), empty(AviBuilder().Build());
  MemorySource second(AviBuilder().Video().Audio(Coded(0xFF, 44100, 16000)).Chunk(1, "sound").Build());
  OpenedParser parser(&first);
  EXPECT_EQ(parser->Open(nullptr), -1);
  EXPECT_EQ(parser->Open(&second), 0);
  EXPECT_EQ(parser->GetTrackCount(), 2);
  EXPECT_EQ(Pull(parser, AVI_TRACK_AUDIO), Unit("sound", 0));
  EXPECT_EQ(parser->Open(&empty), 0);
  EXPECT_EQ(parser->GetTrackCount(), 0);
  EXPECT_EQ(parser->GetTrackInfo(0), nullptr);
  parser->Close();
  EXPECT_EQ(parser->Open(&second), -1);
}

}  // namespace
