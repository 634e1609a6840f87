#include <gtest/gtest.h>

#include "tests/support/host.h"
#include "tests/support/log_capture.h"
#include "tests/support/sources.h"

namespace {

// Length, time and status of one call that is given `time` and, as a length, 77.
using Answer = std::tuple<unsigned long, unsigned long, int>;
Answer Call(IParser* parser, unsigned long time, unsigned long maxLen = 100) {
  unsigned char buf[100];
  unsigned long len = 77;
  const int status = parser->GetTextData(buf, &len, &time, maxLen);
  return {len, time, status};
}

TEST(TextPath, SamplesComeInOrderWithTheHostsOwnTime) {
  for (const bool indexed : {true, false}) {
    AviBuilder builder;
    builder.Video().Video({.fourcc = indexed ? "DXSB" : "DXSA"}).Chunk(0, "I").Chunk(1, "[one]").Chunk(0, "P");
    builder.Chunk(1, "[two2]").Chunk(1, "last");
    if (indexed) builder.OldIndex();
    MemorySource memory(builder.Build());
    FaultySource source(memory);
    OpenedParser parser(&source);
    EXPECT_EQ(Call(parser, 0x100000005), Answer(5, 5, 0));
    EXPECT_EQ(Call(parser, 7, 5), Answer(0, 0xFFFFFFFF, -1011));  // too large a sample looks like the end
    source.Arm({.status = -11});
    EXPECT_EQ(Call(parser, 7), Answer(0, 7, 0));
    source.Arm({.status = -5});
    EXPECT_EQ(Call(parser, 7), Answer(0, 7, -1004));
    source.Arm({.first = SIZE_MAX});
    EXPECT_EQ(Call(parser, 0xFFFFFFFF, 6), Answer(6, 0, 0));
    EXPECT_EQ(Pull(parser, AVI_TRACK_TEXT), Unit("last", 0));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(Call(parser, 7), Answer(0, 0xFFFFFFFF, -1011));
  }
}

TEST(TextPath, WhatCannotBePlayedIsLeftAlone) {
  MemorySource scanned(AviBuilder().Video({.fourcc = "DXSB"}).Chunk(0, "text", true, "sb").Build());
  EXPECT_EQ(Call(OpenedParser(&scanned), 7), Answer(0, 0xFFFFFFFF, -1011));  // only chunks named as video are found
  LogCapture log("4");
  MemorySource video(AviBuilder().Video({.fourcc = "dxsb"}).Chunk(0, "text").OldIndex().Build());
  EXPECT_EQ(Call(OpenedParser(&video), 0x100000007), Answer(77, 0x100000007, 0));
  EXPECT_EQ(log.Count("[GetTextData] *pLen :77, *pTimestampMs :4294967303 "), 1u);
}

}  // namespace
