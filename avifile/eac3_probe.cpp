#define LOG_TAG "AVIFileParser"
#include <algorithm>

#include "avifile/ac3_header.h"
#include "avifile/avi_file_parser.h"
#include "avifile/riff_header.h"
#include "base/log.h"

namespace {

constexpr size_t kBsidByte = 5;  // ATSC A/52: bsid in its top five bits; 16 is E-AC-3

}  // namespace

int CAVIFileParser::CheckIsEAC3(int stream) {
  if (!Stream(stream)) {
    AVI_LOGE("CheckIsEAC3: Abnormal request [%d]/[%d]", stream, m_iStreamNum);
    return AVI_ERROR;
  }
  SAVIStream* record = Stream(stream);
  long first = 0;
  const int found = FindFirstTrackData(stream, &first);
  record->dwCurrOffset = static_cast<uint64_t>(first);
  if (found < 0 || first == 0) {
    AVI_LOGD("CheckIsEAC3: can not find track[%d] first data - [%d]", stream, found);
    return found;
  }
  m_pReader->AVI_fseek(first, 0);
  uint8_t head[kRiffHeaderBytes] = {};
  const int nRead = m_pReader->AVI_fread(head, kRiffHeaderBytes, 1);
  const uint32_t chunkId = LoadLe32(head);
  if (nRead < static_cast<int>(kRiffHeaderBytes) || !HasSuffix(chunkId, 'w', 'b')) {
    AVI_LOGE("CheckIsEAC3: track[%d] movi first data error[%u], read[%d]", stream, chunkId, nRead);
    return AVI_IO_ERROR;
  }
  if (IsAc3Sync(head + 8)) {
    m_pReader->AVI_fseek(-4, 1);
  } else if (const int status = SeekToAc3Sync(chunkId, LoadLe32(head + 4)); status != AVI_OK) {
    return status;
  }
  uint8_t frame[8] = {};
  const int frameRead = m_pReader->AVI_fread(frame, sizeof frame, 1);
  if (frameRead < 1) {
    AVI_LOGE("CheckIsEAC3: file read fail - [%d]", frameRead);
    return AVI_IO_ERROR;
  }
  return frame[kBsidByte] & 0x80 ? 1 : 0;
}

int CAVIFileParser::SeekToAc3Sync(uint32_t chunkId, uint32_t chunkSize) {
  uint64_t left = chunkSize > 4 ? chunkSize - 4 : 0;
  while (left >= 2) {
    uint8_t piece[AVI_PROBE_PIECE];
    const uint32_t size = static_cast<uint32_t>(std::min<uint64_t>(left, AVI_PROBE_PIECE));
    const int nRead = m_pReader->AVI_fread(piece, size, 1);
    if (nRead < 1) {
      AVI_LOGE("CheckIsEAC3: movi file read fail - [%d]", nRead);
      return AVI_IO_ERROR;
    }
    for (int i = 0; i + 1 < nRead; ++i) {
      if (!IsAc3Sync(piece + i)) continue;
      // As from a full piece: behind a shorter one this lands too early, and the test then sees other bytes.
      m_pReader->AVI_fseek(i - static_cast<long>(AVI_PROBE_PIECE), 1);
      return AVI_OK;
    }
    left -= static_cast<uint32_t>(nRead);
    if (left == 0 || nRead < 2) break;
    // One byte again, for a sync word cut in two.
    m_pReader->AVI_fseek(-1, 1);
    ++left;
  }
  AVI_LOGD("CheckIsEAC3: find syncword end");
  AVI_LOGE("CheckIsEAC3: can not find syncword - [%u][%u]", chunkId, chunkSize);
  return AVI_ERROR;
}
