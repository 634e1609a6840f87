#include "tools/aviprobe/model/key_unit.h"

#include <algorithm>
#include <iterator>

#include "zu_parser_avi/codec_ids.h"

namespace {

using Unit = std::span<const uint8_t>;

/// Calls `tell` with what stands behind each start code's three bytes until it answers.
template <typename Tell>
std::optional<bool> FirstAnswer(Unit unit, Tell tell) {
  constexpr uint8_t kStart[] = {0, 0, 1};
  for (auto at = unit.begin();; at += 3) {
    at = std::search(at, unit.end(), std::begin(kStart), std::end(kStart));
    if (unit.end() - at < 4) return {};
    const Unit behind = unit.subspan(static_cast<size_t>(at - unit.begin()) + 3);
    if (const std::optional<bool> answer = tell(behind)) return answer;
  }
}

// ISO/IEC 14496-2: vop_coding_type are the two bits behind the start code.
std::optional<bool> Mpeg4(Unit unit) {
  return FirstAnswer(unit, [](Unit code) -> std::optional<bool> {
    if (code[0] != 0xB6 || code.size() < 2) return {};
    return code[1] >> 6 == 0;
  });
}

// ISO/IEC 11172-2 and 13818-2: picture_coding_type stands behind ten bits of temporal reference.
std::optional<bool> Mpeg12(Unit unit) {
  return FirstAnswer(unit, [](Unit code) -> std::optional<bool> {
    if (code[0] != 0x00 || code.size() < 3) return {};
    return (code[2] >> 3 & 7) == 1;
  });
}

// ITU-T H.264: the first slice decides, 5 is one of an IDR picture.
std::optional<bool> H264(Unit unit) {
  return FirstAnswer(unit, [](Unit code) -> std::optional<bool> {
    const int type = code[0] & 0x1F;
    if (type < 1 || type > 5) return {};
    return type == 5;
  });
}

/// A number of ITU-T H.264, 9.1, from bit `*at` on; none where the bytes end or it is too large to matter.
std::optional<unsigned> ExpGolomb(Unit bytes, size_t* at) {
  const auto bit = [&]() -> unsigned {
    const size_t place = (*at)++;
    return place / 8 < bytes.size() ? bytes[place / 8] >> (7 - place % 8) & 1u : 0;
  };
  size_t zeros = 0;
  while (zeros < 16 && bit() == 0) ++zeros;
  unsigned value = 1;
  for (size_t i = 0; i < zeros; ++i) value = value << 1 | bit();
  if (zeros == 16 || *at > 8 * bytes.size()) return {};
  return value - 1;
}

/// Whether supplemental information says that decoding may begin here.
bool IsRecoveryPoint(Unit sei) {
  constexpr unsigned kRecoveryPoint = 6;
  size_t at = 0;
  const auto number = [&] {
    unsigned value = 0;
    while (at < sei.size() && sei[at] == 0xFF) value += sei[at++];
    return at < sei.size() ? value + sei[at++] : value;
  };
  while (at + 2 < sei.size()) {
    const unsigned type = number(), size = number();
    if (type == kRecoveryPoint) return true;
    // What follows is the next start code, or no message.
    if (at + size >= sei.size() || sei[at + size] == 0x80 || sei[at + size] == 0) return false;
    at += size;
  }
  return false;
}

// ITU-T H.263: a start code of 22 bits, 8 bits of temporal reference, PTYPE with the coding type as its bit 9. With 7
// as the source format PLUSPTYPE follows: UFEP of 3 bits, with 1 another 18 bits, then the picture type.
std::optional<bool> H263(Unit unit) {
  if (unit.size() < 8 || unit[0] != 0 || unit[1] != 0 || (unit[2] & 0xFC) != 0x80) return {};
  const auto bits = [&](size_t at, size_t count) {
    unsigned value = 0;
    for (size_t i = at; i < at + count; ++i) value = value << 1 | (unit[i / 8] >> (7 - i % 8) & 1u);
    return value;
  };
  if (bits(35, 3) != 7) return bits(38, 1) == 0;
  const unsigned extended = bits(38, 3);
  if (extended > 1) return {};
  return bits(extended == 1 ? 59 : 41, 3) == 0;
}

// RFC 6386: the lowest bit of a frame tells inter from key.
std::optional<bool> Vp8(Unit unit) {
  if (unit.empty()) return {};
  return (unit[0] & 1) == 0;
}

// Raw pictures have no number of their own: a unit that has exactly their size is one.
std::optional<bool> Raw(const TrackInfo::Video& video, Unit unit) {
  const uint64_t width = video.nWidth, height = video.nHeight;
  if (width == 0 || height == 0) return {};
  const auto padded = [&](uint64_t bitsPerPixel) { return (width * bitsPerPixel + 31) / 32 * 4 * height; };
  const uint64_t half = (width + 1) / 2;
  const uint64_t planar = width * height + 2 * half * ((height + 1) / 2);
  const uint64_t sizes[] = {padded(8), padded(16), padded(24), padded(32), planar, width * height * 3 / 2};
  if (std::find(std::begin(sizes), std::end(sizes), unit.size()) == std::end(sizes)) return {};
  return true;
}

}  // namespace

std::optional<bool> IsH264Start(std::span<const uint8_t> unit) {
  bool told = false;
  const auto isStart = [&](Unit code) -> std::optional<bool> {
    const int type = code[0] & 0x1F;
    if (type == 5 || (type == 6 && IsRecoveryPoint(code.subspan(1)))) return true;
    if (type != 1 && type != 2) return {};
    told = true;
    size_t at = 0;
    const Unit header = code.subspan(1);
    const std::optional<unsigned> macroblock = ExpGolomb(header, &at);
    const std::optional<unsigned> slice = macroblock ? ExpGolomb(header, &at) : std::nullopt;
    constexpr unsigned kP = 0, kB = 1, kAllAlike = 5, kTypes = 10;
    const bool inter = slice && *slice < kTypes && (*slice % kAllAlike == kP || *slice % kAllAlike == kB);
    return !inter;
  };
  const std::optional<bool> start = FirstAnswer(unit, isStart);
  // An intra slice that is no IDR's tells nothing.
  return told && start == true ? std::nullopt : start;
}

std::optional<bool> IsKeyUnit(const TrackInfo& info, std::span<const uint8_t> unit) {
  if (info.nTrackType != AVI_TRACK_VIDEO) return {};
  switch (info.nCodecId) {
    case AVI_CODEC_MPEG4:
    case AVI_CODEC_MP4V:
    case AVI_CODEC_DIVX:
    case AVI_CODEC_DIVX5:
    case AVI_CODEC_DXMF:
    case AVI_CODEC_XVID:
      return Mpeg4(unit);
    case AVI_CODEC_MPEG12:
      return Mpeg12(unit);
    case AVI_CODEC_H264:
      return H264(unit);
    case AVI_CODEC_H263:
      return H263(unit);
    case AVI_CODEC_VP8:
      return Vp8(unit);
    case AVI_CODEC_MJPEG:
      return true;
    case AVI_CODEC_UNKNOWN_VIDEO:
      return Raw(info.video, unit);
    default:
      return {};
  }
}
