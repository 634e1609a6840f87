#ifndef ZU_PLUGIN_SYNC_FRAMER_H_
#define ZU_PLUGIN_SYNC_FRAMER_H_

#include <cstring>

#include "base/limits.h"
#include "base/log.h"
#include "plugin/audio_feed.h"

/// Delivers audio frame by frame, cut on sync words, for AVI chunks need not hold whole frames. Owns the bytes carried
/// from call to call and what is known of the frames; the formats differ in search, cut and clock. Relies on being
/// called with a track, whose stream does not change without Empty and Resync.
///
/// A Format derives from the framer of itself and has, which the framer calls:
///   kName                 of the operation, in messages
///   kEndText              logged when the first read of a call meets the end
///   kReadsAheadWhenVbr    whether chunks are read until two frames are held, in a VBR stream too
///   Detect(in, buf, len)  finds the first header in `*len` bytes and moves it to the front, shortening `*len`; sets
///                         the frame size. False: none (`*len` 0, bytes zeroed) or below 4 bytes (left as they are)
///   Cut(in, out)          takes the frame at the front out of the buffer and delivers it. False, length 0: none
///   BufferedTime(in, cut, nextByte1, hostTime)
///                         time of a frame taken without a read: from the cut's result, the second byte at the front
///                         after it, and what the host's time cell held
template <typename Format>
class SyncFramer {
 public:
  /// Gets ready for a track. Where there is no memory for its bytes every delivery is AVI_OUT_OF_MEMORY.
  void PrepareBuffer() { mBuffer.Prepare(); }
  /// Gives the memory back. Explicit, because a parser destroyed without Close keeps what Open made.
  void Free() { mBuffer.Free(); }
  /// Searches for a header across chunks from the next read on.
  void Resync() { mResync = true; }
  /// Drops the bytes held.
  void Empty() { mBuffer.clear(); }

 protected:
  SyncFramer() = default;
  ~SyncFramer() = default;  // never deleted through this class

  /// Delivers one frame with its time, for one call of the host. @return 0, with length 0 when nothing could be read
  /// for now or no frame was found; AVI_END_OF_STREAM; a fatal status.
  [[gnu::always_inline]] inline int GetSyncFrame(AudioFeed& feed, const STrackInput& in, SDelivery* out);

  // Of these a damaged track would give one or more per chunk. They are counted for each call of the host.
  enum class ELine { kRejected, kUnavailable, kNoStartCode, kCount };
  LineLimits<ELine, AVI_LINES_PER_DELIVERY> mLines;

  CarryBuffer mBuffer;
  uint64_t mFrameSize = 0;  // bytes, of the frame at the front as far as it is known; wide, for it is doubled
  uint64_t mTimestamp = 0;  // milliseconds, of the last frame delivered

 private:
  static constexpr SFeedTexts kFirstRead{Format::kName, Format::kEndText};
  static constexpr SFeedTexts kSearch{Format::kName, "Error Case : mAudioEOS = OMX_TRUE "};
  static constexpr SFeedTexts kReadOn{Format::kName, "mAudioEOS"};

  Format& Self() { return static_cast<Format&>(*this); }
  // Each tries to deliver a frame; what they return is as GetSyncFrame has it. Inline is what is on the way of every
  // frame, for calls that save registers would be a good part of its cost.
  [[gnu::always_inline]] inline int TryFrame(AudioFeed& feed, const STrackInput& in, SDelivery* out);
  [[gnu::always_inline]] inline int DeliverBuffered(const STrackInput& in, SDelivery* out);
  [[gnu::always_inline]] inline int CutAcrossChunks(AudioFeed& feed, const STrackInput& in, SDelivery* out);
  [[gnu::cold]] int CutFromNextChunk(AudioFeed& feed, const STrackInput& in, SDelivery* out);
  // 0: go on; 1: an empty read or a search without result ends the call; negative: an error or the end.
  int SearchChunks(AudioFeed& feed, const STrackInput& in, SDelivery* out);

  bool mResync = true;    // search for a header across chunks
  bool mFraming = false;  // chunks have been seen not to be frames
};

/// Delivers `size` bytes, what is not among the `held` ones at `frame` as zeros, at most what fits. `name` is logged.
[[gnu::cold]] void CopyPartOfFrame(const unsigned char* frame, uint64_t held, uint64_t size, const char* name,
                                   SDelivery* out);

