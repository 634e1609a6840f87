#include "tools/aviprobe/model/playback.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/aviprobe/run_tool.h"
#include "tests/aviprobe/temp_file.h"
#include "tools/aviprobe/host/isolation.h"

namespace {

// One chunk has another hash than the next.
Bytes Filled(size_t size, uint8_t with) {
  Bytes bytes(size, with);
  return bytes;
}

AviBuilder Film(const std::string& fourcc, bool index = true) {
  AviBuilder film;
  film.Video({.fourcc = fourcc})
      .Audio({.tag = 6, .channels = 1, .rate = 8000, .bytesPerSecond = 8000, .blockAlign = 1, .bits = 8});
  if (index) film.OldIndex();
  return film;
}

SHostOptions Options() {
  SHostOptions options;
  options.sLibrary = ZU_LIBRARY_PATH;
  return options;
}

SPlayback PlayFile(const AviFile& file, const SHostOptions& options = Options()) {
  const TempFile temp(file.bytes);
  return Play(Host(options), temp.Path());
}

/// A file on which the library ends the process: too small a movi list for its own type.
Bytes FileThatEndsTheLibrary() {
  AviFile file = Film("XVID").Chunk(0, "frame").Build();
  return file.Put(file.Find("movi") - 4, Le32(2)).bytes;
}

}  // namespace

TEST(Playback, KnowsWhereUnitsWereRead) {
  for (const bool index : {true, false}) {
    const AviFile file = Film("MJPG", index)
                             .Chunk(0, Filled(100, 1))
                             .Chunk(1, Filled(80, 2))
                             .Chunk(0, Filled(31, 3))
                             .Chunk(1, Filled(12, 4))
                             .Build();
    const SPlayback playback = PlayFile(file);
    ASSERT_EQ(playback.tracks.size(), 2u);
    const size_t chunkOf[2][2] = {{0, 2}, {1, 3}};
    for (size_t track = 0; track < 2; ++track) {
      ASSERT_EQ(playback.tracks[track].units.size(), 2u) << "track " << track << ", index " << index;
      for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(playback.tracks[track].units[i].nPosition, static_cast<int64_t>(file.chunks[chunkOf[track][i]]) + 8)
            << "track " << track << ", unit " << i << ", index " << index;
      }
    }
  }
}

TEST(Playback, TellsKeyFramesByTheirBytes) {
  struct SRow {
    const char* pName;
    const char* pFourCC;
    Bytes unit;
    std::optional<bool> bKey;
  };
  const SRow rows[] = {
      {"MPEG-4 I", "XVID", {0, 0, 1, 0xB6, 0x10, 0x60}, true},
      {"MPEG-4 P behind a GOV", "XVID", {0, 0, 1, 0xB3, 0, 0x10, 7, 0, 0, 1, 0xB6, 0x50, 0x60}, false},
      {"MPEG-4 S", "DX50", {0, 0, 1, 0xB6, 0xD0, 0x60}, false},
      {"MPEG-4 without a picture", "XVID", {0, 0, 1, 0xB0, 1, 2}, {}},
      {"H.264 IDR behind parameter sets", "H264", {0, 0, 0, 1, 0x67, 9, 9, 0, 0, 1, 0x65, 0x88, 1}, true},
      {"H.264 other slice", "H264", {0, 0, 0, 1, 0x41, 0x9A, 1}, false},
      {"H.263 I", "H263", {0, 0, 0x80, 2, 0x08, 0, 0, 0}, true},
      {"MJPEG", "MJPG", {0xFF, 0xD8, 1}, true},
      {"VP8 key", "VP80", {0x10, 0, 0}, true},
      {"VP8 inter", "VP80", {0x11, 0, 0}, false},
      {"raw of 4 x 2 pixels", "none", Filled(24, 5), true},
      {"unknown", "none", Filled(23, 5), {}},
      {"WMV3 does not say", "WMV3", Filled(9, 0), {}},
  };
  for (const SRow& row : rows) {
    const SPlayback playback = PlayFile(
        AviBuilder().Video({.fourcc = row.pFourCC, .width = 4, .height = 2}).OldIndex().Chunk(0, row.unit).Build());
    ASSERT_EQ(playback.tracks.size(), 1u) << row.pName;
    ASSERT_EQ(playback.tracks[0].units.size(), 1u) << row.pName;
    const SPlayedUnit& unit = playback.tracks[0].units[0];
    EXPECT_EQ(unit.bKeyKnown ? std::optional(unit.bKey) : std::nullopt, row.bKey) << row.pName;
  }
}

