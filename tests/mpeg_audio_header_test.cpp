#include <gtest/gtest.h>

#include "avifile/avi_file_parser.h"
#include "zu_parser_avi/sample_index.h"

namespace {

using Ints = std::vector<int>;

// Accepted or not, then bytes, Hz, channels, kbit/s and samples.
Ints Decode(unsigned header) {
  Ints out = {0, -1, -1, -1, -1, -1};
  out[0] = CAVIFileParser::GetMPEGAudioFrameSize(header, &out[1], &out[2], &out[3], &out[4], &out[5]);
  return out;
}

TEST(MpegAudioHeader, EveryVersionAndLayerHasItsOwnFrameSize) {
  const std::pair<unsigned, Ints> kCases[] = {
      {0xFFFF1200, {1, 36, 44100, 2, 32, 384}},    {0xFFFFE400, {1, 448, 48000, 2, 448, 384}},
      {0xFFFD74C0, {1, 336, 48000, 1, 112, 1152}}, {0xFFFDE880, {1, 1728, 32000, 2, 384, 1152}},
      {0xFFFB9000, {1, 417, 44100, 2, 128, 1152}}, {0xFFFA9240, {1, 418, 44100, 2, 128, 1152}},
      {0xFFF790C0, {1, 312, 22050, 1, 144, 384}},  {0xFFF5E000, {1, 1044, 22050, 2, 160, 1152}},
      {0xFFF38000, {1, 208, 22050, 2, 64, 576}},   {0xFFF3D4C0, {1, 432, 24000, 1, 144, 576}},
      {0xFFE71800, {1, 192, 8000, 2, 32, 384}},    {0xFFE58400, {1, 768, 12000, 2, 64, 1152}},
      {0xFFE38200, {1, 418, 11025, 2, 64, 576}},   {0xFFF51A00, {1, 73, 16000, 2, 8, 1152}}};
  for (const auto& [header, expected] : kCases) EXPECT_EQ(Decode(header), expected) << std::hex << header;
  // Refused: sync twice, version, layer, bit rate index 0, which is free format, and 15, sample rate index.
  for (unsigned header : {0xFFDF9000u, 0x7FFB9000u, 0xFFEB9000u, 0xFFF99000u, 0xFFFB0000u, 0xFFFBF000u, 0xFFFB9C00u}) {
    EXPECT_EQ(Decode(header), (Ints{0, 0, 0, 0, 0, 1152})) << std::hex << header;
  }
}

TEST(MpegAudioHeader, TheBitRatesOfEachTableAddUp) {
  Ints sums;
  for (unsigned header : {0xFFFF0000u, 0xFFFD0000u, 0xFFFB0000u, 0xFFF70000u, 0xFFF50000u, 0xFFE30000u}) {
    sums.push_back(0);
    for (unsigned index = 1; index <= 14; ++index) sums.back() += Decode(header | index << 12)[4];
  }
  EXPECT_EQ(sums, (Ints{3360, 2152, 1808, 1768, 1008, 1008}));
}

TEST(MpegAudioHeader, BitsAreReadFromTheTopOfEachByte) {
  char bytes[] = "\x80\x01\xFF\x00\xA5";
  unsigned pos = 0;
  for (const auto& [count, value] : {std::pair{1u, 1u}, {0, 0}, {14, 0}, {8, 0xFF}})
    EXPECT_EQ(readBits(bytes, &pos, count), value);
  EXPECT_EQ(readBits(bytes, &(pos = 7), 33), 0x00FF8052u);
}

}  // namespace
