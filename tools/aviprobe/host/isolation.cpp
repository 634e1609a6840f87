#include "tools/aviprobe/host/isolation.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <list>

#include "tools/aviprobe/host/child.h"
#include "tools/aviprobe/host/last_words.h"
#include "tools/aviprobe/text/shown.h"

namespace {

using Clock = Child::Clock;
constexpr auto kTick = std::chrono::milliseconds(200);

volatile std::sig_atomic_t g_nInterrupt = 0;

/// Notes Ctrl-C and its like while it lives.
class Interrupts {
 public:
  Interrupts() {
    g_nInterrupt = 0;
    struct sigaction action {};
    action.sa_handler = [](int signal) { g_nInterrupt = signal; };
    for (size_t i = 0; i < kSignals.size(); ++i) {
      sigaction(kSignals[i], nullptr, &m_Before[i]);
      // Who is started in the background with Ctrl-C ignored shall not listen to it.
      if (m_Before[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
    }
  }
  ~Interrupts() {
    for (size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &m_Before[i], nullptr);
  }
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

 private:
  static constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};
  struct sigaction m_Before[kSignals.size()]{};
};

/// The line on a terminal that says how far a file's work is.
class ProgressLine {
 public:
  void Draw(const Child& child) {
    if (!m_bTerminal || child.Spent() < std::chrono::seconds(1)) return;
    m_bDrawn = true;
    const SOutcome& outcome = child.Outcome();
    const std::string share = child.Share() > 0 ? fmt::format(", {:.0f}%", child.Share() * 100) : "";
    fmt::print(stderr, "\r\033[K{}: {}{}", Shown(outcome.sPath),
               outcome.sStage.empty() ? "working" : Shown(outcome.sStage), share);
  }
  void Erase() {
    if (m_bDrawn) fmt::print(stderr, "\r\033[K");
    m_bDrawn = false;
  }
  bool IsShown() const { return m_bTerminal; }

 private:
  bool m_bTerminal = isatty(STDERR_FILENO) != 0;
  bool m_bDrawn = false;
};

/// The children of one ForEachFile.
class Crew {
 public:
  Crew(const SHostOptions& host, const SIsolation& isolation, const FileWork& work, std::vector<SOutcome>* outcomes)
      : m_Limit(std::chrono::seconds(host.nSeconds)),
        m_nSeconds(host.nSeconds),
        m_nJobs(std::max(isolation.nJobs, 1u)),
        m_bKeep(isolation.bKeepOutput),
        m_Work(work),
        m_Outcomes(*outcomes) {}

  /// @return a signal that this process has to end with; 0: all is done.
  int Run() {
    while (!m_Running.empty() || (m_nNext < m_Outcomes.size() && !m_nEndWith)) {
      while (m_Running.size() < m_nJobs && m_nNext < m_Outcomes.size() && !m_nEndWith) Start();
      Wait();
      Tick();
      Reap();
      if (g_nInterrupt && !m_nEndWith) m_nEndWith = g_nInterrupt;
      if (m_nEndWith) {
        for (Child& child : m_Running) child.End(false);
      }
    }
    m_Line.Erase();
    return m_nEndWith;
  }

 private:
  void Start() {
    // A line that is being redrawn and output on the same terminal have to take turns.
    const bool pass = m_Line.IsShown() && isatty(STDOUT_FILENO);
    const bool keep = m_bKeep || m_nJobs > 1;
    m_Running.emplace_back(m_Work, &m_Outcomes[m_nNext++],
                           keep   ? Child::EOutput::kKeep
                           : pass ? Child::EOutput::kPass
                                  : Child::EOutput::kInherit);
  }

  void Wait() {
    std::vector<pollfd> polls;
    for (const Child& child : m_Running) child.AddPolls(&polls);
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(kTick).count();
    if (poll(polls.data(), polls.size(), static_cast<int>(milliseconds)) < 0 && errno != EINTR) {
      throw HostError(std::string("cannot wait: ") + std::strerror(errno));
    }
    for (Child& child : m_Running) child.Receive([this] { m_Line.Erase(); });
  }

  void Tick() {
    // Time in which this process was stopped is nobody's, and a pager that is not read on is no fault of the library.
    const auto now = Clock::now();
    const Clock::duration passed = std::min<Clock::duration>(now - m_Last, 2 * kTick);
    m_Last = now;
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    const bool blocked = poll(&output, 1, 0) == 0;
    for (Child& child : m_Running) {
      child.Spend(blocked ? Clock::duration::zero() : passed);
      if (child.Spent() >= m_Limit) child.End(true);
    }
    if (now - m_Drawn < kTick || m_Running.empty()) return;
    m_Drawn = now;
    m_Line.Draw(m_Running.front());
  }