TEST(Playback, MakesRoomForLargeFramesUnlessToldNotTo) {
  constexpr size_t kFrame = kUsualBuffer + 100'000;
  for (const bool index : {true, false}) {
    const AviFile file =
        Film("MJPG", index).Chunk(0, Filled(kFrame, 1)).Chunk(0, Filled(10, 2)).Chunk(1, "sound").Build();
    const SPlayback grown = PlayFile(file);
    EXPECT_EQ(grown.tracks[0].nUnits, 2u) << "index " << index;
    EXPECT_EQ(grown.tracks[0].nGrown, kFrame) << "index " << index;
    EXPECT_EQ(grown.tracks[1].nGrown, 0u) << "index " << index;

    SHostOptions small = Options();
    small.nBuffer = kUsualBuffer;
    const SPlayback ended = PlayFile(file, small);
    EXPECT_EQ(ended.tracks[0].nUnits, 0u) << "index " << index;
    EXPECT_EQ(ended.tracks[0].nTooLarge, kFrame) << "index " << index;
    EXPECT_EQ(ended.tracks[0].nGrown, 0u) << "index " << index;
    EXPECT_EQ(ended.tracks[1].nTooLarge, 0u) << "index " << index;
  }
}

TEST(Playback, StopsWhereTheSourceDoes) {
  AviBuilder film = Film("MJPG");
  for (uint8_t i = 0; i < 10; ++i) film.Chunk(0, Filled(100, i));
  const AviFile file = film.Build();
  const uint64_t opening = PlayFile(file).nReads - 10;  // with an index each unit is one read

  struct SRow {
    const char* pName;
    SSimulation simulation;
    uint64_t nUnits, nBytes, nReads;
    int nStatus;
  };
  const SRow rows[] = {
      {"nothing wrong", {}, 10, 1000, 10, -1011},
      {"fails at the fourth unit", {.failure = {{opening + 4, -5}}}, 3, 300, 4, -1004},
      {"fails behind the end", {.failure = {{opening + 11, -5}}}, 10, 1000, 10, -1011},
      {"would block at the fifth unit", {.nBlockEvery = opening + 5}, 10, 1000, 11, -1011},
  };
  for (const SRow& row : rows) {
    SHostOptions options = Options();
    static_cast<SSimulation&>(options) = row.simulation;
    const SPlayback playback = PlayFile(file, options);
    ASSERT_TRUE(playback.bOpened) << row.pName;
    EXPECT_EQ(playback.tracks[0].nUnits, row.nUnits) << row.pName;
    EXPECT_EQ(playback.tracks[0].nBytes, row.nBytes) << row.pName;
    EXPECT_EQ(playback.nReads - opening, row.nReads) << row.pName;
    EXPECT_EQ(playback.tracks[0].nStatus, row.nStatus) << row.pName;
  }
}

TEST(Playback, EndsWhereABlockingSourceMakesTheLibraryRepeat) {
  const std::string path = ZU_SAMPLES_DIR "/no-index.avi";
  SHostOptions options = Options();
  options.nBlockEvery = 3;
  SPlayOptions play;
  play.nTrack = 0;
  const SPlayback playback = Play(Host(options), path, play);
  ASSERT_EQ(playback.tracks.size(), 1u);
  EXPECT_EQ(playback.tracks[0].ending, Ending::kStalled);
  const SRun run = RunTool("packets --summary --track 0 --block-every 3 " + path);
  EXPECT_EQ(run.nExit, 1) << run.sOutput;
  EXPECT_NE(run.sOutput.find("track 0 stalled (more than 16 times the file's bytes came"), std::string::npos)
      << run.sOutput;
}

