#define LOG_TAG "AVIFileParser"
#include "avifile/old_index_reader.h"

#include <algorithm>

#include "avifile/riff_header.h"
#include "base/bytes.h"
#include "base/limits.h"
#include "base/log.h"

namespace {

constexpr uint32_t kKeyFrameFlag = 0x10;

// Positions in a raw entry.
constexpr size_t kChunkId = 0, kFlags = 4, kChunkOffset = 8, kChunkLength = 12;

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
  const int passes = (m_Movie.streams.DeclaredCount() + 1) / 2;
  // Each pass looks at the block's entry of its number, read or not.
  const uint32_t block = std::max(std::min(entries, AVI_OLD_INDEX_BLOCK), static_cast<uint32_t>(passes));
  if (!Allocate(std::min<uint64_t>(entries, room), block)) return 0;

  for (; m_nPass < passes; ++m_nPass) {
    if (!ReadPass(offset, entries)) {
      Abandon();
      return 0;
    }
  }
  m_Movie.m_iIndexType = IDXTYPE_OLD;
  return 1;
}

bool OldIndexReader::Allocate(uint64_t capacity, uint32_t block) {
  m_Movie.streams.FreeIndexes();  // an OpenDML index that failed may have left some
  for (SAVIStream& stream : m_Movie.streams.All()) {
    stream.pIndex = AllocZeroed<SIndex>(1).release();  // the stream's
    if (!stream.pIndex) {
      AVI_LOGE("ERROR!!! AVI index malloc fail 1 ");
      m_Movie.streams.FreeIndexes();
      return false;
    }
  }
  m_pFront = AllocZeroed<SIndexEntry>(capacity).release();  // freed with stream 0's index
  if (!m_pFront) {
    m_Movie.streams.FreeIndexes();
    AVI_LOGE("ERROR!!! AVI index malloc fail 3");
    return false;
  }
  m_Movie.streams.ShareEntries(m_pFront);
  m_pBack = m_pFront + capacity;

  m_pBlock = AllocZeroed<uint8_t>(size_t{block} * AVI_OLD_ENTRY_BYTES);
  if (!m_pBlock) {
    m_Movie.streams.FreeIndexes();
    AVI_LOGE("ERROR!!! AVI index malloc 4");
    return false;
  }
  return true;
}

bool OldIndexReader::ReadPass(uint32_t offset, uint32_t entries) {
  m_File.Seek(uint64_t{offset});
  m_Movie.streams.At(2 * m_nPass)->pIndex->aIdx = m_pFront;
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
    const uint32_t first = LoadLe32(block + kChunkOffset);
    m_qwBase = first <= movi ? movi + 8 - first : 0;
    m_bBaseKnown = true;
  }
  const int even = 2 * m_nPass;
  const uint32_t streams = m_Movie.streams.At(even + 1) ? 2 : 1;
  // Nothing in the loop is a member: the compiler could not keep it in a register.
  const uint64_t base = m_qwBase;
  SIndexEntry* front = m_pFront;
  SIndexEntry* back = m_pBack;
  uint32_t maxSize[2] = {};
  bool junk = false;
  const uint8_t* const end = block + size_t{count} * AVI_OLD_ENTRY_BYTES;
  for (const uint8_t* raw = block; raw != end; raw += AVI_OLD_ENTRY_BYTES) {
    const uint32_t id = LoadLe32(raw + kChunkId);
    const uint32_t which = static_cast<uint32_t>(StreamNumber(id) - even);
    if (which >= streams) {
      junk |= id == FourCC("JUNK") || id == FourCC("RES1");
      continue;
    }
    if (front == back) continue;  // the chunk claims more than the file holds
    const uint32_t length = LoadLe32(raw + kChunkLength);
    const uint32_t notKey = LoadLe32(raw + kFlags) & kKeyFrameFlag ? 0 : kNotKeyFrame;
    SIndexEntry& entry = which == 0 ? *front++ : *--back;
    entry.qwOffset = base + LoadLe32(raw + kChunkOffset);
    entry.dwSize = (length & kChunkSizeMask) | notKey;
    maxSize[which] = std::max(maxSize[which], length);
  }
  if (junk) m_Movie.m_bIdxJunk = true;
  CountEntries(even, front - m_pFront, maxSize[0]);
  CountEntries(even + 1, m_pBack - back, maxSize[1]);
  m_pFront = front;
  m_pBack = back;
}

void OldIndexReader::CountEntries(int number, ptrdiff_t added, uint32_t maxSize) {
  if (added == 0) return;
  SAVIStream& stream = *m_Movie.streams.At(number);
  SIndex& index = *stream.pIndex;
  // The id comes from the block's entry of the pass's number, not from the stream's first one; players rely on what it
  // says.
  if (index.dwIdxNum == 0) {
    stream.dwChunkId = LoadLe32(m_pBlock.get() + static_cast<size_t>(m_nPass) * AVI_OLD_ENTRY_BYTES + kChunkId);
  }
  index.dwIdxNum += static_cast<uint32_t>(added);
  index.dwMaxChunkSize = std::max(index.dwMaxChunkSize, maxSize);
}

void OldIndexReader::FinishPass() {
  const SAVIStream* odd = m_Movie.streams.At(2 * m_nPass + 1);
  if (!odd) return;
  SIndex& index = *odd->pIndex;
  index.aIdx = m_pBack;
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
