// Setting a Layer III stream on a frame sync.
#include "tests/support/core_file.h"

namespace {

TEST(Mp3Align, TheCursorMovesToAChunkWithASync) {
  const auto movie = [](const std::vector<Data>& chunks, bool indexed) {
    AviBuilder builder;
    builder.Audio({.tag = 0x55}).Audio();
    for (const Data& chunk : chunks) builder.Chunk(0, chunk).Chunk(1, "\xFF\xFB");
    return indexed ? builder.OldIndex().Build() : builder.Build();
  };
  // An index entry moves and keeps its size: the next header follows.
  const struct {
    const char* name;
    std::vector<Data> chunks;
    Unit unit;  // read then
  } kRows[] = {{.name = "at the front", .chunks = {"\xFF\xFB++"}, .unit = Got("\xFF\xFB++")},
               {.name = "later", .chunks = {"ab\xFF\xE2"}, .unit = Got("\xFF\xE2\x30\x31")},
               {.name = "in a later chunk", .chunks = {"", "a\xFF", "\xFF\xFA"}, .unit = Got("\xFF\xFA")},
               {.name = "nowhere", .chunks = {"\xFF\xD2\xFF\xE4\xFF\xFD"}, .unit = NoMore()}};
  for (const auto& row : kRows) {
    CoreFile indexed(movie(row.chunks, true));
    EXPECT_EQ(indexed->FindFirstDataMP3(0), row.unit.status) << row.name;
    EXPECT_EQ(indexed.Data(0), row.unit) << row.name;
  }
  CoreFile plain(movie({"x", "a\xFF\xFB", "junk.", "\xFF\xFB!!"}, false));
  plain.Data(0);
  for (const size_t nth : {0u, 1u}) {  // header, payload
    plain.faulty.Arm(OnRead(nth, {.status = -11}));
    EXPECT_EQ(plain->FindFirstDataMP3(0), 11) << "read " << nth;
  }
  EXPECT_EQ(plain->FindFirstDataMP3(0), 0);  // skips a whole chunk and takes one without any sync as it is
  EXPECT_EQ(plain.Data(0), Got("junk."));
  EXPECT_EQ(plain->FindFirstDataMP3(0), 0);
  EXPECT_EQ(plain.Data(0), Got("\xFF\xFB!!"));
  EXPECT_EQ(plain->FindFirstDataMP3(0), INT32_MIN);
}

}  // namespace
