#ifndef ZU_PLUGIN_AUDIO_FEED_H_
#define ZU_PLUGIN_AUDIO_FEED_H_

#include <algorithm>

#include "plugin/carry_buffer.h"
#include "plugin/delivery.h"

/// The messages of an operation that reads chunks.
struct SFeedTexts {
  const char* name;     ///< of the operation, logged with a failed read
  const char* endText;  ///< logged at the end
};

/// The chunks of the selected audio track, for the framers and for codecs that need none. Owns the restart flag; relies
/// on the file's own cursor for everything else.
class AudioFeed {
 public:
  /// The next read is the first after open, a seek or a selection.
  void Restart() { mAudioRestart = true; }

  /// Delivers one chunk as it is. Without a track: length 0, time 0. @return 0, also when nothing could be read for
  /// now, with length 0; AVI_END_OF_STREAM; a fatal status. The length is 0 unless it returns 0.
  int PullChunk(const STrackInput& in, SDelivery* out);
  /// Reads one chunk of a track into `room` bytes at `buf`; `out` gets its length and time alone.
  /// @return 0; AVI_END_OF_STREAM and a fatal status, which are logged. The length is 0 then.
  inline int ReadChunk(const STrackInput& in, unsigned char* buf, uint32_t room, const SFeedTexts& texts,
                       SDelivery* out);
  /// The same behind what `buffer` holds and `kept` bytes more, at most `out->maxLen` bytes; the caller appends it.
  // Inline, for a call that saves registers would cost as much again.
  [[gnu::always_inline]] inline int ReadIntoCarry(const STrackInput& in, CarryBuffer* buffer, size_t kept,
                                                  const SFeedTexts& texts, SDelivery* out);

 private:
  // Each reads one chunk of a track into `room` bytes at `buf`; `out` gets its length and time alone. The end has
  // AVI_END_MARK as both. They return 0, also when nothing could be read for now, with length 0; a fatal status.
  inline int avi_parser_get_audio_data(const STrackInput& in, unsigned char* buf, uint32_t room, SDelivery* out);
  /// Retries empty reads; a fatal status leaves the restart flag.
  [[gnu::cold]] int ReadFirst(const STrackInput& in, unsigned char* buf, uint32_t room, SDelivery* out);
  /// The same behind a read that came with `status` and `time` yet without a chunk.
  [[gnu::cold]] static int RetryNext(const STrackInput& in, int status, uint32_t time, unsigned char* buf,
                                     uint32_t room, SDelivery* out);
  /// The result of a read that ended the track or failed.
  [[gnu::cold]] static int EndRead(int status, const SFeedTexts& texts, SDelivery* out);

  bool mAudioRestart = true;
};

inline int AudioFeed::avi_parser_get_audio_data(const STrackInput& in, unsigned char* buf, uint32_t room,
                                                SDelivery* out) {
  if (mAudioRestart) return ReadFirst(in, buf, room, out);
  uint32_t length = 0, time = static_cast<uint32_t>(out->time);
  const int status = in.file->GetNextAudioData(in.stream, reinterpret_cast<char*>(buf), room, &length, &time);
  out->len = length;
  if (status != AVI_OK || length == 0) return RetryNext(in, status, time, buf, room, out);
  out->time = time;
  return 0;
}

inline int AudioFeed::ReadChunk(const STrackInput& in, unsigned char* buf, uint32_t room, const SFeedTexts& texts,
                                SDelivery* out) {
  const int status = avi_parser_get_audio_data(in, buf, room, out);
  return status < 0 || out->time == AVI_END_MARK ? EndRead(status, texts, out) : 0;
}

inline int AudioFeed::ReadIntoCarry(const STrackInput& in, CarryBuffer* buffer, size_t kept, const SFeedTexts& texts,
                                    SDelivery* out) {
  unsigned char* const tail = buffer->Tail() + kept;
  const uint32_t space = static_cast<uint32_t>(buffer->space() - kept);
  const int status = ReadChunk(in, tail, std::min(out->maxLen, space), texts, out);
  if (status == 0) buffer->MarkWritten(kept + out->len);
  return status;
}

#endif  // ZU_PLUGIN_AUDIO_FEED_H_
