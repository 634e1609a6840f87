#define LOG_TAG "AVIFileParser"
#include "avifile/video_bitstream.h"

#include <algorithm>

#include "base/limits.h"
#include "base/log.h"

bool LengthsToStartCodes(uint8_t* frame, uint32_t size) {
  for (uint64_t at = 0; at + 4 <= size;) {
    const uint64_t length = LoadBe32(frame + at);
    if (length == 0) return false;
    if (length == 1) return true;
    if (frame[0] == 0 && frame[1] == 0 && frame[2] == 1 && size != length + 4) return true;
    // A unit that claims 1 to 4 bytes too many still gets its start code: cut streams end like that.
    if (at + length <= size) {
      frame[at] = frame[at + 1] = frame[at + 2] = 0;
      frame[at + 3] = 1;
    }
    at += length + 4;
  }
  return true;
}

ptrdiff_t FindDamagedVol(ByteSpan frame) {
  const ptrdiff_t window = std::min<ptrdiff_t>(static_cast<ptrdiff_t>(frame.size()) - 4, AVI_VOL_WINDOW);
  const ptrdiff_t vol = FindStartCode(frame, kVolStartCode, 0, window);
  if (vol == kNotFound) return kNotFound;
  return frame[static_cast<size_t>(vol) + 4] & 0x80 ? vol : kNotFound;
}

bool IsTheoraIntra(ByteSpan frame) {
  if (frame.empty() || (frame[0] & 0x40) == 0) return true;
  AVI_LOGE("[GetFirstVideoData] this block is not I-frame, first 1byte is %x", static_cast<unsigned>(frame[0]));
  return false;
}

bool IsH263Intra(ByteSpan frame) {
  if (frame.size() < 5 || frame[0] != 0 || frame[1] != 0 || (frame[2] & 0xFC) != 0x80) return true;
  const bool extended = (frame[4] & 0x1C) == 0x1C;
  if (!extended) {
    if ((frame[4] & 0x02) == 0) return true;
    AVI_LOGE("[PTYPE]H263 StartCode and NOT Iframe");
    return false;
  }
  if (frame.size() < 8) return true;
  if (frame[5] & 0x80) {
    if ((frame[7] & 0x1C) == 0) return true;
    AVI_LOGE("[PLUSPTYPE with OPPTYPE]H263 StartCode and NOT Iframe");
    return false;
  }
  if ((frame[5] & 0x70) == 0) return true;
  AVI_LOGE("[PLUSPTYPE]H263 StartCode and NOT Iframe");
  return false;
}

int VopCodingType(ByteSpan frame) {
  const ptrdiff_t vop = FindStartCode(frame, kVopStartCode, 0, static_cast<ptrdiff_t>(frame.size()) - 4);
  return vop == kNotFound ? -1 : frame[static_cast<size_t>(vop) + 4] >> 6;
}
