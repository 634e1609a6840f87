#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/heap_watch.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

// What an open may cost, whatever a file claims: memory and reads, and the bounds one below and one above.

namespace {

struct Cost {
  int open;
  int tracks;
  size_t peakBytes;
  size_t reads;
};

Cost OpenCost(SparseSource source) {
  const LogCapture silence("0");
  const long before = HeapWatch::StartPeak();
  const Host host(std::move(source), {.open = {}});
  const size_t peak = static_cast<size_t>(HeapWatch::Peak() - before);
  return {host.opened, host->GetTrackCount(), peak, host.source.reads.size()};
}

Bytes Repeat(const Bytes& unit, size_t times) {
  Bytes all;
  all.reserve(unit.size() * times);
  for (size_t i = 0; i < times; ++i) Append(all, unit);
  return all;
}

Bytes Avi(const Data& header, const Data& rest = "") { return Riff("AVI ", Join({List("hdrl", header), rest})); }

AviFile WithStreams(unsigned count) {
  AviBuilder builder;
  for (unsigned i = 0; i < count; ++i) builder.Video();
  return builder.Build();
}

Bytes Nested(int depth) {
  Bytes inner = Chunk("JUNK", "x");
  for (int i = 0; i < depth; ++i) inner = List("deep", inner);
  return inner;
}

TEST(Limits, EachIsKeptOneBelowAndMetOneAbove) {
  EXPECT_EQ(OpenCost(SparseSource(WithStreams(100))).tracks, 100);
  EXPECT_EQ(OpenCost(SparseSource(WithStreams(101))).open, -1);

  // The main group is the first of the lists open at once.
  EXPECT_EQ(OpenCost(MemorySource(Riff("AVI ", Nested(63)))).open, 0);
  EXPECT_EQ(OpenCost(MemorySource(Riff("AVI ", Nested(64)))).open, -1);

  // The tree's nodes: the group is one of them.
  const Bytes tiny = Chunk("tiny", "xxxx");
  EXPECT_EQ(OpenCost(MemorySource(Riff("AVI ", Repeat(tiny, (1u << 20) - 1)))).open, 0);
  EXPECT_EQ(OpenCost(MemorySource(Riff("AVI ", Repeat(tiny, 1u << 20)))).open, -1);

  // A format: 16 MiB are taken, a byte more is not, and the file still opens.
  for (const uint32_t size : {16u << 20, (16u << 20) + 1}) {
    AviBuilder builder;
    builder.RawStream(Join({Chunk("strh", Strh({.type = "vids"})), Chunk("strf", Bytes(size, 'x'))}));
    const Cost cost = OpenCost(SparseSource(builder.Build()));
    EXPECT_EQ(cost.open, 0);
    EXPECT_EQ(cost.peakBytes > (16u << 20), size == 16u << 20) << size;
  }
}

TEST(Limits, AnOpenCostsWhatTheFileIsWorth) {
  constexpr uint32_t kHuge = 0xFFFFFFF0;
  const Bytes videoHeader = Chunk("strh", Strh({.type = "vids"}));
  const Bytes audioHeader = Chunk("strh", Strh({.type = "auds"}));
  const Bytes head = Chunk("avih", Avih({.streams = 1}));
  const Bytes video = List("strl", Join({videoHeader, Chunk("strf", Strf(VideoFormat{}))}));
  const auto withStream = [&](const Data& stream, const Data& rest) {
    return Avi(Join({head, List("strl", stream)}), rest);
  };
  // A super index of many entries that all name one index chunk, which lies at a position found by building twice.
  AviBuilder repeated;
  repeated.Video();
  for (int i = 0; i < 200; ++i) repeated.Chunk(0, "frame");
  AviFile repeats = repeated.ChunkIndex(0).Build();
  const uint64_t ix = repeats.Find("ix00");
  Bytes super = Join({Le16(4), Bytes{0, 0}, Le32(4000), "00dc", Bytes(12)});
  Append(super, Repeat(Join({Le64(ix), Le32(1632), Le32(200)}), 4000));

  std::vector<std::pair<std::string, Bytes>> files = {
      {"strf of 16 MiB declared", withStream(Join({audioHeader, Chunk("strf", "x", 16u << 20)}), "")},
      {"strd, strn of 4 GiB declared", withStream(Join({videoHeader, Chunk("strd", "x", kHuge)}), "")},
      {"idx1 of 4 GiB declared", Avi(Join({head, video}), Join({List("movi", ""), Chunk("idx1", Bytes(64), kHuge)}))},
      {"indx of 4e9 entries declared",
       withStream(Join({videoHeader, Chunk("indx", Join({Le16(2), Bytes{0, 1}, Le32(kHuge), "00dc", Bytes(12)}))}),
                  "")},
      {"one index chunk named 4000 times", withStream(Join({videoHeader, Chunk("indx", super)}), repeats.bytes)},
      {"tiny chunks", Riff("AVI ", Repeat(Chunk("tiny", "x"), 50000))},
      {"zero-size lists", Riff("AVI ", Repeat(Join({"LIST", Le32(0)}), 50000))},
      {"zero-size chunks", Riff("AVI ", Repeat(Join({"JUNK", Le32(0)}), 50000))},
      {"a search behind each of many sizes", Riff("AVI ", Repeat(Join({"JUNK", Le32(0), Bytes(900, 'z')}), 300))},
      {"many formats in one stream", withStream(Join({audioHeader, Repeat(Chunk("strf", Bytes(1000, 1)), 500)}), "")},
  };
  for (const auto& [name, file] : files) {
    const Cost cost = OpenCost(MemorySource(file));
    EXPECT_LE(cost.peakBytes, 16 * file.size() + (40u << 20)) << name;
    EXPECT_LE(cost.reads, file.size() + 2000) << name;
  }
}

}  // namespace
