#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/complexity.h"
#include "tests/support/core_file.h"
#include "tests/support/elementary.h"
#include "tests/support/heap_watch.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

// What an open may cost, whatever a file claims: memory and reads, and the bounds one below and one above.

namespace {

Cost OpenCost(const Bytes& file) { return Meter({file}).Open(); }

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
  EXPECT_EQ(OpenCost(WithStreams(100)).status, 0);
  EXPECT_EQ(OpenCost(WithStreams(101)).status, -1);

  // The main group is the first of the lists open at once.
  EXPECT_EQ(OpenCost(Riff("AVI ", Nested(63))).status, 0);
  EXPECT_EQ(OpenCost(Riff("AVI ", Nested(64))).status, -1);

  // The tree's nodes: the group is one of them.
  const Bytes tiny = Chunk("tiny", "xxxx");
  EXPECT_EQ(OpenCost(Riff("AVI ", Repeat(tiny, (1u << 20) - 1))).status, 0);
  EXPECT_EQ(OpenCost(Riff("AVI ", Repeat(tiny, 1u << 20))).status, -1);

  // A format: 16 MiB are taken, a byte more is not, and the file still opens.
  for (const uint32_t size : {16u << 20, (16u << 20) + 1}) {
    AviBuilder builder;
    builder.RawStream(Join({Chunk("strh", Strh({.type = "vids"})), Chunk("strf", Bytes(size, 'x'))}));
    const Cost cost = OpenCost(builder.Build());
    EXPECT_EQ(cost.status, 0);
    EXPECT_EQ(cost.heap > (16u << 20), size == 16u << 20) << size;
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
    const Cost cost = OpenCost(file);
    EXPECT_LE(cost.heap, 16 * file.size() + (40u << 20)) << name;
    EXPECT_LE(cost.reads, file.size() + 2000) << name;
  }
}

/// A movie whose streams have an index of chunks each that claims so many entries; `rest` ends the file.
Bytes WithIndexes(const std::vector<uint32_t>& entries, size_t rest, bool fields = false) {
  Bytes header = Chunk("avih", Avih({.streams = static_cast<uint32_t>(entries.size())}));
  for (const uint32_t count : entries) {
    const Bytes index = Join({Le16(fields ? 3 : 2), Bytes{fields, 1}, Le32(count), "00dc", Bytes(12)});
    Append(header,
           List("strl", Join({Chunk("strh", Strh({})), Chunk("strf", Strf(VideoFormat{})), Chunk("indx", index)})));
  }
  return Avi(header, Chunk("JUNK", Bytes(rest, 1)));
}

TEST(Limits, IndexTablesOfFourTimesTheFileAreRead) {
  const size_t head = WithIndexes(std::vector<uint32_t>(5, 800), 0).size();
  // Five tables of 6400 bytes, of which each is in the file.
  for (const size_t size : {8000u, 7998u}) {
    const Bytes file = WithIndexes(std::vector<uint32_t>(5, 800), size - head);
    ASSERT_EQ(file.size(), size);
    CoreFile movie(file);
    EXPECT_EQ(movie->GetIndexType(), size == 8000 ? 2u : 0u);
    EXPECT_EQ(movie.Index(3).size(), 800u);
    EXPECT_EQ(movie.Index(4).size(), size == 8000 ? 800u : 0u);
  }
}

/// Of unknown length, while its main group claims 2 GiB.
SparseSource Endless(Bytes file) {
  const Bytes claimed = Le32(0x7FFFFFF0);
  std::copy(claimed.begin(), claimed.end(), file.begin() + 4);
  MemorySource source(file);
  source.Stream(0);
  return source;
}

