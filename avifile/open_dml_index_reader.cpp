#define LOG_TAG "AVIFileParser"
#include "avifile/open_dml_index_reader.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "avifile/riff_header.h"
#include "avifile/sample_time.h"
#include "base/bytes.h"
#include "base/checked_math.h"
#include "base/limits.h"
#include "base/log.h"

namespace {

constexpr size_t kHeaderBytes = 24;
constexpr uint8_t AVI_INDEX_OF_INDEXES = 0;
constexpr uint8_t AVI_INDEX_OF_CHUNKS = 1;
// wLongsPerEntry and bIndexSubType of a field index, as the header's first word holds them.
constexpr uint32_t AVI_NEWIDX_INDEX_2FIELD = 1;
constexpr uint32_t kFieldIndexWord = AVI_NEWIDX_INDEX_2FIELD << 16 | sizeof(SAVIFieldIndexEntry) / 4;
constexpr uint32_t kSuperEntryBytes = 16;
// Room above the base for any 32-bit offset, so that a position never leaves the signed range.
constexpr uint64_t kMaxBaseOffset = static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) - (uint64_t{1} << 32);

}  // namespace

struct OpenDmlIndexReader::SHeader {
  uint32_t dwFirstWord;  // wLongsPerEntry, bIndexSubType, bIndexType
  uint32_t nEntriesInUse;
  uint32_t dwChunkId;
  uint64_t qwBaseOffset;  // of chunk indexes
  uint32_t EntryBytes() const { return (dwFirstWord & 0xFFFF) * 4; }
  uint8_t IndexType() const { return static_cast<uint8_t>(dwFirstWord >> 24); }
  uint64_t TableBytes() const { return uint64_t{EntryBytes()} * nEntriesInUse; }
};

SIndex* OpenDmlIndexReader::ParseChunkNewIdx(long offset, uint32_t size, SIndex* pIndex) {
  SIndex* index = pIndex;
  m_nCapacity = index ? index->dwIdxNum : 0;
  if (ReadIndex(offset, size, 1, &index)) return index;
  FreeIndex(index);
  return nullptr;
}

// The functions below return false for "no index any more"; whoever holds the record then frees it, once.

bool OpenDmlIndexReader::ReadIndex(long offset, uint32_t size, int level, SIndex** index) {
  if (size == 0) {
    if (m_Lines.Take(ELine::kNoSize)) AVI_LOGE("[ParseChunkNewIdx] ParseChunkNewIdx dwsize = 0 ");
    return false;
  }
  uint8_t raw[kHeaderBytes];
  if (m_File.Read(raw, kHeaderBytes) < static_cast<int>(kHeaderBytes)) {
    if (m_Lines.Take(ELine::kShortHeader))
      AVI_LOGE("[ParseChunkNewIdx] dwSize : %lu", static_cast<unsigned long>(size));
    m_File.Skip(size);
    return false;
  }
  const SHeader header{LoadLe32(raw), LoadLe32(raw + 4), LoadLe32(raw + 8), LoadLe64(raw + 12)};
  if (SAVIStream* stream = m_Movie.streams.At(StreamNumber(header.dwChunkId))) stream->dwChunkId = header.dwChunkId;

  EResult result = EResult::kKept;
  if (header.IndexType() == AVI_INDEX_OF_CHUNKS) {
    result = ReadChunkIndex(header, offset, index);
  } else if (header.IndexType() == AVI_INDEX_OF_INDEXES && level < AVI_MAX_INDEX_LEVELS) {
    result = ReadSuperIndex(header, offset, level, index);
  }
  if (result == EResult::kNoMemory) return false;
  m_File.Seek(CheckedAdd<long>(offset, size));
  return result == EResult::kKept;
}

