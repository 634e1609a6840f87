#include "tools/aviprobe/model/index_map.h"

#include <algorithm>
#include <limits>
#include <span>

#include "tools/aviprobe/model/block_reader.h"
#include "tools/aviprobe/model/chunk_data.h"
#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/model/little_endian.h"

namespace {

constexpr size_t kBlockBytes = 64u << 10;
constexpr uint32_t kLegacyBytes = 16, kSuperBytes = 16, kIndexHeaderBytes = 24;
constexpr uint32_t kLegacyKey = 0x10;
constexpr uint32_t kOdmlNoKey = 0x80000000;
constexpr uint8_t kIndexOfIndexes = 0, kIndexOfChunks = 1;
constexpr size_t kTried = 1000;  // entries that decide how an idx1 counts

/// Finds chunks by position. Quick where the positions asked for rise, as those of an index mostly do.
class ChunkFinder {
 public:
  explicit ChunkFinder(const std::vector<SChunk>& chunks) : m_Chunks(chunks) {}

  /// The chunk whose header begins there; -1: none.
  int32_t At(int64_t offset) {
    constexpr size_t kNear = 8;
    const size_t end = std::min(m_nNext + kNear, m_Chunks.size());
    for (size_t i = m_nNext; i < end && m_Chunks[i].nOffset <= offset; ++i) {
      if (m_Chunks[i].nOffset == offset) return Found(i);
    }
    const auto found = std::lower_bound(m_Chunks.begin(), m_Chunks.end(), offset,
                                        [](const SChunk& chunk, int64_t at) { return chunk.nOffset < at; });
    if (found == m_Chunks.end() || found->nOffset != offset) return -1;
    return Found(static_cast<size_t>(found - m_Chunks.begin()));
  }

 private:
  int32_t Found(size_t i) {
    m_nNext = i + 1;
    return static_cast<int32_t>(i);
  }

  const std::vector<SChunk>& m_Chunks;
  size_t m_nNext = 0;
};

struct SIndexHeader {
  uint16_t nLongsPerEntry;
  uint8_t nSubType, nType;
  uint32_t nEntries;
  FourCC id;
  uint64_t nBase;  ///< of an index of chunks
};

class IndexReader {
 public:
  IndexReader(FileSource& source, bool entries, SFileMap* map)
      : m_Reader(source, kBlockBytes), m_bEntries(entries), m_Map(*map), m_Finder(map->chunks) {}

  void Read() {
    int16_t stream = kNoStream;
    for (size_t i = 0; i < m_Map.OwnChunks(); ++i) {
      const SChunk& chunk = m_Map.chunks[i];
      if (chunk.bList && chunk.type == FourCC("strl") && stream < std::numeric_limits<int16_t>::max()) ++stream;
      if (chunk.bList && chunk.type == FourCC("movi")) m_Map.movis.push_back(static_cast<int32_t>(i));
      if (chunk.id == FourCC("idx1") && !m_Map.idx1) m_Map.idx1 = static_cast<int32_t>(i);
      if (chunk.id == FourCC("indx")) ReadStreamIndex(i, stream);
      if (!chunk.bData && chunk.id.Text().starts_with("ix") && StreamOfId(chunk.id) != kNoStream) {
        ReadChunkIndex(i, StreamOfId(chunk.id));
      }
    }
    FindSlots();
    if (!m_Map.idx1) return;
    ReadLegacy();
    Resolve();
  }

 private:
  SIndexHeader HeaderOf(size_t number) {
    const auto raw = Own(number, 0, kIndexHeaderBytes);
    return {.nLongsPerEntry = Le16At(raw, 0),
            .nSubType = static_cast<uint8_t>(LittleEndian(raw, 2, 1)),
            .nType = static_cast<uint8_t>(LittleEndian(raw, 3, 1)),
            .nEntries = Le32At(raw, 4),
            .id = raw.size() >= 12 ? FourCC(raw.data() + 8) : FourCC(),
            .nBase = Le64At(raw, 12)};
  }

