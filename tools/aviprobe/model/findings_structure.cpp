#include <fmt/format.h>

#include <algorithm>

#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/model/findings.h"

// What does not hold in the nesting of the chunks.

namespace {

bool Has(const std::vector<SMark>& marks, EMark wanted) {
  return std::any_of(marks.begin(), marks.end(), [&](const SMark& mark) { return mark.mark == wanted; });
}

/// Filling of size 0 harms nobody; data and indexes of size 0 have findings of their own.
bool MayBeEmpty(const SChunk& chunk) {
  return chunk.bData || chunk.id == FourCC("idx1") || chunk.id == FourCC("JUNK") || chunk.id == FourCC("junk");
}

class StructureCheck {
 public:
  explicit StructureCheck(Findings* findings) : m_Findings(*findings), m_Map(findings->Map()) {}

  void Run() {
    for (size_t i = 0; i < m_Map.marks.size(); ++i) {
      const size_t chunk = m_Map.marks[i].nChunk;
      if (chunk >= m_Map.OwnChunks()) break;
      if (i == 0 || m_Map.marks[i - 1].nChunk != chunk) Sort(chunk);
    }
    for (const SLeftOver& left : m_Map.leftOver) {
      if (left.nOffset < OwnEnds()) Sort(left);
    }
    Report();
    ReportJoined();
  }

 private:
  int64_t OwnEnds() const { return m_Map.joined ? m_Map.chunks[*m_Map.joined].nOffset : m_Map.nSize; }

  /// What ends late because the list around it does says nothing of its own.
  bool IsCutWithParent(const SChunk& chunk) const {
    for (int32_t parent = chunk.nParent; parent >= 0;) {
      const SChunk& list = m_Map.chunks[static_cast<size_t>(parent)];
      if (list.nSize > 0 && list.End() > m_Map.nSize) return true;
      parent = list.nParent;
    }
    return false;
  }

  bool IsOpenEnded(const SChunk& chunk) const {
    return chunk.nParent < 0 || m_Map.chunks[static_cast<size_t>(chunk.nParent)].nSize == 0;
  }

  /// Behind the AVI, and only by chance like a chunk: its size says nothing.
  bool IsTrailer(size_t number) const {
    const SChunk& chunk = m_Map.chunks[number];
    return number > 0 && chunk.nDepth == 0 && chunk.id != FourCC("RIFF");
  }

  /// Whether a file that ends before its header says so holds all that matters, so that the header is what is wrong.
  bool IsComplete() const {
    if (m_Truncated.nCount != 1 || m_Truncated.nFirst != 0 || !m_Map.idx1 || m_Map.movis.empty()) return false;
    return m_Map.chunks[static_cast<size_t>(*m_Map.idx1)].End() <= m_Map.nSize &&
           m_Map.chunks[static_cast<size_t>(m_Map.movis.back())].End() <= m_Map.nSize &&
           m_Map.chunks.back().End() == m_Map.nSize;
  }

  void ReportTruncated(const std::string& share) {
    if (m_Truncated.nCount == 0) return;
    SFinding finding{.pCode = "riff-truncated", .nOffset = m_Truncated.nFirst};
    if (IsComplete()) {
      finding.sConsequence = fmt::format(
          "the size in the file's first header is {} bytes too large, and nothing is missing: some players refuse it",
          m_nMissing);
      finding.sAdvice = kAdviceRemux;
      return m_Findings.Add(std::move(finding), ESeverity::kWarning);
    }
    finding.nTimeMs = m_Findings.Facts().MsAt(m_Map.nSize);
    finding.sConsequence = fmt::format("{} bytes are missing at the end; what is there plays {}", m_nMissing, share);
    finding.sAdvice = kAdviceSource + std::string("\n") + kAdviceRemux;
    m_Findings.Add(std::move(finding));
  }

  void Sort(size_t number) {
    const SChunk& chunk = m_Map.chunks[number];
    const std::vector<SMark> marks = m_Map.MarksOf(number);
    if (IsTrailer(number) && Has(marks, EMark::kPastFile)) return m_Trailing.Hit(chunk.nOffset);
    if (Has(marks, EMark::kWrongSize)) {
      m_SyncLost.Hit(chunk.nOffset);
      // A list is followed to where it says that it ends.
      LostAt(chunk.bList ? std::max(chunk.End(), chunk.DataOffset()) : chunk.nOffset);
    } else if (Has(marks, EMark::kPastFile)) {
      if (IsCutWithParent(chunk)) return;
      (IsOpenEnded(chunk) ? m_Truncated : m_Overrun).Hit(chunk.nOffset);
      for (const SMark& mark : marks) m_nMissing = std::max(m_nMissing, mark.nBytes);
    } else if (Has(marks, EMark::kPastList)) {
      m_Overrun.Hit(chunk.nOffset);
    }
    const bool expected =
        !Has(marks, EMark::kBadId) && !Has(marks, EMark::kUnknownId) && !Has(marks, EMark::kMisplacedId);
    if (expected && Has(marks, EMark::kEmpty) && !MayBeEmpty(chunk)) m_SizeZero.Hit(chunk.nOffset);
    if (Has(marks, EMark::kNoType) && m_BrokenList.nCount == 0) m_nNoType = chunk.nSize;
    if (Has(marks, EMark::kNoType) || Has(marks, EMark::kTooDeep)) m_BrokenList.Hit(chunk.nOffset);
    if (Has(marks, EMark::kNoPad)) m_NoPad.Hit(chunk.nOffset);
    // Of a file without its list of data that is said once for all.
    if (m_Map.movis.empty() && IsDataId(chunk.id)) return;
    const bool unknown = Has(marks, EMark::kBadId) || Has(marks, EMark::kUnknownId) ||
                         Has(marks, EMark::kMisplacedId) || (Has(marks, EMark::kHidesData) && !m_Map.movis.empty());
    if (unknown) (chunk.nDepth == 0 ? m_Trailing : m_UnknownId).Hit(chunk.nOffset);
  }