TEST(Limits, IndexesOfAFileOfUnknownLengthHaveFixedBounds) {
  constexpr uint32_t k64MiB = 8388608;  // in entries of 8 bytes
  const struct {
    const char* name;
    std::vector<uint32_t> entries;
    bool fields = false;
    uint32_t type;
  } kRows[] = {
      {.name = "a table of 64 MiB", .entries = {k64MiB}, .type = 2},
      {.name = "a larger one", .entries = {k64MiB + 1}, .type = 0},
      {.name = "of fields", .entries = {5592405}, .fields = true, .type = 2},
      {.name = "a larger one of fields", .entries = {5592406}, .fields = true, .type = 0},
      {.name = "256 MiB in all", .entries = {k64MiB, k64MiB, k64MiB, k64MiB - 1, 1}, .type = 2},
      {.name = "more", .entries = {k64MiB, k64MiB, k64MiB, k64MiB, 1}, .type = 0},
  };
  for (const auto& row : kRows) {
    CoreFile movie(Endless(WithIndexes(row.entries, 100, row.fields)));
    EXPECT_EQ(movie->GetIndexType(), row.type) << row.name;
  }

  // Two index chunks of a super index; the first gives 15 entries, up to the end of the file.
  for (const uint32_t second : {k64MiB - 15, k64MiB - 14}) {
    const auto chunk = [](uint32_t count) {
      return Chunk("ix00", Join({Le16(2), Bytes{0, 1}, Le32(count), "00dc", Bytes(12)}));
    };
    AviBuilder builder;
    builder.Video().InStream(Chunk("indx", Join({Le16(4), Le16(0), Le32(2), "00dc", Bytes(12 + 32)})));
    AviFile file = builder.AfterMovi(Join({chunk(1000), chunk(second), Chunk("JUNK", Bytes(80))})).Build();
    for (size_t i = 0; i < 2; ++i) file.Put(file.Find("indx") + 32 + 16 * i, Le64(file.Find("ix00", i)));
    EXPECT_EQ(CoreFile(Endless(file)).Index(0).size(), second == k64MiB - 15 ? 15u + 11u : 15u);
  }

  const Bytes head = Join({Chunk("avih", Avih({.streams = 1})), List("strl", Chunk("strh", Strh({})))});
  for (const uint32_t mebibytes : {32u, 64u, 65u, 4095u}) {
    const Bytes index = Chunk("idx1", Bytes(64), mebibytes << 20);
    const long before = HeapWatch::StartPeak();
    const Host host(Endless(Avi(head, Join({List("movi", ""), index}))), {.open = {}});
    const long table = HeapWatch::Peak() - before;
    EXPECT_NEAR(static_cast<double>(table >> 20), std::min(mebibytes, 64u), 1) << mebibytes;
  }
}

TEST(Limits, CopiesFromAFileOfUnknownLengthHaveFixedBounds) {
  const auto largest = [](const SparseSource& source) {
    uint64_t most = 0;
    for (const ReadCall& read : source.reads) most = std::max(most, read.length);
    return most;
  };
  constexpr uint32_t k16MiB = 16u << 20;
  for (const uint32_t size : {k16MiB - 1, k16MiB, k16MiB + 1}) {
    SCOPED_TRACE(size);
    AviBuilder video, sound;
    video.Video().IndexEntry("00dc", 16, 4, size).OldIndex();
    sound.Audio({.tag = 0x55}).IndexEntry("00wb", 16, 4, size).OldIndex();
    const Host host(Endless(video.Build()));
    unsigned long length = 0;
    host->GetVideoConfig(nullptr, &length, 0);
    EXPECT_EQ(largest(host.source), std::min(size, k16MiB));
    CoreFile movie(Endless(sound.Build()));
    movie->FindFirstDataMP3(0);
    EXPECT_EQ(largest(movie.source), std::min(size, k16MiB));
    for (const char* id : {"strd", "strn"}) {
      const Bytes kept = AviBuilder().Video().InStream(Chunk(id, "x", size)).Build();
      const uint64_t read = largest(Host(Endless(kept), {.open = {}}).source);
      EXPECT_EQ(read, size <= k16MiB ? size : 56) << id;  // too much: the largest is a header's
    }
  }
}