  /// Bytes of a chunk's own data, at most `count` from `at` on.
  std::span<const uint8_t> Own(size_t number, int64_t at, size_t count) {
    const int64_t from = m_Map.chunks[number].DataOffset() + at;
    const int64_t there = std::max<int64_t>(OwnEnd(m_Map, number) - from, 0);
    return m_Reader.At(from, static_cast<size_t>(std::min<int64_t>(there, static_cast<int64_t>(count))));
  }

  /// Entries of a length that are really there, of those that a chunk says it has.
  uint32_t Present(size_t number, uint32_t headerBytes, uint32_t entryBytes, uint32_t stated) const {
    const int64_t bytes = OwnEnd(m_Map, number) - m_Map.chunks[number].DataOffset() - headerBytes;
    return static_cast<uint32_t>(std::min<int64_t>(std::max<int64_t>(bytes, 0) / entryBytes, stated));
  }

  /// "indx": a super index, or an index of the chunks itself.
  void ReadStreamIndex(size_t number, int16_t stream) {
    const SIndexHeader header = HeaderOf(number);
    if (header.nType != kIndexOfIndexes) return ReadChunkIndex(number, stream);
    const uint32_t count = Present(number, kIndexHeaderBytes, kSuperBytes, header.nEntries);
    for (uint32_t i = 0; i < count; ++i) {
      const int64_t at = kIndexHeaderBytes + int64_t{i} * kSuperBytes;
      const auto raw = Own(number, at, kSuperBytes);
      m_Map.superSlots.push_back({.nAt = m_Map.chunks[number].DataOffset() + at,
                                  .nStream = stream,
                                  .nOffset = Le64At(raw, 0),
                                  .nSize = Le32At(raw, 8),
                                  .nDuration = Le32At(raw, 12)});
    }
  }

  void ReadChunkIndex(size_t number, int16_t stream) {
    const SIndexHeader header = HeaderOf(number);
    if (IsDataId(header.id)) stream = StreamOfId(header.id);
    SChunkIndex index{.nOffset = m_Map.chunks[number].nOffset,
                      .nStream = stream,
                      .nEntries = header.nEntries,
                      .nFirst = static_cast<uint32_t>(m_Map.odml.size())};
    const bool known = header.nType == kIndexOfChunks && (header.nLongsPerEntry == 2 || header.nLongsPerEntry == 3) &&
                       header.nSubType <= 1;
    if (known) {
      const uint32_t entryBytes = header.nLongsPerEntry * 4u;
      const uint32_t count = Present(number, kIndexHeaderBytes, entryBytes, header.nEntries);
      index.bReadable = count == header.nEntries;
      if (m_bEntries) index.nRead = count;
      for (uint32_t i = 0; i < index.nRead; ++i) AddOdml(number, header, int64_t{i} * entryBytes, stream);
    }
    m_Map.chunkIndexes.push_back(index);
  }

  void AddOdml(size_t number, const SIndexHeader& header, int64_t entry, int16_t stream) {
    const auto raw = Own(number, kIndexHeaderBytes + entry, 8);
    const uint32_t size = Le32At(raw, 4);
    // The sum wraps for nonsense; a position below 0 is one where no chunk begins.
    uint64_t position = 0;
    (void)__builtin_add_overflow(header.nBase, uint64_t{Le32At(raw, 0)}, &position);
    (void)__builtin_sub_overflow(position, uint64_t{kChunkHeaderBytes}, &position);
    SIndexRef ref{.nAt = m_Map.chunks[number].DataOffset() + kIndexHeaderBytes + entry,
                  .nPosition = static_cast<int64_t>(position),
                  .nSize = size & ~kOdmlNoKey,
                  .id = header.id,
                  .nStream = stream,
                  .bKey = !(size & kOdmlNoKey)};
    ref.nChunk = m_Finder.At(ref.nPosition);
    m_Map.odml.push_back(ref);
  }

