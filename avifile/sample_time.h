#ifndef ZU_AVIFILE_SAMPLE_TIME_H_
#define ZU_AVIFILE_SAMPLE_TIME_H_

#include <cstdint>

#include "avifile/format_fields.h"
#include "avifile/stream_table.h"
#include "base/checked_math.h"
#include "zu_parser_avi/stream_types.h"

// Positions and counts as times, in milliseconds from the start of the movie. Delivery divides in double; a seek
// converts in single precision and has its own formulas.

/// Time of entry or chunk `index` of a stream with a constant number of them per second. A product beyond 32 bits ends
/// the process.
inline uint32_t IndexTime(const SAVIStream* record, uint32_t index) {
  return ToTimeMs(CheckedMul<uint32_t>(index, 1000u) / static_cast<double>(record->fFramePerSec));
}

/// Whether each chunk of an audio stream stands for one span of time, by its header, format or the chunks read so far.
inline bool IsTimedByIndex(const StreamTable& streams, int stream, const SAVIStream* record) {
  return IsVbrByHeader(record) || streams.IsVBR(stream);
}

inline bool IsAac(uint32_t streamType) {
  switch (streamType) {
    case STREAM_TYPE_AAC:
    case STREAM_TYPE_AAC_RAW:
      return true;
    default:
      return false;
  }
}

/// Time of the next chunk of an audio stream.
/// @param byIndex      whether each chunk stands for a span of time; AAC's always do.
/// @param index        chunks before it. @param bytesBefore  their bytes.
/// @param ac3BitRate   bit/s that a frame of the stream told; 0: the format's byte rate counts.
inline uint32_t AudioTime(const SAVIStream* record, bool byIndex, uint32_t index, uint64_t bytesBefore,
                          uint32_t ac3BitRate) {
  if (!record->m_pStrh || !record->m_pStrf) return 0;
  if (byIndex || IsAac(record->nStreamType)) return IndexTime(record, index);
  const double bytes = static_cast<double>(bytesBefore);
  return ToTimeMs(ac3BitRate ? bytes * 8.0 * 1000.0 / ac3BitRate : bytes / (AvgBytesPerSec(record) / 1000.0));
}

/// Length of a movie as a stream's header states it; its dwRate is not 0.
inline uint32_t PlayTimeOfHeader(const SAVIStreamHeader& strh) {
  return Truncate<uint32_t>(static_cast<double>(strh.dwLength) * strh.dwScale / strh.dwRate * 1000.0);
}

/// Length of a movie of `frames` frames.
inline uint32_t PlayTimeOfFrames(uint64_t frames, uint32_t microSecPerFrame) {
  return Truncate<uint32_t>(static_cast<double>(frames) * microSecPerFrame / 1000.0);
}

#endif  // ZU_AVIFILE_SAMPLE_TIME_H_
