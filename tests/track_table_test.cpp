#include <gtest/gtest.h>

#include "plugin/avi_parser.h"
#include "tests/support/elementary.h"
#include "tests/support/log_capture.h"

namespace {

TEST(TrackTable, CodecsAreTakenToTheLetter) {
  const struct {
    const char* fourcc;
    uint32_t codec;
  } kVideo[] = {{.fourcc = "XVID", .codec = 126}, {.fourcc = "Xvid", .codec = 100}, {.fourcc = "DIV1", .codec = 118},
                {.fourcc = "DIV2", .codec = 102}, {.fourcc = "DIV6", .codec = 100}, {.fourcc = "Vp62", .codec = 115},
                {.fourcc = "vp62", .codec = 100}, {.fourcc = "VP90", .codec = 128}, {.fourcc = "vp90", .codec = 100},
                {.fourcc = "MPG1", .codec = 101}, {.fourcc = "DXSA", .codec = 100}, {.fourcc = "dxsa", .codec = 100}};
  // Uncompressed sound of less than a byte a sample is disabled.
  const struct {
    uint32_t tag, bytesPerSecond, codec;
  } kAudio[] = {
      {.tag = 0x0001, .bytesPerSecond = 44100, .codec = 206}, {.tag = 0x0001, .bytesPerSecond = 44099, .codec = 200},
      {.tag = 0x0003, .bytesPerSecond = 44100, .codec = 206}, {.tag = 0x0003, .bytesPerSecond = 44099, .codec = 200},
      {.tag = 0xFFFE, .bytesPerSecond = 44100, .codec = 206}, {.tag = 0xFFFE, .bytesPerSecond = 44099, .codec = 200},
      {.tag = 0x0002, .bytesPerSecond = 44100, .codec = 218}, {.tag = 0x0007, .bytesPerSecond = 44099, .codec = 221},
      {.tag = 0x0050, .bytesPerSecond = 44100, .codec = 219}, {.tag = 0x0055, .bytesPerSecond = 44100, .codec = 202},
      {.tag = 0x0161, .bytesPerSecond = 44100, .codec = 211}, {.tag = 0x0162, .bytesPerSecond = 44100, .codec = 206},
      {.tag = 0x1601, .bytesPerSecond = 44100, .codec = 201}, {.tag = 0x6771, .bytesPerSecond = 44100, .codec = 0}};
  AviBuilder builder;
  for (const auto& row : kVideo) builder.Video({.fourcc = row.fourcc});
  for (const auto& row : kAudio) builder.Audio(Coded(row.tag, 44100, row.bytesPerSecond));
  LogCapture log;
  Host host(builder.Build());
  const TrackInfo* record = host->GetTrackInfo(0);
  for (const auto& row : kVideo) EXPECT_EQ(record++->nCodecId, row.codec) << row.fourcc;
  for (const auto& row : kAudio) EXPECT_EQ(record++->nCodecId, row.codec) << row.tag << " at " << row.bytesPerSecond;
  EXPECT_EQ(host->GetTrackInfo(10)->nTrackType, 3u);  // DXSA
  EXPECT_EQ(host->GetTrackInfo(11)->nTrackType, 1u);  // dxsa
  EXPECT_EQ(log.Count("PCM AUDIO haven't normal parametera so Disable Audio Track"), 3u);
}

TEST(TrackTable, MpegAudioFramesAreEstimatedFromTheRates) {
  const auto estimate = [](uint32_t tag, uint32_t rate, uint32_t bytesPerSecond) {
    LogCapture log("4");
    Host host(AudioFile(Coded(tag, rate, bytesPerSecond), {}));
    const std::string lines = log.Take("aviparser"), line = lines.substr(lines.find("V check ") + 8);
    return line.substr(0, line.find('|'));
  };
  EXPECT_EQ(estimate(0x55, 44100, 16000), "MPEG1 layer3 mMP3FrameSize[samplingRate:44100] : 417");
  EXPECT_EQ(estimate(0x55, 32000, 3728270), "MPEG1 layer3 mMP3FrameSize[samplingRate:32000] : 134217");
  EXPECT_EQ(estimate(0x55, 24000, 7456540), "MPEG2 layer3 mMP3FrameSize[samplingRate:24000] : 178956");
  EXPECT_EQ(estimate(0x55, 0, 4000000), "MPEG2 layer3 mMP3FrameSize[samplingRate:0] : 0");
  EXPECT_EQ(estimate(0x50, 22050, 8000), "MPEG1/2 layer2 mMP3FrameSize[samplingRate:22050] : 417");
  EXPECT_EQ(estimate(0x50, 0, 4000000), "MPEG1/2 layer2 mMP3FrameSize[samplingRate:0] : 0");
  const auto aborts = testing::KilledBySignal(SIGABRT);
  EXPECT_EXIT(estimate(0x55, 48000, 3728271), aborts, "");
  EXPECT_EXIT(estimate(0x55, 24000, 7456541), aborts, "");
  EXPECT_EXIT(estimate(0x50, 24000, 3728271), aborts, "");
}

TEST(TrackTable, RecordsTellWhatTheFormatsHold) {
  const struct {
    uint32_t claimed;
    size_t kept;  // of four bytes
  } kExtra[] = {{.claimed = 0, .kept = 0}, {.claimed = 4, .kept = 4}, {.claimed = 5, .kept = 4}};
  for (const auto& row : kExtra) {
    SCOPED_TRACE(row.claimed);
    AviFile file = AviBuilder().Audio({.tag = 0xFF, .bytesPerSecond = 1u << 29, .extra = {1, 2, 3, 4}}).Build();
    Host host(file.Put(file.Find("strf") + 8 + 16, Le16(row.claimed)));
    const TrackInfo::Audio& audio = host->GetTrackInfo(0)->audio;
    EXPECT_EQ(Bytes(audio.pExtraData, audio.pExtraData + audio.nExtraSize), Head({1, 2, 3, 4}, row.kept));
    EXPECT_EQ(audio.pExtraData == nullptr, row.kept == 0);
    EXPECT_EQ(audio.bSeekable, 0u);
    EXPECT_EQ(audio.nBitRate, 0xFFFFFFFFu);
  }
  for (const bool divx : {false, true}) {
    SCOPED_TRACE(divx);
    AviBuilder builder;
    builder.Video({"DXSA"}).Video({divx ? "DIVX" : "XVID", 0x10280, 0x2001E0}, {.scale = 1001, .rate = 30000});
    Host host(builder.Chunk(1, "I").OldIndex().Build());
    const TrackInfo *text = host->GetTrackInfo(0), *video = host->GetTrackInfo(1);
    EXPECT_EQ(text->nTrackType, 3u);
    EXPECT_EQ(video->nTrackType, 1u);
    EXPECT_EQ(Bytes(text->bytes, text->bytes + 20), Join({Le32(divx), Le32(divx), Le64(0), Le32(1)}));
    EXPECT_EQ(Bytes(video->bytes, video->bytes + 20), Join({Le32(640), Le32(480), Le32(0), Le32(29), Le32(1)}));
  }
}

TEST(TrackTable, TracksBeyondTheListsAreDescribedButNeverPlayed) {
  AviBuilder builder;
  for (unsigned i = 0; i < 11; ++i) builder.Audio(Coded(0xFF, 44100, 16000)).Chunk(i, Bytes{uint8_t(i)});
  for (unsigned i = 11; i < 40; ++i) builder.Video({.fourcc = "DXSB"}).Chunk(i, Bytes{uint8_t(i)});
  Host host(builder.OldIndex().Build());
  EXPECT_EQ(host->GetTrackInfo(10)->nCodecId, 201u);
  EXPECT_EQ(host->GetTrackInfo(39)->nTrackType, 3u);
  const struct {
    int track;
    uint8_t played;  // whichever it is
  } kAudio[] = {{.track = 9, .played = 9}, {.track = 10, .played = 0}},
    kText[] = {{.track = 38, .played = 38}, {.track = 39, .played = 11}};
  for (const auto& row : kAudio) {
    host->SelectAudioTrack(row.track);
    EXPECT_EQ(host.Audio(), Unit(Bytes{row.played}, 0)) << row.track;
  }
  for (const auto& row : kText) {
    host->SelectTextTrack(row.track);
    EXPECT_EQ(host.Text(), Unit(Bytes{row.played}, 0)) << row.track;
  }
}

TEST(TrackTable, TheFirstStreamThatIsNeitherSoundNorTextIsTheVideo) {
  AviBuilder builder;
  builder.Audio().Stream({.type = "mids"}, "format").Video().Chunk(2, "I").Chunk(1, "midi").Chunk(2, "P");
  Host host(builder.OldIndex().Build());
  EXPECT_EQ(host.Rest(AVI_TRACK_VIDEO), (Units{{"midi", 0}}));
  const auto record = reinterpret_cast<const uint8_t*>(host->GetTrackInfo(1));
  EXPECT_EQ(Bytes(record, record + 192), Bytes(192));
}

const Bytes kSound = Frame({}, 16000, 1);

// Two chunks of sound in blocks of 1600 bytes or 50 ms.
AviFile Movie() {
  AviBuilder builder;
  builder.Video({}, {.length = 2}).Audio({.rate = 8000, .bytesPerSecond = 32000}).Audio(Coded(0xFF, 44100, 16000));
  for (const Bytes& chunk : Cut(kSound, 8000)) builder.Chunk(1, chunk).Chunk(2, "aac").Chunk(0, "I");
  return builder.OldIndex().Build();
}
Unit Block(ptrdiff_t at, uint32_t ms) { return Unit(Bytes(kSound.begin() + at, kSound.begin() + at + 1600), ms); }

TEST(TrackTable, OnlyAKnownTrackAndAnAudioSeekDropBufferedSound) {
  LogCapture log("5");
  Host host(Movie());
  EXPECT_EQ(host.Audio(), Block(0, 0));
  EXPECT_EQ(host->SelectAudioTrack(0), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "aviparser", "Should not be HERE! set Default audio track"));
  EXPECT_EQ(host.Audio(), Block(1600, 50));
  for (int kind : {1, 3}) EXPECT_EQ(host->Seek(0, kind, 0), 0) << kind;
  EXPECT_EQ(host.Audio(), Block(3200, 100));
  AVIParser* const direct = static_cast<AVIParser*>(host.parser);
  EXPECT_EQ(direct->avi_parser_seek_ff(250, AVI_TRACK_AUDIO, 0), 250u);  // moves the cursor only
  EXPECT_EQ(direct->avi_parser_seek_rw(0, AVI_TRACK_AUDIO, 0), 0u);
  EXPECT_EQ(host.Audio(), Block(4800, 150));
  EXPECT_EQ(host->Seek(0x1000000FA, AVI_TRACK_AUDIO, 0), 0);  // 250 ms
  EXPECT_TRUE(log.Has(ANDROID_LOG_VERBOSE, "aviparser", "Call Seek Start : 4294967546, TrackType 2 SeekMode 0"));
  EXPECT_EQ(host.Audio(), Block(8000, 250));
  host->Seek(0, AVI_TRACK_AUDIO, 0);
  EXPECT_EQ(host.Audio(), Block(0, 0));
  host->SelectAudioTrack(1);  // leaves the cursor behind the first chunk
  EXPECT_TRUE(log.Has(ANDROID_LOG_VERBOSE, "aviparser", "Set AudioIdx 0, Track Index 1"));
  EXPECT_EQ(host.Audio(), Block(8000, 250));
  host->SelectAudioTrack(2);
  EXPECT_EQ(host.Audio(), Unit("aac", 0));
  host->SelectAudioTrack(99);
  EXPECT_EQ(host.Audio().status, -1011);  // nothing was kept for the first track, which has no more chunks
}

TEST(TrackTable, TheSelectedTracksLayerSetsTheDuration) {
  const auto frame = [](uint32_t n) { return Frame({0xFF, 0xF3, 0x80, 0}, 208, n); };  // Layer III, 22050 Hz
  AviBuilder builder;
  builder.Audio(Coded(0x55, 22050, 8000)).Audio(Coded(0x50, 22050, 8000));
  builder.Chunk(0, Join({frame(0), frame(1), frame(2)})).Chunk(0, Join({frame(3), frame(4), frame(5)}));
  Host host(builder.OldIndex().Build());
  EXPECT_EQ(host.Audio(), Unit(frame(0), 0));
  EXPECT_EQ(host.Audio(), Unit(frame(1), 52));  // by the last track mapped, a Layer II one
  host->SelectAudioTrack(0);
  EXPECT_EQ(host.Audio(), Unit(frame(3), 78));
  EXPECT_EQ(host.Audio(), Unit(frame(4), 104));
}

}  // namespace
