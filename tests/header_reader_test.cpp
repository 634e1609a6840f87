#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/core_file.h"
#include "tests/support/log_capture.h"

namespace {

// The list of streams behind the header is in it, too.
Bytes File(const Bytes& avih, const Bytes& more) { return Riff("AVI ", List("hdrl", Join({avih, more}))); }

TEST(MainHeader, IsTakenOnceAndAtItsSize) {
  const Bytes stream = List("strl", Join({Chunk("strh", Strh({})), Chunk("strf", Strf(VideoFormat{}))}));
  const Bytes one = Avih({.streams = 1}), avih = Chunk("avih", one), many = Chunk("avih", Avih({.streams = 1u << 31}));
  const std::string again = "E [AVI] Another RIFF AVI -> skip another RIFF|";
  const std::string size = "E ERROR! ParseChunk() 'avih' not valid|";
  const std::string number = "E [AVI] m_aStream allocate Error -> ParseChunkAviHdr|";
  const std::string failed = "E [AVI] Error -> ParseChunkAviHdr :: nRead(-5)|";
  const std::string empty = "E [AVI] Error -> ParseChunkAviHdr :: nRead(0)|";
  const struct {
    const char* name;
    Bytes file;
    Fault fault = kNoFault;  // read 3 is of the header
    int result;
    std::string log = {};  // its beginning
  } kRows[] = {
      {.name = "twice", .file = File(avih, Join({avih, stream})), .result = 1, .log = again},
      {.name = "long", .file = File(Chunk("avih", Join({one, Bytes(4)})), stream), .result = 0, .log = size},
      {.name = "short", .file = File(Chunk("avih", Head(one, 55)), {}), .result = 1, .log = size},  // no streams either
      {.name = "a negative number of streams", .file = File(many, {}), .result = 0, .log = number},
      {.name = "failed", .file = File(avih, stream), .fault = OnRead(3, {.status = -5}), .result = 0, .log = failed},
      {.name = "nothing read", .file = File(avih, stream), .fault = OnRead(3, {.most = 0}), .result = 0, .log = empty},
      {.name = "half read", .file = File(avih, stream), .fault = OnRead(3, {.most = 25}), .result = 1},
  };
  for (const auto& row : kRows) {
    LogCapture log;
    EXPECT_EQ(CoreFile(row.file, row.fault).result, row.result) << row.name;
    EXPECT_EQ(log.Take().substr(0, row.log.size()), row.log) << row.name;
  }
}

// Codec, width and rate of each stream, and the duration.
std::string Told(CoreFile& file) {
  std::ostringstream told;
  for (int i = 0; i < file->GetStreamNum(); ++i) {
    told << file->GetStreamType(i) << ":" << file.Info(i).wWidth << "@" << file.Info(i).nFrameRate << " ";
  }
  told << file.Info(file->GetStreamNum() - 1).dwDuration << "ms";
  return told.str();
}

TEST(StreamHeader, RatesAndTheDurationFollowTheLastVideoStreamThatKnows) {
  const auto told = [](const MainHeader& main, const StreamHeader& first, const StreamHeader& second) {
    AviBuilder movie = AviBuilder().Main(main).Stream(first, Strf(VideoFormat{}));
    CoreFile file(movie.Stream(second, Strf(VideoFormat{})).Build());
    return Told(file);
  };
  const MainHeader ten = {.microSecPerFrame = 40000, .totalFrames = 250};
  EXPECT_EQ(told(ten, {.length = 300}, {}), "5:320@25 5:320@25 12000ms");
  EXPECT_EQ(told(ten, {.length = 300}, {.scale = 1001, .rate = 30000, .length = 100}), "5:320@25 5:320@29 3336ms");
  EXPECT_EQ(told(ten, {.scale = 0, .length = 300}, {.rate = 0, .length = 300}), "5:320@2147483647 5:320@0 10000ms");
  EXPECT_EQ(told({33367, 100}, {.scale = 0, .rate = 0}, {.rate = 24}), "5:320@0 5:320@24 3336ms");
  EXPECT_EQ(told(ten, {.type = "mids", .length = 300}, {.rate = 1, .length = 0xFFFFFFFF}),
            "4095:0@0 5:320@1 4294967295ms");
}

TEST(StreamHeader, SizesKindsAndRepetitions) {
  AviBuilder movie =
      AviBuilder().RawStream(Chunk("strh", Join({Strh({}), Bytes(8)}))).InStream(Chunk("strf", Strf(VideoFormat{})));
  movie.RawStream(Join({Chunk("strh", Head(Strh({}), 55)), Chunk("strf", Strf(VideoFormat{}))}));
  movie.Stream({.type = "txts"}, "text").Video({.fourcc = "H264"}, {.rate = 10});
  movie.InStream(Chunk("strh", Strh({.rate = 15}))).InStream(Chunk("strf", Strf(VideoFormat{})));
  movie.Audio({.tag = 0x50}).InStream(Chunk("strf", Strf(AudioFormat{.tag = 2})));
  LogCapture log;
  CoreFile file(movie.Build());
  EXPECT_EQ(Told(file), "5:320@25 0:0@0 4095:0@0 5:320@15 137:0@0 0ms");
  for (const int stream : {5, -1}) EXPECT_EQ(file->GetStreamType(stream), 0x80000000u) << stream;
  EXPECT_EQ(log.Take(),
            "E ERROR! ParseChunk() 'strh' not valid|E ERROR! ParseStrf: strh is NULL!!!|W WARNING! ParseChunk() 'strh' "
            "MIDI, TEXT not supported|W WARNING! ParseChunk() 'strf' MIDI, TEXT not supported....Do nothing|");
}

TEST(StreamHeader, AFailedReadDropsOneRecordAndAShortOneReadsZeros) {
  const Bytes movie = AviBuilder().Video().Build();
  const auto expect = [&](const Fault& fault, const std::string& told, const std::string& line) {
    LogCapture log;
    CoreFile file(movie, fault);
    EXPECT_EQ(Told(file), told) << "read " << fault.first;
    EXPECT_EQ(log.Take(), line) << "read " << fault.first;
  };
  // Read 6 is of strh, 8 of strf.
  expect(OnRead(6, {.status = -5}), "0:0@0 0ms",
         "E [AVI] Error -> ParseChunkStrHdr :: nRead(-5)|E ERROR! ParseStrf: strh is NULL!!!|");
  expect(OnRead(6, {.most = 24}), "5:320@0 0ms", "");
  expect(OnRead(8, {.status = -5}), "0:0@25 0ms", "E [AVI] Error -> VIDEO ParseChunkStrFmt :: nRead(-5)|");
  expect(OnRead(8, {.most = 19}), "0:320@25 0ms", "");
}

TEST(StreamHeader, MpegAudioHasARateOfItsOwnAndMayVary) {
  const struct {
    uint32_t tag = 0x55, rate, align = 1152, avg = 16000, sampleSize = 0;
    float perSecond;  // frames
    bool vbr = false;
  } kRows[] = {
      {.rate = 44100, .avg = 0, .perSecond = 38.28125, .vbr = true},
      {.rate = 22050, .align = 1, .perSecond = 38.28125},
      {.rate = 48000, .align = 384, .perSecond = 125},
      {.rate = 48000, .align = 576, .perSecond = 83.3333333f},
      {.rate = 24000, .perSecond = 20.8333333f},
      {.rate = 24000, .sampleSize = 1152, .perSecond = 41.6666667f, .vbr = true},
      {.rate = 44100, .align = 384, .sampleSize = 1152, .perSecond = 38.28125},
      {.rate = 32000, .sampleSize = 1, .perSecond = 27.7777778f},
      {.rate = 0, .perSecond = 0},
      {.tag = 0x50, .rate = 48000, .align = 384, .avg = 0, .perSecond = 125},
      {.tag = 0x50, .rate = 22050, .align = 1, .perSecond = 19.140625},
      {.tag = 0x50, .rate = 48000, .align = 384, .sampleSize = 4, .perSecond = 41.6666667f},
      {.tag = 0x2000, .rate = 48000, .avg = 0, .sampleSize = 1152, .perSecond = 25, .vbr = true},
      {.tag = 0x2000, .rate = 48000, .sampleSize = 1152, .perSecond = 25},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << "row " << &row - kRows);
    AviBuilder movie;
    for (int i = 0; i < 41; ++i) {
      movie.Audio({.tag = row.tag, .rate = row.rate, .bytesPerSecond = row.avg, .blockAlign = row.align},
                  StreamHeader{.sampleSize = row.sampleSize});
    }
    CoreFile file(movie.Build());
    EXPECT_EQ(file->GetStream(0)->fFramePerSec, row.perSecond);
    EXPECT_EQ(file->IsVBR(39), row.vbr);
    EXPECT_FALSE(file->IsVBR(40));  // streams so late are never treated as such
  }
}

}  // namespace
