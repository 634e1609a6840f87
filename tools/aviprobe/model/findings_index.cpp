#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "tools/aviprobe/model/findings.h"

// The index against the chunks.

namespace {

constexpr uint64_t kSoundSlackMs = 200;  // the end of sound that is no whole frame is dropped as a rule

bool IsZero(const SIndexRef& ref) { return ref.nSize == 0 && (ref.id == FourCC() || ref.id.Text() == "0000"); }

bool IsPastEnd(const SFileMap& map, const SIndexRef& ref) {
  return ref.nPosition < 0 || ref.nPosition > map.nSize - kChunkHeaderBytes ||
         ref.nSize > map.nSize - kChunkHeaderBytes - ref.nPosition;
}

/// The size that a chunk should state, its own where the walk found it right.
uint32_t RightSize(const SFileMap& map, const SIndexRef& ref, const SChunk& chunk) {
  if (!chunk.bMarked) return chunk.nSize;
  for (const SMark& mark : map.MarksOf(static_cast<size_t>(ref.nChunk))) {
    if (mark.mark == EMark::kWrongSize) return static_cast<uint32_t>(mark.nBytes);
  }
  return chunk.nSize;
}

/// Whether an entry fits the chunk whose header begins where it points. "00db" for "00dc" is no matter, nor are lists.
bool Fits(const SFileMap& map, const SIndexRef& ref) {
  if (ref.nChunk < 0) return false;
  const SChunk& chunk = map.chunks[static_cast<size_t>(ref.nChunk)];
  if (chunk.bList) return ref.id == chunk.type || ref.id == chunk.id;
  return chunk.nStream == ref.nStream && RightSize(map, ref, chunk) == ref.nSize;
}

/// Whether all of a track that is in the file came out of the library.
bool PlaysAll(const STrackFacts& track) {
  const STrackPlayback& played = *track.pPlayed;
  if (track.pHeader->IsVideo()) return played.nUnits + track.nEmpty >= track.chunks.size();
  return played.nBytes >= track.present.nBytes || track.DeliveredMs() + kSoundSlackMs >= track.present.nMs;
}

class IndexCheck {
 public:
  explicit IndexCheck(Findings* findings) : m_Findings(*findings), m_Map(findings->Map()), m_Facts(findings->Facts()) {}

  void Run() {
    // What was lost is the list of data, and all else follows from it.
    if (m_Map.movis.empty()) return;
    CheckOdml();
    CheckBase();
    if (m_Facts.Entries().empty()) return ReportNone();
    for (const SIndexRef& ref : m_Facts.Entries()) Sort(ref);
    Report();
    for (const STrackFacts& track : m_Facts.Tracks()) CheckComplete(track);
  }

 private:
  void CheckOdml() {
    STally broken;
    for (const SSuperSlot& slot : m_Map.superSlots) {
      if (IsBroken(slot)) broken.Hit(slot.nAt);
    }
    for (const SChunkIndex& index : m_Map.chunkIndexes) {
      if (!index.bReadable) broken.Hit(index.nOffset);
    }
    m_Findings.Add("odml-broken", broken, {},
                   fmt::format("{} of the OpenDML index cannot be used: {}", CountText(broken.nCount, "part"),
                               m_Map.legacy.empty() ? "players that need it cannot seek, or stop early"
                                                    : "players fall back to the legacy index"),
                   kAdviceRemux);
  }

  /// Offsets that count from nowhere. The library does not mind, it goes by the first of them.
  void CheckBase() {
    if (m_Map.legacy.empty() || m_Map.movis.empty() || &m_Facts.Entries() != &m_Map.legacy) return;
    const int64_t movi = m_Map.chunks[static_cast<size_t>(m_Map.movis.front())].nOffset;
    int64_t off = std::numeric_limits<int64_t>::max();
    for (const int64_t usual : {movi + kChunkHeaderBytes, int64_t{0}, movi, -kChunkHeaderBytes}) {
      const int64_t from = usual - m_Map.nIdx1Base;
      if (std::abs(from) < std::abs(off)) off = from;
    }
    if (off == 0) return;
    m_Findings.Add({.pCode = "index-mismatch",
                    .nOffset = m_Map.legacy.front().nAt,
                    .sConsequence = fmt::format("all entries point {} bytes {} their chunks: this player counts from "
                                                "the first and finds them, others show garbage or stop",
                                                std::abs(off), off > 0 ? "behind" : "in front of"),
                    .sAdvice = kAdviceRemux});
  }

  void ReportNone() {
    const bool data = std::any_of(m_Facts.Tracks().begin(), m_Facts.Tracks().end(),
                                  [](const STrackFacts& track) { return !track.chunks.empty(); });
    if (!data) return;
    if (m_Map.idx1 || !m_Map.chunkIndexes.empty()) {
      const int64_t at =
          m_Map.idx1 ? m_Map.chunks[static_cast<size_t>(*m_Map.idx1)].nOffset : m_Map.chunkIndexes.front().nOffset;
      return m_Findings.Add({.pCode = "index-zero",
                             .nOffset = at,
                             .sConsequence = "the index is empty: seeking jumps to the start only",
                             .sAdvice = kAdviceIgnoreIndex});
    }
    m_Findings.Add({.pCode = "index-missing",
                    .sConsequence = "there is no index: seeking jumps to the start only",
                    .sAdvice = kAdviceRemux});
  }

