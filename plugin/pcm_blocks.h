#ifndef ZU_PLUGIN_PCM_BLOCKS_H_
#define ZU_PLUGIN_PCM_BLOCKS_H_

#include "plugin/audio_feed.h"

/// Delivers PCM in blocks of a fixed size. Owns the bytes carried from call to call, the block size and the time.
/// Relies on being called with a track.
class PcmBlocks {
 public:
  /// Gets ready for a track. Where there is no memory for its bytes every delivery is AVI_OUT_OF_MEMORY.
  void Prepare() {
    mBuffer.Prepare();
    mBlockSize = AVI_PCM_BLOCK;
  }
  /// Gives the memory back. Explicit, because a parser destroyed without Close keeps what Open made.
  void Free() { mBuffer.Free(); }
  /// Drops the bytes held.
  void Empty() {
    mBuffer.clear();
    mPassedOn = 0;  // the next chunk may be another track's
  }

  /// Delivers one block with its time; samples of 24 bits become 16. @return 0, with length 0 when nothing could be
  /// read for now; AVI_END_OF_STREAM, even while bytes that end no block are held: the next call delivers them; a fatal
  /// status.
  int GetPCMData(AudioFeed& feed, const STrackInput& in, SDelivery* out);

 private:
  [[gnu::always_inline]] inline int GetBlock(AudioFeed& feed, const STrackInput& in, SDelivery* out);
  void SetBlockSize(const TrackInfo::Audio& format, uint32_t chunkSize);
  void DeliverBlock(SDelivery* out);

  CarryBuffer mBuffer;
  uint64_t mBlockSize = 0;  // bytes; wide, for it is doubled
  uint64_t mTimestamp = 0;  // milliseconds, of the last block delivered
  uint32_t mPassedOn = 0;   // bytes of the last chunk, if it alone left as one block: its like will, too
};

#endif  // ZU_PLUGIN_PCM_BLOCKS_H_
