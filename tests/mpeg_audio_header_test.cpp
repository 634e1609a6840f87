#include <gtest/gtest.h>

#include "avifile/avi_file_parser.h"
#include "zu_parser_avi/sample_index.h"

namespace {

struct Decoded {
  bool accepted = false;
  int bytes = -1, rate = -1, channels = -1, kbps = -1, samples = -1;
  bool operator==(const Decoded&) const = default;
};
void PrintTo(const Decoded& d, std::ostream* out) {
  *out << (d.accepted ? "accepted: " : "refused: ") << d.bytes << " bytes, " << d.rate << " Hz, " << d.channels
       << " channels, " << d.kbps << " kbit/s, " << d.samples << " samples";
}
Decoded Decode(unsigned header) {
  Decoded d;
  d.accepted = CAVIFileParser::GetMPEGAudioFrameSize(header, &d.bytes, &d.rate, &d.channels, &d.kbps, &d.samples);
  return d;
}

TEST(MpegAudioHeader, EveryVersionAndLayerHasItsOwnFrameSize) {
  const struct {
    unsigned header;
    Decoded decoded;
  } kRows[] = {
      // MPEG-1, layers I to III; a bit rate of each end, padding, mono.
      {.header = 0xFFFF1200, .decoded = {true, 36, 44100, 2, 32, 384}},
      {.header = 0xFFFFE400, .decoded = {true, 448, 48000, 2, 448, 384}},
      {.header = 0xFFFD74C0, .decoded = {true, 336, 48000, 1, 112, 1152}},
      {.header = 0xFFFDE880, .decoded = {true, 1728, 32000, 2, 384, 1152}},
      {.header = 0xFFFB9000, .decoded = {true, 417, 44100, 2, 128, 1152}},
      {.header = 0xFFFAE240, .decoded = {true, 1045, 44100, 2, 320, 1152}},
      // MPEG-2.
      {.header = 0xFFF790C0, .decoded = {true, 312, 22050, 1, 144, 384}},
      {.header = 0xFFF5E000, .decoded = {true, 1044, 22050, 2, 160, 1152}},
      {.header = 0xFFF51A00, .decoded = {true, 73, 16000, 2, 8, 1152}},
      {.header = 0xFFF3D4C0, .decoded = {true, 432, 24000, 1, 144, 576}},
      // MPEG-2.5.
      {.header = 0xFFE71800, .decoded = {true, 192, 8000, 2, 32, 384}},
      {.header = 0xFFE58400, .decoded = {true, 768, 12000, 2, 64, 1152}},
      {.header = 0xFFE38200, .decoded = {true, 418, 11025, 2, 64, 576}},
  };
  for (const auto& row : kRows) EXPECT_EQ(Decode(row.header), row.decoded) << std::hex << row.header;
  // Refused: sync twice, version, layer, bit rate index 0, which is free format, and 15, sample rate index.
  for (unsigned header : {0xFFDF9000u, 0x7FFB9000u, 0xFFEB9000u, 0xFFF99000u, 0xFFFB0000u, 0xFFFBF000u, 0xFFFB9C00u}) {
    EXPECT_EQ(Decode(header), (Decoded{false, 0, 0, 0, 0, 1152})) << std::hex << header;
  }
}

TEST(MpegAudioHeader, BitsAreReadFromTheTopOfEachByte) {
  char bytes[] = "\x80\x01\xFF\x00\xA5";
  unsigned pos = 0;
  EXPECT_EQ(readBits(bytes, &pos, 1), 1u);
  EXPECT_EQ(readBits(bytes, &pos, 0), 0u);
  EXPECT_EQ(readBits(bytes, &pos, 14), 0u);
  EXPECT_EQ(readBits(bytes, &pos, 8), 0xFFu);
  EXPECT_EQ(readBits(bytes, &(pos = 7), 33), 0x00FF8052u);
}

TEST(MpegAudioHeader, ATracksDecoderSaysWhatADecoderOfOneHeaderSays) {
  MpegHeaderDecoder decoder;
  EXPECT_EQ(decoder.Decode(0), nullptr);
  // Every version, layer, bit rate, sample rate, padding and mode, in an order in which neighbours differ in one of
  // them.
  for (uint32_t i = 0; i < 1u << 14; ++i) {
    const uint32_t gray = i ^ i >> 1;
    const uint32_t header = 0xFFE00000u | (gray & 0xFFF) << 9 | (gray >> 12) << 6;
    SMpegAudioHeader expected;
    const bool valid = DecodeMpegAudioHeader(header, &expected);
    const SMpegAudioHeader* decoded = decoder.Decode(header);
    ASSERT_EQ(decoded != nullptr, valid) << std::hex << header;
    if (!valid) continue;
    EXPECT_EQ(decoded->nFrameSize, expected.nFrameSize) << std::hex << header;
    EXPECT_EQ(decoded->nSampleRate, expected.nSampleRate) << std::hex << header;
    EXPECT_EQ(decoded->nKbps, expected.nKbps) << std::hex << header;
    EXPECT_EQ(decoded->nChannels, expected.nChannels) << std::hex << header;
  }
}

}  // namespace
