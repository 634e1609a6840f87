#define LOG_TAG "AVIFileParser"
#include "avifile/vol_header.h"

#include "avifile/video_bitstream.h"
#include "base/log.h"

namespace {

constexpr unsigned kMaxIncrementBits = 16;
constexpr size_t kBitsBeforeIncrement = 4;  // vop_coding_type, end of modulo_time_base, marker

/// Whether the `count` bits at bit position `at` of `data` are there and equal `value`.
bool BitsAre(ByteSpan data, size_t at, size_t count, unsigned value) {
  if (at + count > data.size() * 8) return false;
  unsigned bits = 0;
  for (size_t i = at; i < at + count; ++i) bits = bits << 1 | (data[i / 8] >> (7 - i % 8) & 1u);
  return bits == value;
}

}  // namespace

uint32_t GuessTimeIncrementResolution(ByteSpan frame, size_t vop) {
  const ByteSpan header = frame.subspan(vop + 4);
  const int type = header[0] >> 6;
  AVI_LOGV("frame_type = %ld", static_cast<long>(type));
  if (type != kVopI && type != kVopB) return 0;
  // Behind marker and vop_coded: intra_dc_vlc_thr, which is 0 in practice; a B-VOP is tested for one bit more.
  const size_t zeros = type == kVopI ? 3 : 4;
  for (unsigned bits = 1; bits <= kMaxIncrementBits; ++bits) {
    const size_t marker = kBitsBeforeIncrement + bits;
    if (!BitsAre(header, marker, 2, 3) || !BitsAre(header, marker + 2, zeros, 0)) continue;
    const uint32_t resolution = (1u << bits) - 1;
    AVI_LOGV("vop_time_increment_resolution = %d", static_cast<int>(resolution));
    return resolution;
  }
  return 0;
}

std::array<uint8_t, kVolHeaderBytes> MakeVolHeader(uint32_t resolution, uint32_t width, uint32_t height) {
  const uint32_t w = width & 0x1FFF;
  const uint32_t h = height & 0x1FFF;
  std::array<uint8_t, kVolHeaderBytes> vol{0x00, 0x00, 0x01, 0x20, 0x00, 0xC4, 0x8D};
  vol[7] = static_cast<uint8_t>(0x08 | resolution >> 13);
  vol[8] = static_cast<uint8_t>(resolution >> 5);
  vol[9] = static_cast<uint8_t>(resolution << 3 | 5);
  vol[10] = static_cast<uint8_t>(w >> 5);
  vol[11] = static_cast<uint8_t>(w << 3 | h >> 11 | 4);
  vol[12] = static_cast<uint8_t>(h >> 3);
  vol[13] = static_cast<uint8_t>((h << 5) + 20);
  vol[14] = 0x60;
  return vol;
}
