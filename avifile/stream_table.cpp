#include "avifile/stream_table.h"

#include <cstring>

#include "avifile/byte_sums.h"
#include "base/c_heap.h"
#include "base/checked_math.h"
#include "zu_parser_avi/stream_types.h"

void FreeIndex(SIndex* index) {
  if (!index) return;
  if (index->bOwnsEntries) std::free(index->aIdx);
  std::free(index);
}

StreamTable::~StreamTable() {
  FreeIndexes();
  for (size_t i = 0; m_StrfData && i < All().size(); ++i) std::free(m_StrfData[i].pData);
  std::free(m_aStream);
  std::free(m_StrfData);
}

bool StreamTable::Declare(uint32_t streams) {
  m_iStreamNum = static_cast<int>(streams);
  if (streams > AVI_MAX_STREAMS) return false;
  m_aStream = AllocZeroed<SAVIStream>(streams).release();  // the destructor frees
  if (!m_aStream) return false;
  m_iCurrStreamIdx = -1;
  return true;
}

uint32_t StreamTable::GetStreamType(int stream) const {
  if (stream < 0 || stream >= m_iStreamNum) return STREAM_TYPE_INVALID;
  const SAVIStream* record = At(stream);
  return record ? record->nStreamType : STREAM_TYPE_UNKNOWN;
}

void StreamTable::EnterNext() { m_iCurrStreamIdx = CheckedAdd<int>(m_iCurrStreamIdx, 1); }

bool StreamTable::AllocateFormats() {
  m_StrfData = AllocZeroed<SStrfData>(All().size()).release();  // the destructor frees
  return m_StrfData != nullptr;
}

bool StreamTable::KeepFormat() {
  const SAVIStream* stream = CurrentStream();
  if (!m_StrfData || !stream) return false;
  MallocPtr<uint8_t> copy = AllocZeroed<uint8_t>(stream->m_nStrfSize);
  if (!copy) return false;
  std::memcpy(copy.get(), stream->m_pStrf, stream->m_nStrfSize);
  SStrfData& kept = m_StrfData[m_iCurrStreamIdx];
  std::free(kept.pData);  // of an earlier format chunk in the same list
  kept = {stream->m_nStrfSize, copy.release()};
  return true;
}

void StreamTable::ShareEntries(SIndexEntry* entries) {
  SIndex* owner = m_aStream[0].pIndex;
  owner->aIdx = entries;
  owner->bOwnsEntries = 1;
  m_bSharedEntries = true;
}

void StreamTable::FreeIndexes() {
  m_bSharedEntries = false;
  for (SAVIStream& stream : All()) {
    FreeIndex(stream.pIndex);
    stream.pIndex = nullptr;
    FreeByteSums(stream.pSums);
    stream.pSums = nullptr;
  }
}
