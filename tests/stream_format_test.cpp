#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/core_file.h"
#include "tests/support/heap_watch.h"
#include "tests/support/log_capture.h"

namespace {

// Codec, block size, bits and extra bytes of a sound format, and what was logged about it.
std::string Sound(const Bytes& format, std::optional<uint32_t> declared = {}) {
  const Bytes strh = Chunk("strh", Strh({.type = "auds"}));
  LogCapture capture("5");
  CoreFile file(AviBuilder().RawStream(Join({strh, Chunk("strf", format, declared)})).Build());
  const SAVIInfo info = file.Info();
  std::ostringstream sound;
  sound << file->GetStreamType(0) << " " << info.dwBlockAlign << " " << info.dwBitsPerSample << " " << info.dwExtraSize;
  const std::string log = capture.Take();
  return sound.str() + log.substr(log.find(",dwPlayTime:0  |") + 16);
}

TEST(StreamFormat, SoundFormatsAreFilledUpAndResolved) {
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

TEST(StreamFormat, AFormatThatClaimsMoreThanItsChunkHasEndsWithTheChunk) {
  // Behind a block of 20 bytes: the rest of an extension that says 20 bits of PCM.
  const Bytes extension =
      Join({Le16(20), Le32(3), Le32(1), Bytes{0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}});
  const Bytes whole = Strf(AudioFormat{.tag = 0xFFFE, .extra = extension});
  for (const size_t size : {17u, 18u, 20u, 39u, 40u}) {
    const Bytes behind(whole.begin() + static_cast<ptrdiff_t>(size), whole.end());
    HeapWatch::PutBehind(&behind);
    const std::string sound = Sound(Head(whole, size));
    HeapWatch::PutBehind(nullptr);
    std::string expected = size < 40 ? "128 4 " : "132 4 ";
    expected += size < 20 ? "16 " : "20 ";
    expected += std::to_string(size < 18 ? 0 : size - 18);
    EXPECT_EQ(sound.substr(0, sound.find_first_of("VW")), expected) << size;
  }
}

}  // namespace