  void Sort(const SLeftOver& left) {
    const bool toTheEnd = left.nOffset + left.nBytes >= m_Map.nSize;
    if (left.nDepth == 0) return m_Trailing.Hit(left.nOffset);
    // Of a header that is cut off there are a few bytes: the cut is the finding.
    if (toTheEnd && m_Truncated.nCount > 0 && left.nBytes < kChunkHeaderBytes + 4) return;
    const bool harmless = left.bResynced || left.nBytes < kChunkHeaderBytes;
    (harmless ? m_Garbage : m_SyncLost).Hit(left.nOffset);
    if (!harmless) LostAt(left.nOffset);
  }

  void LostAt(int64_t offset) { m_nLostAt = std::min(m_nLostAt.value_or(offset), offset); }

  void Report() {
    const FileFacts& facts = m_Findings.Facts();
    const STrackFacts* main = facts.Main();
    const std::string share = main ? ShareText(main->present.nMs, facts.ExpectedMs()) : "nothing";
    ReportTruncated(share);
    m_Findings.Add("size-zero", m_SizeZero, {},
                   CountText(m_SizeZero.nCount, "chunk") +
                       " of size 0: players that go by the size find nothing in it" +
                       (m_Findings.Delivers() ? "" : " and do not open the file"),
                   kAdviceRemux);
    m_Findings.Add("chunk-overrun", m_Overrun, {},
                   CountText(m_Overrun.nCount, "chunk") +
                       " longer than the list around it: players stop there or skip what follows",
                   kAdviceResync);
    m_Findings.Add("list-broken", m_BrokenList, {},
                   m_nNoType > 0
                       ? fmt::format("size {} cannot be: a list has 4 bytes for its type at least, and what it "
                                     "holds is not found by any player",
                                     m_nNoType)
                       : "what the list holds is not found by any player",
                   kAdviceResync);
    m_Findings.Add("no-pad", m_NoPad, {},
                   CountText(m_NoPad.nCount, "odd chunk") +
                       " without a pad byte: players that expect it lose their place without an index",
                   kAdviceRemux);
    m_Findings.Add(
        "garbage", m_Garbage, {},
        CountText(m_Garbage.nCount, "place") + " with bytes between chunks: a player without an index may stop there",
        kAdviceRemux);
    const std::optional<uint32_t> lostAt = m_nLostAt ? facts.MsAt(*m_nLostAt) : std::nullopt;
    m_SyncLost.nFirstMs = lostAt;
    const bool behindAll = lostAt && main && *lostAt >= main->present.nMs;
    m_Findings.Add("sync-lost", m_SyncLost, {},
                   behindAll ? "behind the last picture and sound: players may miss the index, and cannot seek then"
                   : lostAt  ? fmt::format("a player that reads on without an index stops at {}",
                                           ShareText(*lostAt, facts.ExpectedMs()))
                             : "a player may not find the headers or the data",
                   kAdviceResync, behindAll ? std::optional(ESeverity::kWarning) : std::nullopt);
    m_Findings.Add("trailing-data", m_Trailing, {}, "players ignore what lies behind the end", kAdviceResync);
    m_Findings.Add("unknown-chunk-id", m_UnknownId, {},
                   CountText(m_UnknownId.nCount, "chunk") + " that players skip; if data hide in it they are lost",
                   "aviprobe tree FILE marks it");
  }

  void ReportJoined() {
    if (!m_Map.joined) return;
    const int64_t at = OwnEnds();
    const bool into = m_Findings.PlaysJoined();
    m_Findings.Add(
        {.pCode = "trailing-data",
         .nOffset = at,
         .sConsequence = fmt::format(
             "another AVI file begins here, {} bytes to the end: {}", m_Map.nSize - at,
             into ? "this player goes on into it by the headers of the first" : "players play the first only"),
         .sAdvice = fmt::format("tail -c +{} FILE > OUT.avi gives the second file\n", at + 1) + AdviceHead(at)},
        into ? ESeverity::kError : ESeverity::kWarning);
  }

  Findings& m_Findings;
  const SFileMap& m_Map;
  STally m_Truncated, m_SizeZero, m_Overrun, m_BrokenList, m_NoPad, m_Garbage, m_SyncLost, m_Trailing, m_UnknownId;
  int64_t m_nMissing = 0;
  uint32_t m_nNoType = 0;              // size of the first list without room for its type
  std::optional<int64_t> m_nLostAt{};  // where a walk by the sizes loses its way first
};

}  // namespace

void CheckStructure(Findings* findings) { StructureCheck(findings).Run(); }
