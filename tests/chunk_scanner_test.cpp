// Reading chunks of files that have no index.
#include "tests/support/core_file.h"
#include "tests/support/log_capture.h"

namespace {

AviFile ThreeStreams() {
  AviBuilder builder;
  builder.Video().Audio({.bytesPerSecond = 1000}).Stream({.type = "txts"}, "text format").Rec();
  builder.RawChunk("00pc", "palette").RawChunk("01dc", "not sound").RawChunk("01wb", "a0!").EndRec();
  builder.RawChunk("02tx", "text").RawChunk("00db", "v0").RawChunk("00dc", "").RawChunk("ix00", "entries");
  builder.NextRiff().Rec().RawChunk("00dc", "v1!").RawChunk("01wb", "").EndRec();
  builder.RawChunk("00pc", "red").RawChunk("01wb", "a1").RawChunk("00dc", "v2");
  return builder.AfterMovi(Chunk("JUNK", "room for a header")).Build();
}

// A stream's first chunk has an id that fits its kind; for the later ones the number is enough.
void ExpectThreeStreams(CoreFile& movie) {
  EXPECT_EQ((Units{movie.FirstAudio(1), movie.Data(0), movie.Data(0, 2), movie.Data(0, 3), movie.FirstAudio(1)}),
            (Units{Unit("a0!", 0), Got("v0"), NoMore(), Got("v1!"), Unit("a1", 3)}));
  EXPECT_EQ((Units{movie.Video(0), movie.Data(0), movie.Data(0), movie.Data(0), movie.Audio(1), movie.Audio(1)}),
            (Units{Unit("red", 80), Got("v2"), NoMore(), NoMore(), NoMore(), NoMore()}));
}

TEST(ChunkScan, FindsChunksInListsAndLaterGroups) {
  const AviFile file = ThreeStreams();
  LogCapture log;
  CoreFile movie(file);
  ExpectThreeStreams(movie);
  EXPECT_EQ(log.Count(" GetNextData : AVI_ERROR nRead = 0"), 4u);
  EXPECT_EQ((Units{movie.Data(2), movie.Data(2), movie.FirstAudio(2)}), Units(3, NoMore()));  // text is not looked for
  EXPECT_EQ(log.Count(" GetNextData : EOF"), 3u);
  long track = 9;
  EXPECT_EQ(movie->FindFirstTrackData(2, &track), 0);  // but has its number
  EXPECT_EQ(track, static_cast<long>(file.chunks[3]));
  EXPECT_EQ(movie->SetStartTime(1, nullptr, 1), INT32_MIN);  // only the beginning can be sought
  EXPECT_EQ(movie->SetStartTime(1, nullptr, 1, AVI_TRACK_VIDEO, 0), INT32_MIN);
  EXPECT_EQ(movie.Data(0), NoMore());
  EXPECT_EQ(movie->SetStartTime(0, nullptr, 1, AVI_TRACK_TEXT, 0), 0);
  ExpectThreeStreams(movie);
}

TEST(ChunkScan, ASourceOfUnknownLengthIsReadToTheEndOfItsGroup) {
  SparseSource source(ThreeStreams());
  source.Stream();
  CoreFile movie(source);
  EXPECT_EQ((Units{movie.FirstAudio(1), movie.Data(0), movie.Data(0), movie.Data(0), movie.Audio(1)}),
            (Units{Unit("a0!", 0), Got("v0"), NoMore(), NoMore(), NoMore()}));
}

TEST(ChunkScan, AThousandEmptyChunksAreTooMany) {
  const struct {
    int before, between;  // empty chunks
    Units found;
    int first;  // status of the search for the first chunk
  } kRows[] = {{.before = 999, .between = 999, .found = {Got("v0"), Got("v1!!")}, .first = 0},
               {.before = 0, .between = 1000, .found = {Got("v0")}, .first = 0},
               {.before = 1000, .between = 0, .found = {}, .first = INT32_MIN}};
  for (const auto& row : kRows) {
    AviBuilder builder;
    builder.Video().Audio();
    for (int i = 0; i < row.before; ++i) builder.RawChunk("01wb", "");
    builder.RawChunk("00dc", "v0");
    for (int i = 0; i < row.between; ++i) builder.RawChunk("00dc", "");
    CoreFile movie(builder.RawChunk("00dc", "v1!!").Build());
    EXPECT_EQ(movie.Rest(0), row.found) << row.before << " before, " << row.between << " between";
    long track = 9;
    EXPECT_EQ(movie->FindFirstTrackData(0, &track), row.first) << row.before << " before";
  }
}

TEST(ChunkScan, ATruncatedFileGivesWhatIsThere) {
  const AviFile file = AviBuilder().Video().RawChunk("00dc", "v0!!").RawChunk("00dc", "ABCDEFG").Build();
  // Less than four bytes behind the eight of a header are not seen.
  const struct {
    size_t left;  // of the second chunk, with its header
    Units units;
  } kRows[] = {{.left = 16, .units = {Got("v0!!"), Got("ABCDEFG")}},
               {.left = 15, .units = {Got("v0!!"), Got("ABCDEFG")}},
               {.left = 13, .units = {Got("v0!!"), Got("ABCDE")}},
               {.left = 12, .units = {Got("v0!!"), Got("ABCD")}},
               {.left = 11, .units = {Got("v0!!")}}};
  for (const auto& row : kRows) {
    EXPECT_EQ(CoreFile(Head(file, file.chunks[1] + row.left)).Rest(0), row.units) << row.left << " bytes left";
  }
}

TEST(ChunkScan, ABlockedSourceIsAskedAgain) {
  CoreFile movie(AviBuilder().Video().Audio().RawChunk("01wb", "a0!").RawChunk("01wb", "a1!!").Build());
  movie.faulty.Arm({.status = -11});
  EXPECT_EQ((Units{movie.FirstAudio(1), movie.Data(1)}), (Units{Unit("", 0, 11), Unit("", kKept, 11)}));
  movie.faulty.Arm({.last = 0, .status = -5});  // the first search fails; the read itself makes another
  EXPECT_EQ(movie.FirstAudio(1), Unit("a0!", 0));
  for (const size_t nth : {0u, 1u}) {  // header, payload
    movie.faulty.Arm(OnRead(nth, {.status = -11}));
    EXPECT_EQ(movie.Data(1), Unit("", kKept, 11)) << "read " << nth;
  }
  EXPECT_EQ(movie.Data(1), Got("a1!!"));
  movie->SetStartTime(0, nullptr, 0);
  movie.faulty.Arm(OnRead(4, {.status = -11}));  // looking for the next chunk: the track breaks off
  EXPECT_EQ(movie.Rest(1), Units{Got("a0!")});
}

TEST(ChunkScan, GivesTheSameUnitsAsTheIndex) {
  for (const std::string name : {"audio-only", "eac3", "h264-ac3", "mjpeg-pcm24", "mpeg2-mp2", "mpeg4-bframes-mp3",
                                 "mulaw", "two-audio", "video-only", "xvid-pcm"}) {
    AviFile file = LoadSample(ZU_SAMPLES_DIR "/" + name + ".avi");
    CoreFile indexed(file), plain(file.Put(file.Find("idx1"), "JUNK"));
    for (int stream = 0; stream < indexed->GetStreamNum(); ++stream) {
      Units units = indexed.Rest(stream, 1 << 20);
      std::erase(units, Got(""));  // empty chunks have entries
      EXPECT_GT(units.size(), 10u) << name << " " << stream;
      EXPECT_EQ(plain.Rest(stream, 1 << 20), units) << name << " " << stream;
    }
  }
}

}  // namespace
