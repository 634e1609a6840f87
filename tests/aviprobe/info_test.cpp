#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/aviprobe/run_tool.h"
#include "tests/aviprobe/temp_file.h"
#include "tests/support/avi_builder.h"

// What `info` says of headers and indexes that do not say what one expects.

namespace {

namespace fs = std::filesystem;

AviBuilder Film(const VideoFormat& format, const StreamHeader& header) {
  AviBuilder film;
  film.Main({.totalFrames = 10, .width = 320, .height = 240});
  film.Video(format, header);
  return film;
}
AviBuilder Good() { return Film({}, {.scale = 1, .rate = 25, .length = 10}); }

/// Ten pictures; in the index unless there shall be nothing in it.
Bytes Built(AviBuilder film, bool indexed = true) {
  for (unsigned i = 0; i < 10; ++i) {
    indexed ? film.Chunk(0, Bytes(100, 0x55), i == 0) : film.RawChunk("00dc", Bytes(100, 0x55));
  }
  return film.OldIndex().Build().bytes;
}

struct SRow {
  const char* pName;
  Bytes bytes;
  const char* pArguments;
  const char* pSays;
  const char* pSaysNot = nullptr;
};

TEST(Info, SaysWhatTheHeadersAndIndexesAre) {
  const Bytes topDown = Built(Film({.height = static_cast<uint32_t>(-240)}, {.scale = 1, .rate = 25, .length = 10}));
  const Bytes noScale = Built(Film({}, {.scale = 0, .rate = 25, .length = 10}));
  const Bytes noRate = Built(Film({}, {.scale = 1, .rate = 0, .length = 10}));
  const Bytes noEntries = Built(Good(), false);
  const SRow rows[] = {
      {.pName = "top-down", .bytes = topDown, .pArguments = "", .pSays = "320x240, top-down (the header says -240)"},
      {.pName = "top-down, brief", .bytes = topDown, .pArguments = "--brief", .pSays = "320x240, top-down"},
      {.pName = "top-down, JSON", .bytes = topDown, .pArguments = "--json", .pSays = R"("width":320,"height":-240)"},
      {.pName = "bottom-up", .bytes = Built(Good()), .pArguments = "", .pSays = "320x240\n", .pSaysNot = "top-down"},
      {.pName = "scale 0", .bytes = noScale, .pArguments = "", .pSays = "25/0, no rate: scale 0"},
      {.pName = "scale 0, brief", .bytes = noScale, .pArguments = "--brief", .pSays = "25/0, no rate: scale 0"},
      {.pName = "scale 0, length", .bytes = noScale, .pArguments = "", .pSays = "10 frames, no duration"},
      {.pName = "rate 0", .bytes = noRate, .pArguments = "", .pSays = "0/1, no rate: rate 0"},
      {.pName = "rate",
       .bytes = Built(Good()),
       .pArguments = "",
       .pSays = "25/1 = 25.000 frames/s",
       .pSaysNot = "no rate"},
      {.pName = "no entries, JSON",
       .bytes = noEntries,
       .pArguments = "--json",
       .pSays = R"("indexed":false)",
       .pSaysNot = R"("indexed":true)"},
      {.pName = "no entries, brief", .bytes = noEntries, .pArguments = "--brief", .pSays = "not indexed"},
      {.pName = "no entries", .bytes = noEntries, .pArguments = "", .pSays = "legacy idx1 with 0 entries"},
      {.pName = "entries, JSON", .bytes = Built(Good()), .pArguments = "--json", .pSays = R"("indexed":true)"},
      {.pName = "entries", .bytes = Built(Good()), .pArguments = "", .pSays = "legacy idx1 with 10 entries"},
  };
  for (const SRow& row : rows) {
    const TempFile file(row.bytes);
    const SRun run = RunTool(std::string("info ") + row.pArguments + " " + file.Path());
    EXPECT_EQ(run.nExit, 0) << row.pName << ":\n" << run.sOutput;
    EXPECT_NE(run.sOutput.find(row.pSays), std::string::npos) << row.pName << ":\n" << run.sOutput;
    if (!row.pSaysNot) continue;
    EXPECT_EQ(run.sOutput.find(row.pSaysNot), std::string::npos) << row.pName << ":\n" << run.sOutput;
  }
}

struct SCommandRow {
  const char* pArguments;  ///< before the files
  int nExit;
};

TEST(Tool, PrintsNoControlCharacterOfAFileName) {
  const fs::path folder = testing::TempDir() + "names-" + std::to_string(getpid());
  fs::create_directories(folder);
  const std::string good = ZU_SAMPLES_DIR "/xvid-pcm.avi", first = folder / "\x1B]0;1\x07.avi",
                    second = folder / "\x1B]0;2\x07.avi";
  fs::copy_file(good, first);
  fs::copy_file(good, second);
  const auto quoted = [](const std::string& text) { return " '" + text + "'"; };
  const std::string copies = quoted(folder / "\x1B]0;3/");
  const SCommandRow rows[] = {
      {.pArguments = "info", .nExit = 0},
      {.pArguments = "info --brief", .nExit = 0},
      {.pArguments = "check", .nExit = 0},
      {.pArguments = "tree --skip-data", .nExit = 0},
      {.pArguments = "packets --summary", .nExit = 0},
      {.pArguments = "index", .nExit = 0},
      {.pArguments = "layout", .nExit = 0},
      {.pArguments = "layout --csv", .nExit = 0},
      {.pArguments = "seektest --summary", .nExit = 0},
      {.pArguments = "seek --at 0", .nExit = 0},
      {.pArguments = "compare", .nExit = 0},
      {.pArguments = "report -o /dev/null", .nExit = 0},
      {.pArguments = "info /dev/null", .nExit = 3},
      {.pArguments = "compare /dev/null", .nExit = 2},  // one file too many
      {.pArguments = "no-such-command", .nExit = 2},
  };
  for (const SCommandRow& row : rows) {
    const SRun run = RunTool(row.pArguments + quoted(first) + quoted(second));
    EXPECT_EQ(run.nExit, row.nExit) << row.pArguments << ":\n" << run.sOutput;
    EXPECT_EQ(run.sOutput.find('\x1B'), std::string::npos) << row.pArguments << ":\n" << run.sOutput;
  }
  for (const char* const arguments : {"extract --all", "remux -o"}) {
    const SRun run = RunTool(arguments + copies + quoted(first) + quoted(second));
    EXPECT_EQ(run.sOutput.find('\x1B'), std::string::npos) << arguments << ":\n" << run.sOutput;
  }
  fs::remove_all(folder);
}

TEST(Tool, SaysThatItCannotWrite) {
  const std::string film = " " ZU_SAMPLES_DIR "/xvid-pcm.avi";
  const std::string rows[] = {
      "check" + film, "check --json" + film, "check --in-process" + film, "check --jobs 2" + film + film,
      "info" + film,  "--version",           "--version --json",          "check --help",
  };
  for (const std::string& row : rows) {
    const SRun run = RunTool(row + " 2>&1 >/dev/full; exit $?");  // RunTool sends stderr after stdout
    EXPECT_EQ(run.nExit, 3) << row;
    EXPECT_EQ(run.sOutput, "aviprobe: cannot write: No space left on device\n") << row;
  }
}

TEST(Tool, NamesTheNearestOption) {
  const std::string film = " " ZU_SAMPLES_DIR "/xvid-pcm.avi";
  struct SOptionRow {
    std::string sArguments;
    const char* pSays;
    bool bSaid;
  };
  const SOptionRow rows[] = {
      {.sArguments = "info --brif" + film, .pSays = "did you mean '--brief'?", .bSaid = true},
      {.sArguments = "packets --oder=file" + film, .pSays = "did you mean '--order'?", .bSaid = true},
      {.sArguments = "info --streamin" + film, .pSays = "did you mean '--streaming'?", .bSaid = true},
      {.sArguments = "info --summary" + film, .pSays = "did you mean", .bSaid = false},  // of another command
  };
  for (const SOptionRow& row : rows) {
    const SRun run = RunTool(row.sArguments);
    EXPECT_EQ(run.nExit, 2) << row.sArguments << ":\n" << run.sOutput;
    EXPECT_EQ(run.sOutput.find(row.pSays) != std::string::npos, row.bSaid) << row.sArguments << ":\n" << run.sOutput;
  }
}

TEST(Tool, ReadsNoDeviceWithoutALength) {
  for (const char* const command : {"info", "check", "tree", "packets"}) {
    const SRun run = RunTool(std::string(command) + " /dev/zero");
    EXPECT_EQ(run.nExit, 3) << command << ":\n" << run.sOutput;
    EXPECT_NE(run.sOutput.find("a pipe or device that cannot be read from any place"), std::string::npos)
        << command << ":\n"
        << run.sOutput;
  }
}

TEST(Tool, LeavesNoHalfReport) {
  const fs::path folder = testing::TempDir() + "report-" + std::to_string(getpid());
  fs::create_directories(folder / "there");
  const std::string input = ZU_SAMPLES_DIR "/audio-only.avi", page = folder / "page.html", film = folder / "film.avi";
  const std::string link = folder / "link.html";
  fs::copy_file(ZU_SAMPLES_DIR "/video-only.avi", film);
  fs::create_symlink(film, link);
  const auto filmBytes = fs::file_size(film);
  struct SOutputRow {
    const char* pName;
    std::string sArguments;
    int nExit;
  };
  const SOutputRow rows[] = {
      {.pName = "written", .sArguments = input + " -o " + page, .nExit = 0},
      {.pName = "written over", .sArguments = input + " -o " + page, .nExit = 0},
      {.pName = "no folder", .sArguments = input + " -o " + page + "/page.html", .nExit = 3},
      {.pName = "a folder", .sArguments = input + " -o " + (folder / "there").string(), .nExit = 3},
      {.pName = "over its input", .sArguments = page + " -o " + page, .nExit = 2},
      {.pName = "over another film", .sArguments = input + " -o " + film, .nExit = 2},
      {.pName = "over what a link leads to", .sArguments = input + " -o " + link, .nExit = 2},
      {.pName = "over the second input", .sArguments = input + " " + link + " -o " + film, .nExit = 2},
      {.pName = "no library",
       .sArguments = "--library /dev/null " + input + " -o " + (folder / "no.html").string(),
       .nExit = 3},
  };
  for (const SOutputRow& row : rows) {
    const SRun run = RunTool("report " + row.sArguments);
    EXPECT_EQ(run.nExit, row.nExit) << row.pName << ":\n" << run.sOutput;
    EXPECT_EQ(run.sOutput.empty(), row.nExit == 0) << row.pName << ":\n" << run.sOutput;
  }
  std::set<std::string> left;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) left.insert(entry.path().filename());
  EXPECT_EQ(left, (std::set<std::string>{"film.avi", "link.html", "page.html", "there"}));
  EXPECT_EQ(fs::file_size(film), filmBytes);
  EXPECT_GT(fs::file_size(page), 10000u);
  fs::remove_all(folder);
}

}  // namespace
