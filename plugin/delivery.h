#ifndef ZU_PLUGIN_DELIVERY_H_
#define ZU_PLUGIN_DELIVERY_H_

#include "avifile/avi_file_parser.h"
#include "zu_parser_avi/codec_ids.h"
#include "zu_parser_avi/track_info.h"

/// The track that a call of the host reads. Made where tracks are listed and selected; a call works with a copy, which
/// a selection made meanwhile does not change.
struct STrackInput {
  CAVIFileParser* file = nullptr;    ///< null once the parser is closed; there is no stream then
  int stream = -1;                   ///< stream number; -1: no such track
  const TrackInfo* track = nullptr;  ///< the stream's record; null without one

  uint32_t Codec() const { return track ? track->nCodecId : 0; }
};

/// What one delivery call is given and gives back.
struct SDelivery {
  unsigned char* buf;  ///< the caller's memory of `maxLen` bytes; written from its start, never kept
  uint32_t maxLen;
  uint32_t len;   ///< bytes delivered
  uint64_t time;  ///< milliseconds; as wide as the host's word, which comes back whole where no time is found
};

/// A host's 64-bit length as the 32 bits that the inner operations take.
inline uint32_t ClampLength(unsigned long length) {
  return length > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(length);
}

/// Statuses that end an operation; the others become a success without data.
inline bool IsFatal(int status) {
  return status == AVI_OUT_OF_MEMORY || status == AVI_TOO_MANY_EMPTY_CHUNKS || status == AVI_IO_ERROR;
}

/// Hands the host what a read of the file came to: its time, or AVI_END_MARK as length and time for the end.
/// @return 0, also when nothing could be read for now; a fatal status.
inline int FinishRead(int status, uint32_t time, SDelivery* out) {
  out->time = time;
  if (status == AVI_OK) return 0;
  if (status == AVI_ERROR && out->len == 0) out->time = out->len = AVI_END_MARK;
  return IsFatal(status) ? status : 0;
}

#endif  // ZU_PLUGIN_DELIVERY_H_
