#ifndef ZU_PLUGIN_AC3_FRAMER_H_
#define ZU_PLUGIN_AC3_FRAMER_H_

#include "plugin/sync_framer.h"

/// Frames of AC-3 and E-AC-3. Owns nothing of its own.
class Ac3Framer final : public SyncFramer<Ac3Framer> {
 public:
  /// As GetSyncFrame.
  int GetAC3AudioData(AudioFeed& feed, const STrackInput& in, SDelivery* out);

 private:
  // What the framer needs of its format, defined in the body that alone calls it; inline as in the framer.
  friend SyncFramer;
  static constexpr const char* kName = "GetAC3AudioData";
  static constexpr const char* kEndText = "GetAC3AudioData mAudioEOS = OMX_TRUE ";
  static constexpr bool kReadsAheadWhenVbr = true;
  [[gnu::always_inline]] inline bool Detect(const STrackInput& in, unsigned char* buf, uint32_t* len);
  [[gnu::always_inline]] inline bool Cut(const STrackInput& in, SDelivery* out);
  inline uint64_t BufferedTime(const STrackInput& in, bool cut, uint8_t nextByte1, uint64_t hostTime) const;

  enum class ESync { kFound, kTooShort, kNone };

  /// Moves `*start` to the first acceptable sync word in [*start, end) of `buf`. kTooShort: fewer than 4 bytes are
  /// there; kNone: they were zeroed.
  [[gnu::always_inline]] inline ESync FindSyncWord(const STrackInput& in, unsigned char* buf, uint32_t* start,
                                                   uint32_t end);
  /// The same for the `held` bytes from `front` on, at whose very front there is none to take; `*start` grows by what
  /// was skipped.
  ESync SearchSyncWord(const STrackInput& in, unsigned char* front, uint32_t held, uint32_t* start);
  /// Takes the frame size from the header at `sync`, of which `held` bytes are there, at least 5, in data that begins
  /// at `front`.
  inline bool TakeHeader(const STrackInput& in, const unsigned char* front, const unsigned char* sync, uint64_t held);
  /// Size of an E-AC-3 frame, and the bit rate for the time of the file's next read.
  void TakeEAC3Header(const STrackInput& in, const unsigned char* front, uint8_t rateCode, bool swapped);
};

#endif  // ZU_PLUGIN_AC3_FRAMER_H_
