#ifndef ZU_AVIFILE_FORMAT_FIELDS_H_
#define ZU_AVIFILE_FORMAT_FIELDS_H_

#include "avifile/mpeg_audio_header.h"
#include "avifile/records.h"
#include "base/bytes.h"

// Fields of a stream's format and header. A stream without one has zeros: the payload is at least AVI_MIN_FORMAT bytes.

inline uint16_t StrfU16(const SAVIStream* stream, size_t at) {
  return stream && stream->m_pStrf ? LoadLe16(stream->m_pStrf + at) : uint16_t{0};
}
inline uint32_t StrfU32(const SAVIStream* stream, size_t at) {
  return stream && stream->m_pStrf ? LoadLe32(stream->m_pStrf + at) : 0;
}

// WAVEFORMATEX, and the head of WAVEFORMATEXTENSIBLE.
constexpr size_t kWaveFormatTag = 0, kWaveChannels = 2, kWaveSamplesPerSec = 4, kWaveAvgBytesPerSec = 8,
                 kWaveBlockAlign = 12, kWaveBitsPerSample = 14, kWaveCbSize = 16, kWaveHeaderBytes = 18,
                 kWaveValidBits = 18, kWaveSubFormat = 24;
inline uint32_t SamplesPerSec(const SAVIStream* stream) { return StrfU32(stream, kWaveSamplesPerSec); }
inline uint32_t AvgBytesPerSec(const SAVIStream* stream) { return StrfU32(stream, kWaveAvgBytesPerSec); }
inline uint32_t BlockAlign(const SAVIStream* stream) { return StrfU16(stream, kWaveBlockAlign); }

// BITMAPINFOHEADER.
constexpr size_t kBitmapWidth = 4, kBitmapHeight = 8, kBitmapCompression = 16, kBitmapHeaderBytes = 40;

inline uint32_t SampleSize(const SAVIStream* stream) {
  return stream && stream->m_pStrh ? stream->m_pStrh->dwSampleSize : 0;
}
inline bool HasKind(const SAVIStream* stream, uint32_t fccType) {
  return stream && stream->m_pStrh && stream->m_pStrh->fccType == fccType;
}
constexpr uint32_t kFccVideo = FourCC("vids");
constexpr uint32_t kFccAudio = FourCC("auds");

/// Whether one chunk stands for one span of time, as far as the stream's header tells: a dwScale of
/// 1152, the samples of an MPEG audio frame, or samples of varying size at the sample rate.
inline bool IsVbrByHeader(const SAVIStream* stream) {
  if (!stream->m_pStrh) return false;
  return stream->m_pStrh->dwScale == 1152 ||
         (stream->m_pStrh->dwRate == SamplesPerSec(stream) && SampleSize(stream) == 0);
}

#endif  // ZU_AVIFILE_FORMAT_FIELDS_H_