inline void CopyFrame(const unsigned char* frame, uint64_t held, uint64_t size, const char* name, SDelivery* out) {
  if (size > held || size > out->maxLen) return CopyPartOfFrame(frame, held, size, name, out);
  std::memcpy(out->buf, frame, size);
  out->len = static_cast<uint32_t>(size);
}

template <typename Format>
int SyncFramer<Format>::GetSyncFrame(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  mLines = {};
  int status = 0;
  int tries = 0;
  do {
    status = TryFrame(feed, in, out);
  } while (out->len == 0 && status >= 0 && ++tries < AVI_FRAMER_TRIES);
  return status;
}

template <typename Format>
int SyncFramer<Format>::TryFrame(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  out->len = 0;
  if (mBuffer.size() > mFrameSize + 1) return DeliverBuffered(in, out);
  if (!mBuffer.IsReady()) return AVI_OUT_OF_MEMORY;

  // Wherever a read before the cut comes back empty the call ends as it stands: a source that would block must not hold
  // the host in here, and nothing is learned about the chunks.
  int status = feed.ReadIntoCarry(in, &mBuffer, 0, kFirstRead, out);
  if (status != 0 || out->len == 0) return status;
  if (mResync) {
    status = SearchChunks(feed, in, out);
    if (status != 0) return status < 0 ? status : 0;
  } else {
    Self().Detect(in, mBuffer.front(), &out->len);
  }

  // The search may have dropped bytes in front of the header: the length is what is left of the chunk.
  mBuffer.Append(out->len);
  const uint64_t held = mBuffer.size();
  const bool oneFrame = held <= mFrameSize + 1 && mFrameSize <= held + 1;
  if (!oneFrame || mFraming) return CutAcrossChunks(feed, in, out);
  if (out->len) std::memcpy(out->buf, mBuffer.front(), out->len);
  mBuffer.keep_front(held - out->len);
  mTimestamp = out->time;
  return 0;
}

template <typename Format>
int SyncFramer<Format>::DeliverBuffered(const STrackInput& in, SDelivery* out) {
  const unsigned char* const front = mBuffer.front();
  const bool cut = Self().Cut(in, out);
  // With less than two bytes left the old header still shows through.
  const uint8_t nextByte1 = (mBuffer.size() >= 2 ? mBuffer.front() : front)[1];
  out->time = mTimestamp = Self().BufferedTime(in, cut, nextByte1, out->time);
  return 0;
}

template <typename Format>
int SyncFramer<Format>::CutAcrossChunks(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  mFraming = true;
  // Decided once: a chunk read in here may turn the stream into a VBR one.
  const bool readsAhead = Format::kReadsAheadWhenVbr || !in.file->IsVBR(in.stream);
  while (readsAhead && mBuffer.size() <= 2 * mFrameSize) {
    const int status = feed.ReadIntoCarry(in, &mBuffer, 0, kReadOn, out);
    if (status != 0 || out->len == 0) return status;
    mBuffer.Append(out->len);
  }
  if (!Self().Cut(in, out)) return CutFromNextChunk(feed, in, out);
  mTimestamp = out->time;
  return 0;
}

template <typename Format>
int SyncFramer<Format>::CutFromNextChunk(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  const int status = feed.ReadIntoCarry(in, &mBuffer, 0, kReadOn, out);
  if (status != 0) return status;
  mBuffer.Append(out->len);
  Self().Cut(in, out);
  mTimestamp = out->time;
  return 0;
}

template <typename Format>
int SyncFramer<Format>::SearchChunks(AudioFeed& feed, const STrackInput& in, SDelivery* out) {
  uint64_t searched = 0;
  uint32_t chunks = 0;
  // The search looks at the front although the new chunk may lie behind a few bytes kept; those drop out of the count.
  for (uint32_t read = out->len; !Self().Detect(in, mBuffer.front(), &out->len); read = out->len) {
    searched += read;
    if (searched > AVI_SYNC_SEARCH_BYTES || ++chunks >= AVI_SYNC_SEARCH_CHUNKS) {
      out->len = 0;  // the next call searches on from the next chunk
      return 1;
    }
    const int status = feed.ReadIntoCarry(in, &mBuffer, out->len, kSearch, out);
    if (status != 0) return status;
    if (out->len == 0) return 1;
  }
  mResync = false;
  return 0;
}

#endif  // ZU_PLUGIN_SYNC_FRAMER_H_