struct Track {
  const char* name;
  uint32_t tag;
  Bytes frame, refused;
  std::string line;  ///< about `refused`
};
const Track kFramed[] = {
    {"MP3",
     0x55,
     Frame({0xFF, 0xFB, 0x90, 0}, 417, 1),
     {0xFF, 0xFB, 0x94, 0, 0, 0, 0, 0},
     "[DetectedMp3StartCode] Sampling rate is differ than configuration. default: 44100 detect : 48000"},
    {"AC-3",
     0x2000,
     Frame({0x0B, 0x77, 0, 0, 0, 0x40}, 128, 1),
     {0x0B, 0x77, 0, 0, 0, 0x48, 0, 0},
     "DetectedAC3StartCode bsid is invalid"},
};

/// A track of `count` chunks with `payload`, all in one place, and one with a frame behind them.
Feed ChunksBeforeAFrame(const Track& track, const Bytes& payload, size_t count) {
  const Bytes first = Chunk("00wb", payload);
  return {Movie({AudioStream(track.tag)}, OldIndexed(Join({first, Chunk("00wb", track.frame)}),
                                                     Join({Repeat(OldEntry("00wb", 4, payload.size()), count),
                                                           OldEntry("00wb", 4 + first.size(), track.frame.size())})))};
}

TEST(Limits, ASearchForAFrameGivesUpBehindAMegabyteOrAThousandChunks) {
  // Ten searches in a call: of four chunks that are a megabyte and one more, of four that are longer, of a
  // thousand.
  struct {
    size_t chunk, perCall;
  } const kRows[] = {{1u << 18, 50}, {(1u << 18) + 1, 40}, {8, 10000}};
  for (const Track& track : kFramed) {
    for (const auto& row : kRows) {
      SCOPED_TRACE(track.name + std::string(", chunks of ") + std::to_string(row.chunk));
      Bytes payload = track.refused;
      payload.resize(row.chunk);
      Meter within(ChunksBeforeAFrame(track, payload, row.perCall - 1));
      within.Open();
      EXPECT_EQ(within.Get(AVI_TRACK_AUDIO).length, track.frame.size());

      Meter beyond(ChunksBeforeAFrame(track, payload, row.perCall));
      beyond.Open();
      const Cost given = beyond.Get(AVI_TRACK_AUDIO);
      EXPECT_EQ(given.status, 0);
      EXPECT_EQ(given.length, 0u);
      EXPECT_EQ(given.reads, row.perCall);
      EXPECT_EQ(given.timeMs, (row.perCall - 1) * row.chunk / 16);  // 16 bytes are a millisecond
      const Cost next = beyond.Get(AVI_TRACK_AUDIO);
      EXPECT_EQ(next.length, track.frame.size());
      EXPECT_EQ(next.timeMs, row.perCall * row.chunk / 16);
    }
  }
}

TEST(Limits, ACallWritesALineAboutAHeaderAHundredTimes) {
  struct {
    Bytes payload;
    std::string line;
  } const kRows[] = {{kFramed[0].refused, kFramed[0].line},
                     {kFramed[0].refused, "[DetectedMp3StartCode] Start code not found."},
                     {Bytes(2), "[DetectedMp3StartCode] unavailable value - [2]"},
                     {kFramed[1].refused, kFramed[1].line},
                     {kFramed[1].refused, "AC3 Start code not found."},
                     {{0x0B, 0x77, 0, 0, 0xFF, 0, 0, 0}, "DetectedAC3StartCode Get abnormal frame size."},
                     {Bytes(2), "[DetectedAC3StartCode] unavailable value - [2]"}};
  for (const auto& row : kRows) {
    const Track& track = kFramed[row.line.find("AC3") != std::string::npos];
    for (const size_t chunks : {99u, 100u, 101u}) {
      Meter meter(ChunksBeforeAFrame(track, row.payload, chunks));
      const LogCapture log;
      meter.Open();
      for (const char* call : {"first", "after a seek"}) {
        const size_t before = log.Count(row.line);
        meter.Get(AVI_TRACK_AUDIO);
        EXPECT_EQ(log.Count(row.line) - before, std::min<size_t>(chunks, 100)) << row.line << ", " << call;
        meter->Seek(0, AVI_TRACK_AUDIO, 0);
      }
    }
  }
}

