#include "tools/aviprobe/text/nearest.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<size_t>> cost(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) {
    for (size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const size_t change = cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, change});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
    }
  }
  return cost[a.size()][b.size()];
}

}  // namespace

std::string Nearest(std::string_view typed, std::span<const std::string> words) {
  constexpr size_t kLongest = 32;  // nobody mistypes a command into more
  if (typed.size() > kLongest) return "";
  std::string nearest;
  size_t least = 3;
  for (const std::string& word : words) {
    const size_t distance = Distance(typed, word);
    // A word of which less than half is left is another word.
    if (distance < least && 2 * distance < word.size()) {
      least = distance;
      nearest = word;
    }
  }
  return nearest;
}
