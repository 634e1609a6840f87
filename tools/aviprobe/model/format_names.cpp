#include "tools/aviprobe/model/format_names.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "tools/aviprobe/model/little_endian.h"

namespace {

struct SCompression {
  FourCC code;
  const char* pName;
};
constexpr SCompression kCompressions[] = {
    {{"\0\0\0\0"}, "uncompressed RGB"},
    {{"\1\0\0\0"}, "RGB in runs, 8 bits"},
    {{"\2\0\0\0"}, "RGB in runs, 4 bits"},
    {{"\3\0\0\0"}, "uncompressed RGB with bit masks"},
    {"DIB ", "uncompressed RGB"},
    {"MPG1", "MPEG-1"},
    {"MPEG", "MPEG-1"},
    {"MPG2", "MPEG-2"},
    {"MPGV", "MPEG-2"},
    {"MP4V", "MPEG-4 Visual"},
    {"MP4S", "MPEG-4 Visual"},
    {"FMP4", "MPEG-4 Visual"},
    {"XVID", "MPEG-4 Visual"},
    {"DIVX", "MPEG-4 Visual"},
    {"DX50", "MPEG-4 Visual"},
    {"MP41", "MPEG-4 Visual, draft version 1"},
    {"MP42", "MPEG-4 Visual, draft version 2"},
    {"MP43", "MPEG-4 Visual, draft version 3"},
    {"DIV3", "MPEG-4 Visual, draft version 3"},
    {"DIV4", "MPEG-4 Visual, draft version 3"},
    {"H263", "H.263"},
    {"H264", "H.264"},
    {"X264", "H.264"},
    {"AVC1", "H.264"},
    {"HEVC", "H.265"},
    {"H265", "H.265"},
    {"MJPG", "Motion JPEG"},
    {"DVSD", "DV"},
    {"WMV1", "WMV 7"},
    {"WMV2", "WMV 8"},
    {"WMV3", "WMV 9"},
    {"WVC1", "VC-1"},
    {"VP60", "VP6"},
    {"VP61", "VP6"},
    {"VP62", "VP6"},
    {"VP70", "VP7"},
    {"VP80", "VP8"},
    {"VP90", "VP9"},
    {"THEO", "Theora"},
    {"YUY2", "uncompressed YUV 4:2:2"},
    {"UYVY", "uncompressed YUV 4:2:2"},
    {"YV12", "uncompressed YUV 4:2:0"},
    {"I420", "uncompressed YUV 4:2:0"},
};

struct SWaveFormat {
  uint16_t nTag;
  const char* pName;
};
constexpr SWaveFormat kWaveFormats[] = {
    {0x0001, "PCM"},
    {0x0002, "ADPCM"},
    {0x0003, "PCM, floating point"},
    {0x0006, "A-law"},
    {0x0007, "mu-law"},
    {0x0011, "IMA ADPCM"},
    {0x0031, "GSM 6.10"},
    {0x0045, "ADPCM of G.726"},
    {0x0050, "MPEG audio layer 1 or 2"},
    {0x0055, "MP3"},
    {0x00FF, "AAC"},
    {0x0160, "WMA 1"},
    {0x0161, "WMA 2"},
    {0x0162, "WMA 9 Professional"},
    {0x0163, "WMA 9 Lossless"},
    {0x1610, "AAC"},
    {0x2000, "AC-3"},
    {0x2001, "DTS"},
    {0x674F, "Vorbis"},
    {0xF1AC, "FLAC"},
    {kExtensibleTag, "extensible: the sub-format says which"},
};

using Guid = std::array<uint8_t, kGuidBytes>;

// Behind the four bytes of a tag, where a sub-format stands for one.
constexpr std::array<uint8_t, 12> kTagGuid{0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

struct SSubFormat {
  Guid guid;
  const char* pName;
};
constexpr SSubFormat kSubFormats[] = {
    {{0xAF, 0x87, 0xFB, 0xA7, 0x02, 0x2D, 0xFB, 0x42, 0xA4, 0xD4, 0x05, 0xCD, 0x93, 0x84, 0x3B, 0xDD}, "E-AC-3"},
    {{0x2C, 0x80, 0x6D, 0xE0, 0x46, 0xDB, 0xCF, 0x11, 0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}, "AC-3"},
};

constexpr char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

const char* CompressionName(const FourCC& code) {
  FourCC upper = code;
  std::transform(upper.chars.begin(), upper.chars.end(), upper.chars.begin(), Upper);
  const auto* found = std::find_if(std::begin(kCompressions), std::end(kCompressions),
                                   [&](const SCompression& c) { return c.code == upper; });
  return found == std::end(kCompressions) ? "" : found->pName;
}

const char* WaveFormatName(uint16_t tag) {
  const auto* found = std::find_if(std::begin(kWaveFormats), std::end(kWaveFormats),
                                   [&](const SWaveFormat& f) { return f.nTag == tag; });
  return found == std::end(kWaveFormats) ? "" : found->pName;
}

uint16_t TagOfSubFormat(std::span<const uint8_t, kGuidBytes> guid) {
  const bool tagged = guid[2] == 0 && guid[3] == 0 && std::equal(kTagGuid.begin(), kTagGuid.end(), guid.begin() + 4);
  return tagged ? Le16At(guid, 0) : kExtensibleTag;
}

const char* SubFormatName(std::span<const uint8_t, kGuidBytes> guid) {
  if (const uint16_t tag = TagOfSubFormat(guid); tag != kExtensibleTag) return WaveFormatName(tag);
  const auto* found = std::find_if(std::begin(kSubFormats), std::end(kSubFormats), [&](const SSubFormat& known) {
    return std::equal(guid.begin(), guid.end(), known.guid.begin());
  });
  return found == std::end(kSubFormats) ? "" : found->pName;
}
