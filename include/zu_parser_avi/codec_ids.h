#ifndef ZU_PARSER_AVI_CODEC_IDS_H_
#define ZU_PARSER_AVI_CODEC_IDS_H_

#include <stdint.h>

/// @file
/// Codec numbers.

/// Values of `TrackInfo::nCodecId`, the host's numbering. They come from the format in the stream's header: the FourCC
/// of a video stream, the WAVEFORMATEX tag or the sub-format GUID of an audio stream. What the units hold is not looked
/// at, but for telling E-AC-3 from AC-3.
enum : uint32_t {
  /// A codec that the host has no number for, such as Vorbis. Its units can be pulled all the same.
  AVI_CODEC_NONE = 0,

  // Video. A unit is one chunk of the file, normally one picture, unless said otherwise.

  /// A video FourCC that the parser does not know, uncompressed pictures among them. GetVideoConfig does not tell it.
  /// Text tracks have the same number: nTrackType tells them apart.
  AVI_CODEC_UNKNOWN_VIDEO = 100,
  /// Bitmap subtitles, DXSB and DXSA; one unit is one picture with its times.
  AVI_CODEC_TEXT = 100,
  /// MPEG-1 and MPEG-2 video, ISO/IEC 11172-2 and 13818-2. In a file with an index, pictures that it cut anywhere are
  /// joined again; that it did so is seen in the track's first 10 chunks. A unit may hold several pictures then, and
  /// its time counts chunks. What stands in front of the first picture, as a rule a sequence header, is not delivered:
  /// the decoder begins at a later one. Where not every chunk is marked as a key frame, the first unit after Open and
  /// after a seek may be put together from pieces of two pictures.
  AVI_CODEC_MPEG12 = 101,
  /// MPEG-4 Visual, ISO/IEC 14496-2, as most of its FourCCs mean it; MP4V, DIVX, DIVX5, DXMF and XVID are the same
  /// bitstream under their writers' FourCCs.
  AVI_CODEC_MPEG4 = 102,
  /// ITU-T H.263. After Open and a seek up to 11 pictures in front of an intra picture are skipped.
  AVI_CODEC_H263 = 103,
  /// ITU-T H.264 with the start codes of annex B, whatever the file has.
  AVI_CODEC_H264 = 104,
  /// FourCC WMV1.
  AVI_CODEC_WMV1 = 106,
  /// FourCC WMV2.
  AVI_CODEC_WMV2 = 107,
  /// SMPTE 421M, simple and main profile.
  AVI_CODEC_WMV3 = 108,
  /// SMPTE 421M, advanced profile.
  AVI_CODEC_VC1 = 109,
  /// FourCC MP43. Like MP42 and DIVX3 not ISO/IEC 14496-2, whatever the name says.
  AVI_CODEC_MP43 = 111,
  /// FourCC MP42. See AVI_CODEC_MP43.
  AVI_CODEC_MP42 = 112,
  /// Every unit is a JPEG image, ITU-T T.81, perhaps without its Huffman tables.
  AVI_CODEC_MJPEG = 114,
  /// FourCCs VP60 to VP62.
  AVI_CODEC_VP6 = 115,
  /// FourCCs VP70 to VP72.
  AVI_CODEC_VP7 = 116,
  /// RFC 6386.
  AVI_CODEC_VP8 = 117,
  /// FourCCs DIV1, DIV3 and DIV4. See AVI_CODEC_MP43.
  AVI_CODEC_DIVX3 = 118,
  /// FourCC MP4V. See AVI_CODEC_MPEG4, as for the next ones of that family.
  AVI_CODEC_MP4V = 120,
  /// After Open and a seek up to 11 frames in front of an intra frame are skipped.
  AVI_CODEC_THEORA = 121,
  /// FourCC DIVX.
  AVI_CODEC_DIVX = 123,
  /// FourCCs DX50 and DIV5.
  AVI_CODEC_DIVX5 = 124,
  /// FourCC DXMF.
  AVI_CODEC_DXMF = 125,
  /// FourCC XVID.
  AVI_CODEC_XVID = 126,
  /// FourCCs VP90 and VP09.
  AVI_CODEC_VP9 = 128,

  // Audio. "Re-cut" sound comes in frames or blocks of the parser's making, other sound chunk by chunk.

  /// PCM, or a format of an unknown tag, whose byte rate is below its sample rate. PCM cannot have that, so it is as a
  /// rule compressed sound that is not known here. Comes chunk by chunk, but no call tells the tag.
  AVI_CODEC_AUDIO_DISABLED = 200,
  /// ISO/IEC 14496-3. The AudioSpecificConfig, if the file has one, comes from GetAudioConfig, behind 22 bytes of a
  /// WAVEFORMATEXTENSIBLE. Comes chunk by chunk, with ADTS headers or without as the file has it.
  AVI_CODEC_AAC = 201,
  /// Layer III of ISO/IEC 11172-3 and 13818-3. Re-cut to frames. GetAudioConfig has nothing and answers AVI_ERROR.
  AVI_CODEC_MP3 = 202,
  /// ATSC A/52. Re-cut to frames. GetAudioConfig answers 0, normally with 0 bytes. Frames of either byte order are
  /// found, and delivered in the order that the file has.
  AVI_CODEC_AC3 = 203,
  /// ATSC A/52 annex E, found by the bsid of the track's first frame. Framed as AC-3.
  ///
  /// Its times are wrong as a rule: but for streams whose header has the sample rate as dwRate and 0 as dwSampleSize,
  /// frames of up to 320 kbit/s at 48 or 32 kHz count at twice their rate, so that times run at half speed; at 44.1 kHz
  /// some do. Where the format's block size is far below a frame, a seek moreover stops too early, in many files at the
  /// second frame whatever the time. A host that plays such files goes by the lengths of the frames.
  AVI_CODEC_EAC3 = 204,
  /// Tag 0x2001. Comes chunk by chunk.
  AVI_CODEC_DTS = 205,
  /// Little-endian PCM; 8 bits are unsigned. Re-cut to blocks. 24 bits arrive as 16. Unknown format tags are tried as
  /// PCM too, that of floating-point samples (0x0003) among them: 32 bits may be either.
  AVI_CODEC_PCM = 206,
  /// Tag 0x0160. Comes chunk by chunk.
  AVI_CODEC_WMA1 = 210,
  /// Tag 0x0161. Comes chunk by chunk.
  AVI_CODEC_WMA2 = 211,
  /// Reserved by the host; no file gets it.
  AVI_CODEC_AUDIO_215 = 215,
  /// Tags 0x0002, 0x0010, 0x0011 and 0x0012. Which one is in the WAVEFORMATEX that GetAudioConfig gives.
  AVI_CODEC_ADPCM = 218,
  /// Layer II of ISO/IEC 11172-3 and 13818-3, else as MP3. Layer I is not found.
  AVI_CODEC_MP2 = 219,
  /// ITU-T G.711, A-law. Comes chunk by chunk.
  AVI_CODEC_ALAW = 220,
  /// ITU-T G.711, mu-law. Re-cut to blocks as PCM is.
  AVI_CODEC_MULAW = 221,
  /// Tag 0x0045. Comes chunk by chunk.
  AVI_CODEC_AUDIO_0045 = 222,
};

#endif  // ZU_PARSER_AVI_CODEC_IDS_H_
