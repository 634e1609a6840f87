#include "tools/aviprobe/host/isolation.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tools/aviprobe/host/last_words.h"

namespace {

using Work = std::function<int(Progress&)>;

struct SEnd {
  const char* pName;
  Work work;
  int nExit;
  const char* pHow;
};

int Print(int code) {
  fmt::print("printed");
  return code;
}

[[noreturn]] void EndBy(int signal) {
  std::raise(signal);
  _exit(99);
}

class Isolation : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::fflush(stdout);
    BufferStdout();
    // A sanitizer's report would stand in front of what the tool does.
    for (const int signal : {SIGSEGV, SIGFPE}) std::signal(signal, SIG_DFL);
  }
};

std::vector<SOutcome> RunAll(const std::vector<SEnd>& ends, unsigned jobs) {
  std::vector<std::string> names;
  names.reserve(ends.size());
  for (const SEnd& end : ends) names.emplace_back(end.pName);
  SHostOptions host;
  host.nSeconds = 1;
  SIsolation isolation;
  isolation.nJobs = jobs;
  isolation.bKeepOutput = true;
  return ForEachFile(host, isolation, names, [&](const std::string& path, Progress& progress) {
    progress.Tell("name", path);
    progress.Stage("opening " + path);
    for (const SEnd& end : ends) {
      if (end.pName == path) return end.work(progress);
    }
    return 99;
  });
}

}  // namespace

TEST_F(Isolation, SurvivesHoweverAFileEnds) {
  const std::vector<SEnd> ends = {
      {"good", [](Progress&) { return Print(kExitFine); }, kExitFine, ""},
      {"findings", [](Progress&) { return Print(kExitFindings); }, kExitFindings, ""},
      {"aborts", [](Progress&) -> int { Print(0), std::abort(); }, kExitGaveUp, "aborted"},
      {"crashes", [](Progress&) -> int { Print(0), EndBy(SIGSEGV); }, kExitGaveUp, "crashed (segmentation fault)"},
      {"divides", [](Progress&) -> int { Print(0), EndBy(SIGFPE); }, kExitGaveUp, "crashed (arithmetic error)"},
      {"exits", [](Progress&) -> int { std::exit((Print(0), 42)); }, kExitGaveUp, "ended with status 42"},
      {"exits as if fine", [](Progress&) -> int { std::exit((Print(0), 0)); }, kExitGaveUp, "ended with status 0"},
      {"throws", [](Progress&) -> int { throw std::runtime_error((Print(0), "no memory")); }, kExitUnreadable, ""},
      {"hangs",
       [](Progress&) -> int {
         for (Print(0);;) pause();
       },
       kExitGaveUp, "took longer than 1 s"},
      {"behind", [](Progress&) { return Print(kExitFine); }, kExitFine, ""},
  };
  for (const unsigned jobs : {1u, 4u}) {
    const std::vector<SOutcome> outcomes = RunAll(ends, jobs);
    ASSERT_EQ(outcomes.size(), ends.size());
    for (size_t i = 0; i < ends.size(); ++i) {
      const std::string where = std::string(ends[i].pName) + ", jobs " + std::to_string(jobs);
      EXPECT_EQ(outcomes[i].sPath, ends[i].pName) << where;
      EXPECT_EQ(outcomes[i].nExit, ends[i].nExit) << where;
      EXPECT_EQ(outcomes[i].sHow, ends[i].pHow) << where;
      EXPECT_EQ(outcomes[i].bGaveUp, ends[i].nExit == kExitGaveUp) << where;
      EXPECT_EQ(outcomes[i].sOutput, "printed") << where;
      EXPECT_EQ(outcomes[i].sStage, std::string("opening ") + ends[i].pName) << where;
      EXPECT_EQ(outcomes[i].told["name"], ends[i].pName) << where;
    }
    EXPECT_EQ(WorstExit(outcomes), kExitGaveUp);
  }
}

// The parent hears of stages now and then only; the last one counts.
TEST_F(Isolation, KnowsTheLastStageOfManyAndFactsOfAnySize) {
  const std::string facts(1 << 18, 'x');
  const std::vector<SOutcome> outcomes = RunAll({{"aborts",
                                                  [&](Progress& progress) -> int {
                                                    for (int i = 0; i <= 5000; ++i) {
                                                      progress.Stage("playing " + std::to_string(i));
                                                    }
                                                    progress.Tell("facts", "first");
                                                    progress.Tell("facts", facts);
                                                    std::abort();
                                                  },
                                                  kExitGaveUp, ""}},
                                                1);
  EXPECT_EQ(outcomes[0].sStage, "playing 5000");
  EXPECT_EQ(outcomes[0].told["facts"], facts);
}

TEST_F(Isolation, CleansUpBeforeASignalEndsIt) {
  std::string path = testing::TempDir() + "unfinished-XXXXXX";
  close(mkstemp(path.data()));
  const pid_t pid = fork();
  if (pid == 0) {
    SIsolation isolation;
    isolation.onEnd = [&] { unlink(path.c_str()); };
    ForEachFile(SHostOptions(), isolation, {"one"}, [](const std::string&, Progress&) -> int {
      for (kill(getppid(), SIGTERM);;) pause();
    });
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << "status " << status;
  EXPECT_LT(access(path.c_str(), F_OK), 0) << "the file is left behind";
  unlink(path.c_str());
}

TEST_F(Isolation, WorksWithoutAProcessToo) {
  SHostOptions host;
  host.bInProcess = true;
  SIsolation isolation;
  isolation.bKeepOutput = true;
  const pid_t self = getpid();
  const std::vector<SOutcome> outcomes =
      ForEachFile(host, isolation, {"one"}, [&](const std::string&, Progress& progress) {
        progress.Tell("here", getpid() == self);
        return Print(kExitFindings);
      });
  EXPECT_EQ(outcomes[0].told["here"], true);
  EXPECT_EQ(outcomes[0].nExit, kExitFindings);
  EXPECT_EQ(outcomes[0].sOutput, "printed");
}
