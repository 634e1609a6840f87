// Reading chunks through an index, and the times of audio chunks.
#include <array>

#include "tests/support/container.h"

namespace {

TEST(ChunkRead, AChunkThatJustFitsIsDeliveredAndALargerOneIsOfferedAgain) {
  for (const bool openDml : {false, true}) {
    AviBuilder builder;
    builder.Audio().Audio().Chunk(0, "12345").Chunk(1, "b", false).Chunk(0, "").Chunk(1, "bb").Chunk(0, "678", false);
    LogCapture log;
    Container movie(openDml ? builder.ChunkIndex(0).ChunkIndex(1).Build() : builder.OldIndex().Build());
    EXPECT_EQ((Units{movie.Data(0, 4), movie.Data(0, 4), movie.Data(0, 5), movie.Data(1, 1), movie.Data(0, 0)}),
              (Units{NoMore(), NoMore(), Got("12345"), Got("b"), Got("")}));
    EXPECT_EQ(log.Count(" GetNextData : AVI_INSUFFICIENT_BUFFER dwChunkSize  > nBufLen, nBufLen:4,dwChunkSize:5"), 2u);
    EXPECT_EQ(movie.source.reads.back().length, 0u);  // the source is asked even for nothing
    EXPECT_EQ((Units{movie.Data(0, 2), movie.Data(0), movie.Data(1), movie.Data(0), movie.Data(0), movie.Data(2)}),
              (Units{NoMore(), Got("678"), Got("bb"), NoMore(), NoMore(), NoMore()}));
    EXPECT_EQ(log.Count(" [AVI] GetNextData Error :: cur_idx[0]:3 >= IdxNum[0]:3 "), 2u);
  }
}

TEST(ChunkRead, AFailedReadMovesNothingAndAnEmptyOneIsTheEnd) {
  AviBuilder builder;
  builder.Audio({.bytesPerSecond = 1000}).Chunk(0, "12345").Chunk(0, "678").OldIndex();
  const std::tuple<Fault, Unit, Unit> kCases[] = {{{.status = -11}, Unit("", 0, 11), Unit("12345", 0)},
                                                  {{.status = -5}, Unit("", 0, -1004), Unit("12345", 0)},
                                                  {{.status = -1011}, Unit("", 0, -1004), Unit("12345", 0)},
                                                  {{.most = 0}, NoMore(), Unit("678", 0)},
                                                  {{.most = 2}, Unit("12", 0), Unit("678", 2)}};
  for (const auto& [fault, answer, next] : kCases) {
    Container movie(builder.Build());
    movie.faulty.Arm(fault);
    EXPECT_EQ(movie.Audio(0), answer);
    movie.faulty.Arm({.first = SIZE_MAX});
    EXPECT_EQ(movie.Audio(0), next);
  }
}

TEST(ChunkRead, AudioTimesFollowBytesOrPositions) {
  // Tag, bytes a second, scale, rate, sample size; times behind 1000 and 4000 bytes.
  const std::array<uint32_t, 7> kCases[] = {
      {0x0001, 24000, 1, 8000, 4, 41, 166},     {0x0001, 0, 1, 128000, 4, 0, 0},
      {0x2001, 24000, 1152, 44100, 4, 26, 52},  {0x2001, 24000, 1024, 48000, 0, 21, 42},
      {0x2001, 24000, 1024, 48000, 1, 41, 166}, {0x00FF, 24000, 1, 8, 4, 125, 250},
      {0x1601, 24000, 1, 8, 4, 125, 250},       {0x00FF, 24000, 1, 0, 128, 0, 0},
      {0x2000, 0, 1000, 8000, 4, 125, 250}};
  for (const auto& [tag, bytesPerSecond, scale, rate, sampleSize, second, third] : kCases) {
    const StreamHeader header{.scale = scale, .rate = rate, .sampleSize = sampleSize};
    AviBuilder builder;
    builder.Audio({.tag = tag, .rate = 48000, .bytesPerSecond = bytesPerSecond}, header).Chunk(0, Bytes(1000));
    Container movie(builder.Chunk(0, Bytes(3000)).Chunk(0, "").OldIndex().Build());
    EXPECT_EQ((Units{movie.Audio(0), movie.Audio(0), movie.Audio(0)}),
              (Units{Unit(Bytes(1000), 0), Unit(Bytes(3000), second), Unit("", third)}));
  }
  AviBuilder builder;  // a detected rate serves one read, of an AC-3 stream
  builder.Audio({.tag = 0x2000, .bytesPerSecond = 24000}, StreamHeader{.rate = 8000, .sampleSize = 1});
  builder.Audio({.bytesPerSecond = 24000});
  for (unsigned i = 0; i < 6; ++i) builder.Chunk(i % 2, Bytes(1000));
  Container movie(builder.OldIndex().Build());
  movie.Audio(0), movie.Audio(1), movie->SetAC3BitRate(64000);
  EXPECT_EQ((Units{movie.Audio(1), movie.Audio(0), movie.Audio(0)}),
            (Units{Unit(Bytes(1000), 41), Unit(Bytes(1000), 125), Unit(Bytes(1000), 83)}));
}

TEST(ChunkRead, AnMp3ChunkTurnsItsStreamToPositions) {
  const char *same = "\xFF\xFB\x90\x64", *more = "\xFF\xFB\xA0\x64", *none = "\xFF\xFB\xF0\x64";  // bit rates
  const char *mono = "\xFF\xFB\x90\xC4", *half = "\xFF\xF3\xC0\x64", *both = "\xFF\xF3\xC0\xC4";
  // The second chunk: header, position of the tag, size. The sample size; the third one's time, at 26.12 ms a chunk or
  // 16 bytes a ms; the size of a frame.
  const std::tuple<const char*, size_t, size_t, uint32_t, uint32_t, uint32_t> kCases[] = {
      {same, 796, 800, 0, 150, 417}, {more, 796, 800, 0, 52, 522}, {more, 796, 800, 1, 150, 522},
      {more, 796, 4, 0, 52, 522},    {more, 796, 3, 0, 100, 0},    {same, 36, 40, 1, 52, 417},
      {same, 36, 39, 0, 102, 417},   {same, 21, 25, 0, 101, 417},  {mono, 21, 25, 0, 52, 417},
      {mono, 36, 40, 0, 102, 417},   {half, 21, 25, 0, 52, 417},   {half, 13, 17, 0, 101, 417},
      {both, 13, 17, 0, 52, 417},    {none, 36, 40, 0, 102, 0}};
  for (const auto& [mpeg, at, size, sampleSize, third, frameSize] : kCases) {
    const Bytes second = Head(Join({std::string(mpeg), Bytes(at - 4), "Xing"}), size);
    const StreamHeader header{.scale = 8, .rate = 128000, .sampleSize = sampleSize};
    const AudioFormat format{.tag = 0x55, .bytesPerSecond = 16000, .blockAlign = 1};
    AviBuilder builder;
    builder.Audio(format, header).Audio(format, header).Chunk(0, Bytes(1600)).Chunk(0, second).Chunk(0, "x");
    Container movie(builder.Chunk(1, Bytes(1600)).Chunk(1, "y").OldIndex().Build());
    movie.Audio(0), movie.Audio(1);
    EXPECT_EQ((Units{movie.Audio(0), movie.Audio(0), movie.Audio(1)}),
              (Units{Unit(second, 100), Unit("x", third), Unit("y", 100)}));
    EXPECT_EQ(movie->LastMp3FrameSize(), frameSize);
  }
}

TEST(ChunkRead, BytesBeyondFourGibibytesCount) {
  AviBuilder builder;
  builder.Audio({.bytesPerSecond = 2000, .blockAlign = 1}).Chunk(0, "a");
  for (int i = 0; i < 3; ++i) builder.IndexEntry("00wb", 0x10, 4, 0x7FFFFFFF);
  Container movie(builder.Chunk(0, Bytes(2000)).Chunk(0, "z").OldIndex().Build());
  movie->SetStartTime(0xC0000000, nullptr, 1, AVI_TRACK_AUDIO, 0);  // byte 6442450944, in the fifth chunk
  EXPECT_EQ((Units{movie.Audio(0), movie.Audio(0)}), (Units{Unit(Bytes(2000), 3221225471), Unit("z", 3221226471)}));
}

}  // namespace
