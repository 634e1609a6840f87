#include "source/source_reader.h"

#include <gtest/gtest.h>

#include "tests/support/log_capture.h"
#include "tests/support/sources.h"

namespace {

struct SourceReader : testing::Test {
  SourceReader() : source(Join({Bytes(995), "56789"})), faulty(source), reader(&faulty) {}
  struct Step {
    long offset;
    int origin;
    unsigned size;
    int result;
    long position;  // behind the read
  };
  void Run(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      EXPECT_EQ(reader.AVI_fseek(step.offset, step.origin), 0) << step.offset << " from " << step.origin;
      EXPECT_EQ(reader.AVI_fread(buffer, step.size, 1), step.result) << step.offset << " from " << step.origin;
      EXPECT_EQ(reader.AVI_ftell(), step.position) << step.offset << " from " << step.origin;
    }
  }
  std::string Log() { return log.Take("ZUAVISourceReader"); }

  LogCapture log;
  MemorySource source;
  FaultySource faulty;
  AVISourceReader reader;
  char buffer[256] = {};
};

TEST_F(SourceReader, StaysWithinTheLengthAndThenTheGroup) {
  Run({{10, 0, 1, 0, 0}});  // the length is not known yet
  EXPECT_EQ(Log(), "E [mossgrove] AVI_fseek mlOffset(10)> mlOffsetEnd(0)|E END|");
  EXPECT_EQ(reader.AVI_FileLength_hdl(), 1000);
  Run({{100, 0, 4, 4, 104}, {-40, 1, 1, 1, 65}, {-8, 2, 3, 3, 995}, {5, 7, 100, 5, 1000}});
  EXPECT_EQ(std::string(buffer, 5), "56789");
  Run({{0, 1, 1, 0, 1000}, {1, 1, 1, 0, 1000}, {-1001, 1, 1, 0, 1000}, {700, 0, 1, 1, 701}});
  EXPECT_EQ(Log(),
            "E END|E [mossgrove] AVI_fseek mlOffset(1001)> mlOffsetEnd(1000)|E END|"
            "E [mossgrove] AVI_fseek mlOffset(18446744073709551615)> mlOffsetEnd(1000)|E END|");
  reader.AVI_FileGroupSize_set(600);  // counts from the next look at the length on
  Run({{0, 1, 1, 1, 702}});
  EXPECT_EQ(reader.AVI_FileLength_hdl(), 600);
  Run({{5, 7, 1, 0, 600}, {-8, 2, 100, 8, 600}});  // an unknown origin moves nothing, yet the position is clamped
  EXPECT_EQ(source.reads, (std::vector<ReadCall>{{100, 4}, {64, 1}, {992, 3}, {995, 5}, {700, 1}, {701, 1}, {592, 8}}));
}

TEST_F(SourceReader, MovesByWhatCameAndPassesFailuresOn) {
  reader.AVI_FileLength_hdl();
  faulty.Arm({.most = 3});
  Run({{20, 0, 10, 3, 23}});
  faulty.Arm({.claim = 500});  // a source that says it wrote beyond the buffer
  Run({{20, 0, 10, 10, 30}});
  debug_level = 3;
  for (const int status : {-1011, -11, -5}) {
    faulty.Arm({.status = status});
    Run({{20, 0, 10, status, 20}});
  }
  EXPECT_EQ(Log(), "D AVI_fread EOS|E AVI_fread IO ERROR - -11|E AVI_fread IO ERROR - -5|");
}

TEST_F(SourceReader, AStreamOfUnknownLengthHasNoEndOnceReadFrom) {
  source.Stream();
  EXPECT_EQ(reader.AVI_FileLength_hdl(), 0);
  Run({{50, 0, 4, 4, 4}});  // only a read asks whether the source streams
  Run({{5000, 0, 4, -1011, 5000}, {998, 0, 0xC0000000, 2, 1000}, {-16, 0, 4, -1004, -16}});
  EXPECT_EQ(source.reads, (std::vector<ReadCall>{{0, 4}, {5000, 4}, {998, 0x7FFFFFFF}, {-16, 4}}));
  reader.AVI_FileGroupSize_set(300);
  reader.AVI_FileLength_hdl();
  Run({{298, 0, 4, 2, 300}, {500, 0, 4, 0, 300}});
}

TEST_F(SourceReader, EveryTraceHasABit) {
  for (debug_level = 1; debug_level <= 8; debug_level *= 2) {
    AVISourceReader traced(&source);
    traced.AVI_FileLength_hdl();
    traced.AVI_FileGroupSize_set(900);
    traced.AVI_fseek(-1, 2);
    traced.AVI_fread(buffer, 2, 3);
    traced.AVI_ftell();
    traced.AVI_IsStreamingSource();
  }
  EXPECT_EQ(Log(),
            "I AVI_FileLength_hdl GroupSize = 900|D [mossgrove] AVI_FileGroupSize_set filelength: 900, mlOffsetEnd: "
            "1000|D AVI_IsStreamingSource() isStreamingSource=0|V [mossgrove] AVIfseek ret_len :1000, mlOffsetEnd:0|"
            "V [mossgrove] AVIfseek ret_len :1000, mlOffsetEnd:1000|V called AVI_ftell|V [mossgrove] AVIfseek offset "
            ":-1, origin:2|V AVI_fseek end|V AVI_fread Start|V AVI_fread size 2 mlOffset 899 mlOffsetEnd 900|"
            "V AVI_fread End|");
}

TEST_F(SourceReader, WhatWouldWrapEndsTheProcess) {
  const auto abort = testing::KilledBySignal(SIGABRT);
  EXPECT_EXIT(reader.AVI_fread(buffer, 0x10000, 0x10000), abort, "");
  reader.AVI_FileGroupSize_set(INT64_MAX);
  EXPECT_EXIT(reader.AVI_fseek(1, 2), abort, "");
  reader.AVI_fseek(0, 2);
  EXPECT_EXIT(reader.AVI_fseek(1, 1), abort, "");
}

}  // namespace
