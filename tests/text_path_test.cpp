#include <gtest/gtest.h>

#include "tests/support/host.h"
#include "tests/support/log_capture.h"

namespace {

struct Answer {
  unsigned long length, time;
  int status;
  bool operator==(const Answer&) const = default;
};
void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.length << " bytes at " << answer.time << " ms, status " << answer.status;
}
/// One call that is given `time` and, as a length, 77.
Answer Call(const Host& host, unsigned long time, unsigned long maxLen = 100) {
  unsigned char buf[100];
  unsigned long len = 77;
  const int status = host->GetTextData(buf, &len, &time, maxLen);
  return {len, time, status};
}
const Answer kEnd{0, 0xFFFFFFFF, -1011};

TEST(TextPath, SamplesComeInOrderWithTheHostsOwnTime) {
  for (const bool indexed : {true, false}) {
    AviBuilder builder;
    builder.Video().Video({.fourcc = indexed ? "DXSB" : "DXSA"}).Chunk(0, "I").Chunk(1, "[one]").Chunk(0, "P");
    builder.Chunk(1, "[two2]").Chunk(1, "last");
    if (indexed) builder.OldIndex();
    SCOPED_TRACE(indexed);
    Host host(builder.Build());
    EXPECT_EQ(Call(host, 0x100000005), (Answer{5, 5, 0}));
    EXPECT_EQ(Call(host, 7, 5), kEnd);  // too large a sample looks like the end
    host.faulty.Arm({.status = -11});
    EXPECT_EQ(Call(host, 7), (Answer{0, 7, 0}));
    host.faulty.Arm({.status = -5});
    EXPECT_EQ(Call(host, 7), (Answer{0, 7, -1004}));
    host.faulty.Arm(kNoFault);
    EXPECT_EQ(Call(host, 0xFFFFFFFF, 6), (Answer{6, 0, 0}));
    EXPECT_EQ(host.Text(), Unit("last", 0));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(Call(host, 7), kEnd);
  }
}

TEST(TextPath, WhatCannotBePlayedIsLeftAlone) {
  const AviFile scanned = AviBuilder().Video({.fourcc = "DXSB"}).Chunk(0, "text", true, "sb").Build();
  EXPECT_EQ(Call(Host(scanned), 7), kEnd);  // only chunks named as video are found
  LogCapture log("4");
  const AviFile video = AviBuilder().Video({.fourcc = "dxsb"}).Chunk(0, "text").OldIndex().Build();
  EXPECT_EQ(Call(Host(video), 0x100000007), (Answer{77, 0x100000007, 0}));
  EXPECT_EQ(log.Count("[GetTextData] *pLen :77, *pTimestampMs :4294967303 "), 1u);
}

}  // namespace
