#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/host.h"
#include "tests/support/parsed_file.h"

namespace {

const Bytes kStream = List("strl", Join({Chunk("strh", Strh({})), Chunk("strf", Strf(VideoFormat{}))}));

Bytes File(const Bytes& avih, const Bytes& more) { return Riff("AVI ", List("hdrl", Join({avih, more}))); }
Bytes File(uint32_t streams, const Bytes& more) { return File(Chunk("avih", Avih({.streams = streams})), more); }
// Codec, size and rate of each stream, and the duration; nothing of a refused file.
std::string Told(ParsedFile& file) {
  std::ostringstream told;
  SAVIInfo info = {};
  for (int i = 0; file.result && i < file->GetStreamNum(); ++i) {
    file->GetMoviInfo(&info, i);
    told << file->GetStreamType(i) << ":" << info.wWidth << "@" << info.nFrameRate << " ";
  }
  told << info.dwDuration << "ms";
  return told.str();
}

TEST(StreamHeader, TheMainHeaderIsTakenOnceAtItsSizeAndWithinBounds) {
  const auto expect = [](const Bytes& bytes, int result, const std::string& firstLine) {
    ParsedFile file(bytes);
    EXPECT_EQ(file.result, result);
    EXPECT_EQ(Logged(file.log).substr(0, firstLine.size()), firstLine);
  };
  const Bytes one = Avih({.streams = 1});
  Bytes hundred;
  for (int i = 0; i < 100; ++i) Append(hundred, kStream);
  expect(File(1, Join({Chunk("avih", one), kStream})), 1, "E [AVI] Another RIFF AVI -> skip another RIFF|");
  expect(File(Chunk("avih", Join({one, Bytes(4)})), kStream), 0, "E ERROR! ParseChunk() 'avih' not valid|");
  expect(File(Chunk("avih", Head(one, 55)), {}), 1, "E ERROR! ParseChunk() 'avih' not valid|");  // no streams either
  expect(File(100, hundred), 1, "");
  expect(File(101, Join({hundred, kStream})), 0, "E [AVI] m_aStream allocate Error -> ParseChunkAviHdr|");
  expect(File(0x80000000, {}), 0, "E [AVI] m_aStream allocate Error -> ParseChunkAviHdr|");
}

TEST(StreamHeader, RatesAndTheDurationFollowTheLastVideoStreamThatKnows) {
  const auto told = [](const MainHeader& main, const StreamHeader& first, const StreamHeader& second) {
    AviBuilder movie = AviBuilder().Main(main).Stream(first, Strf(VideoFormat{}));
    ParsedFile file(movie.Stream(second, Strf(VideoFormat{})).Build());
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
  ParsedFile file(movie.Build());
  EXPECT_EQ(Told(file), "5:320@25 0:0@0 4095:0@0 5:320@15 137:320@15 0ms");
  for (const int stream : {5, -1}) EXPECT_EQ(file->GetStreamType(stream), 0x80000000u);
  EXPECT_EQ(Logged(file.log),
            "E ERROR! ParseChunk() 'strh' not valid|E ERROR! ParseStrf: strh is NULL!!!|W WARNING! ParseChunk() 'strh' "
            "MIDI, TEXT not supported|W WARNING! ParseChunk() 'strf' MIDI, TEXT not supported....Do nothing|");
}

TEST(StreamHeader, AFailedReadDropsOneRecordAndAShortOneReadsZeros) {
  const auto expect = [](size_t read, Fault fault, const std::string& told, const std::string& line) {
    fault.first = fault.last = read;
    MemorySource source(File(1, kStream));
    FaultySource faulty(source, fault);
    ParsedFile file(faulty);
    EXPECT_EQ(Told(file), told + "0ms") << read;
    EXPECT_EQ(Logged(file.log).substr(0, line.size()), line) << read;
  };
  // Read 3 is of avih, 6 of strh, 8 of strf.
  expect(3, {.status = -5}, "", "E [AVI] Error -> ParseChunkAviHdr :: nRead(-5)|");
  expect(3, {.most = 0}, "", "E [AVI] Error -> ParseChunkAviHdr :: nRead(0)|");
  expect(3, {.most = 25}, "5:320@25 ", "");
  expect(6, {.status = -5}, "0:0@0 ", "E [AVI] Error -> ParseChunkStrHdr :: nRead(-5)|");
  expect(6, {.most = 24}, "5:320@0 ", "");
  expect(8, {.status = -5}, "0:0@25 ", "E [AVI] Error -> VIDEO ParseChunkStrFmt :: nRead(-5)|");
  expect(8, {.most = 19}, "0:320@25 ", "");
}

TEST(StreamHeader, FourCCsAreTakenToTheLetter) {
  std::istringstream words(
      "118 DIV1 div1 102 DIV2 div2 EM4A EPHV FVFW M4CC MVXM RMP4 SEDG SMP4 UMP4 WV1F 115 Vp62 128 VP09 VP90 100 em4a "
      "ephv fvfw m4cc mvxm rmp4 sedg smp4 ump4 wv1f vp62 vp09 vp90 dxsb dxsa Xvid DIV6 MPG3 VP63 h265");
  std::string codec;
  for (std::string word; words >> word;) {
    if (word.size() == 3 && words >> codec) codec.swap(word);
    MemorySource source(AviBuilder().Video({.fourcc = word}).Build());
    OpenedParser parser(&source);
    EXPECT_EQ(std::to_string(parser->GetTrackInfo(0)->nCodecId), codec) << word;
  }
}

TEST(StreamHeader, MpegAudioHasARateOfItsOwnAndMayVary) {
  // Tag, sample rate, block alignment, bytes per second, sample size; frames per second, VBR.
  std::istringstream rows(
      "85 44100 1152 0 0 38.28125 1  85 22050 1 16000 0 38.28125 0  85 48000 384 16000 0 125 0  85 48000 576 16000 0 "
      "83.3333333 0  85 24000 1152 16000 0 20.8333333 0  85 24000 1152 16000 1152 41.6666667 1  85 44100 384 16000 "
      "1152 "
      "38.28125 0  85 32000 1152 16000 1 27.7777778 0  85 0 1152 16000 0 0 0  80 48000 384 0 0 125 0  80 22050 1 16000 "
      "0 19.140625 0  80 48000 384 16000 4 41.6666667 0  8192 48000 1152 0 1152 25 1  8192 48000 1152 16000 1152 25 0");
  AudioFormat format;
  StreamHeader header;
  float framesPerSec;
  bool vbr;
  while (rows >> format.tag >> format.rate >> format.blockAlign >> format.bytesPerSecond >> header.sampleSize >>
         framesPerSec >> vbr) {
    AviBuilder movie;
    for (int i = 0; i < 41; ++i) movie.Audio(format, header);
    ParsedFile file(movie.Build());
    EXPECT_EQ(file->GetStream(0)->fFramePerSec, framesPerSec);
    EXPECT_EQ(file->IsVBR(39), vbr) << format.tag << " " << format.rate << " " << format.blockAlign;
    EXPECT_FALSE(file->IsVBR(40));  // streams so late are never treated as such
  }
}

// Codec, block size, bits and extra bytes of a sound format, and what was logged about it.
std::string Sound(const Bytes& format, std::optional<uint32_t> declared = {}) {
  const Bytes strh = Chunk("strh", Strh({.type = "auds"}));
  ParsedFile file(File(1, List("strl", Join({strh, Chunk("strf", format, declared)}))), 5);
  SAVIInfo info = {};
  file->GetMoviInfo(&info, 0);
  std::ostringstream sound;
  sound << file->GetStreamType(0) << " " << info.dwBlockAlign << " " << info.dwBitsPerSample << " " << info.dwExtraSize;
  const std::string log = Logged(file.log);
  return sound.str() + log.substr(log.find(",dwPlayTime:0  |") + 16);
}

TEST(StreamHeader, SoundFormatsAreFilledUpAndResolved) {
  const Bytes wave = Strf(AudioFormat{.tag = 2, .blockAlign = 256, .bits = 4, .extra = {1, 2, 3, 4}});
  EXPECT_EQ(Sound(Head(wave, 12)), "137 0 0 0W ParseChunk() error case 'strf'(audio) not valid But Keep going|");
  EXPECT_EQ(Sound(Head(wave, 14)), "137 256 8 0W ParseChunk() error case 'strf'(audio) not valid But Keep going|");
  EXPECT_EQ(Sound(Head(wave, 16)), "137 256 4 0W ParseChunk() error case 'strf'(audio) not valid But Keep going|");
  EXPECT_EQ(Sound(Head(wave, 20)), "137 256 4 2");
  EXPECT_EQ(Sound(wave, 0x1000000).substr(0, 11), "137 256 4 4");
  EXPECT_EQ(Sound(wave, 0x1000001), "0 0 0 0E ERROR! ParseChunk() 'strf'(audio) malloc() error|");

  const Bytes base = {0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
  const Bytes dolby = {0x46, 0xDB, 0xCF, 0x11, 0xB4, 0xD1, 0, 0x80, 0x5F, 0x6C, 0xBB, 0xEA};
  const Bytes plus = {0x02, 0x2D, 0xFB, 0x42, 0xA4, 0xD4, 0x05, 0xCD, 0x93, 0x84, 0x3B, 0xDD};
  const auto sub = [](uint32_t data1, const Bytes& rest, uint32_t validBits = 0) {
    return Sound(Strf(AudioFormat{.tag = 0xFFFE, .extra = Join({Le16(validBits), Le32(3), Le32(data1), rest})}));
  };
  EXPECT_EQ(sub(1, base, 20), "132 4 20 22V Found FormatTAG in BASE MEDIA GUID:  1|");
  EXPECT_EQ(sub(0x90055, base), "129 4 16 22V Found FormatTAG in BASE MEDIA GUID: 55|");
  EXPECT_EQ(sub(0xFFFE, base), "128 4 16 22V Found FormatTAG in BASE MEDIA GUID: fffe|");
  EXPECT_EQ(sub(0xE06D802C, dolby), "130 4 16 22V Found FormatTAG in GUIDS: 2000|");
  EXPECT_EQ(sub(0xA7FB87AF, plus), "130 4 16 22V Found FormatTAG in GUIDS: 2000|");
  EXPECT_EQ(sub(0xE06D802B, dolby), "136 4 16 22V Found FormatTAG in GUIDS: 50|");
  EXPECT_EQ(sub(0xE06D802B, plus), "128 4 16 22");
  EXPECT_EQ(sub(1, Join({Head(base, 11), "r"})), "128 4 16 22");
  EXPECT_EQ(sub(1, Head(base, 11), 20), "385 4 16 21");  // too short for a sub-format
}

}  // namespace