TEST(Limits, AGrowingIndexIsCopiedNoMoreThanTwice) {
  // Of the 9000 tables that this index has each brings one entry, of 16 bytes.
  constexpr size_t kTables = 9000;
  Meter meter(ComplexityFiles()[4].make(56 * kTables));
  const Cost open = meter.Open();
  EXPECT_EQ(open.status, 0);
  EXPECT_GE(open.copied, 16 * kTables);
  EXPECT_LE(open.copied, 3 * 16 * kTables);
}

TEST(Limits, AWalkWithoutAnEndEnds) {
  const std::string kList = "[AVI] Error -> NewSRIFFNode(sRiff)";
  struct {
    const char* name;
    Bytes front, unit;
    std::string text, last;
    size_t readsPerStep;
  } const kRows[] = {
      {"lists", {}, Join({"LIST", Le32(0)}), "ParseChild LIST ERROR - dwSize is 0... Read next byte", kList, 1},
      {"chunks", {}, Chunk("JUNK", ""), "Found new FOURCC with next offset 0", kList + " : Chunk", 2},
      {"groups", Movie({}, ""), Riff("AVI ", ""), "ERROR! pParent->pChild, pNodePrev->pNext is not valid", kList, 1},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Meter meter({.bytes = row.front, .endless = row.unit, .streaming = true});
    LogCapture log("5");
    const Cost open = meter.Open();
    EXPECT_EQ(open.status, -1);
    EXPECT_GE(open.reads, row.readsPerStep << 20);
    EXPECT_LE(open.reads, (row.readsPerStep << 20) + 5);
    EXPECT_EQ(log.Count(row.text), 1000u);
    std::vector<LogLine> lines = log.Lines();
    EXPECT_EQ(lines[lines.size() - 2].text, row.last);
  }
}

TEST(Limits, OnlyTheSourcesOwnLengthCounts) {
  for (const ComplexityFile& file : ComplexityFiles()) {
    if (file.name != std::string("gigabytes claimed, streamed")) continue;
    Meter claimed(file.make(260));
    EXPECT_EQ(claimed.Open().largest, 64u << 20);
  }
  // A file that has grown when its movi list is met, with either index behind what was seen first.
  AviBuilder builder;
  builder.Video();
  for (int i = 0; i < 100; ++i) builder.Chunk(0, "frame");
  AviBuilder openDml = builder;
  for (const AviFile& file : {builder.OldIndex().Build(), openDml.ChunkIndex(0).Build()}) {
    for (const uint64_t seen : {file.movi + 4, file.movi + 700}) {
      Meter growing({.bytes = file.bytes, .seen = {static_cast<int64_t>(seen)}});
      growing.Open();
      EXPECT_EQ(growing->GetTrackInfo(0)->video.bSeekable, 1u) << "no index";
      size_t frames = 0;
      while (growing.Get(AVI_TRACK_VIDEO).length != 0) ++frames;
      EXPECT_EQ(frames, 100u) << seen << " of " << file.bytes.size();
    }
  }
}

TEST(Limits, TheSearchForAFirstChunkIsMadeOnce) {
  constexpr size_t kOthers = 5000, kEmpty = 1000;
  const Bytes movi = Join({Repeat(Chunk("01wb", "x"), kOthers), Repeat(Chunk("00wb", ""), kEmpty + 2)});
  // The group is said to be larger than a buffer: a read at 0 must not be taken for a chunk's.
  Meter meter({Movie({AudioStream(0x55)}, List("movi", movi), 1u << 21)});
  meter.Open();
  const Cost first = meter.Get(AVI_TRACK_AUDIO);
  EXPECT_EQ(first.status, AVI_END_OF_STREAM);
  EXPECT_EQ(first.reads, kOthers + kEmpty);
}

}  // namespace
