#define LOG_TAG "aviparser"
#include "plugin/audio_path.h"

#include <cstring>

#include "base/log.h"

namespace {

/// Narrows 24-bit little-endian samples to 16 bits in place: each keeps its upper two bytes. What is missing of a last
/// sample counts as 0. @return the new length, at most `room`.
uint32_t NarrowTo16Bits(unsigned char* buf, size_t len, size_t room) {
  const size_t whole = len / 3;
  for (size_t i = 0; i < whole; ++i) std::memmove(buf + 2 * i, buf + 3 * i + 1, 2);
  const size_t out = 2 * whole, rest = len % 3;
  if (rest == 0 || out + 2 > room) return static_cast<uint32_t>(out);
  buf[out] = rest == 2 ? buf[len - 1] : uint8_t{0};
  buf[out + 1] = 0;
  return static_cast<uint32_t>(out + 2);
}

}  // namespace

int AudioPath::GetAudioData(const STrackInput& in, SDelivery* out) {
  const uint32_t codec = in.Codec();
  switch (codec) {
    case AVI_CODEC_MP3:
    case AVI_CODEC_MP2:
      mMpegAudio.BeginDelivery();
      return GetFramed(out, "GetMpegAudioData End or Error case",
                       [&] { return mMpegAudio.GetMpegAudioData(mFeed, in, out); });
    case AVI_CODEC_AC3:
    case AVI_CODEC_EAC3:
      mAc3.BeginDelivery();
      return GetFramed(out, "GetAC3AudioData End or Error case", [&] { return mAc3.GetAC3AudioData(mFeed, in, out); });
    case AVI_CODEC_PCM:
    case AVI_CODEC_MULAW: {
      const int status = mPcm.GetPCMData(mFeed, in, out);
      if (status < 0) {
        AVI_LOGI("GetPCMData End or Error case");
      } else if (codec == AVI_CODEC_PCM && in.track->audio.nBitsPerSample == 24) {
        out->len = NarrowTo16Bits(out->buf, out->len, out->maxLen);
      }
      return status;
    }
    default:
      return mFeed.PullChunk(in, out);
  }
}

template <typename Get>
int AudioPath::GetFramed(SDelivery* out, const char* endText, Get get) {
  int status = get();
  if (status == 0 && out->len != 0) return 0;
  for (int i = 1; i < AVI_FRAMER_TRIES && status >= 0 && out->len == 0; ++i) status = get();
  if (status < 0) AVI_LOGI("%s", endText);
  return status;
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
