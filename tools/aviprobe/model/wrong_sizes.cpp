#include "tools/aviprobe/model/wrong_sizes.h"

#include <algorithm>
#include <bit>
#include <set>

namespace {

using Stated = std::vector<std::optional<uint32_t>>;  // what an index says of each suspect's size

void Gather(const std::vector<SIndexRef>& entries, const std::vector<SSuspect>& suspects, Stated* stated) {
  for (const SIndexRef& entry : entries) {
    if (entry.nChunk < 0) continue;
    const auto number = static_cast<uint32_t>(entry.nChunk);
    const auto found = std::lower_bound(suspects.begin(), suspects.end(), number,
                                        [](const SSuspect& suspect, uint32_t n) { return suspect.nChunk < n; });
    if (found == suspects.end() || found->nChunk != number) continue;
    (*stated)[static_cast<size_t>(found - suspects.begin())] = entry.nSize;
  }
}

/// The size that a suspect should have; none when its own is right. It may be odd, with a pad byte behind.
std::optional<int64_t> RightSize(const SSuspect& suspect, uint32_t declared, std::optional<uint32_t> stated) {
  const bool agrees = stated && *stated != declared && (*stated == suspect.nRight || *stated + 1 == suspect.nRight);
  if (agrees) return *stated;
  if (suspect.bSure) return suspect.nRight;
  if (stated) return std::nullopt;
  for (const int64_t right : {suspect.nRight, suspect.nRight - 1}) {
    if (std::popcount(static_cast<uint64_t>(right ^ int64_t{declared})) == 1) return right;
  }
  return declared == 0 ? std::optional(suspect.nRight) : std::nullopt;
}

}  // namespace

void SettleSizes(std::vector<SSuspect> suspects, SFileMap* map) {
  if (suspects.empty()) return;
  std::stable_sort(suspects.begin(), suspects.end(),
                   [](const SSuspect& a, const SSuspect& b) { return a.nChunk < b.nChunk; });
  // Of a list that was resumed the last word counts.
  const auto last = std::unique(suspects.rbegin(), suspects.rend(),
                                [](const SSuspect& a, const SSuspect& b) { return a.nChunk == b.nChunk; });
  suspects.erase(suspects.begin(), last.base());
  Stated stated(suspects.size());
  Gather(map->legacy, suspects, &stated);
  Gather(map->odml, suspects, &stated);
  std::set<size_t> closed;  // gaps that are a chunk's data after all
  for (size_t i = 0; i < suspects.size(); ++i) {
    SChunk& chunk = map->chunks[suspects[i].nChunk];
    const std::optional<int64_t> right = RightSize(suspects[i], chunk.nSize, stated[i]);
    if (!right) continue;
    chunk.bMarked = true;
    map->marks.push_back({suspects[i].nChunk, {EMark::kWrongSize, *right}});
    if (suspects[i].nGap) closed.insert(*suspects[i].nGap);
  }
  std::stable_sort(map->marks.begin(), map->marks.end(),
                   [](const SMarked& a, const SMarked& b) { return a.nChunk < b.nChunk; });
  if (closed.empty()) return;
  size_t number = 0;
  std::erase_if(map->leftOver, [&](const SLeftOver&) { return closed.contains(number++); });
}