OpenDmlIndexReader::EResult OpenDmlIndexReader::ReadChunkIndex(const SHeader& header, long offset, SIndex** index) {
  const uint32_t entryBytes = header.EntryBytes();
  const bool isField = (header.dwFirstWord & 0xFFFFFF) == kFieldIndexWord;
  int nRead = 0;
  MallocPtr<uint8_t> table;
  if (!isField && entryBytes != sizeof(SAVIStdIndexEntry)) {
    if (m_Lines.Take(ELine::kEntryBytes))
      AVI_LOGE("ERROR! ParseChunkNewIdx()AVI_INDEX_OF_CHUNKS (%d) SAVIFieldIndexEntry (%d) SAVIStdIndexEntry (%d)",
               static_cast<int>(entryBytes), static_cast<int>(sizeof(SAVIFieldIndexEntry)),
               static_cast<int>(sizeof(SAVIStdIndexEntry)));
  } else {
    if (isField) {
      if (m_Lines.Take(ELine::kFieldIndex))
        AVI_LOGV("[ParseChunkNewIdx] AVI_NEWIDX_INDEX_OF_CHUNKS - AVI_NEWIDX_INDEX_2FIELD");
    } else {
      if (m_Lines.Take(ELine::kStdIndex)) AVI_LOGV("[ParseChunkNewIdx] AVI_NEWIDX_INDEX_OF_CHUNKS - STANDARD INDEX ");
    }
    // More entries than the file has room for chunks: super entries that repeat one chunk index.
    const uint64_t held = *index ? (*index)->dwIdxNum : 0;
    if (held + header.nEntriesInUse > MaxEntries()) {
      return EResult::kKept;
    }
    if (header.qwBaseOffset <= kMaxBaseOffset) {
      table = AllocateTable(header, offset);
      if (table) {
        nRead = m_File.Read(table.get(), static_cast<uint32_t>(header.TableBytes()));
      } else if (isField) {
        if (m_Lines.Take(ELine::kNoFieldTable)) AVI_LOGW("[AVI] aFieldIdx allocate fail -> ParseChunkNewIdx");
      } else {
        if (m_Lines.Take(ELine::kNoStdTable)) AVI_LOGW("[AVI] aStdIdx allocate fail -> ParseChunkNewIdx");
      }
    }
  }
  if (nRead < 1) {
    if (m_Lines.Take(ELine::kNoEntries))
      AVI_LOGW("[AVI] aFieldIdx/aStdIdx fread fail -> ParseChunkNewIdx :: nRead(%d)", nRead);
    return EResult::kKept;
  }
  return AddEntries(header, {table.get(), static_cast<size_t>(nRead)}, index);
}

OpenDmlIndexReader::EResult OpenDmlIndexReader::AddEntries(const SHeader& header, ByteSpan table, SIndex** index) {
  if (!*index) {
    *index = AllocZeroed<SIndex>(1).release();  // the caller's
    if (!*index) {
      if (m_Lines.Take(ELine::kNoRecord)) AVI_LOGE("[AVI] pIndex allocate Error -> ParseChunkNewIdx");
      return EResult::kNoMemory;
    }
    (*index)->bOwnsEntries = 1;
  }
  // Of a table cut short only the whole entries count.
  SIndex& all = **index;
  const uint32_t entryBytes = header.EntryBytes();
  const uint32_t count = static_cast<uint32_t>(table.size() / entryBytes);
  if (!MakeRoom(&all, uint64_t{all.dwIdxNum} + count)) return EResult::kLost;
  std::memset(all.aIdx + all.dwIdxNum, 0, size_t{count} * sizeof(SIndexEntry));
  for (uint32_t i = 0; i < count; ++i) {
    const uint8_t* raw = table.data() + size_t{i} * entryBytes;
    matching_idx(static_cast<int>(i), &all, static_cast<long>(header.qwBaseOffset), LoadLe32(raw), LoadLe32(raw + 4));
  }
  all.dwIdxNum = CheckedAdd<uint32_t>(all.dwIdxNum, count);
  return EResult::kKept;
}

bool OpenDmlIndexReader::MakeRoom(SIndex* index, uint64_t entries) {
  if (index->aIdx && entries <= m_nCapacity) return true;
  // In doubles: an allocator that moves every larger block would copy all that is there once per index chunk.
  const uint64_t doubled = index->aIdx ? std::min(2 * m_nCapacity, MaxEntries()) : 1;
  return Resize(index, std::max(entries, doubled));
}

bool OpenDmlIndexReader::Resize(SIndex* index, uint64_t capacity) {
  void* resized = std::realloc(index->aIdx, capacity * sizeof(SIndexEntry));
  if (!resized) return false;
  index->aIdx = static_cast<SIndexEntry*>(resized);
  m_nCapacity = capacity;
  return true;
}

