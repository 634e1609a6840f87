#ifndef ZU_TOOLS_AVIPROBE_MODEL_ALIGNMENT_H_
#define ZU_TOOLS_AVIPROBE_MODEL_ALIGNMENT_H_

#include <cstdint>
#include <span>
#include <vector>

/// Where two sequences differ: `nA` members from `nFirstA` on of the one stand where the other has `nB` from `nFirstB`.
struct SDifference {
  size_t nFirstA = 0, nA = 0;
  size_t nFirstB = 0, nB = 0;
  bool operator==(const SDifference&) const = default;
};

/// Aligns two sequences of hashes. What is between the differences is equal, member by member.
///
/// Members that appear once in both are the fixed points; what lies between two of them is looked at alone, in the same
/// way. So the time follows the length, and sequences that have little in common are told to be different instead of
/// being searched for every last match. @return in order.
std::vector<SDifference> Differences(std::span<const uint64_t> a, std::span<const uint64_t> b);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_ALIGNMENT_H_
