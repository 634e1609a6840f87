#include "avifile/mpeg_audio_header.h"

#include <cstddef>

#include "zu_parser_avi/sample_index.h"

namespace {

// Fields of the 32-bit header as ISO/IEC 11172-3 2.4.2.3 lays them out.
constexpr unsigned kSyncMask = 0xFFE00000u;
enum : unsigned { kVersion25 = 0, kVersionReserved = 1, kVersion2 = 2, kVersion1 = 3 };
enum : unsigned { kLayerReserved = 0, kLayer3 = 1, kLayer2 = 2, kLayer1 = 3 };
constexpr unsigned kModeMono = 3;

constexpr uint32_t kSampleRates[3] = {44100, 48000, 32000};

// kbit/s by bit rate index, 0 being free format. ISO/IEC 11172-3 2.4.2.3; ISO/IEC 13818-3 2.4.2.3 for the lower rates.
enum : size_t { kRow1L1, kRow1L2, kRow1L3, kRow2L1, kRow2L23 };
constexpr uint16_t kBitrates[5][15] = {
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
};

size_t BitrateRow(unsigned version, unsigned layer) {
  if (version == kVersion1) return layer == kLayer1 ? kRow1L1 : layer == kLayer2 ? kRow1L2 : kRow1L3;
  return layer == kLayer1 ? kRow2L1 : kRow2L23;
}

}  // namespace

bool DecodeMpegAudioHeader(uint32_t header, SMpegAudioHeader* out) {
  const unsigned version = header >> 19 & 3;
  const unsigned layer = header >> 17 & 3;
  const unsigned bitrateIndex = header >> 12 & 15;
  const unsigned rateIndex = header >> 10 & 3;
  const uint32_t padding = header >> 9 & 1;
  if (header < kSyncMask || version == kVersionReserved || layer == kLayerReserved || bitrateIndex == 0 ||
      bitrateIndex == 15 || rateIndex == 3) {
    return false;
  }
  out->nLayer = 4 - layer;
  out->nSampleRate = kSampleRates[rateIndex] / (version == kVersion1 ? 1 : version == kVersion2 ? 2 : 4);
  out->nKbps = kBitrates[BitrateRow(version, layer)][bitrateIndex];
  out->nChannels = (header >> 6 & 3) == kModeMono ? 1 : 2;
  if (layer == kLayer1) {
    out->nSamples = 384;
    out->nFrameSize = (out->nKbps * 12000 / out->nSampleRate + padding) * 4;
  } else {
    out->nSamples = MpegFrameSamples(layer == kLayer3 && version != kVersion1);
    out->nFrameSize = out->nKbps * (out->nSamples * 125) / out->nSampleRate + padding;
  }
  return true;
}

bool MpegHeaderDecoder::Remember(uint32_t kind) {
  SMpegAudioHeader padded;
  if (!DecodeMpegAudioHeader(kind | kPaddingBit, &padded) || !DecodeMpegAudioHeader(kind, &m_Header)) return false;
  m_nKind = kind;
  m_anFrameSize[0] = m_Header.nFrameSize;
  m_anFrameSize[1] = padded.nFrameSize;
  return true;
}

__attribute__((visibility("default"))) unsigned int readBits(char* buf, unsigned int* bitPos, unsigned int count) {
  if (count > 32) count = 32;
  unsigned int value = 0;
  for (unsigned int i = 0; i < count; ++i, ++*bitPos) {
    const unsigned int byte = static_cast<unsigned char>(buf[*bitPos / 8]);
    value = value << 1 | (byte >> (7 - *bitPos % 8) & 1);
  }
  return value;
}
