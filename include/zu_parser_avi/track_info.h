#ifndef ZU_PARSER_AVI_TRACK_INFO_H_
#define ZU_PARSER_AVI_TRACK_INFO_H_

#include <stddef.h>
#include <stdint.h>

/// Values of `TrackInfo::nTrackType`. A stream that the parser cannot describe keeps 0.
enum : uint32_t { AVI_TRACK_NONE = 0, AVI_TRACK_VIDEO = 1, AVI_TRACK_AUDIO = 2, AVI_TRACK_TEXT = 3 };

/// What the host reads about one track: 192 bytes, little-endian, laid out for the host. Pointers belong to the parser
/// and stay valid until `IParser::Close`.
struct TrackInfo {
  uint32_t nTrackType;  ///< AVI_TRACK_...
  uint32_t nCodecId;    ///< AVI_CODEC_...
  struct Video {
    uint32_t nWidth;   ///< pixels, 0 to 65535
    uint32_t nHeight;  ///< pixels, 0 to 65535
    uint32_t nUnused;
    uint32_t nFrameRate;  ///< whole frames per second, rounded down
    uint32_t bSeekable;   ///< 1 when the file has an index
  };
  struct Audio {
    uint32_t nChannels;
    uint32_t nSampleRate;     ///< Hz
    uint32_t nBitsPerSample;  ///< as declared by the file, 0 for most compressed formats
    uint32_t nBitRate;        ///< bit/s
    uint8_t unused24[8];
    uint16_t nBlockAlign;  ///< bytes
    uint16_t nExtraSize;   ///< bytes at pExtraData
    uint8_t unused36[4];
    const uint8_t* pExtraData;  ///< what follows the WAVEFORMATEX in the file; null when there is none
    uint8_t unused48[16];
    uint32_t bSeekable;  ///< 1 when the file has an index
  };
  struct Text {
    uint32_t bSubtitle;         ///< 1 when the file has bitmap subtitles
    uint32_t bSubtitleAlpha;    ///< 1 when they carry an alpha channel
    const char* pSubtitleName;  ///< null when the stream has no name
    uint32_t bSeekable;         ///< 1 when the file has an index
  };
  union {
    Video video;
    Audio audio;
    Text text;
    uint8_t bytes[184];
  };
};

#define AVI_AT(field, pos) static_assert(offsetof(TrackInfo, field) == pos, #field)
static_assert(sizeof(TrackInfo) == 192 && alignof(TrackInfo) == 8, "track record");
AVI_AT(nTrackType, 0);
AVI_AT(nCodecId, 4);
AVI_AT(video.nWidth, 8);
AVI_AT(video.nHeight, 12);
AVI_AT(video.nFrameRate, 20);
AVI_AT(video.bSeekable, 24);
AVI_AT(audio.nChannels, 8);
AVI_AT(audio.nSampleRate, 12);
AVI_AT(audio.nBitsPerSample, 16);
AVI_AT(audio.nBitRate, 20);
AVI_AT(audio.nBlockAlign, 32);
AVI_AT(audio.nExtraSize, 34);
AVI_AT(audio.pExtraData, 40);
AVI_AT(audio.bSeekable, 64);
AVI_AT(text.bSubtitle, 8);
AVI_AT(text.bSubtitleAlpha, 12);
AVI_AT(text.pSubtitleName, 16);
AVI_AT(text.bSeekable, 24);
#undef AVI_AT

#endif  // ZU_PARSER_AVI_TRACK_INFO_H_
