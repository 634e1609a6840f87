#ifndef ZU_PLUGIN_AUDIO_FEED_H_
#define ZU_PLUGIN_AUDIO_FEED_H_

#include "plugin/carry_buffer.h"
#include "plugin/delivery.h"

/// The chunks of the selected audio track, for the framers and for codecs that need none. Owns the restart flag; relies
/// on the file's own cursor for everything else.
class AudioFeed {
 public:
  /// The next read is the first after open, a seek or a selection.
  void Restart() { mAudioRestart = true; }

  /// Reads one chunk into `out`. The end has AVI_END_MARK as length and time. Without a track: length 0, time 0.
  /// @return 0, also when nothing could be read for now, with length 0; a fatal status.
  inline int avi_parser_get_audio_data(const STrackInput& in, SDelivery* out);
  /// Delivers one chunk as it is. @return 0; AVI_END_OF_STREAM; a fatal status. The length is 0 unless it returns 0.
  int PullChunk(const STrackInput& in, SDelivery* out);
  /// Reads one chunk behind what `buffer` holds and `kept` bytes more; the caller appends it. `out` gets its length and
  /// time, while its memory stays untouched: at most `out->maxLen` bytes are read.
  /// @return 0; AVI_END_OF_STREAM after logging `endText`; a fatal status after logging `name`. The length is 0 then.
  int ReadIntoCarry(const STrackInput& in, CarryBuffer* buffer, size_t kept, const char* name, const char* endText,
                    SDelivery* out);

 private:
  // They retry empty reads and return the file's own status; a fatal one leaves the restart flag.
  // The inline ones are on the way of every unit, and defined in the body, which alone calls them.
  int ReadFirst(const STrackInput& in, SDelivery* out, uint32_t* time);
  static inline int ReadNext(const STrackInput& in, SDelivery* out, uint32_t* time);
  static inline int ReadChunk(const STrackInput& in, SDelivery* out, uint32_t* time);
  static int RetryNext(const STrackInput& in, SDelivery* out, uint32_t* time);

  bool mAudioRestart = true;
};

#endif  // ZU_PLUGIN_AUDIO_FEED_H_
