#include <gtest/gtest.h>

#include "tests/support/core_file.h"
#include "tests/support/log_capture.h"

namespace {

// The list of streams behind the header is in it, too.
Bytes File(const Bytes& avih, const Bytes& more) { return Riff("AVI ", List("hdrl", Join({avih, more}))); }

TEST(MainHeader, IsTakenOnceAndAtItsSize) {
  const Bytes stream = List("strl", Join({Chunk("strh", Strh({})), Chunk("strf", Strf(VideoFormat{}))}));
  const Bytes one = Avih({.streams = 1}), avih = Chunk("avih", one), many = Chunk("avih", Avih({.streams = 1u << 31}));
  const std::string again = "E [AVI] Another RIFF AVI -> skip another RIFF|";
  const std::string size = "E ERROR! ParseChunk() 'avih' not valid|";
  const std::string number = "E [AVI] m_aStream allocate Error -> ParseChunkAviHdr|";
  const std::string failed = "E [AVI] Error -> ParseChunkAviHdr :: nRead(-5)|";
  const std::string empty = "E [AVI] Error -> ParseChunkAviHdr :: nRead(0)|";
  const struct {
    const char* name;
    Bytes file;
    Fault fault = kNoFault;  // read 3 is of the header
    int result;
    std::string log = {};  // its beginning
  } kRows[] = {
      {.name = "twice", .file = File(avih, Join({avih, stream})), .result = 1, .log = again},
      {.name = "long", .file = File(Chunk("avih", Join({one, Bytes(4)})), stream), .result = 0, .log = size},
      {.name = "short", .file = File(Chunk("avih", Head(one, 55)), {}), .result = 1, .log = size},  // no streams either
      {.name = "a negative number of streams", .file = File(many, {}), .result = 0, .log = number},
      {.name = "failed", .file = File(avih, stream), .fault = OnRead(3, {.status = -5}), .result = 0, .log = failed},
      {.name = "nothing read", .file = File(avih, stream), .fault = OnRead(3, {.most = 0}), .result = 0, .log = empty},
      {.name = "half read", .file = File(avih, stream), .fault = OnRead(3, {.most = 25}), .result = 1},
  };
  for (const auto& row : kRows) {
    LogCapture log;
    EXPECT_EQ(CoreFile(row.file, row.fault).result, row.result) << row.name;
    EXPECT_EQ(log.Take().substr(0, row.log.size()), row.log) << row.name;
  }
}

}  // namespace
