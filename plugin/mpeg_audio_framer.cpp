#define LOG_TAG "aviparser"
#include "plugin/mpeg_audio_framer.h"

#include <algorithm>
#include <cstring>

#include "base/bytes.h"
#include "base/checked_math.h"
#include "base/log.h"

void MpegAudioFramer::Prepare(uint32_t layer, uint32_t sampleRate, uint32_t bitRate) {
  // Samples per frame over samples per second, times bytes per second; Layer II: over eight from the start.
  const uint32_t product = sampleRate == 0 ? 0
                           : layer == 2    ? CheckedMul<uint32_t>(bitRate, MpegFrameSamples(false) / 8)
                                           : CheckedMul<uint32_t>(bitRate / 8, Layer3FrameSamples(sampleRate));
  mFrameSize = sampleRate ? product / sampleRate : 0;
  mMpegAudioMode = layer;
  const char* const kind = layer == 2                      ? "MPEG1/2 layer2"
                           : IsMpeg1SampleRate(sampleRate) ? "MPEG1 layer3"
                                                           : "MPEG2 layer3";
  AVI_LOGV("check %s mMP3FrameSize[samplingRate:%ld] : %ld", kind, static_cast<long>(sampleRate),
           static_cast<long>(mFrameSize));
  PrepareBuffer();
}

inline const SMpegAudioHeader* MpegAudioFramer::AcceptedHeader(const STrackInput& in, const unsigned char* bytes) {
  const SMpegAudioHeader* header = mHeaders.Decode(LoadBe32(bytes));
  if (!header) return nullptr;
  // An index with foreign chunks makes false headers likely: then only the track's own layer counts.
  const bool strict = in.file->HasJunkInIndex();
  if (strict ? header->nLayer != mMpegAudioMode : header->nLayer == 1) return nullptr;
  if (header->nSampleRate == in.track->audio.nSampleRate) return header;
  LogRejected(in, *header, strict);
  return nullptr;
}

void MpegAudioFramer::LogRejected(const STrackInput& in, const SMpegAudioHeader& header, bool strict) {
  const char* const which = !strict ? "" : header.nLayer == 3 ? "Layer 3 " : "Layer 2 ";
  if (!mLines.Take(ELine::kRejected)) return;
  AVI_LOGE("[DetectedMp3StartCode] %sSampling rate is differ than configuration. default: %d detect : %d", which,
           static_cast<int>(in.track->audio.nSampleRate), static_cast<int>(header.nSampleRate));
}

inline bool MpegAudioFramer::Detect(const STrackInput& in, unsigned char* buf, uint32_t* len) {
  // The last four bytes are never taken for a header.
  const SMpegAudioHeader* const header = *len > 4 ? AcceptedHeader(in, buf) : nullptr;
  if (!header) return DetectedMp3StartCode(in, buf, len);
  mFrameSize = header->nFrameSize;
  return true;
}

bool MpegAudioFramer::DetectedMp3StartCode(const STrackInput& in, unsigned char* buf, uint32_t* len) {
  if (*len < 4) {
    if (mLines.Take(ELine::kUnavailable)) {
      AVI_LOGE("[DetectedMp3StartCode] unavailable value - [%lu]", static_cast<unsigned long>(*len));
    }
    return false;
  }
  const unsigned char* const end = buf + (*len - 4);
  const SMpegAudioHeader* header = nullptr;
  unsigned char* at = buf + 1;
  for (; at < end; ++at) {
    if (*at != 0xFF) at = static_cast<unsigned char*>(std::memchr(at, 0xFF, static_cast<size_t>(end - at)));
    if (!at) break;
    header = AcceptedHeader(in, at);
    if (header) break;
  }
  if (!header) {
    std::memset(buf, 0, *len);
    *len = 0;
    if (mLines.Take(ELine::kNoStartCode)) AVI_LOGE("[DetectedMp3StartCode] Start code not found.");
    return false;
  }
  *len -= static_cast<uint32_t>(at - buf);
  std::memmove(buf, at, *len);
  mFrameSize = header->nFrameSize;
  return true;
}

inline bool MpegAudioFramer::Cut(const STrackInput& in, SDelivery* out) {
  out->len = 0;
  unsigned char* const buf = mBuffer.front();
  uint32_t held = static_cast<uint32_t>(mBuffer.size());
  const bool found = Detect(in, buf, &held);
  mBuffer.keep_front(held);
  if (!found) return false;
  if (in.file->IsVBR(in.stream)) {
    // Without an index no chunk has been examined; the size of the header found then stands.
    if (in.file->LastMp3FrameSize() != 0) mFrameSize = in.file->LastMp3FrameSize();
    AVI_LOGV("[GetMp3Data] VBR Case : Header is VBR ?[%d]", 1);
  }
  uint64_t size = mFrameSize;
  if (held >= size + 4) {
    uint64_t stray = 0;
    while (stray <= AVI_STRAY_BYTES &&
           (size + stray + 1 >= held || buf[size + stray] != 0xFF || buf[size + stray + 1] != buf[1])) {
      ++stray;
    }
    if (stray > AVI_STRAY_BYTES) {
      std::memset(buf, 0, held);
      mBuffer.keep_front(0);
      AVI_LOGE("[GetMp3Data] [ERROR] Can't find next start code ");
      return false;
    }
    size += stray;
  }
  CopyFrame(buf, held, size, "GetMp3Data", out);
  mBuffer.drop_front(size);
  return true;
}

inline uint64_t MpegAudioFramer::BufferedTime(const STrackInput& in, bool cut, uint8_t nextByte1, uint64_t) const {
  const uint32_t rate = in.track->audio.nSampleRate;
  if (rate == 0) return mTimestamp;
  // The second byte of a header tells MPEG-1 by bit 3.
  const bool mpeg1 = (nextByte1 & 0x08) != 0;
  const bool layer2 = (nextByte1 & 0x06) == 0x04;
  const bool half = cut && mMpegAudioMode == 3 && !layer2 && !mpeg1;
  return mTimestamp + MpegFrameSamples(half) * 1000 / rate;
}

int MpegAudioFramer::GetMpegAudioData(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  const int status = GetSyncFrame(feed, in, out);
  if (status < 0) AVI_LOGI("GetMpegAudioData End or Error case");
  return status;
}
