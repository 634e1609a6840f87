#define LOG_TAG "aviparser"
#include "plugin/sync_framer.h"

#include <algorithm>
#include <cstring>

#include "base/log.h"

int AVIParser::GetSyncFrame(const SSyncFramer& framer, unsigned char* out, unsigned long* len, unsigned long* ts,
                            unsigned int maxLen) {
  CarryBuffer& buffer = framer.buffer;
  *len = 0;
  if (!buffer.IsAllocated()) return AVI_OUT_OF_MEMORY;
  uint8_t nextByte1 = 0;

  // A frame is buffered: no read.
  if (buffer.size() > framer.frameSize + 1) {
    const int cut = CutFromCarry(framer, out, len, maxLen, &nextByte1);
    *ts = framer.timestamp = (this->*framer.bufferedTime)(cut, nextByte1, *ts);
    return 0;
  }

  // Wherever a read before the cut comes back empty the call ends as it stands: a source that would block must not hold
  // the host in here, and nothing is learned about the chunks.
  int status = ReadIntoCarry(&buffer, 0, framer.name, framer.endText, len, ts, maxLen);
  if (status != 0 || *len == 0) return status;
  status = FindSync(framer, len, ts, maxLen);
  if (status < 0) return status;
  if (status > 0) return 0;

  // The search may have dropped bytes in front of the header: `*len` is what is left of the chunk.
  buffer.Append(*len);
  const uint64_t held = buffer.size();
  const bool oneFrame = held <= framer.frameSize + 1 && framer.frameSize <= held + 1;
  if (oneFrame && !framer.framing) {
    if (*len) std::memcpy(out, buffer.front(), *len);
    buffer.keep_front(held - *len);
    framer.timestamp = *ts;
    return 0;
  }
  framer.framing = 1;

  const char* const endText = "mAudioEOS";
  // Decided once: a chunk read in here may turn the stream into a VBR one.
  const bool readsAhead = framer.readsAheadWhenVbr || !mFileParser->IsVBR(SelectedAudio());
  while (readsAhead && buffer.size() <= 2 * framer.frameSize) {
    status = ReadIntoCarry(&buffer, 0, framer.name, endText, len, ts, maxLen);
    if (status != 0) return status;
    if (*len == 0) return 0;
    buffer.Append(*len);
  }
  if (CutFromCarry(framer, out, len, maxLen, &nextByte1) != 0) {
    status = ReadIntoCarry(&buffer, 0, framer.name, endText, len, ts, maxLen);
    if (status != 0) return status;
    buffer.Append(*len);
    CutFromCarry(framer, out, len, maxLen, &nextByte1);
  }
  framer.timestamp = *ts;
  return 0;
}

// 0: go on; 1: an empty read ends the call; negative: an error or the end.
int AVIParser::FindSync(const SSyncFramer& framer, unsigned long* len, unsigned long* ts, unsigned int maxLen) {
  CarryBuffer& buffer = framer.buffer;
  if (framer.resync != 1) {
    (this->*framer.detect)(buffer.front(), len);
    return 0;
  }
  // The search looks at the front although the new chunk may lie behind a few bytes kept; those drop out of the count.
  while ((this->*framer.detect)(buffer.front(), len) != 0) {
    if (*len > AVI_CARRY_BYTES) return 0;
    const int status = ReadIntoCarry(&buffer, *len, framer.name, "Error Case : mAudioEOS = OMX_TRUE ", len, ts, maxLen);
    if (status != 0) return status;
    if (*len == 0) return 1;
  }
  framer.resync = 0;
  return 0;
}

int AVIParser::CutFromCarry(const SSyncFramer& framer, unsigned char* out, unsigned long* len, unsigned int maxLen,
                            uint8_t* nextByte1) {
  unsigned char* front = framer.buffer.front();
  unsigned long left = framer.buffer.size();
  uint64_t removed = 0;
  const int status = (this->*framer.cut)(front, &left, out, len, maxLen, &removed);
  // With less than two bytes left the old header still shows through.
  *nextByte1 = front[left >= 2 ? removed + 1 : 1];
  framer.buffer.drop_front(removed);
  framer.buffer.keep_front(left);
  return status;
}

unsigned long AVIParser::CopyFrame(const unsigned char* frame, uint64_t held, uint64_t size, unsigned char* out,
                                   unsigned long maxLen, const char* name) {
  if (size > maxLen) {
    AVI_LOGE("[%s] frame larger than the output buffer, frame:%ld, maxLen:%ld", name, static_cast<long>(size),
             static_cast<long>(maxLen));
    size = maxLen;
  }
  const uint64_t copied = std::min(size, held);
  if (copied) std::memcpy(out, frame, copied);
  if (size > copied) std::memset(out + copied, 0, size - copied);
  return size;
}
