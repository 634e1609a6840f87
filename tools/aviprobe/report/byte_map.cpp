#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/report/series.h"

namespace {

constexpr size_t kParts = 600;

/// The bytes of one kind, by part of the file.
struct SLane {
  std::string sName;
  const char* pKind;
  double nBytes = 0;
  std::vector<double> parts = std::vector<double>(kParts);
};

/// Lanes: the headers, the tracks, what no track claims, the indexes, padding, what is no chunk.
class Lanes {
 public:
  explicit Lanes(const SFileMap& map) : m_nSize(map.nSize), m_nTracks(std::min(map.streams.size(), kSeriesTracks)) {
    m_aLanes.push_back({"headers", "header"});
    for (size_t i = 0; i < m_nTracks; ++i) {
      const char* kind = TrackKind(map.streams[i]);
      m_aLanes.push_back({fmt::format("{} {}", kind, i), kind});
    }
    for (const SLane& lane :
         {SLane{"other data", "other"}, SLane{"index", "index"}, SLane{"padding", "junk"}, SLane{"no chunk", "lost"}}) {
      m_aLanes.push_back(lane);
    }
  }

  size_t LaneOf(const SChunk& chunk) const {
    const size_t after = m_nTracks + 1;
    if (chunk.bList) return 0;
    if (chunk.bData)
      return chunk.nStream >= 0 && static_cast<size_t>(chunk.nStream) < m_nTracks
                 ? static_cast<size_t>(chunk.nStream) + 1
                 : after;
    const std::string_view id = chunk.id.Text();
    if (id == "idx1" || id == "indx" || id.starts_with("ix")) return after + 1;
    return id == "JUNK" || id == "PAD " ? after + 2 : 0;
  }
  size_t Lost() const { return m_nTracks + 4; }

  void Add(size_t lane, int64_t from, int64_t end) {
    from = std::clamp<int64_t>(from, 0, m_nSize);
    end = std::clamp<int64_t>(end, from, m_nSize);
    SLane& to = m_aLanes[lane];
    to.nBytes += static_cast<double>(end - from);
    const double scale = static_cast<double>(kParts) / static_cast<double>(m_nSize);
    double at = static_cast<double>(from) * scale;
    const double stop = static_cast<double>(end) * scale;
    while (at < stop) {
      const size_t part = std::min(static_cast<size_t>(at), kParts - 1);
      const double next = std::min(stop, static_cast<double>(part + 1));
      to.parts[part] += next - at;
      at = part + 1 == kParts ? stop : std::max(next, static_cast<double>(part + 1));
      if (next >= stop) break;
    }
  }

  Json Facts() const {
    Json lanes = Json::array();
    for (const SLane& lane : m_aLanes) {
      if (lane.nBytes <= 0) continue;
      Json shares = Json::array();
      // Rounded up: what is there at all is seen.
      for (const double part : lane.parts)
        shares.push_back(static_cast<int>(std::ceil(std::min(part, 1.0) * 100 - 1e-6)));
      lanes.push_back(
          {{"name", lane.sName}, {"kind", lane.pKind}, {"bytes", std::llround(lane.nBytes)}, {"shares", shares}});
    }
    return {{"size", m_nSize}, {"lanes", lanes}};
  }

 private:
  int64_t m_nSize;
  size_t m_nTracks;
  std::vector<SLane> m_aLanes;
};

/// Where a chunk's bytes end: one that is too long by its own word ends where the next chunk was found.
int64_t EndOf(const SFileMap& map, size_t chunk) {
  const SChunk& it = map.chunks[chunk];
  if (it.bList) return it.DataOffset();
  const int64_t end = it.End() + (it.nSize & 1);
  return chunk + 1 < map.chunks.size() ? std::min(end, std::max(map.chunks[chunk + 1].nOffset, it.nOffset)) : end;
}

/// What the file announces behind its end; nothing when the size that does is wrong.
int64_t MissingBytes(const SFileMap& map) {
  int64_t missing = 0;
  for (size_t i = 0; i < map.chunks.size(); ++i) {
    if (map.chunks[i].nParent >= 0) continue;
    const std::vector<SMark> marks = map.MarksOf(i);
    const auto is = [](EMark mark) { return [mark](const SMark& it) { return it.mark == mark; }; };
    if (std::any_of(marks.begin(), marks.end(), is(EMark::kWrongSize))) continue;
    const auto past = std::find_if(marks.begin(), marks.end(), is(EMark::kPastFile));
    if (past != marks.end()) missing = std::max(missing, past->nBytes);
  }
  return missing;
}

}  // namespace

Json ByteMapSeries(const SFileMap& map) {
  if (map.nSize <= 0) return {{"size", map.nSize}, {"missing_bytes", 0}, {"lanes", Json::array()}};
  Lanes lanes(map);
  for (size_t i = 0; i < map.chunks.size(); ++i) {
    lanes.Add(lanes.LaneOf(map.chunks[i]), map.chunks[i].nOffset, EndOf(map, i));
  }
  for (const SLeftOver& left : map.leftOver) lanes.Add(lanes.Lost(), left.nOffset, left.nOffset + left.nBytes);
  Json facts = lanes.Facts();
  facts["missing_bytes"] = MissingBytes(map);
  return facts;
}
