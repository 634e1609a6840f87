#define LOG_TAG "aviparser"
#include "plugin/ac3_framer.h"

#include <algorithm>
#include <cstring>

#include "avifile/ac3_header.h"
#include "base/log.h"

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

bool Ac3Framer::TakeHeader(const STrackInput& in, const unsigned char* front, const unsigned char* sync,
                           uint64_t held) {
  const bool swapped = IsSwapped(sync);
  const auto byteAt = [&](uint64_t at) { return at < held ? sync[at] : uint8_t{0}; };
  const uint8_t bsidByte = byteAt(swapped ? 4 : 5);
  const uint8_t rateByte = byteAt(swapped ? 5 : 4);
  if (bsidByte >= 88 && bsidByte < 136) {  // bsid 11 to 16
    TakeEAC3Header(in, front, rateByte >> 6, swapped);
    return true;
  }
  if (bsidByte >= 72) {  // bsid 9, 10, and above 16
    if (mLines.Take(ELine::kRejected)) AVI_LOGE("DetectedAC3StartCode bsid is invalid");
    return false;
  }
  const uint32_t sizeCode = rateByte & 0x3F;
  const uint32_t rateCode = rateByte >> 6;
  if (sizeCode >= kSizeCodes || rateCode >= kRateCodes) {
    if (mLines.Take(ELine::kRejected)) AVI_LOGE("DetectedAC3StartCode Get abnormal frame size.");
    return false;
  }
  mFrameSize = FrameWords(sizeCode, rateCode) * 2;
  return true;
}

void Ac3Framer::TakeEAC3Header(const STrackInput& in, const unsigned char* front, uint8_t rateCode, bool swapped) {
  // The size comes from the front of the data, wherever the sync word is: the frames delivered are cut by it.
  const uint32_t high = front[swapped ? 3 : 2] & 7u;
  const uint32_t low = front[swapped ? 2 : 3];
  mFrameSize = ((high << 8 | low) + 1) * 2;
  if (rateCode >= kRateCodes) return;
  for (uint32_t sizeCode = 0; sizeCode < kSizeCodes; sizeCode += 2) {
    // The table's words are compared with a size in bytes; with another unit the times of E-AC-3 chunks would change.
    if (FrameWords(sizeCode, rateCode) != mFrameSize) continue;
    in.file->SetAC3BitRate(kBitRates[sizeCode / 2] * 1000);
    return;
  }
}

Ac3Framer::ESync Ac3Framer::FindSyncWord(const STrackInput& in, unsigned char* buf, uint32_t* start, uint32_t end) {
  const uint32_t held = end - *start;
  if (!buf || held < 4) {
    if (mLines.Take(ELine::kUnavailable)) {
      AVI_LOGE("[DetectedAC3StartCode] unavailable value - [%lu]", static_cast<unsigned long>(held));
    }
    return ESync::kTooShort;
  }
  unsigned char* const front = buf + *start;
  unsigned char* const last = front + (held - 4);
  unsigned char* sync = NextSync(front, last);
  while (sync != last && !TakeHeader(in, front, sync, held - static_cast<uint64_t>(sync - front))) {
    sync = NextSync(sync + 1, last);
  }
  const uint32_t skipped = static_cast<uint32_t>(sync - front);
  // The end test is made once more on what is left, so a sync word just half way counts as none.
  if (sync == last || (skipped > 0 && skipped == held - skipped - 4)) {
    std::memset(front, 0, held);
    if (mLines.Take(ELine::kNoStartCode)) AVI_LOGE("AC3 Start code not found.");
    return ESync::kNone;
  }
  *start += skipped;
  return ESync::kFound;
}

bool Ac3Framer::DetectedAC3StartCode(const STrackInput& in, unsigned char* buf, uint32_t* len) {
  uint32_t start = 0;
  const ESync found = FindSyncWord(in, buf, &start, *len);
  if (found == ESync::kNone) *len = 0;
  if (start != 0) std::memmove(buf, buf + start, *len -= start);
  return found == ESync::kFound;
}

bool Ac3Framer::GetAC3Data(const STrackInput& in, SDelivery* out) {
  unsigned char* const buf = mBuffer.front();
  const uint32_t end = static_cast<uint32_t>(mBuffer.size());
  uint32_t start = 0;
  out->len = 0;
  for (bool searched = false;; searched = true) {
    const ESync found = FindSyncWord(in, buf, &start, end);
    if (found != ESync::kFound) {
      mBuffer.drop_front(found == ESync::kNone ? end : start);
      return false;
    }
    unsigned char* const frame = buf + start;
    const uint64_t held = end - start;
    uint64_t size = mFrameSize;
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
      std::memset(frame, 0, held);
      mBuffer.drop_front(end);
      AVI_LOGE("[ERROR] Can't find next start code ");
      return false;
    }
    CopyFrame(frame, held, size, "GetAC3Data", out);
    mBuffer.drop_front(start + size);
    return true;
  }
}

uint64_t Ac3Framer::BufferedTime(const STrackInput& in, bool cut, uint8_t, uint64_t hostTime) const {
  if (!cut) return hostTime;
  const uint32_t bitRate = in.track->audio.nBitRate;
  return bitRate ? mTimestamp + mFrameSize * 8000 / bitRate : mTimestamp;
}
