#define LOG_TAG "aviparser"
#include "plugin/ac3_framer.h"

#include <algorithm>
#include <array>
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
constexpr uint16_t FrameWords(size_t sizeCode, size_t rateCode) {
  const uint32_t kbps = kBitRates[sizeCode / 2];
  const uint32_t words = rateCode == 0   ? kbps * 2
                         : rateCode == 2 ? kbps * 3
                                         : kbps * 1000 * 1536 / 44100 / 16 + (sizeCode & 1);
  return static_cast<uint16_t>(words);
}

/// FrameWords by rate code and, rising, by size code.
constexpr auto kFrameWords = [] {
  std::array<std::array<uint16_t, kSizeCodes>, kRateCodes> words{};
  for (size_t rate = 0; rate < kRateCodes; ++rate) {
    for (size_t size = 0; size < kSizeCodes; ++size) words[rate][size] = FrameWords(size, rate);
  }
  return words;
}();
static_assert(kFrameWords[0][0] == 64 && kFrameWords[1][0] == 69 && kFrameWords[2][0] == 96);
static_assert(kFrameWords[0][37] == 1280 && kFrameWords[1][37] == 1394 && kFrameWords[2][37] == 1920);

bool IsSwapped(const unsigned char* sync) { return sync[0] == 0x77; }

/// First sync word that begins in [at, end); `end` when there is none. One byte behind `end` is readable.
unsigned char* NextSync(unsigned char* at, unsigned char* end) {
  for (; at < end; ++at) {
    if (IsAc3Sync(at)) return at;
  }
  return end;
}

}  // namespace

inline bool Ac3Framer::TakeHeader(const STrackInput& in, const unsigned char* front, const unsigned char* sync,
                                  uint64_t held) {
  const bool swapped = IsSwapped(sync);
  const uint8_t byte5 = held > 5 ? sync[5] : uint8_t{0};
  const uint8_t bsidByte = swapped ? sync[4] : byte5;
  const uint8_t rateByte = swapped ? byte5 : sync[4];
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
  mFrameSize = kFrameWords[rateCode][sizeCode] * 2u;
  return true;
}

void Ac3Framer::TakeEAC3Header(const STrackInput& in, const unsigned char* front, uint8_t rateCode, bool swapped) {
  // The size comes from the front of the data, wherever the sync word is: the frames delivered are cut by it.
  const uint32_t high = front[swapped ? 3 : 2] & 7u;
  const uint32_t low = front[swapped ? 2 : 3];
  mFrameSize = ((high << 8 | low) + 1) * 2;
  if (rateCode >= kRateCodes) return;
  // The table's words are compared with a size in bytes; with another unit the times of E-AC-3 chunks would change.
  const auto& words = kFrameWords[rateCode];
  const auto found = std::lower_bound(words.begin(), words.end(), mFrameSize);
  const auto sizeCode = static_cast<size_t>(found - words.begin());
  // The sizes of odd codes count only where they are those of even ones.
  if (found != words.end() && *found == mFrameSize && sizeCode % 2 == 0) {
    in.file->SetAC3BitRate(kBitRates[sizeCode / 2] * 1000);
  }
}

inline Ac3Framer::ESync Ac3Framer::FindSyncWord(const STrackInput& in, unsigned char* buf, uint32_t* start,
                                                uint32_t end) {
  unsigned char* const front = buf + *start;
  const uint32_t held = end - *start;
  if (held > 4 && IsAc3Sync(front) && TakeHeader(in, front, front, held)) return ESync::kFound;
  return SearchSyncWord(in, front, held, start);
}

Ac3Framer::ESync Ac3Framer::SearchSyncWord(const STrackInput& in, unsigned char* front, uint32_t held,
                                           uint32_t* start) {
  if (held < 4) {
    if (mLines.Take(ELine::kUnavailable)) {
      AVI_LOGE("[DetectedAC3StartCode] unavailable value - [%lu]", static_cast<unsigned long>(held));
    }
    return ESync::kTooShort;
  }
  unsigned char* const last = front + (held - 4);
  unsigned char* sync = NextSync(front + 1, last);
  while (sync != last && !TakeHeader(in, front, sync, held - static_cast<uint64_t>(sync - front))) {
    sync = NextSync(sync + 1, last);
  }
  const uint32_t before = static_cast<uint32_t>(sync - front);
  // The end test is made once more on what is left, so a sync word just half way counts as none.
  if (sync == last || before == held - before - 4) {
    std::memset(front, 0, held);
    if (mLines.Take(ELine::kNoStartCode)) AVI_LOGE("AC3 Start code not found.");
    return ESync::kNone;
  }
  *start += before;
  return ESync::kFound;
}

inline bool Ac3Framer::Detect(const STrackInput& in, unsigned char* buf, uint32_t* len) {
  uint32_t start = 0;
  const ESync found = FindSyncWord(in, buf, &start, *len);
  if (found == ESync::kNone) *len = 0;
  if (start != 0) std::memmove(buf, buf + start, *len -= start);
  return found == ESync::kFound;
}

inline bool Ac3Framer::Cut(const STrackInput& in, SDelivery* out) {
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

inline uint64_t Ac3Framer::BufferedTime(const STrackInput& in, bool cut, uint8_t, uint64_t hostTime) const {
  if (!cut) return hostTime;
  const uint32_t bitRate = in.track->audio.nBitRate;
  return bitRate ? mTimestamp + mFrameSize * 8000 / bitRate : mTimestamp;
}

int Ac3Framer::GetAC3AudioData(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  const int status = GetSyncFrame(feed, in, out);
  if (status < 0) AVI_LOGI("GetAC3AudioData End or Error case");
  return status;
}
