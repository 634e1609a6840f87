#include "tools/aviprobe/model/track_facts.h"

#include <algorithm>
#include <limits>

#include "tools/aviprobe/model/chunk_data.h"

namespace {

bool OdmlBroken(const SFileMap& map) {
  return std::any_of(map.superSlots.begin(), map.superSlots.end(), IsBroken) ||
         std::any_of(map.chunkIndexes.begin(), map.chunkIndexes.end(),
                     [](const SChunkIndex& i) { return !i.bReadable; });
}

void CountChunks(const SFileMap& map, std::vector<STrackFacts>* tracks) {
  for (size_t i = 0; i < map.OwnChunks(); ++i) {
    const SChunk& chunk = map.chunks[i];
    if (!chunk.bData || chunk.nStream < 0 || static_cast<size_t>(chunk.nStream) >= tracks->size()) continue;
    STrackFacts& track = (*tracks)[static_cast<size_t>(chunk.nStream)];
    track.chunks.push_back(static_cast<uint32_t>(i));
    track.before.push_back(track.present.nBytes);
    track.nEmpty += chunk.nSize == 0;
    // A damaged size must not count what belongs to the chunks behind it.
    track.present.nBytes += static_cast<uint64_t>(std::max<int64_t>(OwnEnd(map, i) - chunk.DataOffset(), 0));
  }
}

void CountEntries(const std::vector<SIndexRef>& entries, std::vector<STrackFacts>* tracks) {
  for (const SIndexRef& ref : entries) {
    if (ref.nStream < 0 || static_cast<size_t>(ref.nStream) >= tracks->size()) continue;
    SAmount& indexed = (*tracks)[static_cast<size_t>(ref.nStream)].indexed;
    ++indexed.nChunks;
    indexed.nBytes += ref.nSize;
  }
}

bool Names(const std::vector<SIndexRef>& entries, int track) {
  return std::any_of(entries.begin(), entries.end(), [&](const SIndexRef& ref) { return ref.nStream == track; });
}

}  // namespace

bool IsBroken(const SSuperSlot& slot) { return !slot.bFound && (slot.nOffset != 0 || slot.nSize != 0); }

bool STrackFacts::CountsChunks() const { return !pHeader->IsAudio() || pHeader->nSampleSize == 0; }

uint64_t STrackFacts::UnitsOf(uint64_t chunkCount, uint64_t bytes) const {
  return CountsChunks() ? chunkCount : bytes / pHeader->nSampleSize;
}

uint64_t STrackFacts::MsOf(uint64_t chunkCount, uint64_t bytes) const {
  if (pHeader->nRate == 0) return 0;
  constexpr double kMost = std::numeric_limits<uint32_t>::max();  // more than an AVI can count
  const double units = static_cast<double>(UnitsOf(chunkCount, bytes));
  return static_cast<uint64_t>(std::min(units * 1000 * pHeader->nScale / pHeader->nRate, kMost));
}

uint64_t STrackFacts::MsBefore(size_t chunk) const {
  return MsOf(chunk, chunk < before.size() ? before[chunk] : present.nBytes);
}

uint64_t STrackFacts::DeliveredMs() const {
  if (!pPlayed || pPlayed->units.empty()) return 0;
  const auto& units = pPlayed->units;
  const uint64_t last = units.back().nTimeMs;
  if (!pHeader->IsAudio()) return last + MsOf(1, 0);
  if (units.size() < 2) return last;
  const SPlayedUnit& second = units[units.size() - 2];
  const uint64_t step = last - std::min<uint64_t>(last, second.nTimeMs);
  // The end of sound that goes by its bytes is shorter than what is read at a time, as a rule.
  const bool byBytes = !CountsChunks() && second.nBytes > 0;
  return last + (byBytes ? step * units.back().nBytes / second.nBytes : step);
}