TEST(Tool, TellsTheWorstOfAllFiles) {
  const TempFile good(Film("XVID").Chunk(0, "frame").Build().bytes), ending(FileThatEndsTheLibrary()),
      text(Bytes(100, 'x'));
  const TempFile large(Film("XVID").Chunk(0, Filled(100, 1)).Build().bytes);
  const std::string end = " " + ending.Path(), fine = " " + good.Path();
  struct SRow {
    std::string sArguments;
    int nExit;
  };
  const SRow rows[] = {
      {"packets" + fine, 0},
      {"packets --buffer 99 " + large.Path() + fine, 1},
      {"packets --fail-at 0:-5" + fine, 2},
      {"packets --fail-at 1:5" + fine, 2},
      {"packets --fail-at 1" + fine, 2},
      {"packets --block-every 1" + fine, 2},
      {"seek --at 1:60" + fine, 2},
      {"seektest --every 0" + fine, 2},
      {"packets --fail-at 1:-5" + fine, 3},
      {"packets " + text.Path() + fine, 3},
      {"packets /nonexistent" + fine, 3},
      {"seek --at 0 " + text.Path(), 3},
      {"index " + text.Path(), 3},
      {"packets" + end + " " + text.Path() + fine, 4},
      {"compare" + fine + fine, 0},
      {"compare" + fine + " " + large.Path(), 1},
      {"compare" + fine + " " + text.Path(), 3},
      {"compare" + fine + end, 4},
  };
  for (const SRow& row : rows) {
    const SRun run = RunTool(row.sArguments);
    EXPECT_EQ(run.nExit, row.nExit) << row.sArguments << "\n" << run.sOutput;
  }
}

TEST(Tool, GoesOnBehindAFileThatEndsTheLibrary) {
  const TempFile before(Film("XVID").Chunk(0, "one").Build().bytes), ending(FileThatEndsTheLibrary());
  const TempFile behind(Film("XVID").Chunk(0, "four").Build().bytes);
  const SRun run = RunTool("packets --summary " + before.Path() + " " + ending.Path() + " " + behind.Path());
  const size_t first = run.sOutput.find("1 units, 3 bytes");
  const size_t error = run.sOutput.find(ending.Path() + ": the library gave up: it aborted while opening");
  const size_t last = run.sOutput.find("1 units, 4 bytes");
  EXPECT_NE(error, std::string::npos) << run.sOutput;
  EXPECT_LT(first, last) << run.sOutput;
  EXPECT_NE(last, std::string::npos) << run.sOutput;
}

TEST(Tool, NamesTheUnitsThatACopyLacks) {
  AviBuilder whole = Film("MJPG"), cut = Film("MJPG");
  for (uint8_t i = 0; i < 50; ++i) {
    whole.Chunk(0, Filled(20, i)).Chunk(1, Filled(10, i));
    if (i < 30 || i > 41) cut.Chunk(0, Filled(20, i));
    cut.Chunk(1, Filled(10, i));
  }
  const TempFile a(whole.Build().bytes), b(cut.Build().bytes);
  const std::string files = " " + a.Path() + " " + b.Path();
  const SRun run = RunTool("compare" + files);
  EXPECT_EQ(run.nExit, 1) << run.sOutput;
  EXPECT_NE(run.sOutput.find("track 0: 12 units missing in B at 00:00:01.200 (units 30-41 of A)\n"), std::string::npos)
      << run.sOutput;
  EXPECT_NE(run.sOutput.find("track 1: audio, equal, 50 units\n"), std::string::npos) << run.sOutput;
}

