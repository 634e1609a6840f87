#include <gtest/gtest.h>

#include "tests/support/core_file.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

namespace {

struct Entry {
  const char* id;
  uint32_t flags, offset, size;
};
// A movie with an empty movi list, and an index of `entries` over what would be in it.
AviFile Indexed(int streams, const std::vector<Entry>& entries) {
  AviBuilder movie;
  for (int i = 0; i < streams; ++i) movie.Video();
  for (const Entry& entry : entries) movie.IndexEntry(entry.id, entry.flags, entry.offset, entry.size);
  return movie.OldIndex().Build();
}

TEST(OldIndex, EveryStreamGetsItsOwnChunksInFileOrder) {
  const AviFile built = Indexed(5, {{"00dc", 16, 4, 10},
                                    {"01wb", 0, 24, 11},
                                    {"03dc", 16, 44, 12},
                                    {"01wb", 49, 64, 0x8000000D},
                                    {"02dc", 0xFFFFFFEF, 84, 14},
                                    {"04dc", 0, 104, 15},
                                    {"01wb", 0, 124, 16},
                                    {"/:dc", 0, 144, 17},  // -1 x 10 + 10 is stream 0, too
                                    {"03dc", 0, 164, 18},
                                    {"05dc", 16, 184, 19},
                                    {"RES1", 16, 184, 19},
                                    {"0/dc", 16, 184, 19},
                                    {"ix00", 16, 184, 19}});
  const uint64_t m = built.movi + 8;  // of the first chunk's data
  CoreFile file(built);
  EXPECT_EQ(file.Index(0), (Entries{{m, 10}, {m + 140, 0x80000011}}));
  EXPECT_EQ(file.Index(1), (Entries{{m + 20, 0x8000000B}, {m + 60, 13}, {m + 120, 0x80000010}}));
  EXPECT_EQ(file.Index(2), (Entries{{m + 80, 0x8000000E}}));
  EXPECT_EQ(file.Index(3), (Entries{{m + 40, 12}, {m + 160, 0x80000012}}));
  EXPECT_EQ(file.Index(4), (Entries{{m + 100, 0x8000000F}}));
  EXPECT_TRUE(file->HasJunkInIndex());
  EXPECT_EQ(file.MaxChunkSize(3), 18u);
  std::string ids;  // not the stream's own but of entry 0, 1 and 2, for each pair of streams
  for (int i = 0; i < 5; ++i) ids += static_cast<char>(file->GetStream(i)->dwChunkId >> 8 & 0xFF);
  EXPECT_EQ(ids, "00113");
}

TEST(OldIndex, OffsetsCountFromTheMovieOrTheFile) {
  for (const Offsets offsets : {Offsets::kFromMovi, Offsets::kToHeader, Offsets::kToData}) {
    AviBuilder movie = AviBuilder().Video().Chunk(0, "I0").Chunk(0, "P1+", false).Chunk(0, "I2").OldIndex(offsets);
    EXPECT_EQ(Host(movie.Build()).Rest(AVI_TRACK_VIDEO), (Units{{"I0", 0}, {"P1+", 40}, {"I2", 80}}))
        << static_cast<int>(offsets);
  }
  // The first entry decides for all, whatever it is of.
  const uint32_t movi = static_cast<uint32_t>(Indexed(1, {}).movi);
  EXPECT_EQ(CoreFile(Indexed(1, {{"JUNK", 0, movi, 0}, {"00dc", 16, movi + 20, 5}})).Index(0),
            (Entries{{movi + 28, 5}}));
  EXPECT_EQ(CoreFile(Indexed(1, {{"JUNK", 0, movi + 1, 0}, {"00dc", 16, movi + 21, 5}})).Index(0),
            (Entries{{movi + 21, 5}}));
}

TEST(OldIndex, CountsWholeEntriesThatTheFileHolds) {
  const Bytes raw = Join({"00dc", Le32(16), Le32(4), Le32(5), "00dc", Le32(0), Le32(14), Le32(6), "00dcABCD"});
  const Bytes idx1 = Chunk("idx1", raw), three = Join({raw, Bytes(8)});
  const std::string notValid = "E ERROR! ParseChunk() 'idx1' not valid|";
  const std::string again = "E INFO! ParseChunk() 'idx1' not parsed(new index already parsed)|";
  const std::string cutOff = "E [AVI] without full index -> index_none setting : 0|";
  const struct {
    const char* name;
    Bytes before = {}, after;  // the movi list
    uint32_t type;
    size_t entries;
    std::string log = {};
  } kRows[] = {
      {.name = "no entry", .after = Chunk("idx1", Head(raw, 15)), .type = 0, .entries = 0, .log = notValid},
      {.name = "again",
       .before = idx1,
       .after = Join({idx1, Chunk("idx1", three)}),
       .type = 1,
       .entries = 2,
       .log = notValid + again},
      {.name = "one block", .after = Chunk("idx1", three, 160000), .type = 1, .entries = 3},
      {.name = "two blocks", .after = Chunk("idx1", three, 160016), .type = 0, .entries = 3, .log = cutOff},
      {.name = "all", .after = Head(Chunk("idx1", three, 0xFFFFFFFF), 30), .type = 0, .entries = 1, .log = cutOff},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    LogCapture log;
    CoreFile file(AviBuilder().Video().BeforeMovi(row.before).AfterMovi(row.after).Build());
    EXPECT_EQ(file->GetIndexType(), row.type);
    EXPECT_EQ(file.Index(0).size(), row.entries);
    EXPECT_EQ(log.Take(), row.log);
  }
}

TEST(OldIndex, IsReadInBlocksAndGivenUpWhenOneFails) {
  Bytes raw;
  for (uint32_t i = 0; i < 10001; ++i) Append(raw, Join({i < 10000 ? "00dc" : "02dc", Le32(16), Le32(4 + i), Le32(1)}));
  const AviFile built = AviBuilder().Video().Video().Video().AfterMovi(Chunk("idx1", raw)).Build();
  CoreFile whole(built);
  EXPECT_EQ(whole.Index(2), (Entries{{built.movi + 10008, 1}}));
  const std::vector<ReadCall>& reads = whole.source.reads;
  const int64_t at = static_cast<int64_t>(built.Find("idx1") + 8);
  EXPECT_EQ(std::vector<ReadCall>(reads.end() - 4, reads.end()),
            (std::vector<ReadCall>{{at, 160000}, {at + 160000, 16}, {at, 160000}, {at + 160000, 16}}));

  const size_t last = reads.size() - 1;
  LogCapture log("5");
  CoreFile failed(built, {.first = last, .status = -5});
  EXPECT_EQ(failed->GetIndexType(), 0u);
  EXPECT_EQ(failed.Index(2), Entries());
  EXPECT_TRUE(
      log.Take().ends_with("|E [AVI] without full index -> index_none setting : 1|V index to null - m_aStream"
                           "[1].pIndex->aIdx|V index to null - m_aStream[2].pIndex->aIdx|"));
  // Two whole entries; the next read is out of step.
  EXPECT_EQ(CoreFile(built, {.first = last - 3, .last = last - 2, .most = 47}).Index(0).size(), 2u);
}

// Says in the second pass that all chunks are of another stream.
struct FickleSource : MemorySource {
  using MemorySource::MemorySource;
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override {
    const int status = MemorySource::ReadAt(offset, buffer, length);
    if (*length == 32 && passes++ == 1) static_cast<char*>(buffer)[1] = static_cast<char*>(buffer)[17] = '2';
    return status;
  }
  int passes = 0;
};

TEST(OldIndex, ASourceThatChangesItsMindDoesNotOverfillTheTable) {
  FickleSource source(Indexed(3, {{"00dc", 16, 4, 5}, {"00dc", 16, 4, 5}}));
  CoreFile file(static_cast<IDataSource&>(source));
  EXPECT_EQ(source.passes, 2);
  EXPECT_EQ(file.Index(0).size(), 2u);
  EXPECT_EQ(file.Index(2), Entries());
}

}  // namespace
