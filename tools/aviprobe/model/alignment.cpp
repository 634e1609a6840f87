#include "tools/aviprobe/model/alignment.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

namespace {

using Hashes = std::span<const uint64_t>;

constexpr int kMaxRounds = 16;          // of looking for fixed points between fixed points
constexpr size_t kMaxTable = 1u << 22;  // cells of a full comparison

struct SPair {
  size_t nA, nB;
};

/// Members that appear once in either sequence, by their place in `a`.
std::vector<SPair> CommonSingles(Hashes a, Hashes b) {
  constexpr size_t kNone = std::numeric_limits<size_t>::max();
  struct SSeen {
    size_t nCountA = 0, nCountB = 0, nAtB = kNone;
  };
  std::unordered_map<uint64_t, SSeen> seen;
  seen.reserve(a.size());
  for (const uint64_t hash : a) ++seen[hash].nCountA;
  for (size_t i = 0; i < b.size(); ++i) {
    const auto found = seen.find(b[i]);
    if (found == seen.end()) continue;
    ++found->second.nCountB;
    found->second.nAtB = i;
  }
  std::vector<SPair> pairs;
  for (size_t i = 0; i < a.size(); ++i) {
    const SSeen& one = seen[a[i]];
    if (one.nCountA == 1 && one.nCountB == 1) pairs.push_back({i, one.nAtB});
  }
  return pairs;
}

/// The longest part of the pairs, which are in order of `nA`, that is in order of `nB` too.
std::vector<SPair> LongestInOrder(const std::vector<SPair>& pairs) {
  constexpr size_t kNone = std::numeric_limits<size_t>::max();
  std::vector<size_t> ends;  // by length: the pair with the smallest nB that ends a row of that length
  std::vector<size_t> before(pairs.size(), kNone);
  for (size_t i = 0; i < pairs.size(); ++i) {
    const auto place = std::lower_bound(ends.begin(), ends.end(), pairs[i].nB,
                                        [&](size_t end, size_t nB) { return pairs[end].nB < nB; });
    if (place != ends.begin()) before[i] = *(place - 1);
    if (place == ends.end()) {
      ends.push_back(i);
    } else {
      *place = i;
    }
  }
  std::vector<SPair> row;
  for (size_t i = ends.empty() ? kNone : ends.back(); i != kNone; i = before[i]) row.push_back(pairs[i]);
  std::reverse(row.begin(), row.end());
  return row;
}

/// A longest common part of two short sequences, by the full table.
std::vector<SPair> LongestCommon(Hashes a, Hashes b) {
  const size_t width = b.size() + 1;
  std::vector<uint32_t> lengths((a.size() + 1) * width);  // of what is common to the ends from there on
  for (size_t i = a.size(); i > 0; --i) {
    for (size_t j = b.size(); j > 0; --j) {
      lengths[(i - 1) * width + j - 1] = a[i - 1] == b[j - 1]
                                             ? lengths[i * width + j] + 1
                                             : std::max(lengths[i * width + j - 1], lengths[(i - 1) * width + j]);
    }
  }
  std::vector<SPair> common;
  for (size_t i = 0, j = 0; i < a.size() && j < b.size();) {
    if (a[i] == b[j]) {
      common.push_back({i++, j++});
    } else if (lengths[(i + 1) * width + j] >= lengths[i * width + j + 1]) {
      ++i;
    } else {
      ++j;
    }
  }
  return common;
}

class Aligner {
 public:
  Aligner(Hashes a, Hashes b) : m_A(a), m_B(b) {}

  std::vector<SDifference> Run() {
    std::vector<STask> tasks = {{{0, m_A.size(), 0, m_B.size()}, 0}};
    while (!tasks.empty()) {
      const STask task = tasks.back();
      tasks.pop_back();
      const SDifference range = Trim(task.range);
      if (range.nA == 0 || range.nB == 0) {
        Add(range);
        continue;
      }
      const std::vector<SPair> fixed = FixedPoints(range, task.nRound);
      if (fixed.empty()) {
        Add(range);
        continue;
      }
      PushBetween(range, fixed, task.nRound + 1, &tasks);
    }
    return std::move(m_Found);
  }

 private:
  struct STask {
    SDifference range;
    int nRound;
  };

  SDifference Trim(SDifference range) const {
    while (range.nA > 0 && range.nB > 0 && m_A[range.nFirstA] == m_B[range.nFirstB]) {
      ++range.nFirstA, ++range.nFirstB;
      --range.nA, --range.nB;
    }
    while (range.nA > 0 && range.nB > 0 && m_A[range.nFirstA + range.nA - 1] == m_B[range.nFirstB + range.nB - 1]) {
      --range.nA, --range.nB;
    }
    return range;
  }

  std::vector<SPair> FixedPoints(const SDifference& range, int round) const {
    const Hashes a = m_A.subspan(range.nFirstA, range.nA);
    const Hashes b = m_B.subspan(range.nFirstB, range.nB);
    if (a.size() <= kMaxTable / (b.size() + 1) / 2) return LongestCommon(a, b);
    if (round >= kMaxRounds) return {};
    return LongestInOrder(CommonSingles(a, b));
  }

  /// The later parts first: the last one pushed is the next one done.
  static void PushBetween(const SDifference& range, const std::vector<SPair>& fixed, int round,
                          std::vector<STask>* tasks) {
    size_t endA = range.nA, endB = range.nB;
    for (auto pair = fixed.rbegin(); pair != fixed.rend(); ++pair) {
      PushPart(range, pair->nA + 1, endA, pair->nB + 1, endB, round, tasks);
      endA = pair->nA;
      endB = pair->nB;
    }
    PushPart(range, 0, endA, 0, endB, round, tasks);
  }

  static void PushPart(const SDifference& range, size_t fromA, size_t toA, size_t fromB, size_t toB, int round,
                       std::vector<STask>* tasks) {
    if (fromA == toA && fromB == toB) return;
    tasks->push_back({{range.nFirstA + fromA, toA - fromA, range.nFirstB + fromB, toB - fromB}, round});
  }

  void Add(const SDifference& found) {
    if (found.nA == 0 && found.nB == 0) return;
    m_Found.push_back(found);
  }

  Hashes m_A, m_B;
  std::vector<SDifference> m_Found;
};

}  // namespace

std::vector<SDifference> Differences(std::span<const uint64_t> a, std::span<const uint64_t> b) {
  return Aligner(a, b).Run();
}