TEST(Tool, SaysWhatOfATrackDidNotCome) {
  AviBuilder whole = Film("MJPG"), half = Film("MJPG"), unlisted = Film("MJPG");
  for (uint8_t i = 0; i < 50; ++i) {
    for (AviBuilder* film : {&whole, &unlisted}) film->Chunk(0, Filled(20, i)).Chunk(1, Filled(320, i));
    const bool listed = i < 20;
    listed ? half.Chunk(0, Filled(20, i)) : half.RawChunk("00dc", Filled(20, i));
    listed ? half.Chunk(1, Filled(320, i)) : half.RawChunk("01wb", Filled(320, i));
  }
  AviFile zeros = whole.Build();
  zeros.Put(zeros.Find("idx1") + 8, Filled(size_t{16} * 100, 0));
  unlisted.RawChunk("00dc", Filled(20, 99));  // an end may be left out: a picture is not worth a line
  const TempFile good(whole.Build().bytes), short20(half.Build().bytes), none(zeros.bytes),
      last(unlisted.Build().bytes);
  const std::string folder = testing::TempDir() + "delivery-" + std::to_string(getpid());
  const char* const lost = ": track 0: 30 of 50 pictures were not delivered: its index leaves them out; --ignore-index";
  struct SRow {
    std::string sArguments;
    const TempFile& file;
    int nExit;
    const char* pSays;
  };
  const SRow rows[] = {
      {"packets --summary", good, 0, ""},
      {"packets --summary", last, 0, ""},
      {"packets --summary", short20, 1, lost},
      {"packets --summary", short20, 1, "track 1: 1200 of 2000 ms of sound were not delivered"},
      {"packets --order file", short20, 1, lost},
      {"packets --summary --ignore-index", short20, 0, ""},
      {"packets --track 0", short20, 1, lost},
      {"packets --summary", none, 1, "track 0: 50 of 50 pictures were not delivered"},
      {"packets --chunk-bytes 160", good, 1, "ms of sound were not delivered: the source was made a bad one"},
      {"info --play", good, 0, ""},
      {"info --play", short20, 1, lost},
      {"info", short20, 0, ""},
      {"extract --all " + folder, good, 0, ""},
      {"extract --all " + folder, short20, 1, lost},
      {"extract --all " + folder, none, 1, "track 1: 2000 of 2000 ms of sound"},
      {"extract --track 1 -o /dev/null", short20, 1, "track 1: 1200 of 2000 ms of sound"},
      {"seek --at 1s", good, 0, ""},
      {"seek --at 9s", good, 0, ""},
      {"seek --at 1.9s --mode 1", good, 0, ""},
      {"seek --at 1s", none, 1, "track 0: 50 of 50 pictures"},
      {"seek --at 1s --kind audio", none, 1, "track 1: 2000 of 2000 ms of sound"},
      {"seek --at 9s", none, 0, ""},
  };
  for (const SRow& row : rows) {
    const SRun run = RunTool(row.sArguments + " " + row.file.Path() + " 2>&1 >/dev/null; exit $?");
    EXPECT_EQ(run.nExit, row.nExit) << row.sArguments << "\n" << run.sOutput;
    EXPECT_NE(run.sOutput.find(row.pSays), std::string::npos) << row.sArguments << "\n" << run.sOutput;
    EXPECT_EQ(run.sOutput.empty(), row.nExit == 0) << row.sArguments << "\n" << run.sOutput;
  }
  std::filesystem::remove_all(folder);
}

TEST(Tool, TellsWhatIsNoAviFromOneWithNothingToPlay) {
  Bytes flipped = Film("XVID").Chunk(0, "frame").Build().bytes;
  flipped[12] ^= 1;  // LIST of hdrl
  const TempFile one(Bytes(1, 'R')), riff(Bytes{'R', 'I', 'F', 'F', 4, 0, 0, 0, 'A', 'V', 'I', ' '}), broken(flipped),
      wave(Bytes{'R', 'I', 'F', 'F', 28, 0, 0,  0,  'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 16, 0,
                 0,   0,   1,   0,   1,  0, 64, 31, 0,   0,   64,  31,  0,   0,   1,   0,   8,  0});
  struct SRow {
    const char* pName;
    const TempFile& file;
    int nExit;
    const char* pSays;
  };
  const SRow rows[] = {
      {"one byte", one, 3, ": not an AVI file\n"},
      {"WAVE", wave, 3, ": not an AVI file\n"},
      {"a RIFF header", riff, 1, ": nothing in it to play\n"},
      {"a damaged hdrl", broken, 1, ": nothing in it to play\n"},
  };
  const std::string folder = testing::TempDir() + "none-" + std::to_string(getpid());
  const std::string commands[] = {
      "info",       "info --json", "packets", "packets --json", "index", "extract --all " + folder, "seektest --json",
      "seek --at 0"};
  for (const std::string& command : commands) {
    for (const SRow& row : rows) {
      const SRun run = RunTool(command + " " + row.file.Path() + " 2>&1 >/dev/null; exit $?");
      EXPECT_EQ(run.nExit, row.nExit) << command << ", " << row.pName << "\n" << run.sOutput;
      EXPECT_EQ(run.sOutput, "aviprobe: " + row.file.Path() + row.pSays) << command << ", " << row.pName;
    }
  }
}

TEST(Tool, SeeksNoFartherThanAStepBehindWhatIsThere) {
  AviBuilder film;
  film.Main({.totalFrames = 100'000'000}).Video({.fourcc = "MJPG"}, {.scale = 1, .rate = 25, .length = 100'000'000});
  for (uint8_t i = 0; i < 50; ++i) film.Chunk(0, Filled(20, i));
  const TempFile file(film.OldIndex().Build().bytes);
  const SRun run = RunTool("seektest --every 1s --summary " + file.Path());
  EXPECT_NE(run.sOutput.find("mode 0: 4 seeks, 0 failed"), std::string::npos) << run.sOutput;
}
