#ifndef ZU_PLUGIN_AUDIO_PATH_H_
#define ZU_PLUGIN_AUDIO_PATH_H_

#include "plugin/ac3_framer.h"
#include "plugin/mpeg_audio_framer.h"
#include "plugin/pcm_blocks.h"

/// Audio on its way to the host. Owns the feed and the framers, one of each kind however many tracks there are: the
/// tracks of a kind share the state of the last one prepared. Relies on Restart whenever the file's cursor was moved.
class AudioPath {
 public:
  // Each track of a kind is announced before it is played. Units as in TrackInfo::Audio; `layer` is 2 or 3.
  void PrepareMpegAudio(uint32_t layer, uint32_t sampleRate, uint32_t bitRate) {
    mMpegAudio.Prepare(layer, sampleRate, bitRate);
  }
  void PrepareAc3() { mAc3.PrepareBuffer(); }
  void PreparePcm() { mPcm.Prepare(); }

  /// One access unit, as IParser::GetAudioData gives it.
  int GetAudioData(const STrackInput& in, SDelivery* out);

  /// The track played from now on has this codec, AVI_CODEC_...
  void SelectTrack(uint32_t codec);
  /// The next read is the first at its place. Bytes held are still delivered first.
  void Restart();
  /// Restart without the bytes held. Whether chunks were seen to be no frames stays known.
  void ResetAudio();
  /// Frees the carry-over buffers and makes everything anew.
  void Clear();

 private:
  AudioFeed mFeed;
  MpegAudioFramer mMpegAudio;
  Ac3Framer mAc3;
  PcmBlocks mPcm;
};

#endif  // ZU_PLUGIN_AUDIO_PATH_H_
