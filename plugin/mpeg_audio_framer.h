#ifndef ZU_PLUGIN_MPEG_AUDIO_FRAMER_H_
#define ZU_PLUGIN_MPEG_AUDIO_FRAMER_H_

#include "avifile/mpeg_audio_header.h"
#include "plugin/sync_framer.h"

/// Frames of MPEG audio, Layers II and III. Owns the layer mode.
class MpegAudioFramer final : public SyncFramer<MpegAudioFramer> {
 public:
  /// Gets ready for a track of `layer` 2 or 3, of which the file tells `sampleRate` Hz and `bitRate` bit/s.
  void Prepare(uint32_t layer, uint32_t sampleRate, uint32_t bitRate);
  /// Turns to another track, 0 when it is no MPEG audio; its headers will tell the frame size.
  void SelectLayer(uint32_t layer) {
    mMpegAudioMode = layer;
    mFrameSize = 0;
  }
  /// As GetSyncFrame.
  int GetMpegAudioData(AudioFeed& feed, const STrackInput& in, SDelivery* out);

 private:
  // What the framer needs of its format, defined in the body that alone calls it; inline as in the framer.
  friend SyncFramer;
  static constexpr const char* kName = "GetMpegAudioData";
  static constexpr const char* kEndText = "GetMpegAudioData mAudioEOS = OMX_TRUE ";
  static constexpr bool kReadsAheadWhenVbr = false;
  [[gnu::always_inline]] inline bool Detect(const STrackInput& in, unsigned char* buf, uint32_t* len);
  [[gnu::always_inline]] inline bool Cut(const STrackInput& in, SDelivery* out);
  inline uint64_t BufferedTime(const STrackInput& in, bool cut, uint8_t nextByte1, uint64_t hostTime) const;

  /// What the header at `bytes` says; null when it is none of the track's.
  inline const SMpegAudioHeader* AcceptedHeader(const STrackInput& in, const unsigned char* bytes);
  [[gnu::cold]] void LogRejected(const STrackInput& in, const SMpegAudioHeader& header, bool strict);
  /// Detect, for what does not begin with a header.
  bool DetectedMp3StartCode(const STrackInput& in, unsigned char* buf, uint32_t* len);

  MpegHeaderDecoder mHeaders;
  uint32_t mMpegAudioMode = 0;  // layer of the track: 2, 3, or 0
};

#endif  // ZU_PLUGIN_MPEG_AUDIO_FRAMER_H_