OpenDmlIndexReader::EResult OpenDmlIndexReader::ReadSuperIndex(const SHeader& header, long offset, int level,
                                                               SIndex** index) {
  if (header.EntryBytes() != kSuperEntryBytes) {
    if (m_Lines.Take(ELine::kSuperEntryBytes))
      AVI_LOGE("ERROR! ParseChunkNewIdx()AVI_INDEX_OF_INDEXES (%d) != (%d)", static_cast<int>(header.EntryBytes()),
               static_cast<int>(kSuperEntryBytes));
    return EResult::kKept;
  }
  const long fileLength = m_File.AskLength();
  MallocPtr<uint8_t> table = AllocateTable(header, offset);
  if (!table) {
    if (m_Lines.Take(ELine::kNoSuperTable)) AVI_LOGE("[AVI] aSupIdx allocate Error -> ParseChunkNewIdx");
    return EResult::kNoMemory;
  }
  const int nRead = m_File.Read(table.get(), static_cast<uint32_t>(header.TableBytes()));
  if (nRead < 1) {
    if (m_Lines.Take(ELine::kNoSuperEntries))
      AVI_LOGW("[AVI] aSupIdx fread fail -> ParseChunkNewIdx :: nRead(%d)", nRead);
    return EResult::kKept;
  }
  const size_t whole = static_cast<size_t>(nRead) / kSuperEntryBytes * kSuperEntryBytes;
  const ByteSpan entries{table.get(), whole};
  if (HasSuffix(header.dwChunkId, 'd', 'c') || HasSuffix(header.dwChunkId, 'd', 'b')) SetPlayTime(entries);
  const EResult result = ReadChunkIndexes(entries, static_cast<uint64_t>(std::max(fileLength, 0L)), level, index);
  // What the doubling asked for too much; keeping it is no failure.
  if (result == EResult::kKept && *index && (*index)->dwIdxNum != 0 && (*index)->dwIdxNum < m_nCapacity)
    Resize(*index, (*index)->dwIdxNum);
  return result;
}

OpenDmlIndexReader::EResult OpenDmlIndexReader::ReadChunkIndexes(ByteSpan table, uint64_t fileLength, int level,
                                                                 SIndex** index) {
  for (; !table.empty(); table = table.subspan(kSuperEntryBytes)) {
    const uint64_t position = LoadLe64(table.data());
    m_File.Seek(position);
    uint8_t raw[kRiffHeaderBytes];
    const int nRead = m_File.Read(raw, kRiffHeaderBytes);
    if (nRead < static_cast<int>(kRiffHeaderBytes)) {
      if (m_Lines.Take(ELine::kNoChunk)) AVI_LOGE("[AVI] sRiff fread fail -> ParseChunkNewIdx :: nRead(%d)", nRead);
      return EResult::kKept;  // what was gathered
    }
    m_File.StepBackOverType();
    const uint32_t chunkSize = LoadLe32(raw + 4);
    uint64_t end;
    if (__builtin_add_overflow(position, uint64_t{chunkSize} + 8, &end) || end > fileLength) return EResult::kLost;
    // An index chunk that added nothing to nothing ends the walk like one that failed.
    if (!ReadIndex(static_cast<long>(position + 8), chunkSize, level + 1, index) || !*index) return EResult::kLost;
  }
  return EResult::kKept;
}

void OpenDmlIndexReader::SetPlayTime(ByteSpan superTable) {
  uint64_t frames = 0;
  for (size_t at = 0; at < superTable.size(); at += kSuperEntryBytes) frames += LoadLe32(superTable.data() + at + 12);
  m_Movie.dwPlayTime = PlayTimeOfFrames(frames, m_Movie.m_dwMicroSecPerFrame);
}

MallocPtr<uint8_t> OpenDmlIndexReader::AllocateTable(const SHeader& header, long offset) {
  const uint64_t position = static_cast<uint64_t>(offset) + kHeaderBytes;
  const uint64_t bytes = header.TableBytes();
  if (bytes > std::min<uint64_t>(m_File.Rest(position, AVI_MAX_STREAM_TABLE), AVI_MAX_READ)) return nullptr;
  // Index chunks that name each other's tables over and over would make a small file long to open.
  const uint64_t budget = SaturatedMul<uint64_t>(m_File.Rest(0, AVI_MAX_STREAM_TABLE), AVI_INDEX_READ_FACTOR);
  if (bytes > budget - std::min(budget, m_nBytesRead)) return nullptr;
  MallocPtr<uint8_t> table = AllocZeroed<uint8_t>(bytes);
  if (table) m_nBytesRead += bytes;
  return table;
}

__attribute__((visibility("default"))) void matching_idx(int i, SIndex* pIndex, long base, unsigned int offset,
                                                         uint32_t size) {
  if (!pIndex) return;
  const size_t at = static_cast<size_t>(pIndex->dwIdxNum + static_cast<int64_t>(i));
  pIndex->aIdx[at].qwOffset = static_cast<uint64_t>(base) + offset;
  pIndex->aIdx[at].dwSize = size;
  pIndex->dwMaxChunkSize = std::max(pIndex->dwMaxChunkSize, size & kChunkSizeMask);
}
