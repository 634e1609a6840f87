#define LOG_TAG "AVIFileParser"
#include "avifile/old_index_reader.h"

#include <algorithm>

#include "avifile/riff_header.h"
#include "base/bytes.h"
#include "base/limits.h"
#include "base/log.h"

namespace {

constexpr uint32_t kKeyFrameFlag = 0x10;

struct SRawEntry {
  uint32_t ckid, dwFlags, dwChunkOffset, dwChunkLength;
};

SRawEntry DecodeEntry(const uint8_t* raw) {
  return {LoadLe32(raw), LoadLe32(raw + 4), LoadLe32(raw + 8), LoadLe32(raw + 12)};
}

}  // namespace

int OldIndexReader::ParseChunkOldIdx(uint32_t offset, uint32_t size) {
  if (m_Movie.streams.All().empty()) {
    AVI_LOGE("ERROR! ParseChunk() 'idx1' not valid");
    return 0;
  }
  if (m_Movie.IsIndexed()) {
    AVI_LOGE("INFO! ParseChunk() 'idx1' not parsed(new index already parsed)");
    return 0;
  }
  if (size < AVI_OLD_ENTRY_BYTES || !m_Movie.m_pMovi) {
    AVI_LOGE("ERROR! ParseChunk() 'idx1' not valid");
    return 0;
  }
  const uint32_t entries = size / AVI_OLD_ENTRY_BYTES;
  const uint64_t room = m_File.Rest(offset, AVI_MAX_STREAM_TABLE) / AVI_OLD_ENTRY_BYTES;
  if (!Allocate(std::min<uint64_t>(entries, room))) return 0;

  for (; m_nPass < (m_Movie.streams.DeclaredCount() + 1) / 2; ++m_nPass) {
    if (!ReadPass(offset, entries)) {
      Abandon();
      return 0;
    }
  }
  m_Movie.m_iIndexType = IDXTYPE_OLD;
  return 1;
}

bool OldIndexReader::Allocate(uint64_t capacity) {
  m_Movie.streams.FreeIndexes();  // an OpenDML index that failed may have left some
  for (SAVIStream& stream : m_Movie.streams.All()) {
    stream.pIndex = AllocZeroed<SIndex>(1).release();  // the stream's
    if (!stream.pIndex) {
      AVI_LOGE("ERROR!!! AVI index malloc fail 1 ");
      m_Movie.streams.FreeIndexes();
      return false;
    }
  }
  m_aEntries = AllocZeroed<SIndexEntry>(capacity).release();  // freed with stream 0's index
  if (!m_aEntries) {
    m_Movie.streams.FreeIndexes();
    AVI_LOGE("ERROR!!! AVI index malloc fail 3");
    return false;
  }
  m_Movie.streams.ShareEntries(m_aEntries);
  m_nBack = static_cast<int64_t>(capacity) - 1;

  m_pBlock = AllocZeroed<uint8_t>(size_t{AVI_OLD_INDEX_BLOCK} * AVI_OLD_ENTRY_BYTES);
  if (!m_pBlock) {
    m_Movie.streams.FreeIndexes();
    AVI_LOGE("ERROR!!! AVI index malloc 4");
    return false;
  }
  return true;
}

bool OldIndexReader::ReadPass(uint32_t offset, uint32_t entries) {
  m_File.Seek(uint64_t{offset});
  m_Movie.streams.At(2 * m_nPass)->pIndex->aIdx = m_aEntries + m_nFront;
  for (uint32_t left = entries; left > 0;) {
    const uint32_t count = std::min(left, AVI_OLD_INDEX_BLOCK);
    const int nRead = m_File.Read(m_pBlock.get(), count * AVI_OLD_ENTRY_BYTES);
    if (nRead < 1) return false;
    AddBlock(static_cast<uint32_t>(nRead) / AVI_OLD_ENTRY_BYTES);
    left -= count;
  }
  FinishPass();
  return true;
}

void OldIndexReader::AddBlock(uint32_t count) {
  const uint8_t* const block = m_pBlock.get();
  if (!m_bBaseKnown) {
    // Offsets that do not reach the first chunk are relative, and the first entry is the first chunk.
    const uint64_t movi = static_cast<uint64_t>(m_Movie.m_pMovi->llOffset);
    const uint32_t first = DecodeEntry(block).dwChunkOffset;
    m_qwBase = first <= movi ? movi + 8 - first : 0;
    m_bBaseKnown = true;
  }
  const int even = 2 * m_nPass;
  for (uint32_t i = 0; i < count; ++i) {
    const SRawEntry raw = DecodeEntry(block + size_t{i} * AVI_OLD_ENTRY_BYTES);
    if (raw.ckid == 0) continue;
    if (raw.ckid == FourCC("JUNK") || raw.ckid == FourCC("RES1")) m_Movie.m_bIdxJunk = true;
    const int number = StreamNumber(raw.ckid);
    if (number < even || number > even + 1 || number >= m_Movie.streams.DeclaredCount()) continue;
    if (m_nFront > m_nBack) continue;  // the chunk claims more than the file holds

    SAVIStream& stream = *m_Movie.streams.At(number);
    SIndex& index = *stream.pIndex;
    // The id comes from the block's entry of the pass's number, not from this one; players rely on what it says.
    if (index.dwIdxNum == 0) {
      stream.dwChunkId = DecodeEntry(block + static_cast<size_t>(m_nPass) * AVI_OLD_ENTRY_BYTES).ckid;
    }
    ++index.dwIdxNum;
    index.dwMaxChunkSize = std::max(index.dwMaxChunkSize, raw.dwChunkLength);
    SIndexEntry& entry = m_aEntries[number == even ? m_nFront++ : m_nBack--];
    entry.qwOffset = m_qwBase + raw.dwChunkOffset;
    entry.dwSize = raw.dwFlags & kKeyFrameFlag ? raw.dwChunkLength & kChunkSizeMask : raw.dwChunkLength | kNotKeyFrame;
  }
}

void OldIndexReader::FinishPass() {
  const SAVIStream* odd = m_Movie.streams.At(2 * m_nPass + 1);
  if (!odd) return;
  SIndex& index = *odd->pIndex;
  index.aIdx = m_aEntries + m_nBack + 1;
  std::reverse(index.aIdx, index.aIdx + index.dwIdxNum);
}

void OldIndexReader::Abandon() {
  AVI_LOGE("[AVI] without full index -> index_none setting : %d", m_nPass);
  m_Movie.m_iIndexType = IDXTYPE_NONE;
  for (int i = 1; i <= 2 * m_nPass; ++i) {
    SIndex& index = *m_Movie.streams.At(i)->pIndex;
    if (!index.aIdx) continue;
    index.aIdx = nullptr;
    AVI_LOGV("index to null - m_aStream[%d].pIndex->aIdx", i);
  }
}