  /// When what an entry stands for is played: the chunk that it names, else the one behind the last that one named.
  std::optional<uint32_t> MsOf(const SIndexRef& ref) const {
    if (ref.nChunk >= 0) return m_Facts.MsAt(ref.nPosition);
    if (m_nLastGood >= 0) return m_Facts.MsAt(m_nLastGood + 1);
    return m_Map.movis.empty() ? std::nullopt
                               : m_Facts.MsAt(m_Map.chunks[static_cast<size_t>(m_Map.movis.front())].nOffset);
  }

  void Sort(const SIndexRef& ref) {
    if (IsZero(ref)) return m_Zero.Hit(ref.nAt, MsOf(ref));
    if (IsPastEnd(m_Map, ref)) return m_PastEnd.Hit(ref.nAt, MsOf(ref));
    if (!Fits(m_Map, ref)) return m_Mismatch.Hit(ref.nAt, MsOf(ref));
    m_nLastGood = ref.nPosition;
    if (ref.nStream < 0 || static_cast<size_t>(ref.nStream) >= m_Facts.Tracks().size()) return;
    m_LastOf.resize(m_Facts.Tracks().size(), -1);
    int64_t& last = m_LastOf[static_cast<size_t>(ref.nStream)];
    if (ref.nPosition <= last) m_Disorder.Hit(ref.nAt, MsOf(ref));
    last = std::max(last, ref.nPosition);
  }

  /// What comes of it, by what was played where something was.
  std::string Outcome(const std::string& usual, const std::string& whenAllPlays) const {
    const auto isWhole = [](const STrackFacts& track) { return !track.pPlayed || PlaysAll(track); };
    const bool whole = m_Findings.Delivers() && std::all_of(m_Facts.Tracks().begin(), m_Facts.Tracks().end(), isWhole);
    return whole ? WhenAllPlays(whenAllPlays) : usual;
  }

  std::string WhenAllPlays(const std::string& indexed) const {
    const STrackFacts* main = m_Facts.Main();
    if (!main || !main->pPlayed) return indexed;
    const TrackInfo& info = main->pPlayed->info;
    const bool seeks = main->pHeader->IsVideo() ? info.video.bSeekable : info.audio.bSeekable;
    return seeks ? indexed : "this player plays all without the index: no seeking";
  }

  void Report() {
    const std::string garbage = "players show garbage there, or stop";
    m_Findings.Add("index-zero", m_Zero, {},
                   CountText(m_Zero.nCount, "entry") + " of zeros: seeking there shows nothing, or playback ends",
                   kAdviceIgnoreIndex);
    m_Findings.Add("index-past-end", m_PastEnd, {},
                   CountText(m_PastEnd.nCount, "entry") + " for data that are not in the file: " +
                       Outcome("playback ends there", "this player plays all, others end there"),
                   kAdviceIgnoreIndex);
    m_Findings.Add("index-mismatch", m_Mismatch, {},
                   CountText(m_Mismatch.nCount, "entry") +
                       " of another place, size or track than the chunk: " + Outcome(garbage, garbage),
                   kAdviceIgnoreIndex);
    m_Findings.Add("index-mismatch", m_Disorder, {},
                   CountText(m_Disorder.nCount, "entry") + " out of order: playback jumps back, or repeats",
                   kAdviceIgnoreIndex);
  }

  std::vector<bool> Named() const {
    std::vector<bool> named(m_Map.chunks.size());
    for (const SIndexRef& ref : m_Facts.Entries()) {
      if (ref.nChunk >= 0) named[static_cast<size_t>(ref.nChunk)] = true;
    }
    return named;
  }

  void CheckComplete(const STrackFacts& track) {
    if (m_Named.empty()) m_Named = Named();
    STally left;
    size_t lastNamed = 0;  // chunks up to the last one in the index
    for (size_t i = 0; i < track.chunks.size(); ++i) {
      const SChunk& chunk = m_Map.chunks[track.chunks[i]];
      if (m_Named[track.chunks[i]]) lastNamed = i + 1;
      // Nobody misses an empty chunk, and some writers do not list them.
      if (!m_Named[track.chunks[i]] && chunk.nSize > 0) left.Hit(chunk.nOffset);
    }
    const bool tail = left.nCount > 0 && left.nFirst > LastNamedOffset(track, lastNamed);
    std::string outcome =
        tail ? "stops at " + ShareText(track.MsBefore(lastNamed), track.present.nMs) : std::string("jumps there");
    outcome = fmt::format("the {} {}", TrackText(track), outcome);
    if (track.pPlayed && PlaysAll(track)) outcome = WhenAllPlays("in other players " + outcome);
    m_Findings.Add(
        "index-short", left, track.nTrack,
        fmt::format("{}{} not in the index: {}", CountText(left.nCount, "chunk"), tail ? " at the end" : "", outcome),
        kAdviceIgnoreIndex);
  }

  int64_t LastNamedOffset(const STrackFacts& track, size_t lastNamed) const {
    return lastNamed == 0 ? -1 : m_Map.chunks[track.chunks[lastNamed - 1]].nOffset;
  }

  Findings& m_Findings;
  const SFileMap& m_Map;
  const FileFacts& m_Facts;
  STally m_Zero, m_PastEnd, m_Mismatch, m_Disorder;
  int64_t m_nLastGood = -1;         // position that the newest fitting entry names
  std::vector<int64_t> m_LastOf{};  // highest position so far, by track
  std::vector<bool> m_Named{};      // chunks that are in the index
};

}  // namespace

void CheckIndex(Findings* findings) { IndexCheck(findings).Run(); }
