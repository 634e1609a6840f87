#define LOG_TAG "aviparser"
#include <algorithm>
#include <cstring>

#include "avifile/ac3_header.h"
#include "base/log.h"
#include "plugin/sync_framer.h"

namespace {

// Nominal bit rates of ATSC A/52, table 5.18; two consecutive frmsizecod share one.
constexpr uint32_t kBitRates[] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                  192, 224, 256, 320, 384, 448, 512, 576, 640};  // kbit/s
constexpr uint32_t kSizeCodes = 38;
constexpr uint32_t kRateCodes = 3;  // fscod 0 to 2: 48, 44.1, 32 kHz

/// Words of 16 bits in a frame of 1536 samples. At 44.1 kHz a frame has no whole number of them: odd codes have one
/// more.
constexpr uint32_t FrameWords(uint32_t sizeCode, uint32_t rateCode) {
  const uint32_t kbps = kBitRates[sizeCode / 2];
  if (rateCode == 0) return kbps * 2;
  if (rateCode == 2) return kbps * 3;
  return kbps * 1000 * 1536 / 44100 / 16 + (sizeCode & 1);
}
static_assert(FrameWords(0, 0) == 64 && FrameWords(0, 1) == 69 && FrameWords(0, 2) == 96);
static_assert(FrameWords(37, 0) == 1280 && FrameWords(37, 1) == 1394 && FrameWords(37, 2) == 1920);

bool IsSwapped(const unsigned char* sync) { return sync[0] == 0x77; }

/// First sync word that begins in [at, end); `end` when there is none. One byte behind `end` is readable.
unsigned char* NextSync(unsigned char* at, unsigned char* end) {
  for (; at < end; ++at) {
    if (IsAc3Sync(at)) return at;
  }
  return end;
}

}  // namespace

int AVIParser::GetAC3AudioData(unsigned char* out, unsigned long* len, unsigned long* timestampMs,
                               unsigned long maxLen) {
  const SSyncFramer framer{mAC3Buf,
                           mAC3FrameSize,
                           mAC3Timestamp,
                           mAC3Resync,
                           mAC3Framing,
                           "GetAC3AudioData",
                           "GetAC3AudioData mAudioEOS = OMX_TRUE ",
                           true,
                           &AVIParser::DetectedAC3StartCode,
                           &AVIParser::GetAC3Data,
                           &AVIParser::Ac3BufferedTime};
  return GetSyncFrame(framer, out, len, timestampMs, ClampLength(maxLen));
}

/// Takes the frame size from the header at `sync`, of which `held` bytes are there, in data that begins at `front`.
bool AVIParser::TakeAC3Header(const unsigned char* front, const unsigned char* sync, uint64_t held) {
  const bool swapped = IsSwapped(sync);
  const auto byteAt = [&](uint64_t at) { return at < held ? sync[at] : uint8_t{0}; };
  const uint8_t bsidByte = byteAt(swapped ? 4 : 5);
  const uint8_t rateByte = byteAt(swapped ? 5 : 4);
  if (bsidByte >= 88 && bsidByte < 136) {  // bsid 11 to 16
    TakeEAC3Header(front, rateByte >> 6, swapped);
    return true;
  }
  if (bsidByte >= 72) {  // bsid 9, 10, and above 16
    AVI_LOGE("DetectedAC3StartCode bsid is invalid");
    return false;
  }
  const uint32_t sizeCode = rateByte & 0x3F;
  const uint32_t rateCode = rateByte >> 6;
  if (sizeCode >= kSizeCodes || rateCode >= kRateCodes) {
    AVI_LOGE("DetectedAC3StartCode Get abnormal frame size.");
    return false;
  }
  mAC3FrameSize = FrameWords(sizeCode, rateCode) * 2;
  return true;
}

