#ifndef ZU_PLUGIN_SYNC_FRAMER_H_
#define ZU_PLUGIN_SYNC_FRAMER_H_

#include "base/limits.h"
#include "base/log.h"
#include "plugin/audio_feed.h"

/// Delivers audio frame by frame, cut on sync words, for AVI chunks need not hold whole frames. Owns the bytes carried
/// from call to call and what is known of the frames; the formats differ in search, cut and clock. Relies on being
/// called with a track, whose stream does not change without Empty and Resync.
class SyncFramer {
 public:
  /// Gets the memory that delivery needs; without it every delivery is AVI_OUT_OF_MEMORY.
  void Allocate() { mBuffer.Allocate(); }
  /// Gives the memory back. Explicit, because a parser destroyed without Close keeps what Open made.
  void Free() { mBuffer.Free(); }
  /// Searches for a header across chunks from the next read on.
  void Resync() { mResync = true; }
  /// The messages about headers that one call of the host may cost are counted from here.
  void BeginDelivery() { mLines = {}; }
  /// Drops the bytes held.
  void Empty() { mBuffer.clear(); }

 protected:
  struct STexts {
    const char* name;     // of the operation, in messages
    const char* endText;  // logged when the first read of a call meets the end
  };
  SyncFramer(const STexts& texts, bool readsAheadWhenVbr) : mTexts(&texts), mReadsAheadWhenVbr(readsAheadWhenVbr) {}
  ~SyncFramer() = default;  // never deleted through this class

  /// Delivers one frame with its time. @return 0, with length 0 when nothing could be read for now; AVI_END_OF_STREAM;
  /// a fatal status.
  int GetSyncFrame(AudioFeed& feed, const STrackInput& in, SDelivery* out);

  /// Finds the first header in `*len` bytes and moves it to the front, shortening `*len`. Sets the frame size.
  /// @return false: none (`*len` 0, the bytes zeroed) or fewer than 4 bytes (left as they are).
  virtual bool Detect(const STrackInput& in, unsigned char* buf, uint32_t* len) = 0;
  /// Takes the frame at the front out of the buffer and delivers its bytes. @return false with length 0: none.
  virtual bool Cut(const STrackInput& in, SDelivery* out) = 0;
  /// Time of a frame taken without a read, from the cut's result, the second byte at the front after it, and what the
  /// host's time cell held.
  virtual uint64_t BufferedTime(const STrackInput& in, bool cut, uint8_t nextByte1, uint64_t hostTime) const = 0;

  /// Copies `size` bytes to `out`, what is not among the `held` ones as zeros, at most what fits.
  static void CopyFrame(const unsigned char* frame, uint64_t held, uint64_t size, const char* name, SDelivery* out);

  // Of these a damaged track would give one or more per chunk.
  enum class ELine { kRejected, kUnavailable, kNoStartCode, kCount };
  LineLimits<ELine, AVI_LINES_PER_DELIVERY> mLines;

  CarryBuffer mBuffer;
  uint64_t mFrameSize = 0;  // bytes, of the frame at the front as far as it is known; wide, for it is doubled
  uint64_t mTimestamp = 0;  // milliseconds, of the last frame delivered

 private:
  // 0: go on; 1: an empty read or a search without result ends the call; negative: an error or the end.
  int FindSync(AudioFeed& feed, const STrackInput& in, SDelivery* out);

  const STexts* mTexts;
  bool mReadsAheadWhenVbr;
  bool mResync = true;    // search for a header across chunks
  bool mFraming = false;  // chunks have been seen not to be frames
};

#endif  // ZU_PLUGIN_SYNC_FRAMER_H_
