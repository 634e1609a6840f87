#include <gtest/gtest.h>

#include "tests/support/core_file.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

namespace {

const std::string kFailed = "E [AVI] Error -> New Index parsing error. Index type set to NONE|";
const std::string kNotRead = "W [AVI] aFieldIdx/aStdIdx fread fail -> ParseChunkNewIdx :: nRead(0)|";

// `types`: longs per entry, sub-type (1: fields), type (0: of indexes, 1: of chunks).
Bytes Index(const Bytes& types, size_t count, const std::string& id, uint64_t base, const Bytes& entries) {
  return Join({Le16(types[0]), Bytes{types[1], types[2]}, Le32(count), id, Le64(base), Le32(0), entries});
}
Bytes ChunkIndex(size_t entries, uint64_t base = 1000) {
  Bytes table;
  for (size_t i = 0; i < entries; ++i) Append(table, Join({Le32(8 + i), Le32(5)}));
  return Index({2, 0, 1}, entries, "00dc", base, table);
}

TEST(OpenDmlIndex, JoinsTheChunkIndexesOfAllGroupsBeyond4GiB) {
  for (const bool field : {false, true}) {
    AviBuilder movie = AviBuilder().Video().Audio({.blockAlign = 1}, StreamHeader{.rate = 50, .sampleSize = 1});
    movie.Chunk(0, "I0").Chunk(1, "a0").Chunk(0, "P1", false).Chunk(0, "I2").ChunkIndex(0, field).ChunkIndex(1);
    movie.NextRiff().Chunk(0, "P3", false).ChunkIndex(0, field);
    movie.NextRiff(0x123456789A).Chunk(1, "a1").Chunk(0, "I4").ChunkIndex(0).ChunkIndex(1);
    SCOPED_TRACE(field);
    Host host(movie.Build());
    unsigned long ms = 0;
    host->GetDurationMs(&ms);
    EXPECT_EQ(ms, 200u);  // of the video's index alone
    EXPECT_EQ(host.Rest(AVI_TRACK_VIDEO), (Units{{"I0", 0}, {"P1", 40}, {"I2", 80}, {"P3", 120}, {"I4", 160}}));
    host->Seek(160, AVI_TRACK_VIDEO, 0);
    EXPECT_EQ(host.Rest(AVI_TRACK_VIDEO), (Units{{"I4", 160}}));
    EXPECT_EQ(host.Rest(AVI_TRACK_AUDIO), (Units{{"a0", 0}, {"a1", 0}}));
  }
}

TEST(OpenDmlIndex, AnIndexChunkIsTakenAsItSaysOrNotAtAll) {
  const Entries two = {{1008, 5}, {1020, 0x80001000}}, old = {{0xFFFFFFF0, 7}};
  const Bytes standard = Join({Le32(8), Le32(5), Le32(20), Le32(0x80001000)});
  const Bytes fields = Join({Le32(8), Le32(5), Le32(9), Le32(20), Le32(0x80001000), Le32(21)});
  const std::string width = "E ERROR! ParseChunkNewIdx()AVI_INDEX_OF_CHUNKS (";
  const std::string known = ") SAVIFieldIndexEntry (12) SAVIStdIndexEntry (8)|" + kNotRead;
  const std::string narrow = "E ERROR! ParseChunkNewIdx()AVI_INDEX_OF_INDEXES (8) != (16)|";
  const std::string noRoom = "E [AVI] aSupIdx allocate Error -> ParseChunkNewIdx|";
  const std::string cut = "E [ParseChunkNewIdx] dwSize : 40|";
  const std::string failed = "W [AVI] aFieldIdx/aStdIdx fread fail -> ParseChunkNewIdx :: nRead(-5)|";
  const struct {
    const char* name;
    Bytes indx;
    Entries entries = {};  // none: those of the old index
    std::string log = {};
    Fault fault = kNoFault;
  } kRows[] = {
      {.name = "standard", .indx = Index({2, 0, 1}, 2, "00dc", 1000, standard), .entries = two},
      {.name = "of any stream", .indx = Index({2, 1, 1}, 2, "99dc", 1000, standard), .entries = two},
      {.name = "fields", .indx = Index({3, 1, 1}, 2, "01dc", 1000, fields), .entries = two},
      {.name = "fields, but standard", .indx = Index({3, 0, 1}, 2, "00dc", 1000, fields), .log = width + "12" + known},
      {.name = "wide", .indx = Index({4, 1, 1}, 2, "00dc", 1000, fields), .log = width + "16" + known},
      {.name = "unknown type", .indx = Index({2, 0, 2}, 2, "00dc", 1000, standard)},
      {.name = "narrow super index", .indx = Index({2, 0, 0}, 2, "00dc", 0, standard), .log = narrow},
      {.name = "largest base", .indx = ChunkIndex(1, 0x7FFFFFFEFFFFFFFF), .entries = {{0x7FFFFFFF00000007, 5}}},
      {.name = "larger base", .indx = ChunkIndex(1, 0x7FFFFFFF00000000), .log = kNotRead},
      {.name = "empty", .indx = ChunkIndex(0), .log = kNotRead},
      {.name = "more entries than bytes",
       .indx = Index({2, 0, 1}, 30, "00dc", 0, standard),
       .log = "W [AVI] aStdIdx allocate fail -> ParseChunkNewIdx|" + kNotRead},
      {.name = "more chunks than the file could hold", .indx = Index({2, 0, 1}, 0x20000001, "00dc", 0, standard)},
      {.name = "more indexes than bytes", .indx = Index({4, 0, 0}, 99, "00dc", 0, fields), .log = noRoom},
      {.name = "short header", .indx = ChunkIndex(2), .log = cut, .fault = OnRead(10, {.most = 23})},
      {.name = "short table", .indx = ChunkIndex(2), .entries = {{1008, 5}}, .fault = OnRead(11, {.most = 15})},
      {.name = "failed table", .indx = ChunkIndex(2), .log = failed, .fault = OnRead(11, {.status = -5})},
  };
  const std::string ignored = "E INFO! ParseChunk() 'idx1' not parsed(new index already parsed)|";
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    AviBuilder movie = AviBuilder().Video().InStream(Chunk("indx", row.indx)).IndexEntry("00dc", 16, 0xFFFFFFF0, 7);
    LogCapture log;
    CoreFile file(movie.OldIndex().Build(), row.fault);
    const bool taken = !row.entries.empty();
    EXPECT_EQ(file.Index(0), taken ? row.entries : old);
    EXPECT_EQ(file->GetIndexType(), taken ? 2u : 1u);
    EXPECT_EQ(file.MaxChunkSize(0), !taken ? 7u : row.entries == two ? 4096u : 5u);
    EXPECT_EQ(log.Take(), row.log + (taken ? ignored : kFailed));
  }
}

