#include "tools/aviprobe/model/chunk_walk.h"

#include <algorithm>
#include <limits>

#include "tools/aviprobe/model/block_reader.h"
#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/model/little_endian.h"

namespace {

constexpr int kMaxDepth = 64;
constexpr size_t kBlockBytes = 4096;
constexpr int64_t kTypeBytes = 4;
constexpr int32_t kNoParent = -1;

class Walker {
 public:
  Walker(FileSource& source, SFileMap* map) : m_Reader(source, kBlockBytes), m_Map(*map) {}

  void Walk() { WalkSiblings(0, std::numeric_limits<int64_t>::max(), kNoParent, 0, false); }

 private:
  /// All chunks from `at` to `end`, which may lie beyond the end of the file, and what is in them. Each byte is looked
  /// at in one list only: whatever the sizes say, the time is bounded by the file's length.
  void WalkSiblings(int64_t at, int64_t end, int32_t parent, int depth, bool inMovi) {
    const int64_t readable = std::min(end, m_Reader.Size());
    while (at < readable) {
      SChunk chunk{.nOffset = at, .nParent = parent, .nDepth = static_cast<int16_t>(depth)};
      if (!ReadHeader(readable, &chunk)) return LeaveOver(at, readable - at, depth);
      const bool openEnded = chunk.bList && chunk.nSize == 0;
      const int64_t dataEnd = openEnded ? readable : chunk.End();
      int64_t next = std::min(dataEnd + (chunk.nSize & 1), readable);

      const auto mark = [&](EMark what, int64_t bytes = 0) { Mark(&chunk, what, bytes); };
      const bool printable = IsPrintableId(chunk.id);
      if (!printable) {
        // A damaged name in front of something sound is one bad chunk; otherwise this is no chunk at all.
        const bool sound = dataEnd <= readable && (next == readable || IsPlausible(next, readable));
        if (!sound) return LeaveOver(at, readable - at, depth);
        mark(EMark::kBadId);
      }
      if (chunk.nSize == 0) mark(EMark::kEmpty);
      if (IsListId(chunk.id) && !chunk.bList && chunk.nSize > 0) mark(EMark::kNoType);
      if (dataEnd > end) mark(EMark::kPastList, dataEnd - end);
      if (dataEnd > m_Reader.Size()) mark(EMark::kPastFile, dataEnd - m_Reader.Size());
      if (dataEnd < next && !IsPlausible(next, readable) && IsPlausible(dataEnd, readable)) {
        mark(EMark::kNoPad);
        next = dataEnd;
      }
      const bool tooDeep = chunk.bList && depth == kMaxDepth;
      if (tooDeep) mark(EMark::kTooDeep);
      if (printable) MarkPlace(&chunk);

      chunk.bData = inMovi && IsDataId(chunk.id);
      if (chunk.bData) chunk.nStream = StreamOfId(chunk.id);
      const auto number = static_cast<int32_t>(m_Map.chunks.size());
      m_Map.chunks.push_back(chunk);
      if (chunk.bList && !tooDeep) {
        const bool movi = inMovi || chunk.type == FourCC("movi");
        WalkSiblings(chunk.DataOffset(), openEnded ? end : std::min(dataEnd, end), number, depth + 1, movi);
      }
      at = next;
    }
  }

  /// @return whether there is a whole header before `end`.
  bool ReadHeader(int64_t end, SChunk* chunk) {
    const auto raw = m_Reader.At(chunk->nOffset, kChunkHeaderBytes + kTypeBytes);
    const int64_t there = std::min(static_cast<int64_t>(raw.size()), end - chunk->nOffset);
    if (there < kChunkHeaderBytes) return false;
    chunk->id = FourCC(raw.data());
    chunk->nSize = Le32At(raw, 4);
    if (!IsListId(chunk->id) || there < kChunkHeaderBytes + kTypeBytes) return true;
    const FourCC type(raw.data() + kChunkHeaderBytes);
    // A recording that broke off has lists of size 0, in front of all that it holds.
    chunk->bList = chunk->nSize >= kTypeBytes || (chunk->nSize == 0 && IsFormType(type));
    if (chunk->bList) chunk->type = type;
    return true;
  }

  /// Whether a chunk with bytes in it begins here and ends in time.
  bool IsPlausible(int64_t at, int64_t end) {
    SChunk chunk{.nOffset = at};
    return ReadHeader(end, &chunk) && IsPrintableId(chunk.id) && chunk.nSize > 0 && chunk.End() <= end;
  }

  /// Marks the chunk that is about to be added to the map.
  void Mark(SChunk* chunk, EMark mark, int64_t bytes = 0) {
    chunk->bMarked = true;
    m_Map.marks.push_back({static_cast<uint32_t>(m_Map.chunks.size()), {mark, bytes}});
  }

  void MarkPlace(SChunk* chunk) {
    const FourCC* parent =
        chunk->nParent == kNoParent ? nullptr : &m_Map.chunks[static_cast<size_t>(chunk->nParent)].type;
    const EPlace place = PlaceOf(chunk->id, chunk->bList ? &chunk->type : nullptr, parent);
    if (place == EPlace::kUnknown) Mark(chunk, EMark::kUnknownId);
    if (place == EPlace::kMisplaced) Mark(chunk, EMark::kMisplacedId);
  }

  void LeaveOver(int64_t at, int64_t bytes, int depth) {
    m_Map.leftOver.push_back({.nOffset = at, .nBytes = bytes, .nDepth = static_cast<int16_t>(depth)});
  }

  BlockReader m_Reader;
  SFileMap& m_Map;
};

}  // namespace

void WalkChunks(FileSource& source, const SMapOptions&, SFileMap* map) { Walker(source, map).Walk(); }
