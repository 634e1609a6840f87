#include "tools/aviprobe/model/chunk_walk.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "tools/aviprobe/model/block_reader.h"
#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/model/chunk_search.h"

namespace {

constexpr int kMaxDepth = 64;
constexpr size_t kBlockBytes = 4096;
constexpr int32_t kNoChunk = -1;

/// A list being walked.
struct SList {
  int32_t nChunk = kNoChunk;  ///< the list itself; kNoChunk: the file
  int16_t nDepth = 0;         ///< of the chunks in it
  bool bMovi = false;
  int64_t nEnd = std::numeric_limits<int64_t>::max();  ///< may lie beyond the end of the file
  int64_t nOuterEnd = nEnd;                            ///< of the list that holds it
};

class Walker {
 public:
  Walker(FileSource& source, const SMapOptions& options, SFileMap* map)
      : m_Reader(source, kBlockBytes),
        m_Search(source),
        m_bResync(options.bResync),
        m_bData(options.bData),
        m_Map(*map) {}

  std::vector<SSuspect> Walk() {
    WalkList(0, {});
    return std::move(m_Suspects);
  }

 private:
  /// All chunks of a list from `at` on, and what is in them. Each byte is looked at in one list only: whatever the
  /// sizes say, the time is bounded by the file's length.
  /// @return where the list ends: its stated end, or elsewhere when that proved wrong.
  int64_t WalkList(int64_t at, SList list) {
    int32_t before = kNoChunk;  // the chunk that ended here, but for lists
    while (at < Readable(list)) {
      SChunk chunk{.nOffset = at, .nParent = list.nChunk, .nDepth = list.nDepth};
      const bool whole = ReadChunkHeader(m_Reader, Readable(list), &chunk);
      if (!whole || !IsCredible(chunk, list)) {
        if (const auto found = FindNext(std::exchange(before, kNoChunk), at, list)) {
          at = *found;
          continue;
        }
      } else if (m_bResync && PlaceIn(chunk, list.nChunk) == EPlace::kMisplaced) {
        if (FitsOutside(chunk, list)) return at;
        if (const auto end = Resume(chunk, list)) {
          at = *end;
          before = kNoChunk;
          continue;
        }
      }
      if (!whole || !IsSound(chunk, list)) {
        LeaveOver(at, Readable(list), list, false);
        break;
      }
      if (m_bResync && ProvesListLonger(chunk, list)) {
        list.nEnd = std::max(list.nOuterEnd, chunk.End() + (chunk.nSize & 1));
        continue;
      }
      before = chunk.bList ? kNoChunk : static_cast<int32_t>(m_Map.chunks.size());
      at = AddChunk(chunk, list);
    }
    return std::max(at, Readable(list));  // a list in it may have proved longer than this one
  }

  int64_t Readable(const SList& list) const { return std::min(list.nEnd, m_Reader.Size()); }

  /// Where a chunk's data end, at the latest where the list does that a list of no size stands in.
  int64_t DataEnd(const SChunk& chunk, const SList& list) const {
    return chunk.bList && chunk.nSize == 0 ? Readable(list) : chunk.End();
  }
  int64_t PaddedEnd(const SChunk& chunk, const SList& list) const {
    return std::min(DataEnd(chunk, list) + (chunk.nSize & 1), Readable(list));
  }

  /// Whether a chunk with bytes in it begins here and ends in time.
  bool IsPlausible(int64_t at, int64_t end) {
    SChunk chunk{.nOffset = at};
    return ReadChunkHeader(m_Reader, end, &chunk) && IsPrintableId(chunk.id) && chunk.nSize > 0 && chunk.End() <= end;
  }

  /// A damaged name in front of something sound is one bad chunk; otherwise this is no chunk at all.
  bool IsSound(const SChunk& chunk, const SList& list) {
    if (IsPrintableId(chunk.id)) return true;
    const int64_t next = PaddedEnd(chunk, list), end = Readable(list);
    return DataEnd(chunk, list) <= end && (next == end || IsPlausible(next, end));
  }