FileFacts::FileFacts(const SFileMap& map, const SPlayback* playback) : m_Map(map), m_bOdmlBroken(OdmlBroken(map)) {
  m_pEntries = map.odml.empty() || (m_bOdmlBroken && !map.legacy.empty()) ? &map.legacy : &map.odml;
  for (size_t i = 0; i < map.streams.size(); ++i) {
    m_Tracks.push_back({.nTrack = static_cast<int>(i), .pHeader = &map.streams[i]});
  }
  CountChunks(map, &m_Tracks);
  CountEntries(*m_pEntries, &m_Tracks);
  for (STrackFacts& track : m_Tracks) {
    const auto complete = [&](SAmount* amount) {
      amount->nUnits = track.UnitsOf(amount->nChunks, amount->nBytes);
      amount->nMs = track.MsOf(amount->nChunks, amount->nBytes);
    };
    track.present.nChunks = track.chunks.size();
    if (!track.chunks.empty()) m_nDataEnd = std::max(m_nDataEnd, OwnEnd(map, track.chunks.back()));
    complete(&track.present);
    complete(&track.indexed);
    track.nDeclaredUnits = track.pHeader->nLength;
    track.nDeclaredMs = track.MsOf(track.nDeclaredUnits, track.nDeclaredUnits * track.pHeader->nSampleSize);
    if (Names(map.legacy, track.nTrack)) track.indexKinds.emplace_back("idx1");
    if (Names(map.odml, track.nTrack)) track.indexKinds.emplace_back("OpenDML");
    if (!playback) continue;
    for (const STrackPlayback& played : playback->tracks) {
      if (static_cast<int>(played.nTrack) == track.nTrack) track.pPlayed = &played;
    }
  }
  if (!map.movis.empty()) m_nDataAt = map.chunks[static_cast<size_t>(map.movis.front())].nOffset;
  FindMain();
  if (!Main()) return;
  for (const uint32_t chunk : Main()->chunks) m_Offsets.push_back(map.chunks[chunk].nOffset);
}

void FileFacts::FindMain() {
  for (const auto wanted : {&SStreamHeader::IsVideo, &SStreamHeader::IsAudio}) {
    for (const STrackFacts& track : m_Tracks) {
      if (m_nMain < 0 && (track.pHeader->*wanted)()) m_nMain = track.nTrack;
    }
  }
}

std::optional<uint32_t> FileFacts::MsOfData(int64_t offset) const {
  if (offset >= m_nDataEnd) return std::nullopt;
  const auto behind = std::upper_bound(m_Map.chunks.begin(), m_Map.chunks.end(), offset,
                                       [](int64_t at, const SChunk& chunk) { return at < chunk.nOffset; });
  const bool inIndex = behind != m_Map.chunks.begin() && std::prev(behind)->id.Text().starts_with("ix");
  return inIndex ? std::nullopt : MsAt(offset);
}

std::optional<uint32_t> FileFacts::MsAt(int64_t offset) const {
  const STrackFacts* main = Main();
  if (!main || main->chunks.empty() || offset < m_nDataAt) return std::nullopt;
  const auto next = std::lower_bound(m_Offsets.begin(), m_Offsets.end(), offset);
  return static_cast<uint32_t>(main->MsBefore(static_cast<size_t>(next - m_Offsets.begin())));
}

bool FileFacts::PlaysUnindexed() const {
  return std::any_of(m_Map.movis.begin(), m_Map.movis.end(), [&](int32_t movi) {
    const SChunk& list = m_Map.chunks[static_cast<size_t>(movi)];
    return std::any_of(m_Tracks.begin(), m_Tracks.end(), [&](const STrackFacts& track) {
      const bool played = track.pHeader->IsVideo() || track.pHeader->IsAudio();
      return played && std::any_of(track.chunks.begin(), track.chunks.end(), [&](uint32_t number) {
               const int64_t at = m_Map.chunks[number].nOffset;
               return at > list.nOffset && at < list.End();
             });
    });
  });
}

uint64_t FileFacts::ExpectedMs() const {
  const STrackFacts* main = Main();
  if (!main) return 0;
  return main->nDeclaredMs ? main->nDeclaredMs : main->present.nMs;
}

uint64_t FileFacts::DeliveredMs() const { return Main() ? Main()->DeliveredMs() : 0; }
