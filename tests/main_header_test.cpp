#include <gtest/gtest.h>

#include "tests/support/core_file.h"
#include "tests/support/log_capture.h"

namespace {

// The file's only stream is in the header list.
Bytes File(const Bytes& avih, const Bytes& more) { return Riff("AVI ", List("hdrl", Join({avih, more}))); }

TEST(MainHeader, IsTakenOnceAtItsSizeAndWithinBounds) {
  const Bytes stream = List("strl", Join({Chunk("strh", Strh({})), Chunk("strf", Strf(VideoFormat{}))}));
  const Bytes one = Avih({.streams = 1}), avih = Chunk("avih", one);
  const auto streams = [&](uint32_t declared, int described) {
    Bytes lists;
    for (int i = 0; i < described; ++i) Append(lists, stream);
    return File(Chunk("avih", Avih({.streams = declared})), lists);
  };
  const std::string again = "E [AVI] Another RIFF AVI -> skip another RIFF|";
  const std::string size = "E ERROR! ParseChunk() 'avih' not valid|";
  const std::string number = "E [AVI] m_aStream allocate Error -> ParseChunkAviHdr|";
  const std::string failed = "E [AVI] Error -> ParseChunkAviHdr :: nRead(-5)|";
  const std::string empty = "E [AVI] Error -> ParseChunkAviHdr :: nRead(0)|";
  const struct {
    const char* name;
    Bytes file;
    Fault fault = kNoFault;  // of read 3: first, last, status, most
    int result;
    std::string log = {};  // its beginning
  } kRows[] = {
      {.name = "twice", .file = File(avih, Join({avih, stream})), .result = 1, .log = again},
      {.name = "long", .file = File(Chunk("avih", Join({one, Bytes(4)})), stream), .result = 0, .log = size},
      {.name = "short", .file = File(Chunk("avih", Head(one, 55)), {}), .result = 1, .log = size},  // no streams either
      {.name = "100 streams", .file = streams(100, 100), .result = 1},
      {.name = "101 streams", .file = streams(101, 101), .result = 0, .log = number},
      {.name = "a negative number of streams", .file = streams(0x80000000, 0), .result = 0, .log = number},
      {.name = "failed read", .file = streams(1, 1), .fault = {3, 3, -5}, .result = 0, .log = failed},
      {.name = "empty read", .file = streams(1, 1), .fault = {3, 3, 0, 0}, .result = 0, .log = empty},
      {.name = "short read", .file = streams(1, 1), .fault = {3, 3, 0, 25}, .result = 1},
  };
  for (const auto& row : kRows) {
    LogCapture log;
    EXPECT_EQ(CoreFile(row.file, row.fault).result, row.result) << row.name;
    EXPECT_EQ(log.Take().substr(0, row.log.size()), row.log) << row.name;
  }
}

}  // namespace
