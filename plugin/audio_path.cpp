#include "plugin/audio_path.h"

int AudioPath::GetAudioData(const STrackInput& in, SDelivery* out) {
  switch (in.Codec()) {
    case AVI_CODEC_MP3:
    case AVI_CODEC_MP2:
      return mMpegAudio.GetMpegAudioData(mFeed, in, out);
    case AVI_CODEC_AC3:
    case AVI_CODEC_EAC3:
      return mAc3.GetAC3AudioData(mFeed, in, out);
    case AVI_CODEC_PCM:
    case AVI_CODEC_MULAW:
      return mPcm.GetPCMData(mFeed, in, out);
    default:
      return mFeed.PullChunk(in, out);
  }
}

void AudioPath::SelectTrack(uint32_t codec) {
  mMpegAudio.SelectLayer(codec == AVI_CODEC_MP2 ? 2 : codec == AVI_CODEC_MP3 ? 3 : 0);
  ResetAudio();
}

void AudioPath::Restart() {
  mFeed.Restart();
  mMpegAudio.Resync();
  mAc3.Resync();
}

void AudioPath::ResetAudio() {
  mMpegAudio.Empty();
  mPcm.Empty();
  mAc3.Empty();
  Restart();
}

void AudioPath::Clear() {
  mMpegAudio.Free();
  mAc3.Free();
  mPcm.Free();
  *this = AudioPath();
}
