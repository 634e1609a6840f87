#ifndef ZU_PARSER_AVI_TRACK_INFO_H_
#define ZU_PARSER_AVI_TRACK_INFO_H_

#include <stddef.h>
#include <stdint.h>

/// @file
/// The record that describes a track.

/// Values of `TrackInfo::nTrackType`, which tells the member of the union that counts.
enum : uint32_t {
  AVI_TRACK_NONE = 0,  ///< A stream that is neither video nor audio; the whole record is 0.
  /// `video`. Only one is delivered, as IParser::GetVideoData says; others are only described. An audio stream whose
  /// format cannot be read is one too: codec 100, no size; where it comes first it takes the picture's place.
  AVI_TRACK_VIDEO = 1,
  AVI_TRACK_AUDIO = 2,  ///< `audio`.
  AVI_TRACK_TEXT = 3,   ///< `text`: a video stream by its header that carries bitmap subtitles.
};

/// What the host reads about one track: 192 bytes, in the machine's byte order, laid out for the host.
///
/// Records and what they point to belong to the parser and stay valid until `IParser::Close` or the next
/// `IParser::Open`. The parser reads them while it plays: do not write to them. Every number is what the file declares,
/// none has been tested against the data, and each can be 0.
struct TrackInfo {
  uint32_t nTrackType;  ///< AVI_TRACK_...
  uint32_t nCodecId;    ///< AVI_CODEC_...

  /// What counts for AVI_TRACK_VIDEO.
  struct Video {
    uint32_t nWidth;   ///< pixels, 0 to 65535: the low half of biWidth
    uint32_t nHeight;  ///< pixels, 0 to 65535: the low half of biHeight, of a negative (top-down) one too
    uint32_t nUnused;  ///< 0
    /// Whole frames per second, rounded down: 29 for 29.97; 0x7FFFFFFF where the file divides by 0. Take times from
    /// the units.
    uint32_t nFrameRate;
    /// 1 when the file has an index that could be read, of all tracks; 0: only a seek to 0 moves anything.
    uint32_t bSeekable;
  };

  /// The fields of the file's WAVEFORMATEX.
  struct Audio {
    uint32_t nChannels;    ///< 0 to 65535
    uint32_t nSampleRate;  ///< Hz
    /// As declared, for WAVEFORMATEXTENSIBLE its valid bits; 0 for most compressed formats. PCM that says 24 here
    /// arrives as 16 bits all the same: set up the output with 16. Samples of 24 valid bits in 4 bytes (nBlockAlign is
    /// 4 times nChannels) are narrowed as if they had 3, and are noise.
    uint32_t nBitsPerSample;
    uint32_t nBitRate;     ///< bit/s, nAvgBytesPerSec times 8, at most 0xFFFFFFFF; a mean or a guess for VBR
    uint8_t unused24[8];   ///< 0
    uint16_t nBlockAlign;  ///< bytes of one block; that of the file's samples, so 3 per channel for 24-bit PCM
    uint16_t nExtraSize;   ///< bytes at pExtraData: cbSize, cut to what the file has
    uint8_t unused36[4];   ///< 0
    /// What stands behind the 18 bytes of the WAVEFORMATEX; null when nExtraSize is 0. GetAudioConfig is another view:
    /// all the bytes there whatever cbSize says, the whole format for ADPCM, nothing for MPEG audio.
    const uint8_t* pExtraData;
    uint8_t unused48[16];  ///< 0
    uint32_t bSeekable;    ///< as in Video
  };

  /// What counts for AVI_TRACK_TEXT.
  struct Text {
    /// 1 when the file goes with bitmap subtitles: one of its video streams is of the DIVX, DIVX3, DIVX5 or DXMF class.
    uint32_t bSubtitle;
    uint32_t bSubtitleAlpha;  ///< 1 when bSubtitle is and the file has a stream DXSA, with an alpha channel
    /// Null: Open does not read names. A host that shows one should be ready for a zero-terminated text of the file's.
    const char* pSubtitleName;
    uint32_t bSeekable;  ///< as in Video; yet seeks move no text track
  };

  /// nTrackType tells which one. Unused bytes are 0.
  union {
    Video video;         ///< for AVI_TRACK_VIDEO
    Audio audio;         ///< for AVI_TRACK_AUDIO
    Text text;           ///< for AVI_TRACK_TEXT
    uint8_t bytes[184];  ///< the size of each; not to be looked at
  };
};

/// @cond  The host was compiled against these positions.
static_assert(sizeof(void*) == 8, "libzu_parser_avi has no 32-bit interface: its records are those of 64-bit hosts");
#define AVI_AT(field, pos) static_assert(offsetof(TrackInfo, field) == pos, #field)
static_assert(sizeof(TrackInfo) == 192 && alignof(TrackInfo) == 8, "track record");
static_assert(sizeof(TrackInfo::Video) == 20 && sizeof(TrackInfo::Audio) == 64 && sizeof(TrackInfo::Text) == 24,
              "track record's parts");
AVI_AT(nTrackType, 0);
AVI_AT(nCodecId, 4);
AVI_AT(video.nWidth, 8);
AVI_AT(video.nHeight, 12);
AVI_AT(video.nUnused, 16);
AVI_AT(video.nFrameRate, 20);
AVI_AT(video.bSeekable, 24);
AVI_AT(audio.nChannels, 8);
AVI_AT(audio.nSampleRate, 12);
AVI_AT(audio.nBitsPerSample, 16);
AVI_AT(audio.nBitRate, 20);
AVI_AT(audio.unused24, 24);
AVI_AT(audio.nBlockAlign, 32);
AVI_AT(audio.nExtraSize, 34);
AVI_AT(audio.unused36, 36);
AVI_AT(audio.pExtraData, 40);
AVI_AT(audio.unused48, 48);
AVI_AT(audio.bSeekable, 64);
AVI_AT(text.bSubtitle, 8);
AVI_AT(text.bSubtitleAlpha, 12);
AVI_AT(text.pSubtitleName, 16);
AVI_AT(text.bSeekable, 24);
AVI_AT(bytes, 8);
#undef AVI_AT
/// @endcond

#endif  // ZU_PARSER_AVI_TRACK_INFO_H_
