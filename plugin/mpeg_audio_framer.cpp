#define LOG_TAG "aviparser"
#include <algorithm>
#include <cstring>

#include "avifile/mpeg_audio_header.h"
#include "base/bytes.h"
#include "base/log.h"
#include "plugin/sync_framer.h"

int AVIParser::GetMpegAudioData(unsigned char* out, unsigned long* len, unsigned long* timestampMs,
                                unsigned long maxLen) {
  const SSyncFramer framer{mMP3Buf,
                           mMP3FrameSize,
                           mMP3Timestamp,
                           mMP3Resync,
                           mMP3Framing,
                           "GetMpegAudioData",
                           "GetMpegAudioData mAudioEOS = OMX_TRUE ",
                           false,
                           &AVIParser::DetectedMp3StartCode,
                           &AVIParser::GetMp3Data,
                           &AVIParser::MpegBufferedTime};
  return GetSyncFrame(framer, out, len, timestampMs, ClampLength(maxLen));
}

bool AVIParser::AcceptsMpegHeader(const unsigned char* header) const {
  const uint32_t layer = MpegAudioLayer(header[1]);
  // An index with foreign chunks makes false headers likely: then only the track's own layer counts.
  const bool strict = mFileParser->HasJunkInIndex();
  if (layer == 0 || (strict && layer != mMpegAudioMode)) return false;
  int frameSize, sampleRate;
  if (!CAVIFileParser::GetMPEGAudioFrameSize(LoadBe32(header), &frameSize, &sampleRate)) return false;
  const TrackInfo* track = Track(SelectedAudio());
  const int configured = track ? static_cast<int>(track->audio.nSampleRate) : 0;
  if (sampleRate == configured) return true;
  if (!strict) {
    AVI_LOGE("[DetectedMp3StartCode] Sampling rate is differ than configuration. default: %d detect : %d", configured,
             sampleRate);
  } else if (layer == 3) {
    AVI_LOGE("[DetectedMp3StartCode] Layer 3 Sampling rate is differ than configuration. default: %d detect : %d",
             configured, sampleRate);
  } else {
    AVI_LOGE("[DetectedMp3StartCode] Layer 2 Sampling rate is differ than configuration. default: %d detect : %d",
             configured, sampleRate);
  }
  return false;
}

int AVIParser::DetectedMp3StartCode(unsigned char* buf, unsigned long* len) {
  if (!buf || *len < 4) {
    AVI_LOGE("[DetectedMp3StartCode] unavailable value - [%lu]", *len);
    return -1;
  }
  // The last four bytes are never taken for a header.
  const unsigned char* const end = buf + (*len - 4);
  unsigned char* at = buf;
  while (at < end) {
    at = static_cast<unsigned char*>(std::memchr(at, 0xFF, static_cast<size_t>(end - at)));
    if (!at || AcceptsMpegHeader(at)) break;
    ++at;
  }
  if (!at || at >= end) {
    std::memset(buf, 0, *len);
    *len = 0;
    AVI_LOGE("[DetectedMp3StartCode] Start code not found.");
    return -1;
  }
  if (at != buf) {
    *len -= static_cast<unsigned long>(at - buf);
    std::memmove(buf, at, *len);
  }
  int frameSize;
  if (*len >= 5 && CAVIFileParser::GetMPEGAudioFrameSize(LoadBe32(buf), &frameSize) && frameSize != 0) {
    mMP3FrameSize = static_cast<uint64_t>(frameSize);
  }
  return 0;
}

int AVIParser::GetMp3Data(unsigned char* buf, unsigned long* bufLen, unsigned char* out, unsigned long* outLen,
                          unsigned long maxLen, uint64_t* removed) {
  *outLen = 0;
  *removed = 0;
  if (DetectedMp3StartCode(buf, bufLen) != 0) return AVI_ERROR;
  const bool vbr = mFileParser->IsVBR(SelectedAudio());
  if (vbr) {
    // Without an index no chunk has been examined; the size of the header found then stands.
    if (mFileParser->LastMp3FrameSize() != 0) mMP3FrameSize = mFileParser->LastMp3FrameSize();
    AVI_LOGV("[GetMp3Data] VBR Case : Header is VBR ?[%d]", static_cast<int>(vbr));
  }
  uint64_t size = mMP3FrameSize;
  if (*bufLen >= size + 4) {
    uint64_t stray = 0;
    while (stray <= AVI_STRAY_BYTES &&
           (size + stray + 1 >= *bufLen || buf[size + stray] != 0xFF || buf[size + stray + 1] != buf[1])) {
      ++stray;
    }
    if (stray > AVI_STRAY_BYTES) {
      std::memset(buf, 0, *bufLen);
      *bufLen = 0;
      AVI_LOGE("[GetMp3Data] [ERROR] Can't find next start code ");
      return AVI_ERROR;
    }
    size += stray;
  }
  *outLen = CopyFrame(buf, *bufLen, size, out, maxLen, "GetMp3Data");
  *removed = std::min<uint64_t>(size, *bufLen);
  *bufLen -= *removed;
  return 0;
}

uint64_t AVIParser::MpegBufferedTime(int cut, uint8_t nextByte1, uint64_t /*hostTime*/) const {
  const TrackInfo* track = Track(SelectedAudio());
  const uint32_t rate = track ? track->audio.nSampleRate : 0;
  if (rate == 0) return mMP3Timestamp;
  // The second byte of a header tells MPEG-1 by bit 3 and Layer II by the two layer bits.
  const bool layer2 = (nextByte1 & 0x06) == 0x04;
  const bool mpeg1 = (nextByte1 & 0x08) != 0;
  const bool half = cut == 0 && mMpegAudioMode == 3 && !layer2 && !mpeg1;
  return mMP3Timestamp + (half ? 576000u : 1152000u) / rate;
}