// A movie with chunk indexes of `first`, 1 and 0 entries, another of 1 at its very end, and a super index.
struct Super {
  explicit Super(uint32_t beyond = 0, size_t slots = 3, size_t first = 2, const std::string& id = "00dc") {
    AviBuilder movie = AviBuilder().Main({.microSecPerFrame = 1, .totalFrames = 5000});
    movie.Video().InStream(Chunk("indx", Index({4, 0, 0}, slots, id, 0, Bytes(16 * slots))));
    for (const size_t entries : {first, size_t{1}, size_t{0}}) movie.RawChunk("ix00", ChunkIndex(entries));
    file = movie.AfterMovi(Chunk("ix00", ChunkIndex(1), 32 + beyond)).Build();
    a = file.chunks[0], b = file.chunks[1], none = file.chunks[2], last = file.bytes.size() - 40;
    self = file.Find("indx");
  }
  size_t Count(const std::vector<uint64_t>& at, uint32_t duration = 1) {
    for (size_t i = 0; i < at.size(); ++i) file.Put(self + 32 + 16 * i, Join({Le64(at[i]), Le32(0), Le32(duration)}));
    LogCapture capture;
    CoreFile parsed(file);
    ms = parsed.Info().dwDuration;
    log = capture.Take();
    return parsed.Index(0).size();
  }
  AviFile file;
  uint64_t a, b, none, last, self;
  uint32_t ms = 0;
  std::string log;
};

TEST(OpenDmlIndex, ASuperIndexIsFollowedInItsOrderAsFarAsItLeads) {
  Super super;
  EXPECT_EQ(super.Count({super.a, super.b, super.last}, 0x80000000), 4u);
  EXPECT_EQ(super.ms, 6442450u);                               // microseconds beyond 32 bits
  EXPECT_EQ(super.Count({super.a, super.self, super.b}), 3u);  // an index inside itself adds nothing
  EXPECT_EQ(super.Count({super.a, super.none, super.b}), 3u);
  EXPECT_EQ(super.Count({super.self, super.a, super.b}), 0u);  // nothing added to nothing ends it
  EXPECT_EQ(super.Count({super.none, super.a, super.b}), 0u);
  for (const uint64_t nowhere : {uint64_t{1} << 40, uint64_t{0xFFFFFFFFFFFFFFF0}, super.last + 29}) {
    EXPECT_EQ(super.Count({super.a, nowhere, super.b}), 2u) << nowhere;
    EXPECT_TRUE(super.log.starts_with("E [AVI] sRiff fread fail -> ParseChunkNewIdx :: nRead(")) << super.log;
  }
  Super cut(1);  // by one byte, and the whole index goes
  EXPECT_EQ(cut.Count({cut.a, cut.last, cut.b}), 0u);
  EXPECT_TRUE(cut.log.starts_with(kFailed)) << cut.log;
  Super sound(0, 3, 2, "00wb");
  EXPECT_EQ(sound.Count({sound.a, sound.b, sound.a}), 5u);
  EXPECT_EQ(sound.ms, 5u);  // of the main header
  Super many(0, 403, 4);
  EXPECT_EQ(many.file.bytes.size(), 6880u);
  EXPECT_EQ(many.Count(std::vector<uint64_t>(403, many.a)), 860u);  // a chunk takes 8 bytes at least
}

TEST(OpenDmlIndex, OneThatFailsGivesWayToTheOldOneForAllStreams) {
  const Bytes bad = Chunk("indx", Index({3, 0, 1}, 2, "01dc", 0, Bytes(24)));
  AviBuilder movie = AviBuilder().Video().InStream(Chunk("indx", ChunkIndex(2))).Video().InStream(bad).Video();
  movie.InStream(bad).Chunk(0, "I0").Chunk(2, "I0").Chunk(0, "P1", false).OldIndex();
  LogCapture log;
  CoreFile file(movie.Build());
  EXPECT_EQ(log.Count("[AVI] Error -> New Index parsing error. Index type set to NONE"), 1u);
  EXPECT_EQ(file->GetIndexType(), 1u);
  EXPECT_EQ(file.Index(0).size(), 2u);
  EXPECT_EQ(file.Index(1).size(), 0u);
  EXPECT_EQ(file.Index(2).size(), 1u);
}

TEST(OpenDmlIndex, AStreamWithoutOneIsAtItsEnd) {
  Host host(AviBuilder().Video().Audio().Chunk(0, "I0").Chunk(1, "a0").ChunkIndex(0).OldIndex().Build());
  EXPECT_EQ(host.Audio(), End());
  EXPECT_EQ(host.Rest(AVI_TRACK_VIDEO), (Units{{"I0", 0}}));
}

}  // namespace
