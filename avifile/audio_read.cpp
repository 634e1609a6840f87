#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"
#include "base/checked_math.h"

namespace {

double IndexTime(const SAVIStream* record, uint32_t index) {
  return CheckedMul<uint32_t>(index, 1000u) / static_cast<double>(record->fFramePerSec);
}

}  // namespace

bool CAVIFileParser::IsTimedByIndex(int stream, const SAVIStream* record) const {
  return IsVbrByHeader(record) || IsVBR(stream);
}

uint32_t CAVIFileParser::AudioTime(int stream, uint32_t index, uint64_t bytesBefore, uint32_t ac3BitRate) const {
  const SAVIStream* record = Stream(stream);
  if (!record || !record->m_pStrh || !record->m_pStrf) return 0;
  const bool aac = record->nStreamType == STREAM_TYPE_AAC || record->nStreamType == STREAM_TYPE_AAC_RAW;
  if (aac || IsTimedByIndex(stream, record)) return ToTimeMs(IndexTime(record, index));
  const double bytes = static_cast<double>(bytesBefore);
  return ToTimeMs(ac3BitRate ? bytes * 8.0 * 1000.0 / ac3BitRate : bytes / (AvgBytesPerSec(record) / 1000.0));
}

uint32_t CAVIFileParser::EntryTime(int stream, uint32_t index, uint64_t bytesBefore) const {
  const SAVIStream* record = Stream(stream);
  if (!record) return 0;
  return IsAudioStreamType(record->nStreamType) ? AudioTime(stream, index, bytesBefore, 0) : VideoTime(record, index);
}

int CAVIFileParser::GetNextAudioData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                     unsigned int* piTimeStamp) {
  *piRead = 0;
  const SAVIStream* record = Stream(stream);
  if (!record) return EndOfData(piRead, piTimeStamp);
  const bool byDetectedRate =
      record->nStreamType == STREAM_TYPE_AC3 && record->m_pStrh && record->m_pStrf && !IsTimedByIndex(stream, record);
  *piTimeStamp = AudioTime(stream, record->dwCurrIdx, record->dwTotalBytes, byDetectedRate ? m_dwAC3BitRate : 0);
  if (byDetectedRate) m_dwAC3BitRate = 0;  // it serves one read
  return GetNextData(stream, buf, nBufLen, piRead, piTimeStamp);
}

int CAVIFileParser::GetFirstAudioData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                      unsigned int* piTimeStamp) {
  *piRead = 0;
  SAVIStream* record = Stream(stream);
  if (!record) return EndOfData(piRead, piTimeStamp);
  if (!IsIndexed()) {
    if (!m_pMovi) return AVI_ERROR;
    if (PlaceCursor(stream, record) == AVI_ERROR) return AVI_ERROR;
  }
  return GetNextAudioData(stream, buf, nBufLen, piRead, piTimeStamp);
}
