#define LOG_TAG "aviparser"
#include "plugin/sync_framer.h"

#include <algorithm>

void CopyPartOfFrame(const unsigned char* frame, uint64_t held, uint64_t size, const char* name, SDelivery* out) {
  if (size > out->maxLen) {
    AVI_LOGE("[%s] frame larger than the output buffer, frame:%ld, maxLen:%ld", name, static_cast<long>(size),
             static_cast<long>(out->maxLen));
    size = out->maxLen;
  }
  const uint64_t copied = std::min(size, held);
  if (copied) std::memcpy(out->buf, frame, copied);
  if (size > copied) std::memset(out->buf + copied, 0, size - copied);
  out->len = static_cast<uint32_t>(size);
}
