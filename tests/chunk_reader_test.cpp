// Reading chunks through an index.
#include "tests/support/core_file.h"
#include "tests/support/log_capture.h"

namespace {

TEST(ChunkRead, AChunkThatJustFitsIsDeliveredAndALargerOneIsOfferedAgain) {
  for (const bool openDml : {false, true}) {
    AviBuilder builder;
    builder.Audio().Audio().Chunk(0, "12345").Chunk(1, "b", false).Chunk(0, "").Chunk(1, "bb").Chunk(0, "678", false);
    LogCapture log;
    CoreFile movie(openDml ? builder.ChunkIndex(0).ChunkIndex(1).Build() : builder.OldIndex().Build());
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
  const struct {
    const char* name;
    Fault fault;
    Unit answer, next;
  } kRows[] = {
      {.name = "blocked", .fault = {.status = -11}, .answer = {"", 0, 11}, .next = {"12345", 0}},
      {.name = "broken", .fault = {.status = -5}, .answer = {"", 0, -1004}, .next = {"12345", 0}},
      {.name = "ended", .fault = {.status = -1011}, .answer = {"", 0, -1004}, .next = {"12345", 0}},
      {.name = "empty", .fault = {.most = 0}, .answer = NoMore(), .next = {"678", 0}},
      {.name = "short", .fault = {.most = 2}, .answer = {"12", 0}, .next = {"678", 2}},
  };
  for (const auto& row : kRows) {
    CoreFile movie(builder.Build());
    movie.faulty.Arm(row.fault);
    EXPECT_EQ(movie.Audio(0), row.answer) << row.name;
    movie.faulty.Arm(kNoFault);
    EXPECT_EQ(movie.Audio(0), row.next) << row.name;
  }
}

TEST(ChunkRead, AnMp3ChunkTurnsItsStreamToPositions) {
  const char *same = "\xFF\xFB\x90\x64", *more = "\xFF\xFB\xA0\x64", *none = "\xFF\xFB\xF0\x64";  // bit rates
  const char *mono = "\xFF\xFB\x90\xC4", *half = "\xFF\xF3\xC0\x64", *both = "\xFF\xF3\xC0\xC4";
  const struct {
    const char* header;      // of the second chunk
    size_t tagAt, size;      // in it, and its own
    uint32_t sampleSize;     // of the stream
    uint32_t third;          // time of the third chunk, at 26.12 ms a chunk or 16 bytes a ms
    uint32_t frameSize = 0;  // as the header tells
  } kRows[] = {
      {.header = same, .tagAt = 796, .size = 800, .sampleSize = 0, .third = 150, .frameSize = 417},
      {.header = more, .tagAt = 796, .size = 800, .sampleSize = 0, .third = 52, .frameSize = 522},
      {.header = more, .tagAt = 796, .size = 800, .sampleSize = 1, .third = 150, .frameSize = 522},
      {.header = more, .tagAt = 796, .size = 4, .sampleSize = 0, .third = 52, .frameSize = 522},
      {.header = more, .tagAt = 796, .size = 3, .sampleSize = 0, .third = 100},
      {.header = same, .tagAt = 36, .size = 40, .sampleSize = 1, .third = 52, .frameSize = 417},
      {.header = same, .tagAt = 36, .size = 39, .sampleSize = 0, .third = 102, .frameSize = 417},
      {.header = same, .tagAt = 21, .size = 25, .sampleSize = 0, .third = 101, .frameSize = 417},
      {.header = mono, .tagAt = 21, .size = 25, .sampleSize = 0, .third = 52, .frameSize = 417},
      {.header = mono, .tagAt = 36, .size = 40, .sampleSize = 0, .third = 102, .frameSize = 417},
      {.header = half, .tagAt = 21, .size = 25, .sampleSize = 0, .third = 52, .frameSize = 417},
      {.header = half, .tagAt = 13, .size = 17, .sampleSize = 0, .third = 101, .frameSize = 417},
      {.header = both, .tagAt = 13, .size = 17, .sampleSize = 0, .third = 52, .frameSize = 417},
      {.header = none, .tagAt = 36, .size = 40, .sampleSize = 0, .third = 102},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << "row " << &row - kRows);
    const Bytes second = Head(Join({std::string(row.header), Bytes(row.tagAt - 4), "Xing"}), row.size);
    const StreamHeader header{.scale = 8, .rate = 128000, .sampleSize = row.sampleSize};
    const AudioFormat format{.tag = 0x55, .bytesPerSecond = 16000, .blockAlign = 1};
    AviBuilder builder;
    builder.Audio(format, header).Audio(format, header).Chunk(0, Bytes(1600)).Chunk(0, second).Chunk(0, "x");
    CoreFile movie(builder.Chunk(1, Bytes(1600)).Chunk(1, "y").OldIndex().Build());
    movie.Audio(0), movie.Audio(1);
    EXPECT_EQ((Units{movie.Audio(0), movie.Audio(0), movie.Audio(1)}),
              (Units{Unit(second, 100), Unit("x", row.third), Unit("y", 100)}));
    EXPECT_EQ(movie->LastMp3FrameSize(), row.frameSize);
  }
}

}  // namespace
