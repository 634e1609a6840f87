#ifndef ZU_PARSER_AVI_STREAM_TYPES_H_
#define ZU_PARSER_AVI_STREAM_TYPES_H_

#include <stdint.h>

/// The parser's own codec classes, one per stream: a step between the file's FourCC or format tag and the host's number
/// (codec_ids.h). A host needs none of them; the tools and the tests that look behind the interface do.
///
/// A class is audio exactly when (class & 0xF0) is 0x80, whatever its higher bits say. All else is video, but for
/// SUBTITLE, UNSUPPORTED and INVALID.
enum : uint32_t {
  // Video, by biCompression of the stream's BITMAPINFOHEADER.

  /// A FourCC that is not in the table, or an audio stream whose format was dropped.
  STREAM_TYPE_UNKNOWN = 0,
  /// MPEG-4 Visual (ISO/IEC 14496-2), as are DIVX5, DIVX, XVID, MP4V and DXMF.
  STREAM_TYPE_MPEG4 = 1,
  STREAM_TYPE_DIVX5 = 2,
  STREAM_TYPE_DIVX = 3,
  /// DIV1, DIV3 and DIV4; DIV2 is generic MPEG-4.
  STREAM_TYPE_DIVX3 = 4,
  STREAM_TYPE_XVID = 5,
  STREAM_TYPE_WMV3 = 6,
  STREAM_TYPE_MJPEG = 7,
  /// ITU-T H.264; length prefixes in the file become start codes of annex B.
  STREAM_TYPE_H264 = 8,
  STREAM_TYPE_H263 = 9,
  STREAM_TYPE_VP6 = 10,
  STREAM_TYPE_VP7 = 11,
  STREAM_TYPE_VP8 = 12,
  STREAM_TYPE_MP42 = 13,
  /// ISO/IEC 13818-2 and 11172-2; chunks that do not begin with pictures are joined and cut again.
  STREAM_TYPE_MPEG2 = 14,
  STREAM_TYPE_MPEG1 = 15,
  STREAM_TYPE_MP4V = 16,
  STREAM_TYPE_THEORA = 17,
  STREAM_TYPE_VC1 = 18,
  STREAM_TYPE_MP43 = 19,
  STREAM_TYPE_DXMF = 20,
  STREAM_TYPE_WMV1 = 21,
  STREAM_TYPE_WMV2 = 22,
  /// DXSB and DXSA, in upper case only: a video stream by its header, a text track to the host.
  STREAM_TYPE_SUBTITLE = 23,
  STREAM_TYPE_VP9 = 24,

  // Audio, by wFormatTag of the stream's WAVEFORMATEX, or the tag that a sub-format GUID stands for.

  /// A tag that is not in the table; tried as PCM.
  STREAM_TYPE_AUDIO_UNKNOWN = 128,
  /// 0x0055, Layer III.
  STREAM_TYPE_MP3 = 129,
  /// 0x2000, AC-3 and E-AC-3 (ATSC A/52).
  STREAM_TYPE_AC3 = 130,
  STREAM_TYPE_WMA2 = 131,
  STREAM_TYPE_PCM = 132,
  /// Never assigned, yet the host has a number for it.
  STREAM_TYPE_AUDIO_133 = 133,
  STREAM_TYPE_VORBIS = 134,
  /// 0x00FF and 0x1600.
  STREAM_TYPE_AAC = 135,
  /// 0x0050, Layer II.
  STREAM_TYPE_MPEG_AUDIO = 136,
  STREAM_TYPE_MS_ADPCM = 137,
  STREAM_TYPE_ALAW = 138,
  STREAM_TYPE_MULAW = 139,
  STREAM_TYPE_OKI_ADPCM = 140,
  STREAM_TYPE_IMA_ADPCM = 141,
  STREAM_TYPE_ADPCM_0012 = 142,
  STREAM_TYPE_DTS = 143,
  /// 0x1601. From here on 256 is added: the low byte still says audio.
  STREAM_TYPE_AAC_RAW = 384,
  /// 0xFFFE without room for a sub-format; tried as PCM. A sub-format that nobody knows is AUDIO_UNKNOWN.
  STREAM_TYPE_EXTENSIBLE = 385,
  STREAM_TYPE_WMA1 = 386,
  STREAM_TYPE_AUDIO_0045 = 387,

  // Neither.

  /// A stream whose header says neither video nor audio, MIDI for example.
  STREAM_TYPE_UNSUPPORTED = 4095,
  /// There is no stream of that number.
  STREAM_TYPE_INVALID = 0x80000000u,
};

/// Whether `type` is one of the audio classes.
constexpr bool IsAudioStreamType(uint32_t type) { return (type & 0xF0u) == 0x80u; }

#endif  // ZU_PARSER_AVI_STREAM_TYPES_H_
