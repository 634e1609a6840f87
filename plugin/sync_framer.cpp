#define LOG_TAG "aviparser"
#include "plugin/sync_framer.h"

#include <algorithm>
#include <cstring>

#include "base/log.h"

int SyncFramer::GetSyncFrame(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  out->len = 0;
  if (!mBuffer.IsAllocated()) return AVI_OUT_OF_MEMORY;

  // A frame is buffered: no read.
  if (mBuffer.size() > mFrameSize + 1) {
    const unsigned char* const front = mBuffer.front();
    const bool cut = Cut(in, out);
    // With less than two bytes left the old header still shows through.
    const uint8_t nextByte1 = (mBuffer.size() >= 2 ? mBuffer.front() : front)[1];
    out->time = mTimestamp = BufferedTime(in, cut, nextByte1, out->time);
    return 0;
  }

  // Wherever a read before the cut comes back empty the call ends as it stands: a source that would block must not hold
  // the host in here, and nothing is learned about the chunks.
  int status = feed.ReadIntoCarry(in, &mBuffer, 0, mTexts->name, mTexts->endText, out);
  if (status != 0 || out->len == 0) return status;
  status = FindSync(feed, in, out);
  if (status < 0) return status;
  if (status > 0) return 0;

  // The search may have dropped bytes in front of the header: the length is what is left of the chunk.
  mBuffer.Append(out->len);
  const uint64_t held = mBuffer.size();
  const bool oneFrame = held <= mFrameSize + 1 && mFrameSize <= held + 1;
  if (oneFrame && !mFraming) {
    if (out->len) std::memcpy(out->buf, mBuffer.front(), out->len);
    mBuffer.keep_front(held - out->len);
    mTimestamp = out->time;
    return 0;
  }
  mFraming = true;

  const char* const endText = "mAudioEOS";
  // Decided once: a chunk read in here may turn the stream into a VBR one.
  const bool readsAhead = mReadsAheadWhenVbr || !in.file->IsVBR(in.stream);
  while (readsAhead && mBuffer.size() <= 2 * mFrameSize) {
    status = feed.ReadIntoCarry(in, &mBuffer, 0, mTexts->name, endText, out);
    if (status != 0 || out->len == 0) return status;
    mBuffer.Append(out->len);
  }
  if (!Cut(in, out)) {
    status = feed.ReadIntoCarry(in, &mBuffer, 0, mTexts->name, endText, out);
    if (status != 0) return status;
    mBuffer.Append(out->len);
    Cut(in, out);
  }
  mTimestamp = out->time;
  return 0;
}

int SyncFramer::FindSync(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  if (!mResync) {
    Detect(in, mBuffer.front(), &out->len);
    return 0;
  }
  uint64_t searched = 0;
  uint32_t chunks = 0;
  // The search looks at the front although the new chunk may lie behind a few bytes kept; those drop out of the count.
  for (uint32_t read = out->len; !Detect(in, mBuffer.front(), &out->len); read = out->len) {
    searched += read;
    if (searched > AVI_SYNC_SEARCH_BYTES || ++chunks >= AVI_SYNC_SEARCH_CHUNKS) {
      out->len = 0;  // the next call searches on from the next chunk
      return 1;
    }
    const int status =
        feed.ReadIntoCarry(in, &mBuffer, out->len, mTexts->name, "Error Case : mAudioEOS = OMX_TRUE ", out);
    if (status != 0) return status;
    if (out->len == 0) return 1;
  }
  mResync = false;
  return 0;
}

void SyncFramer::CopyFrame(const unsigned char* frame, uint64_t held, uint64_t size, const char* name, SDelivery* out) {
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
