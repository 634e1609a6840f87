#ifndef ZU_PARSER_AVI_CODEC_IDS_H_
#define ZU_PARSER_AVI_CODEC_IDS_H_

#include <stdint.h>

/// Values of `TrackInfo::nCodecId`, the host's numbering. 0 is a codec without a number.
enum : uint32_t {
  AVI_CODEC_NONE = 0,
  // Video. 100 is an unknown codec on a video track and a subtitle on a text track.
  AVI_CODEC_UNKNOWN_VIDEO = 100,
  AVI_CODEC_TEXT = 100,
  AVI_CODEC_MPEG12 = 101,
  AVI_CODEC_MPEG4 = 102,
  AVI_CODEC_H263 = 103,
  AVI_CODEC_H264 = 104,
  AVI_CODEC_WMV1 = 106,
  AVI_CODEC_WMV2 = 107,
  AVI_CODEC_WMV3 = 108,
  AVI_CODEC_VC1 = 109,
  AVI_CODEC_MP43 = 111,
  AVI_CODEC_MP42 = 112,
  AVI_CODEC_MJPEG = 114,
  AVI_CODEC_VP6 = 115,
  AVI_CODEC_VP7 = 116,
  AVI_CODEC_VP8 = 117,
  AVI_CODEC_DIVX3 = 118,
  AVI_CODEC_MP4V = 120,
  AVI_CODEC_THEORA = 121,
  AVI_CODEC_DIVX = 123,
  AVI_CODEC_DIVX5 = 124,
  AVI_CODEC_DXMF = 125,
  AVI_CODEC_XVID = 126,
  AVI_CODEC_VP9 = 128,
  // Audio.
  AVI_CODEC_AUDIO_DISABLED = 200,  // PCM with impossible parameters: the track is kept, nothing can play it
  AVI_CODEC_AAC = 201,
  AVI_CODEC_MP3 = 202,
  AVI_CODEC_AC3 = 203,
  AVI_CODEC_EAC3 = 204,
  AVI_CODEC_DTS = 205,
  AVI_CODEC_PCM = 206,
  AVI_CODEC_WMA1 = 210,
  AVI_CODEC_WMA2 = 211,
  AVI_CODEC_AUDIO_215 = 215,
  AVI_CODEC_ADPCM = 218,
  AVI_CODEC_MP2 = 219,
  AVI_CODEC_ALAW = 220,
  AVI_CODEC_MULAW = 221,
  AVI_CODEC_AUDIO_0045 = 222,
};

#endif  // ZU_PARSER_AVI_CODEC_IDS_H_
