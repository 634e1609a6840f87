#ifndef ZU_PLUGIN_AC3_FRAMER_H_
#define ZU_PLUGIN_AC3_FRAMER_H_

#include "plugin/sync_framer.h"

/// Frames of AC-3 and E-AC-3. Owns nothing of its own.
class Ac3Framer final : public SyncFramer {
 public:
  Ac3Framer() : SyncFramer(kTexts, true) {}

  int GetAC3AudioData(AudioFeed& feed, const STrackInput& in, SDelivery* out) { return GetSyncFrame(feed, in, out); }

 private:
  static constexpr STexts kTexts{"GetAC3AudioData", "GetAC3AudioData mAudioEOS = OMX_TRUE "};

  enum class ESync { kFound, kTooShort, kNone };

  bool Detect(const STrackInput& in, unsigned char* buf, uint32_t* len) override {
    return DetectedAC3StartCode(in, buf, len);
  }
  bool Cut(const STrackInput& in, SDelivery* out) override { return GetAC3Data(in, out); }
  uint64_t BufferedTime(const STrackInput& in, bool cut, uint8_t nextByte1, uint64_t hostTime) const override;
  bool DetectedAC3StartCode(const STrackInput& in, unsigned char* buf, uint32_t* len);
  bool GetAC3Data(const STrackInput& in, SDelivery* out);
  /// Moves `*start` to the first acceptable sync word in [*start, end) of `buf`. kTooShort: fewer than 4 bytes are
  /// there; kNone: they were zeroed.
  ESync FindSyncWord(const STrackInput& in, unsigned char* buf, uint32_t* start, uint32_t end);
  /// Takes the frame size from the header at `sync`, of which `held` bytes are there, in data that begins at `front`.
  bool TakeHeader(const STrackInput& in, const unsigned char* front, const unsigned char* sync, uint64_t held);
  /// Size of an E-AC-3 frame, and the bit rate for the time of the file's next read.
  void TakeEAC3Header(const STrackInput& in, const unsigned char* front, uint8_t rateCode, bool swapped);
};

#endif  // ZU_PLUGIN_AC3_FRAMER_H_
