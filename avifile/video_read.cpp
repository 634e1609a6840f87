#define LOG_TAG "AVIFileParser"
#include <algorithm>
#include <cstring>

#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"
#include "avifile/video_bitstream.h"
#include "base/bytes.h"
#include "base/checked_math.h"
#include "base/log.h"

void CAVIFileParser::SkipToKeyFrame(SAVIStream* record) {
  for (uint32_t i = record->dwCurrIdx; const SIndexEntry* entry = IndexEntry(record, i); ++i) {
    if (!IsKeyFrame(*entry)) continue;
    record->dwCurrIdx = i;
    return;
  }
}

uint32_t CAVIFileParser::VideoTime(const SAVIStream* record, uint32_t index) {
  const uint32_t scaled = CheckedMul<uint32_t>(index, 1000u);
  return ToTimeMs(scaled / static_cast<double>(record->fFramePerSec));
}

int CAVIFileParser::GetNextVideoData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead, bool keyOnly,
                                     unsigned int* piTimeStamp) {
  *piRead = 0;
  SAVIStream* record = Stream(stream);
  if (!record) return EndOfData(piRead, piTimeStamp);
  keyOnly = keyOnly && IsIndexed();
  if (keyOnly) SkipToKeyFrame(record);
  *piTimeStamp = VideoTime(record, record->dwCurrIdx);
  const int status = GetNextData(stream, buf, nBufLen, piRead, piTimeStamp);
  if (*piRead == 0) return status;

  uint8_t* data = reinterpret_cast<uint8_t*>(buf);
  if (record->nStreamType == STREAM_TYPE_H264) {
    if (!LengthsToStartCodes(data, *piRead)) {
      AVI_LOGE("CheckAVCStartCode error, piRead=%ld", static_cast<long>(*piRead));
      *piRead = 0;
    }
    return status;
  }
  if (!MayHaveDamagedVol(record)) return status;

  const std::span<uint8_t> frame{data, *piRead};
  const ptrdiff_t vol = FindDamagedVol(frame);
  if (vol == kNotFound) return status;
  AVI_LOGE("VOL Header Corrupted!! Remove VOL header");
  const ptrdiff_t vop = FindStartCode(frame, kVopStartCode, vol, static_cast<ptrdiff_t>(frame.size()) - 4);
  if (vop != kNotFound) {
    *piRead -= static_cast<unsigned int>(vop);
    std::memmove(data, data + vop, *piRead);
    return status;
  }
  if (keyOnly) SkipToKeyFrame(record);
  *piTimeStamp = VideoTime(record, record->dwCurrIdx);
  return GetNextData(stream, buf, nBufLen, piRead, piTimeStamp);
}

bool CAVIFileParser::MayHaveDamagedVol(const SAVIStream* record) const {
  const uint32_t type = record->nStreamType;
  if (type != STREAM_TYPE_DIVX5 && type != STREAM_TYPE_DIVX && type != STREAM_TYPE_DXMF) return false;
  if (m_iIndexType != IDXTYPE_OLD || record->dwCurrIdx == 0) return false;
  const SIndexEntry* justRead = IndexEntry(record, record->dwCurrIdx - 1);
  return justRead && IsKeyFrame(*justRead);
}

int CAVIFileParser::GetFirstVideoData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                      bool /*keyOnly*/, unsigned int* piTimeStamp) {
  *piRead = 0;
  SAVIStream* record = Stream(stream);
  if (!record) return EndOfData(piRead, piTimeStamp);
  if (!IsIndexed()) {
    if (!m_pMovi) return AVI_ERROR;
    if (PlaceCursor(stream, record) != AVI_OK) return AVI_ERROR;
  }
  const int status = GetNextVideoData(stream, buf, nBufLen, piRead, true, piTimeStamp);
  const ByteSpan frame{reinterpret_cast<const uint8_t*>(buf), *piRead};
  const bool intra = record->nStreamType == STREAM_TYPE_THEORA ? IsTheoraIntra(frame)
                     : record->nStreamType == STREAM_TYPE_H263 ? IsH263Intra(frame)
                                                               : true;
  if (!intra) *piRead = 0;
  return status;
}