  void Reap() {
    for (auto child = m_Running.begin(); child != m_Running.end();) {
      if (!child->IsDone()) {
        ++child;
        continue;
      }
      const int signal = child->Finish(m_nSeconds);
      if (signal == SIGPIPE && !m_nEndWith) m_nEndWith = SIGPIPE;  // the reader of stdout has gone
      child = m_Running.erase(child);
      m_Line.Erase();
    }
    Publish();
  }

  /// Prints what is complete, in the order of the files.
  void Publish() {
    const size_t started = m_nNext;
    for (; m_nPublished < started; ++m_nPublished) {
      SOutcome& outcome = m_Outcomes[m_nPublished];
      const bool runs =
          std::any_of(m_Running.begin(), m_Running.end(), [&](const Child& c) { return &c.Outcome() == &outcome; });
      if (runs) return;
      if (!m_bKeep) {
        std::fwrite(outcome.sOutput.data(), 1, outcome.sOutput.size(), stdout);
        outcome.sOutput = {};
      }
      if (outcome.bGaveUp && !m_nEndWith && !g_nInterrupt) {
        PrintError(fmt::format("{}: the library gave up: it {}{}", outcome.sPath, outcome.sHow,
                               outcome.sStage.empty() ? "" : " while " + outcome.sStage));
      }
    }
  }

  Clock::duration m_Limit;
  unsigned m_nSeconds;
  size_t m_nJobs;
  bool m_bKeep;
  const FileWork& m_Work;
  std::vector<SOutcome>& m_Outcomes;
  std::list<Child> m_Running;
  size_t m_nNext = 0, m_nPublished = 0;
  int m_nEndWith = 0;
  Clock::time_point m_Last = Clock::now(), m_Drawn = m_Last;
  ProgressLine m_Line;
};

/// Without a child: the facts go straight to the outcome.
class DirectProgress final : public Progress {
 public:
  explicit DirectProgress(SOutcome* outcome) : m_pOutcome(outcome) {}
  void Stage(const std::string& stage) override { m_pOutcome->sStage = stage; }
  void Done(double) override {}
  void Tell(const std::string& name, const Json& facts) override { m_pOutcome->told[name] = facts; }

 private:
  SOutcome* m_pOutcome;
};

/// What is printed while it lives goes to a file in memory.
class KeptOutput {
 public:
  KeptOutput() : m_nFile(memfd_create("output", MFD_CLOEXEC)), m_nStdout(dup(STDOUT_FILENO)) {
    if (m_nFile < 0 || m_nStdout < 0) throw HostError(std::string("cannot keep output: ") + std::strerror(errno));
    std::fflush(stdout);
    dup2(m_nFile, STDOUT_FILENO);
  }
  ~KeptOutput() {
    dup2(m_nStdout, STDOUT_FILENO);
    close(m_nStdout);
    close(m_nFile);
  }
  KeptOutput(const KeptOutput&) = delete;
  KeptOutput& operator=(const KeptOutput&) = delete;

  std::string Text() const {
    std::fflush(stdout);
    std::string text(static_cast<size_t>(lseek(m_nFile, 0, SEEK_END)), '\0');
    const ssize_t count = pread(m_nFile, text.data(), text.size(), 0);
    text.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    return text;
  }

 private:
  int m_nFile, m_nStdout;
};

void DoDirectly(const FileWork& work, bool keep, SOutcome* outcome) {
  DirectProgress progress(outcome);
  if (!keep) {
    outcome->nExit = DoWork(work, outcome->sPath, progress);
    return;
  }
  const KeptOutput kept;
  outcome->nExit = DoWork(work, outcome->sPath, progress);
  outcome->sOutput = kept.Text();
}

}  // namespace

std::vector<SOutcome> ForEachFile(const SHostOptions& host, const SIsolation& isolation,
                                  const std::vector<std::string>& files, const FileWork& work) {
  std::vector<SOutcome> outcomes(files.size());
  for (size_t i = 0; i < files.size(); ++i) outcomes[i].sPath = files[i];
  if (host.bInProcess) {
    InstallLastWords(-1);
    for (SOutcome& outcome : outcomes) DoDirectly(work, isolation.bKeepOutput, &outcome);
    return outcomes;
  }
  int endWith = 0;
  {
    const Interrupts interrupts;
    endWith = Crew(host, isolation, work, &outcomes).Run();
  }
  if (endWith == 0) return outcomes;
  if (isolation.onEnd) isolation.onEnd();
  std::fflush(stdout);
  std::signal(endWith, SIG_DFL);
  std::raise(endWith);
  return outcomes;
}

int WorstExit(const std::vector<SOutcome>& outcomes) {
  int worst = kExitFine;
  for (const SOutcome& outcome : outcomes) worst = std::max(worst, outcome.nExit);
  return worst;
}
