#define LOG_TAG "AVIFileParser"
#include "avifile/split_picture_joiner.h"

#include <algorithm>
#include <cstring>

#include "base/bytes.h"
#include "base/checked_math.h"
#include "base/limits.h"
#include "base/log.h"

namespace {

constexpr uint8_t kPictureStart = 0x00;    // ISO/IEC 11172-2, 13818-2: picture_start_code
constexpr uint8_t kSequenceHeader = 0xB3;  // sequence_header_code
constexpr uint32_t kProbeBytes = 5;

bool StartsPictureOrSequence(const uint8_t* bytes, int count) {
  if (count < 4 || bytes[0] != 0 || bytes[1] != 0 || bytes[2] != 1) return false;
  return bytes[3] == kPictureStart || bytes[3] == kSequenceHeader;
}

}  // namespace

int SplitPictureJoiner::Check(const SAVIStream* record, SChunkRead* read) {
  if (m_bSplitChecked) return AVI_OK;
  int chunks = 0;
  int starts = 0;
  for (uint32_t i = 0; i < std::min(AVI_SPLIT_PROBE, IndexCount(record)); ++i) {
    const SIndexEntry& entry = record->pIndex->aIdx[i];
    if (ChunkSize(entry) == 0) continue;
    ++chunks;
    m_File.Seek(entry.qwOffset);
    uint8_t head[kProbeBytes];
    const int nRead = m_File.Read(head, kProbeBytes);
    if (nRead < 0) return FailedChunkRead(nRead, read);
    if (StartsPictureOrSequence(head, nRead)) ++starts;
  }
  if (chunks != starts) {
    if (!m_pSplitBuf) m_pSplitBuf = AllocZeroed<uint8_t>(AVI_SPLIT_BYTES);
    if (!m_pSplitBuf) {
      read->nRead = 0;
      return AVI_OUT_OF_MEMORY;
    }
    m_bSplitVideo = true;
    AVI_LOGV("[GetNextData] MPEG2 split video stream, CheckCnt:%d, CheckStartCnt:%d", chunks, starts);
  }
  m_bSplitChecked = true;
  return AVI_OK;
}

int SplitPictureJoiner::Read(SAVIStream* record, const SIndexEntry& entry, SChunkRead* read) {
  const uint32_t chunkSize = ChunkSize(entry);
  const uint32_t before = record->dwCurrIdx;
  record->dwCurrIdx = CheckedAdd<uint32_t>(before, 1u);
  if (chunkSize > AVI_SPLIT_BYTES - m_nSplitBufLen) {
    AVI_LOGE("[GetNextData] split video buffer full, dropped:%ld, dwChunkSize:%ld", static_cast<long>(m_nSplitBufLen),
             static_cast<long>(chunkSize));
    DropFront(m_nSplitBufLen);
    if (chunkSize > AVI_SPLIT_BYTES) {
      read->nRead = read->nTimeStamp = 0;
      return AVI_OK;
    }
  }
  m_File.Seek(entry.qwOffset);
  const int nRead = m_File.Read(m_pSplitBuf.get() + m_nSplitBufLen, chunkSize);
  if (nRead < 0) {
    record->dwCurrIdx = before;
    return FailedChunkRead(nRead, read);
  }
  m_nSplitBufLen += static_cast<uint32_t>(nRead);

  uint32_t start = 0;
  uint32_t end = m_nSplitBufLen;
  if (record->dwCurrIdx < IndexCount(record)) {
    const int32_t last = FindLastPicture();
    if (last < 0) {
      AVI_LOGE("[GetNextData] Can't find EndPosition, StartPosition:%d", m_nSplitStart);
      read->nRead = read->nTimeStamp = 0;
      return AVI_OK;
    }
    start = static_cast<uint32_t>(m_nSplitStart);
    end = static_cast<uint32_t>(last);
  }

  const uint32_t size = end - start;
  const bool fits = size <= read->nBufLen;
  if (fits && size) std::memcpy(read->buf, m_pSplitBuf.get() + start, size);
  DropFront(end);
  if (!fits) return read->End();
  read->nRead = size;
  record->dwTotalBytes = CheckedAdd<uint64_t>(record->dwTotalBytes, size);
  return read->nRead != 0 ? AVI_OK : EmptyIndexedRead(chunkSize, read);
}

int32_t SplitPictureJoiner::FindLastPicture() {
  // Bytes searched before are searched again only where a start code may have been cut in two.
  ptrdiff_t from = m_nSplitScanned > 3 ? ptrdiff_t{m_nSplitScanned} - 3 : 0;
  const ByteSpan held{m_pSplitBuf.get(), m_nSplitBufLen};
  ptrdiff_t last = kNotFound;
  for (ptrdiff_t at; (at = FindStartCode(held, kPictureStart, from, m_nSplitBufLen)) != kNotFound; from = at + 1) {
    if (m_nSplitStart < 0) {
      m_nSplitStart = static_cast<int32_t>(at);
    } else if (at > m_nSplitStart) {
      last = at;
    }
  }
  m_nSplitScanned = m_nSplitBufLen;
  return static_cast<int32_t>(last);
}

void SplitPictureJoiner::DropFront(uint32_t count) {
  m_nSplitBufLen -= count;
  if (m_nSplitBufLen) std::memmove(m_pSplitBuf.get(), m_pSplitBuf.get() + count, m_nSplitBufLen);
  m_nSplitScanned = 0;
  m_nSplitStart = -1;
}
