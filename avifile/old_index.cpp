#define LOG_TAG "AVIFileParser"
#include <algorithm>

#include "avifile/avi_file_parser.h"
#include "avifile/byte_sums.h"
#include "avifile/riff_header.h"
#include "base/bytes.h"
#include "base/log.h"

// All entries of all streams live in one table that stream 0 owns. Streams are filled in pairs, one pass over the
// chunk each: the even one forward from the front, the odd one backward from the back and then reversed in place.

namespace {

constexpr uint32_t kKeyFrameFlag = 0x10;

struct SRawEntry {
  uint32_t ckid, dwFlags, dwChunkOffset, dwChunkLength;
};

SRawEntry DecodeEntry(const uint8_t* raw) {
  return {LoadLe32(raw), LoadLe32(raw + 4), LoadLe32(raw + 8), LoadLe32(raw + 12)};
}

}  // namespace

struct CAVIFileParser::OldIndexTable {
  MallocPtr<uint8_t> block;  // raw entries as read; what an earlier block left behind stays visible
  SIndexEntry* entries = nullptr;
  int64_t front = 0;
  int64_t back = -1;  // front > back: full
  int pass = 0;
  bool baseKnown = false;
  uint64_t base = 0;
};

int CAVIFileParser::ParseChunkOldIdx(unsigned int offset, unsigned int size) {
  if (!m_aStream || m_iStreamNum <= 0) {
    AVI_LOGE("ERROR! ParseChunk() 'idx1' not valid");
    return 0;
  }
  if (IsIndexed()) {
    AVI_LOGE("INFO! ParseChunk() 'idx1' not parsed(new index already parsed)");
    return 0;
  }
  if (size < AVI_OLD_ENTRY_BYTES || !m_pMovi) {
    AVI_LOGE("ERROR! ParseChunk() 'idx1' not valid");
    return 0;
  }
  const uint32_t entries = size / AVI_OLD_ENTRY_BYTES;
  const uint64_t room = RestOfFile(offset, AVI_MAX_STREAM_TABLE) / AVI_OLD_ENTRY_BYTES;
  OldIndexTable table;
  if (!AllocOldIndex(std::min<uint64_t>(entries, room), &table)) return 0;

  for (; table.pass < (m_iStreamNum + 1) / 2; ++table.pass) {
    if (!ReadOldIndexPass(offset, entries, &table)) {
      AbandonOldIndex(table.pass);
      return 0;
    }
  }
  m_iIndexType = IDXTYPE_OLD;
  return 1;
}

bool CAVIFileParser::AllocOldIndex(uint64_t capacity, OldIndexTable* table) {
  FreeIndexes();  // an OpenDML index that failed may have left some
  for (int i = 0; i < StreamCount(); ++i) {
    m_aStream[i].pIndex = AllocZeroed<SIndex>(1).release();  // freed by Destroy
    if (!m_aStream[i].pIndex) {
      AVI_LOGE("ERROR!!! AVI index malloc fail 1 ");
      FreeIndexes();
      return false;
    }
  }
  table->entries = AllocZeroed<SIndexEntry>(capacity).release();  // freed with stream 0's index
  if (!table->entries) {
    FreeIndexes();
    AVI_LOGE("ERROR!!! AVI index malloc fail 3");
    return false;
  }
  m_aStream[0].pIndex->aIdx = table->entries;
  m_aStream[0].pIndex->bOwnsEntries = 1;
  m_bOldIndexKept = true;
  table->back = static_cast<int64_t>(capacity) - 1;

  table->block = AllocZeroed<uint8_t>(size_t{AVI_OLD_INDEX_BLOCK} * AVI_OLD_ENTRY_BYTES);
  if (!table->block) {
    FreeIndexes();
    AVI_LOGE("ERROR!!! AVI index malloc 4");
    return false;
  }
  return true;
}