/// Size and bit rate of an E-AC-3 frame. The size comes from the front of the data, wherever the sync word is.
void AVIParser::TakeEAC3Header(const unsigned char* front, uint8_t rateCode, bool swapped) {
  const uint32_t high = front[swapped ? 3 : 2] & 7u;
  const uint32_t low = front[swapped ? 2 : 3];
  mAC3FrameSize = ((high << 8 | low) + 1) * 2;
  if (rateCode >= kRateCodes) return;
  for (uint32_t sizeCode = 0; sizeCode < kSizeCodes; sizeCode += 2) {
    // Words against bytes, as ever: the rate found serves the time of one read.
    if (FrameWords(sizeCode, rateCode) != mAC3FrameSize) continue;
    mFileParser->SetAC3BitRate(kBitRates[sizeCode / 2] * 1000);
    return;
  }
}

/// Moves `*start` to the first acceptable sync word in [*start, end) of `buf`.
/// @return 0; -1: fewer than 4 bytes; AVI_ERROR: none, the bytes zeroed.
int AVIParser::FindAC3Sync(unsigned char* buf, uint64_t* start, uint64_t end) {
  const uint64_t held = end - *start;
  if (!buf || held < 4) {
    AVI_LOGE("[DetectedAC3StartCode] unavailable value - [%lu]", static_cast<unsigned long>(held));
    return -1;
  }
  unsigned char* const front = buf + *start;
  unsigned char* const last = front + (held - 4);
  unsigned char* sync = NextSync(front, last);
  while (sync != last && !TakeAC3Header(front, sync, held - static_cast<uint64_t>(sync - front))) {
    sync = NextSync(sync + 1, last);
  }
  const uint64_t skipped = static_cast<uint64_t>(sync - front);
  // The end test is made once more on what is left, so a sync word just half way counts as none.
  if (sync == last || (skipped > 0 && skipped == held - skipped - 4)) {
    std::memset(front, 0, held);
    AVI_LOGE("AC3 Start code not found.");
    return AVI_ERROR;
  }
  *start += skipped;
  return 0;
}

int AVIParser::DetectedAC3StartCode(unsigned char* buf, unsigned long* len) {
  uint64_t start = 0;
  const int status = FindAC3Sync(buf, &start, *len);
  if (status == AVI_ERROR) *len = 0;
  if (status != 0 || start == 0) return status;
  *len -= start;
  std::memmove(buf, buf + start, *len);
  return 0;
}

int AVIParser::GetAC3Data(unsigned char* buf, unsigned long* bufLen, unsigned char* out, unsigned long* outLen,
                          unsigned long maxLen, uint64_t* removed) {
  const uint64_t end = *bufLen;
  uint64_t start = 0;
  *outLen = 0;
  for (bool searched = false;; searched = true) {
    const int status = FindAC3Sync(buf, &start, end);
    if (status != 0) {
      *removed = status == AVI_ERROR ? end : start;
      *bufLen = end - *removed;
      return AVI_ERROR;
    }
    const unsigned char* frame = buf + start;
    const uint64_t held = end - start;
    uint64_t size = mAC3FrameSize;
    if (held >= size + 4) {
      uint64_t stray = 0;
      while (stray <= AVI_STRAY_BYTES &&
             (size + stray + 1 >= held || std::memcmp(frame + size + stray, frame, 2) != 0)) {
        ++stray;
      }
      if (stray > AVI_STRAY_BYTES) {
        ++start;  // a false sync word: search on behind it
        continue;
      }
      size += stray;
    } else if (searched) {
      std::memset(buf + start, 0, held);
      *removed = end;
      *bufLen = 0;
      AVI_LOGE("[ERROR] Can't find next start code ");
      return AVI_ERROR;
    }
    *outLen = CopyFrame(frame, held, size, out, maxLen, "GetAC3Data");
    *removed = start + std::min(size, held);
    *bufLen = end - *removed;
    return 0;
  }
}

uint64_t AVIParser::Ac3BufferedTime(int cut, uint8_t /*nextByte1*/, uint64_t hostTime) const {
  if (cut != 0) return hostTime;
  const TrackInfo* track = Track(SelectedAudio());
  const uint32_t bitRate = track ? track->audio.nBitRate : 0;
  return bitRate ? mAC3Timestamp + mAC3FrameSize * 8000 / bitRate : mAC3Timestamp;
}
