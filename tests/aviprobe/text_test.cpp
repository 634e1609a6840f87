#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tools/aviprobe/text/nearest.h"
#include "tools/aviprobe/text/shown.h"

namespace {

TEST(Shown, LeavesNothingThatUpsetsATerminal) {
  using std::literals::string_view_literals::operator""sv;
  struct SRow {
    const char* pName;
    std::string_view sText;
    const char* pShown;
  };
  const SRow rows[] = {
      {.pName = "nothing", .sText = "", .pShown = ""},
      {.pName = "plain", .sText = "a film.avi", .pShown = "a film.avi"},
      {.pName = "two bytes", .sText = "Z\xC3\xBCrich", .pShown = "Z\xC3\xBCrich"},
      {.pName = "three bytes", .sText = "\xE6\x98\xA0.avi", .pShown = "\xE6\x98\xA0.avi"},
      {.pName = "four bytes", .sText = "\xF0\x9F\x8E\xAC", .pShown = "\xF0\x9F\x8E\xAC"},
      {.pName = "escape", .sText = "\x1B[2J", .pShown = "\\x1b[2J"},
      {.pName = "new line", .sText = "a\nb", .pShown = "a\\x0ab"},
      {.pName = "zero", .sText = "a\0b"sv, .pShown = "a\\x00b"},
      {.pName = "delete", .sText = "\x7F", .pShown = "\\x7f"},
      {.pName = "control of 8 bits", .sText = "\xC2\x9B", .pShown = "\\xc2\\x9b"},
      {.pName = "bare control of 8 bits", .sText = "\x9B", .pShown = "\\x9b"},
      {.pName = "text turned around", .sText = "\xE2\x80\xAEiva", .pShown = "\\xe2\\x80\\xaeiva"},
      {.pName = "mark of direction", .sText = "\xD8\x9C", .pShown = "\\xd8\\x9c"},
      {.pName = "isolate", .sText = "\xE2\x81\xA6", .pShown = "\\xe2\\x81\\xa6"},
      {.pName = "no UTF-8", .sText = "\xFF", .pShown = "\\xff"},
      {.pName = "longer than needed", .sText = "\xE0\x80\x9B", .pShown = "\\xe0\\x80\\x9b"},
      {.pName = "surrogate", .sText = "\xED\xA0\x80", .pShown = "\\xed\\xa0\\x80"},
      {.pName = "beyond all characters", .sText = "\xF4\x90\x80\x80", .pShown = "\\xf4\\x90\\x80\\x80"},
      {.pName = "cut off", .sText = "\xE6\x98", .pShown = "\\xe6\\x98"},
      {.pName = "cut off by a letter", .sText = "\xE6\x98x", .pShown = "\\xe6\\x98x"},
  };
  for (const SRow& row : rows) {
    EXPECT_EQ(Shown(row.sText), row.pShown) << row.pName;
    EXPECT_EQ(Shown(row.pShown), row.pShown) << row.pName << ", a second time";
  }
}

TEST(Nearest, IsTheWordThatWasMeant) {
  const std::vector<std::string> words = {"check", "compare", "info", "packets", "seek", "seektest", "tree"};
  struct SRow {
    const char* pName;
    std::string sTyped;
    const char* pMeant;
  };
  const SRow rows[] = {
      {.pName = "letter left out", .sTyped = "pakets", .pMeant = "packets"},
      {.pName = "letter added", .sTyped = "checkk", .pMeant = "check"},
      {.pName = "letter changed", .sTyped = "trea", .pMeant = "tree"},
      {.pName = "letters swapped", .sTyped = "inof", .pMeant = "info"},
      {.pName = "two faults", .sTyped = "cmopar", .pMeant = "compare"},
      {.pName = "nearer of two", .sTyped = "seektst", .pMeant = "seektest"},
      {.pName = "three faults", .sTyped = "cmopr", .pMeant = ""},
      {.pName = "half of a short word", .sTyped = "te", .pMeant = ""},
      {.pName = "nothing", .sTyped = "", .pMeant = ""},
      {.pName = "a file", .sTyped = "film.avi", .pMeant = ""},
      {.pName = "very long", .sTyped = std::string(100000, 'c'), .pMeant = ""},
  };
  for (const SRow& row : rows) EXPECT_EQ(Nearest(row.sTyped, words), row.pMeant) << row.pName;
}

}  // namespace
