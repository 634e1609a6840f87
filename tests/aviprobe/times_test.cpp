#include "tools/aviprobe/text/times.h"

#include <gtest/gtest.h>

TEST(Times, AreUnderstoodAsPeopleWriteThem) {
  struct SRow {
    const char* pText;
    std::optional<uint32_t> nMs;
  };
  const SRow rows[] = {
      {"0", 0},
      {"1500", 1500},
      {"1500ms", 1500},
      {"1.5s", 1500},
      {".5s", 500},
      {"2m", 120'000},
      {"1.5h", 5'400'000},
      {"00:01:30.500", 90'500},
      {"1:30", 90'000},
      {"90:00", 5'400'000},
      {"00:00:00.0019", 1},
      {"4294967295", 4'294'967'295u},
      {"1193:02:47.295", 4'294'967'295u},
      {"4294967296", {}},
      {"1193:02:47.296", {}},
      {"18446744073709551616", {}},
      {"9999999999999h", {}},
      {"99999999999999:00:00", {}},
      {"", {}},
      {"s", {}},
      {".s", {}},
      {"1.s", {}},
      {"-1", {}},
      {"+1", {}},
      {" 1", {}},
      {"1 s", {}},
      {"1.5", {}},
      {"1.5.5s", {}},
      {"0x10", {}},
      {"1:60", {}},
      {"1:60:00", {}},
      {"1:2:3:4", {}},
      {":30", {}},
      {"1:", {}},
      {"1:30s", {}},
  };
  for (const SRow& row : rows) EXPECT_EQ(ParseTime(row.pText), row.nMs) << '"' << row.pText << '"';
}

TEST(Times, AreWrittenAsTheyAreUnderstood) {
  for (const uint32_t ms : {0u, 999u, 59'999u, 60'000u, 3'599'999u, 3'600'000u, 359'999'999u, 360'000'000u, ~0u}) {
    EXPECT_EQ(ParseTime(ClockText(ms)), ms) << ClockText(ms);
  }
  EXPECT_EQ(ClockText(90'500), "00:01:30.500");
}
