#define LOG_TAG "AVIFileParser"
#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"
#include "base/checked_math.h"
#include "base/log.h"

namespace {

double IndexTime(const SAVIStream* record) {
  return CheckedMul<uint32_t>(record->dwCurrIdx, 1000u) / static_cast<double>(record->fFramePerSec);
}

}  // namespace

bool CAVIFileParser::IsTimedByIndex(int stream, const SAVIStream* record) const {
  return IsVbrByHeader(record) || IsVBR(stream);
}

uint32_t CAVIFileParser::AudioTime(int stream, const SAVIStream* record) {
  if (!record->m_pStrh || !record->m_pStrf) return 0;
  if (IsTimedByIndex(stream, record)) return ToTimeMs(IndexTime(record));
  const double bytes = static_cast<double>(record->dwTotalBytes);
  const double byConstantRate = bytes / (AvgBytesPerSec(record) / 1000.0);
  switch (record->nStreamType) {
    case STREAM_TYPE_AC3: {
      const uint32_t bitRate = m_dwAC3BitRate;
      m_dwAC3BitRate = 0;  // a detected rate serves one read
      return ToTimeMs(bitRate ? bytes * 8.0 * 1000.0 / bitRate : byConstantRate);
    }
    case STREAM_TYPE_AAC:
    case STREAM_TYPE_AAC_RAW:
      return ToTimeMs(IndexTime(record));
    default:
      return ToTimeMs(byConstantRate);
  }
}

int CAVIFileParser::GetNextAudioData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                     unsigned int* piTimeStamp) {
  *piRead = 0;
  const SAVIStream* record = Stream(stream);
  if (!record) return EndOfData(piRead, piTimeStamp);
  *piTimeStamp = AudioTime(stream, record);
  return GetNextData(stream, buf, nBufLen, piRead, piTimeStamp);
}

int CAVIFileParser::GetFirstAudioData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                      unsigned int* piTimeStamp) {
  *piRead = 0;
  SAVIStream* record = Stream(stream);
  if (!record) return EndOfData(piRead, piTimeStamp);
  if (!IsIndexed()) {
    if (!m_pMovi) return AVI_ERROR;
    if (record->dwCurrOffset == 0) {
      unsigned int first = 0;
      const int status = FindFirstData(stream, &first);
      record->dwCurrOffset = first;
      if (status == AVI_ERROR) return status;
    }
  }
  return GetNextAudioData(stream, buf, nBufLen, piRead, piTimeStamp);
}