bool CAVIFileParser::ReadOldIndexPass(unsigned int offset, unsigned int entries, OldIndexTable* table) {
  m_pReader->AVI_fseek(offset, 0);
  m_aStream[2 * table->pass].pIndex->aIdx = table->entries + table->front;
  for (uint32_t left = entries; left > 0;) {
    const uint32_t count = std::min(left, AVI_OLD_INDEX_BLOCK);
    const int nRead = m_pReader->AVI_fread(table->block.get(), count * AVI_OLD_ENTRY_BYTES, 1);
    if (nRead < 1) return false;
    AddOldIndexBlock(table->block.get(), static_cast<uint32_t>(nRead) / AVI_OLD_ENTRY_BYTES, table);
    left -= count;
  }
  FinishOldIndexPass(table);
  return true;
}

void CAVIFileParser::AddOldIndexBlock(const uint8_t* block, uint32_t count, OldIndexTable* table) {
  if (!table->baseKnown) {
    // Offsets that do not reach the first chunk are relative, and the first entry is the first chunk.
    const uint64_t movi = static_cast<uint64_t>(m_pMovi->llOffset);
    const uint32_t first = DecodeEntry(block).dwChunkOffset;
    table->base = first <= movi ? movi + 8 - first : 0;
    table->baseKnown = true;
  }
  const int even = 2 * table->pass;
  for (uint32_t i = 0; i < count; ++i) {
    const SRawEntry raw = DecodeEntry(block + size_t{i} * AVI_OLD_ENTRY_BYTES);
    if (raw.ckid == 0) continue;
    if (raw.ckid == FourCC("JUNK") || raw.ckid == FourCC("RES1")) m_bIdxJunk = true;
    const int number = StreamNumber(raw.ckid);
    if (number < even || number > even + 1 || number >= m_iStreamNum) continue;
    if (table->front > table->back) continue;  // the chunk claims more than the file holds

    SAVIStream& stream = m_aStream[number];
    SIndex& index = *stream.pIndex;
    // The id comes from the block's entry of the pass's number, not from this one; players rely on what it says.
    if (index.dwIdxNum == 0) {
      stream.dwChunkId = DecodeEntry(block + static_cast<size_t>(table->pass) * AVI_OLD_ENTRY_BYTES).ckid;
    }
    ++index.dwIdxNum;
    index.dwMaxChunkSize = std::max(index.dwMaxChunkSize, raw.dwChunkLength);
    SIndexEntry& entry = table->entries[number == even ? table->front++ : table->back--];
    entry.qwOffset = table->base + raw.dwChunkOffset;
    entry.dwSize = raw.dwFlags & kKeyFrameFlag ? raw.dwChunkLength & kChunkSizeMask : raw.dwChunkLength | kNotKeyFrame;
  }
}

void CAVIFileParser::FinishOldIndexPass(OldIndexTable* table) {
  const int odd = 2 * table->pass + 1;
  if (odd >= m_iStreamNum) return;
  SIndex& index = *m_aStream[odd].pIndex;
  index.aIdx = table->entries + table->back + 1;
  std::reverse(index.aIdx, index.aIdx + index.dwIdxNum);
}

void CAVIFileParser::AbandonOldIndex(int pass) {
  AVI_LOGE("[AVI] without full index -> index_none setting : %d", pass);
  m_iIndexType = IDXTYPE_NONE;
  for (int i = 1; i <= 2 * pass; ++i) {
    if (!m_aStream[i].pIndex->aIdx) continue;
    m_aStream[i].pIndex->aIdx = nullptr;
    AVI_LOGV("index to null - m_aStream[%d].pIndex->aIdx", i);
  }
}

void CAVIFileParser::FreeIndexes() {
  m_bOldIndexKept = false;
  for (int i = 0; i < StreamCount(); ++i) {
    FreeIndex(m_aStream[i].pIndex);
    m_aStream[i].pIndex = nullptr;
    FreeByteSums(m_aStream[i].pSums);
    m_aStream[i].pSums = nullptr;
  }
}