  /// Whether this may be a chunk's header at all, rather than what damage put there.
  bool IsCredible(const SChunk& chunk, const SList& list) {
    const EPlace place = PlaceIn(chunk, list.nChunk);
    if (IsPrintableId(chunk.id) && place != EPlace::kUnknown) return true;
    const int64_t end = Readable(list);
    if (chunk.End() > end) return false;
    const int64_t next = PaddedEnd(chunk, list);
    return next == end || IsPlausible(next, end) || IsPlausible(chunk.End(), end) || m_Search.IsLandmarkAt(next);
  }

  EPlace PlaceIn(const SChunk& chunk, int32_t list) const {
    const FourCC* parent = list == kNoChunk ? nullptr : &m_Map.chunks[static_cast<size_t>(list)].type;
    return PlaceOf(chunk.id, chunk.bList ? &chunk.type : nullptr, parent);
  }

  /// Whether a chunk belongs into one of the lists around this one, which it thereby ends.
  bool FitsOutside(const SChunk& chunk, const SList& list) const {
    for (int32_t outer = list.nChunk; outer != kNoChunk;) {
      outer = m_Map.chunks[static_cast<size_t>(outer)].nParent;
      if (PlaceIn(chunk, outer) == EPlace::kFits) return true;
    }
    return false;
  }

  /// Whether a chunk that runs out of its list is followed by another one, so that it is the list that is too short.
  bool ProvesListLonger(const SChunk& chunk, const SList& list) {
    if (chunk.bList || chunk.End() <= list.nEnd || chunk.End() > m_Reader.Size()) return false;
    return m_Search.IsLandmarkAt(chunk.End() + (chunk.nSize & 1)) || m_Search.IsLandmarkAt(chunk.End());
  }

  /// Adds a chunk, its marks and what it holds. @return where the next one begins.
  int64_t AddChunk(SChunk chunk, const SList& list) {
    const int64_t end = Readable(list), dataEnd = DataEnd(chunk, list);
    int64_t next = PaddedEnd(chunk, list);
    const auto number = static_cast<int32_t>(m_Map.chunks.size());
    const auto mark = [&](bool applies, EMark what, int64_t bytes = 0) {
      if (!applies) return;
      chunk.bMarked = true;
      m_Map.marks.push_back({static_cast<uint32_t>(number), {what, bytes}});
    };
    const EPlace place = PlaceIn(chunk, list.nChunk);
    const bool printable = IsPrintableId(chunk.id);
    const bool noPad = dataEnd < next && !IsPlausible(next, end) && IsPlausible(dataEnd, end);
    const bool tooDeep = chunk.bList && list.nDepth == kMaxDepth;
    mark(!printable, EMark::kBadId);
    mark(chunk.nSize == 0, EMark::kEmpty);
    mark(IsListId(chunk.id) && !chunk.bList && chunk.nSize > 0, EMark::kNoType);
    mark(dataEnd > list.nEnd, EMark::kPastList, dataEnd - list.nEnd);
    mark(dataEnd > m_Reader.Size(), EMark::kPastFile, dataEnd - m_Reader.Size());
    mark(noPad, EMark::kNoPad);
    mark(tooDeep, EMark::kTooDeep);
    mark(printable && place == EPlace::kUnknown, EMark::kUnknownId);
    mark(printable && place == EPlace::kMisplaced, EMark::kMisplacedId);
    if (noPad) next = dataEnd;

    chunk.bData = list.bMovi && IsDataId(chunk.id);
    if (chunk.bData) chunk.nStream = StreamOfId(chunk.id);
    m_Map.chunks.push_back(chunk);
    m_Ended.clear();
    if (!chunk.bList) return dataEnd > end && place != EPlace::kUnknown ? BehindOverlong(chunk, list) : next;
    if (tooDeep || (!m_bData && chunk.type == FourCC("movi"))) return next;
    const bool openEnded = chunk.nSize == 0;
    const SList inner{.nChunk = number,
                      .nDepth = static_cast<int16_t>(list.nDepth + 1),
                      .bMovi = list.bMovi || chunk.type == FourCC("movi"),
                      .nEnd = openEnded ? list.nEnd : std::min(dataEnd, list.nEnd),
                      .nOuterEnd = list.nEnd};
    const int64_t stop = WalkList(chunk.DataOffset(), inner);
    m_Ended.push_back(inner);
    if (stop == Readable(inner)) return next;
    Suspect(number, stop);
    return stop;
  }