  void FindSlots() {
    for (SSuperSlot& slot : m_Map.superSlots) {
      // The list is by offset, as the chunks are.
      const auto found = std::lower_bound(
          m_Map.chunkIndexes.begin(), m_Map.chunkIndexes.end(), slot.nOffset,
          [](const SChunkIndex& index, uint64_t at) { return static_cast<uint64_t>(index.nOffset) < at; });
      slot.bFound = found != m_Map.chunkIndexes.end() && static_cast<uint64_t>(found->nOffset) == slot.nOffset &&
                    found->bReadable;
    }
  }

  /// The entries of "idx1" with the offsets as they stand.
  void ReadLegacy() {
    const auto number = static_cast<size_t>(*m_Map.idx1);
    uint32_t count = Present(number, 0, kLegacyBytes, std::numeric_limits<uint32_t>::max());
    // Where the base has to be found, a few are enough.
    if (!m_bEntries) count = std::min<uint32_t>(count, kTried);
    m_Map.legacy.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
      const auto raw = Own(number, int64_t{i} * kLegacyBytes, kLegacyBytes);
      if (raw.size() < kLegacyBytes) break;
      const FourCC id(raw.data());
      m_Map.legacy.push_back({.nAt = m_Map.chunks[number].DataOffset() + int64_t{i} * kLegacyBytes,
                              .nPosition = Le32At(raw, 8),
                              .nSize = Le32At(raw, 12),
                              .id = id,
                              .nStream = IsDataId(id) ? StreamOfId(id) : kNoStream,
                              .bKey = (Le32At(raw, 4) & kLegacyKey) != 0});
    }
  }

  /// Entries, of the first ones, that name a chunk of their id when this is added to their offsets.
  size_t Hits(int64_t base) {
    size_t hits = 0;
    for (size_t i = 0; i < std::min(kTried, m_Map.legacy.size()); ++i) {
      const SIndexRef& ref = m_Map.legacy[i];
      const int32_t found = m_Finder.At(base + ref.nPosition);
      if (found < 0) continue;
      const SChunk& chunk = m_Map.chunks[static_cast<size_t>(found)];
      hits += ref.id == (chunk.bList ? chunk.type : chunk.id);
    }
    return hits;
  }

  /// The base by which the first entry names the first chunk of movi: the library's, however the offsets count.
  int64_t FromFirst(int64_t movi) const {
    const bool relative = !m_Map.legacy.empty() && !m_Map.movis.empty() && m_Map.legacy.front().nPosition < movi;
    return relative ? movi + 4 - m_Map.legacy.front().nPosition : movi;
  }

  /// Offsets count from the form type of movi or from the start of the file, to a chunk's header or to its data.
  void Resolve() {
    const int64_t movi =
        m_Map.movis.empty() ? 0 : m_Map.chunks[static_cast<size_t>(m_Map.movis.front())].nOffset + kChunkHeaderBytes;
    m_Map.nIdx1Base = movi;
    size_t best = 0;
    for (const int64_t base : {movi, int64_t{0}, movi - kChunkHeaderBytes, -kChunkHeaderBytes, FromFirst(movi)}) {
      if (const size_t hits = Hits(base); hits > best) {
        best = hits;
        m_Map.nIdx1Base = base;
      }
    }
    if (!m_bEntries) m_Map.legacy.clear();
    for (SIndexRef& ref : m_Map.legacy) {
      ref.nPosition += m_Map.nIdx1Base;
      ref.nChunk = m_Finder.At(ref.nPosition);
    }
  }

  BlockReader m_Reader;
  bool m_bEntries;
  SFileMap& m_Map;
  ChunkFinder m_Finder;
};

}  // namespace

void ReadIndexes(FileSource& source, bool entries, SFileMap* map) { IndexReader(source, entries, map).Read(); }
