#define LOG_TAG "aviparser"
#include <algorithm>
#include <cstring>

#include "base/log.h"
#include "plugin/avi_parser.h"

int AVIParser::GetPCMData(unsigned char* buf, unsigned long* len, unsigned long* timestampMs, unsigned long maxLen) {
  *len = 0;
  if (!mPCMBuf.IsAllocated()) return AVI_OUT_OF_MEMORY;
  const unsigned int room = ClampLength(maxLen);
  if (mPCMBuf.size() > mPCMBlockSize + 1) {
    *len = DeliverPcmBlock(buf, room);
    *timestampMs = mPCMTimestamp += PcmDuration(*len);
    return 0;
  }

  unsigned long chunk = 0;
  int status = ReadIntoCarry(&mPCMBuf, 0, "GetPCMData", "GetPCMData mAudioEOS", &chunk, timestampMs, room);
  if (status != 0 || chunk == 0) return status;
  SetPcmBlockSize(chunk);
  mPCMBuf.Append(chunk);
  const uint64_t held = mPCMBuf.size();
  if (held <= mPCMBlockSize + 1 && mPCMBlockSize <= held + 1) {
    // The chunk leaves as one block. It is taken off the count alone: a byte held in front of it keeps its place.
    std::memcpy(buf, mPCMBuf.front(), chunk);
    mPCMBuf.keep_front(held - chunk);
    *len = chunk;
  } else {
    if (held <= 2 * mPCMBlockSize) {
      status = ReadIntoCarry(&mPCMBuf, 0, "GetPCMData", "mAudioEOS", &chunk, timestampMs, room);
      if (status != 0 || chunk == 0) return status;
      mPCMBuf.Append(chunk);
    }
    *len = DeliverPcmBlock(buf, room);
  }
  mPCMTimestamp = *timestampMs;
  return 0;
}

void AVIParser::SetPcmBlockSize(uint64_t chunkSize) {
  mPCMBlockSize = std::min<uint64_t>(chunkSize, AVI_PCM_BLOCK);
  const TrackInfo* track = Track(SelectedAudio());
  if (!track || chunkSize >= AVI_PCM_BLOCK || track->audio.nSampleRate > chunkSize) return;
  // A tenth of a second if samples were bytes: the bits per sample stay out on purpose.
  const uint64_t tenth = uint64_t{track->audio.nSampleRate} * track->audio.nChannels / 10;
  // Two blocks and a chunk have to fit the buffer, whatever the format claims.
  mPCMBlockSize = tenth != 0 && tenth <= AVI_CARRY_BYTES / 4 ? tenth : chunkSize;
}

unsigned long AVIParser::DeliverPcmBlock(unsigned char* buf, unsigned int maxLen) {
  const size_t count = std::min<uint64_t>({mPCMBlockSize, mPCMBuf.size(), maxLen});
  if (count) std::memcpy(buf, mPCMBuf.front(), count);
  mPCMBuf.drop_front(count);
  return count;
}

uint64_t AVIParser::PcmDuration(uint64_t bytes) const {
  const TrackInfo* track = Track(SelectedAudio());
  if (!track) return 0;
  const TrackInfo::Audio& audio = track->audio;
  // Three factors of 32, 16 and 16 bits, as the file's format holds them.
  const uint64_t byteRate = uint64_t{audio.nSampleRate} * audio.nChannels * audio.nBitsPerSample >> 3;
  return byteRate ? bytes * 1000 / byteRate : 0;
}
