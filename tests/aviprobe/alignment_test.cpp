#include "tools/aviprobe/model/alignment.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Hashes = std::vector<uint64_t>;

Hashes Of(const std::string& text) { return {text.begin(), text.end()}; }

Hashes Numbers(uint64_t from, uint64_t to) {
  Hashes numbers;
  for (uint64_t i = from; i < to; ++i) numbers.push_back(i);
  return numbers;
}

std::string Text(const std::vector<SDifference>& differences) {
  std::string text;
  for (const SDifference& d : differences) {
    text += "[" + std::to_string(d.nFirstA) + "+" + std::to_string(d.nA) + "|" + std::to_string(d.nFirstB) + "+" +
            std::to_string(d.nB) + "]";
  }
  return text;
}

}  // namespace

TEST(Alignment, NamesWhatIsMissingWhere) {
  struct SRow {
    const char* pA;
    const char* pB;
    const char* pDifferences;
  };
  const SRow rows[] = {
      {"", "", ""},
      {"abc", "abc", ""},
      {"abc", "", "[0+3|0+0]"},
      {"", "abc", "[0+0|0+3]"},
      {"abcdef", "abef", "[2+2|2+0]"},
      {"bcd", "abcde", "[0+0|0+1][3+0|4+1]"},
      {"abXcdYef", "abcdZef", "[2+1|2+0][5+1|4+1]"},
      {"aaaaaaaa", "aaaaa", "[5+3|5+0]"},
      {"abab", "baba", "[0+1|0+0][4+0|3+1]"},
      {"abc", "xyz", "[0+3|0+3]"},
  };
  for (const SRow& row : rows) {
    EXPECT_EQ(Text(Differences(Of(row.pA), Of(row.pB))), row.pDifferences) << row.pA << " and " << row.pB;
  }
}

// Too long for the full table: the fixed points have to find it.
TEST(Alignment, FindsGapsInALongFilm) {
  const Hashes whole = Numbers(0, 100'000);
  Hashes cut = Numbers(0, 300);
  for (const auto& [from, to] : {std::pair{312, 50'000}, std::pair{50'001, 99'999}}) {
    const Hashes more = Numbers(static_cast<uint64_t>(from), static_cast<uint64_t>(to));
    cut.insert(cut.end(), more.begin(), more.end());
  }
  EXPECT_EQ(Text(Differences(whole, cut)), "[300+12|300+0][50000+1|49988+0][99999+1|99986+0]");
}

TEST(Alignment, CountsSilenceBetweenFixedPoints) {
  Hashes a = Numbers(1, 5'001), b = a;
  a.insert(a.begin() + 2'500, 3'000, 0);
  b.insert(b.begin() + 2'500, 2'990, 0);
  EXPECT_EQ(Text(Differences(a, b)), "[5490+10|5490+0]");
}

TEST(Alignment, GivesUpOnWhatHasNothingInCommon) {
  EXPECT_EQ(Text(Differences(Numbers(0, 100'000), Numbers(200'000, 300'000))), "[0+100000|0+100000]");
  const Hashes a(20'000, 1), b(20'000, 2);
  EXPECT_EQ(Text(Differences(a, b)), "[0+20000|0+20000]");
}
