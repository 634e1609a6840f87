#include "avifile/codec_table.h"

#include <cstring>
#include <iterator>

#include "base/bytes.h"
#include "zu_parser_avi/stream_types.h"

namespace {

struct SVideoCodec {
  uint32_t dwFourCC, nStreamType;
};
constexpr SVideoCodec kVideoCodecs[] = {
    {FourCC("DIV2"), STREAM_TYPE_MPEG4},  // unlike DIV1, generic MPEG-4
    {FourCC("div2"), STREAM_TYPE_MPEG4},    {FourCC("DXGM"), STREAM_TYPE_MPEG4},
    {FourCC("dxgm"), STREAM_TYPE_MPEG4},    {FourCC("EM4A"), STREAM_TYPE_MPEG4},
    {FourCC("EPHV"), STREAM_TYPE_MPEG4},    {FourCC("FMP4"), STREAM_TYPE_MPEG4},
    {FourCC("fmp4"), STREAM_TYPE_MPEG4},    {FourCC("FVFW"), STREAM_TYPE_MPEG4},
    {FourCC("HDX4"), STREAM_TYPE_MPEG4},    {FourCC("hdx4"), STREAM_TYPE_MPEG4},
    {FourCC("M4CC"), STREAM_TYPE_MPEG4},    {FourCC("M4S2"), STREAM_TYPE_MPEG4},
    {FourCC("m4s2"), STREAM_TYPE_MPEG4},    {FourCC("MP4S"), STREAM_TYPE_MPEG4},
    {FourCC("mp4s"), STREAM_TYPE_MPEG4},    {FourCC("MPG4"), STREAM_TYPE_MPEG4},
    {FourCC("mpg4"), STREAM_TYPE_MPEG4},    {FourCC("MVXM"), STREAM_TYPE_MPEG4},
    {FourCC("RMP4"), STREAM_TYPE_MPEG4},    {FourCC("SEDG"), STREAM_TYPE_MPEG4},
    {FourCC("SMP4"), STREAM_TYPE_MPEG4},    {FourCC("UMP4"), STREAM_TYPE_MPEG4},
    {FourCC("WV1F"), STREAM_TYPE_MPEG4},    {FourCC("DIV5"), STREAM_TYPE_DIVX5},
    {FourCC("div5"), STREAM_TYPE_DIVX5},    {FourCC("DX50"), STREAM_TYPE_DIVX5},
    {FourCC("dx50"), STREAM_TYPE_DIVX5},    {FourCC("DIVX"), STREAM_TYPE_DIVX},
    {FourCC("divx"), STREAM_TYPE_DIVX},     {FourCC("DIV1"), STREAM_TYPE_DIVX3},  // of the DIV3 family
    {FourCC("div1"), STREAM_TYPE_DIVX3},    {FourCC("DIV3"), STREAM_TYPE_DIVX3},
    {FourCC("div3"), STREAM_TYPE_DIVX3},    {FourCC("DIV4"), STREAM_TYPE_DIVX3},
    {FourCC("div4"), STREAM_TYPE_DIVX3},    {FourCC("XVID"), STREAM_TYPE_XVID},
    {FourCC("xvid"), STREAM_TYPE_XVID},     {FourCC("WMV3"), STREAM_TYPE_WMV3},
    {FourCC("wmv3"), STREAM_TYPE_WMV3},     {FourCC("MJPG"), STREAM_TYPE_MJPEG},
    {FourCC("mjpg"), STREAM_TYPE_MJPEG},    {FourCC("AVC1"), STREAM_TYPE_H264},
    {FourCC("avc1"), STREAM_TYPE_H264},     {FourCC("DAVC"), STREAM_TYPE_H264},
    {FourCC("davc"), STREAM_TYPE_H264},     {FourCC("H264"), STREAM_TYPE_H264},
    {FourCC("h264"), STREAM_TYPE_H264},     {FourCC("X264"), STREAM_TYPE_H264},
    {FourCC("x264"), STREAM_TYPE_H264},     {FourCC("D263"), STREAM_TYPE_H263},
    {FourCC("H263"), STREAM_TYPE_H263},     {FourCC("L263"), STREAM_TYPE_H263},
    {FourCC("M263"), STREAM_TYPE_H263},     {FourCC("S263"), STREAM_TYPE_H263},
    {FourCC("T263"), STREAM_TYPE_H263},     {FourCC("U263"), STREAM_TYPE_H263},
    {FourCC("X263"), STREAM_TYPE_H263},     {FourCC("d263"), STREAM_TYPE_H263},
    {FourCC("h263"), STREAM_TYPE_H263},     {FourCC("l263"), STREAM_TYPE_H263},
    {FourCC("m263"), STREAM_TYPE_H263},     {FourCC("s263"), STREAM_TYPE_H263},
    {FourCC("t263"), STREAM_TYPE_H263},     {FourCC("u263"), STREAM_TYPE_H263},
    {FourCC("x263"), STREAM_TYPE_H263},     {FourCC("VP60"), STREAM_TYPE_VP6},
    {FourCC("vp60"), STREAM_TYPE_VP6},      {FourCC("VP61"), STREAM_TYPE_VP6},
    {FourCC("vp61"), STREAM_TYPE_VP6},      {FourCC("VP62"), STREAM_TYPE_VP6},
    {FourCC("Vp62"), STREAM_TYPE_VP6},  // vp62 stays unknown
    {FourCC("VP70"), STREAM_TYPE_VP7},      {FourCC("vp70"), STREAM_TYPE_VP7},
    {FourCC("VP71"), STREAM_TYPE_VP7},      {FourCC("vp71"), STREAM_TYPE_VP7},
    {FourCC("VP72"), STREAM_TYPE_VP7},      {FourCC("vp72"), STREAM_TYPE_VP7},
    {FourCC("VP80"), STREAM_TYPE_VP8},      {FourCC("vp80"), STREAM_TYPE_VP8},
    {FourCC("VP81"), STREAM_TYPE_VP8},      {FourCC("vp81"), STREAM_TYPE_VP8},
    {FourCC("VP82"), STREAM_TYPE_VP8},      {FourCC("vp82"), STREAM_TYPE_VP8},
    {FourCC("MP42"), STREAM_TYPE_MP42},     {FourCC("mp42"), STREAM_TYPE_MP42},
    {FourCC("MPG2"), STREAM_TYPE_MPEG2},    {FourCC("mpg2"), STREAM_TYPE_MPEG2},
    {FourCC("MPG1"), STREAM_TYPE_MPEG1},    {FourCC("mpg1"), STREAM_TYPE_MPEG1},
    {FourCC("MP4V"), STREAM_TYPE_MP4V},     {FourCC("mp4v"), STREAM_TYPE_MP4V},
    {FourCC("THEO"), STREAM_TYPE_THEORA},   {FourCC("theo"), STREAM_TYPE_THEORA},
    {FourCC("WVC1"), STREAM_TYPE_VC1},      {FourCC("wvc1"), STREAM_TYPE_VC1},
    {FourCC("MP43"), STREAM_TYPE_MP43},     {FourCC("mp43"), STREAM_TYPE_MP43},
    {FourCC("DXMF"), STREAM_TYPE_DXMF},     {FourCC("dxmf"), STREAM_TYPE_DXMF},
    {FourCC("WMV1"), STREAM_TYPE_WMV1},     {FourCC("wmv1"), STREAM_TYPE_WMV1},
    {FourCC("WMV2"), STREAM_TYPE_WMV2},     {FourCC("wmv2"), STREAM_TYPE_WMV2},
    {FourCC("DXSB"), STREAM_TYPE_SUBTITLE},  // upper case only: dxsb and dxsa stay unknown
    {FourCC("DXSA"), STREAM_TYPE_SUBTITLE}, {FourCC("VP09"), STREAM_TYPE_VP9},
    {FourCC("VP90"), STREAM_TYPE_VP9},
};

struct SAudioCodec {
  uint32_t wFormatTag, nStreamType;
};
constexpr SAudioCodec kAudioCodecs[] = {
    {0x0001, STREAM_TYPE_PCM},        {0x0002, STREAM_TYPE_MS_ADPCM},   {0x0006, STREAM_TYPE_ALAW},
    {0x0007, STREAM_TYPE_MULAW},      {0x0010, STREAM_TYPE_OKI_ADPCM},  {0x0011, STREAM_TYPE_IMA_ADPCM},
    {0x0012, STREAM_TYPE_ADPCM_0012}, {0x0045, STREAM_TYPE_AUDIO_0045}, {0x0050, STREAM_TYPE_MPEG_AUDIO},
    {0x0055, STREAM_TYPE_MP3},        {0x00FF, STREAM_TYPE_AAC},        {0x0160, STREAM_TYPE_WMA1},
    {0x0161, STREAM_TYPE_WMA2},       {0x1600, STREAM_TYPE_AAC},        {0x1601, STREAM_TYPE_AAC_RAW},
    {0x2000, STREAM_TYPE_AC3},        {0x2001, STREAM_TYPE_DTS},        {0x6771, STREAM_TYPE_VORBIS},
    {0xFFFE, STREAM_TYPE_EXTENSIBLE},
};

// The tail of xxxxxxxx-0000-0010-8000-00AA00389B71, whose head is a format tag.
constexpr uint8_t kBaseMediaTail[12] = {0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

struct SSubFormat {
  uint8_t guid[16];  // in file order: the first three groups little-endian
  uint16_t wFormatTag;
};
constexpr SSubFormat kSubFormats[] = {
    // E06D802C-DB46-11CF-B4D1-00805F6CBBEA, AC-3
    {{0x2C, 0x80, 0x6D, 0xE0, 0x46, 0xDB, 0xCF, 0x11, 0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}, 0x2000},
    // A7FB87AF-2D02-42FB-A4D4-05CD93843BDD, E-AC-3
    {{0xAF, 0x87, 0xFB, 0xA7, 0x02, 0x2D, 0xFB, 0x42, 0xA4, 0xD4, 0x05, 0xCD, 0x93, 0x84, 0x3B, 0xDD}, 0x2000},
    // E06D802B-DB46-11CF-B4D1-00805F6CBBEA, MPEG-2 audio
    {{0x2B, 0x80, 0x6D, 0xE0, 0x46, 0xDB, 0xCF, 0x11, 0xB4, 0xD1, 0x00, 0x80, 0x5F, 0x6C, 0xBB, 0xEA}, 0x0050},
};

}  // namespace

uint32_t VideoTypeOf(uint32_t biCompression) {
  for (const SVideoCodec& codec : kVideoCodecs) {
    if (codec.dwFourCC == biCompression) return codec.nStreamType;
  }
  return STREAM_TYPE_UNKNOWN;
}

uint32_t AudioTypeOf(uint16_t wFormatTag) {
  for (const SAudioCodec& codec : kAudioCodecs) {
    if (codec.wFormatTag == wFormatTag) return codec.nStreamType;
  }
  return STREAM_TYPE_AUDIO_UNKNOWN;
}

uint16_t FormatTagOf(const uint8_t* guid, bool* baseMedia) {
  *baseMedia = std::memcmp(guid + 4, kBaseMediaTail, sizeof kBaseMediaTail) == 0;
  if (*baseMedia) return LoadLe16(guid);
  for (const SSubFormat& subFormat : kSubFormats) {
    if (std::memcmp(guid, subFormat.guid, sizeof subFormat.guid) == 0) return subFormat.wFormatTag;
  }
  return 0;
}
