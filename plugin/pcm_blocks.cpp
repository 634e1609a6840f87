#define LOG_TAG "aviparser"
#include "plugin/pcm_blocks.h"

#include <algorithm>
#include <cstring>

#include "base/log.h"

namespace {

constexpr SFeedTexts kFirstRead{"GetPCMData", "GetPCMData mAudioEOS"};
constexpr SFeedTexts kReadOn{"GetPCMData", "mAudioEOS"};

uint64_t DurationMs(const TrackInfo::Audio& format, uint32_t bytes) {
  // Three factors of 32, 16 and 16 bits, as the file's format holds them.
  const uint64_t byteRate = uint64_t{format.nSampleRate} * format.nChannels * format.nBitsPerSample >> 3;
  return byteRate ? bytes * uint64_t{1000} / byteRate : 0;
}

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

int PcmBlocks::GetPCMData(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  const int status = GetBlock(feed, in, out);
  if (status < 0) {
    AVI_LOGI("GetPCMData End or Error case");
  } else if (in.track->audio.nBitsPerSample == 24 && in.Codec() == AVI_CODEC_PCM) {
    out->len = NarrowTo16Bits(out->buf, out->len, out->maxLen);
  }
  return status;
}

inline int PcmBlocks::GetBlock(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  out->len = 0;
  if (mBuffer.size() > mBlockSize + 1) {
    DeliverBlock(out);
    out->time = mTimestamp += DurationMs(in.track->audio, out->len);
    return 0;
  }
  if (!mBuffer.IsReady()) return AVI_OUT_OF_MEMORY;

  // A chunk like the last one, which left as it was, is read to where it goes.
  const bool straight = mPassedOn != 0 && mBuffer.size() == 0 && in.file->NextChunkSize(in.stream) == mPassedOn;
  int status = straight ? feed.ReadChunk(in, out->buf, std::min(out->maxLen, AVI_CARRY_BYTES), kFirstRead, out)
                        : feed.ReadIntoCarry(in, &mBuffer, 0, kFirstRead, out);
  if (status != 0 || out->len == 0) return status;
  if (straight) {
    if (out->len == mPassedOn) {
      mTimestamp = out->time;
      return 0;
    }
    mBuffer.Put(out->buf, out->len);  // the source gave less than the chunk has
  }
  SetBlockSize(in.track->audio, out->len);
  mBuffer.Append(out->len);
  const size_t held = mBuffer.size();
  const bool passedOn = held <= mBlockSize + 1 && mBlockSize <= held + 1;
  mPassedOn = passedOn && held == out->len ? out->len : 0;
  if (passedOn) {
    // The chunk leaves as one block. It is taken off the count alone: a byte held in front of it keeps its place.
    std::memcpy(out->buf, mBuffer.front(), out->len);
    mBuffer.keep_front(held - out->len);
  } else {
    if (held <= 2 * mBlockSize) {
      status = feed.ReadIntoCarry(in, &mBuffer, 0, kReadOn, out);
      if (status != 0 || out->len == 0) return status;
      mBuffer.Append(out->len);
    }
    DeliverBlock(out);
  }
  mTimestamp = out->time;
  return 0;
}

void PcmBlocks::SetBlockSize(const TrackInfo::Audio& format, uint32_t chunkSize) {
  mBlockSize = std::min(chunkSize, AVI_PCM_BLOCK);
  if (chunkSize >= AVI_PCM_BLOCK || format.nSampleRate > chunkSize) return;
  // A tenth of a second if samples were bytes: the bits per sample stay out on purpose.
  const uint64_t tenth = uint64_t{format.nSampleRate} * format.nChannels / 10;
  // Two blocks and a chunk have to fit the buffer, whatever the format claims.
  mBlockSize = tenth != 0 && tenth <= AVI_CARRY_BYTES / 4 ? tenth : chunkSize;
}

void PcmBlocks::DeliverBlock(SDelivery* out) {
  const size_t count = std::min<uint64_t>({mBlockSize, mBuffer.size(), out->maxLen});
  if (count) std::memcpy(out->buf, mBuffer.front(), count);
  mBuffer.drop_front(count);
  out->len = static_cast<uint32_t>(count);
}