  /// What begins inside a chunk that runs out of its list. @return where the walk goes on.
  int64_t BehindOverlong(const SChunk& chunk, const SList& list) {
    const int64_t end = Readable(list);
    const auto found = m_Search.Find(chunk.DataOffset(), end);
    if (found) Suspect(static_cast<int32_t>(m_Map.chunks.size()) - 1, *found);
    return found && m_bResync ? *found : end;
  }

  /// Searches for the next chunk where none begins, from inside the one before on, whose size may be what is wrong.
  /// @return where the walk goes on; none when there is nothing, or damage ends a list.
  std::optional<int64_t> FindNext(int32_t before, int64_t at, const SList& list) {
    const int64_t from = before == kNoChunk ? at : m_Map.chunks[static_cast<size_t>(before)].DataOffset();
    const auto found = m_Search.Find(from, Readable(list));
    if (!found) return std::nullopt;
    const bool skips = m_bResync && *found > at;
    if (skips) LeaveOver(at, *found, list, true);
    if (before != kNoChunk) {
      Suspect(before, *found, *found < at, skips ? std::optional(m_Map.leftOver.size() - 1) : std::nullopt);
    }
    return m_bResync ? found : std::nullopt;
  }

  /// Goes on in lists that ended just before a chunk that belongs into one of them and not here.
  /// @return where they end then; none when there are none.
  std::optional<int64_t> Resume(const SChunk& chunk, const SList& list) {
    const auto fits = std::find_if(m_Ended.begin(), m_Ended.end(),
                                   [&](const SList& ended) { return PlaceIn(chunk, ended.nChunk) == EPlace::kFits; });
    if (fits == m_Ended.end()) return std::nullopt;
    const std::vector<SList> resumed(fits, m_Ended.end());
    int64_t at = chunk.nOffset;
    for (SList inner : resumed) {
      inner.nEnd = inner.nOuterEnd = list.nEnd;
      at = WalkList(at, inner);
      m_Ended.push_back(inner);
      Suspect(inner.nChunk, at);
    }
    return at;
  }

  /// Notes that what follows a chunk begins elsewhere. Of a list that was resumed the last word counts.
  void Suspect(int32_t number, int64_t next, bool sure = true, std::optional<size_t> gap = {}) {
    const int64_t right = next - m_Map.chunks[static_cast<size_t>(number)].nOffset - kChunkHeaderBytes;
    m_Suspects.push_back({static_cast<uint32_t>(number), right, sure, gap});
  }

  void LeaveOver(int64_t at, int64_t end, const SList& list, bool resynced) {
    m_Map.leftOver.push_back({at, end - at, list.nDepth, resynced});
  }

  BlockReader m_Reader;
  ChunkSearch m_Search;
  bool m_bResync;
  bool m_bData;
  SFileMap& m_Map;
  std::vector<SList> m_Ended;  // the lists that ended behind the last chunk, innermost first
  std::vector<SSuspect> m_Suspects;
};

}  // namespace

std::vector<SSuspect> WalkChunks(FileSource& source, const SMapOptions& options, SFileMap* map) {
  return Walker(source, options, map).Walk();
}
