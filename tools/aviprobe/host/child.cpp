#include "tools/aviprobe/host/child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tools/aviprobe/host/last_words.h"

namespace {

constexpr auto kGrace = std::chrono::milliseconds(500);
constexpr auto kNoteInterval = std::chrono::milliseconds(100);

struct SPipe {
  PipeEnd read, write;
};
SPipe MakePipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw HostError(std::string("no pipe: ") + std::strerror(errno));
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  return {PipeEnd(ends[0]), PipeEnd(ends[1])};
}

std::string Line(const Json& note) { return JsonText(note, false) + "\n"; }

/// The child's end: lines of JSON. Where the work is goes out now and then, and always when it ends.
class Notes final : public Progress {
 public:
  explicit Notes(int fd) : m_nFd(fd) {}
  void Stage(const std::string& stage) override {
    m_sStage = stage;
    Update();
  }
  void Done(double share) override {
    m_nShare = share;
    Update();
  }
  void Tell(const std::string& name, const Json& facts) override { Send(Line({{"tell", name}, {"facts", facts}})); }
  /// The work came to its end: what ends the process before that may give it any exit status.
  void End(int code) {
    Send(Place());
    Send(Line({{"exit", code}}));
  }

 private:
  std::string Place() const { return Line({{"stage", m_sStage}, {"done", m_nShare}}); }
  void Update() {
    const std::string place = Place();
    SetLastNote(place);
    const auto now = Child::Clock::now();
    if (now - m_Last < kNoteInterval) return;
    m_Last = now;
    Send(place);
  }
  void Send(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = write(m_nFd, bytes.data(), bytes.size());
      if (count < 0 && errno != EINTR) return;  // nobody is there any more
      if (count > 0) bytes.remove_prefix(static_cast<size_t>(count));
    }
  }

  int m_nFd;
  std::string m_sStage;
  double m_nShare = 0;
  Child::Clock::time_point m_Last{};
};

[[noreturn]] void LiveAsChild(const FileWork& work, const std::string& path, pid_t parent, int notesFd, int outputFd) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(kExitGaveUp);
  prctl(PR_SET_DUMPABLE, 0);  // no core file: ending is an answer here
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  InstallLastWords(notesFd);
  if (outputFd >= 0) dup2(outputFd, STDOUT_FILENO);
  Notes notes(notesFd);
  const int code = DoWork(work, path, notes);
  notes.End(code);
  _exit(code);
}

const char* HowEnded(int signal) {
  switch (signal) {
    case SIGABRT:
      return "aborted";
    case SIGSEGV:
      return "crashed (segmentation fault)";
    case SIGBUS:
      return "crashed (bus error)";
    case SIGFPE:
      return "crashed (arithmetic error)";
    case SIGILL:
      return "crashed (illegal instruction)";
    case SIGKILL:
      return "was killed";
  }
  return nullptr;
}

}  // namespace

int DoWork(const FileWork& work, const std::string& path, Progress& progress) {
  int code = kExitUnreadable;
  try {
    code = work(path, progress);
  } catch (const HostError& error) {
    PrintError(error.what());
  } catch (const std::exception& error) {
    PrintError(path + ": " + error.what());
  }
  try {
    FlushStdout();
    return code;
  } catch (const HostError& error) {
    PrintError(error.what());
    return kExitUnreadable;
  }
}

PipeEnd::PipeEnd(PipeEnd&& other) noexcept : m_nFd(std::exchange(other.m_nFd, -1)) {}

PipeEnd& PipeEnd::operator=(PipeEnd&& other) noexcept {
  std::swap(m_nFd, other.m_nFd);
  return *this;
}

void PipeEnd::Close() {
  if (m_nFd >= 0) close(std::exchange(m_nFd, -1));
}

Child::Child(const FileWork& work, SOutcome* outcome, EOutput output) : m_pOutcome(outcome), m_Mode(output) {
  SPipe notes = MakePipe();
  SPipe printed = output == EOutput::kInherit ? SPipe() : MakePipe();
  std::fflush(stdout);  // or both would print it
  const pid_t self = getpid();
  m_nPid = fork();
  if (m_nPid < 0) throw HostError(std::string("no process: ") + std::strerror(errno));
  if (m_nPid == 0) LiveAsChild(work, outcome->sPath, self, notes.write.Fd(), printed.write.Fd());
  m_Notes = std::move(notes.read);
  m_Output = std::move(printed.read);
}

Child::~Child() {
  if (m_nPid < 0) return;
  kill(m_nPid, SIGKILL);
  while (waitpid(m_nPid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void Child::AddPolls(std::vector<pollfd>* polls) const {
  for (const PipeEnd* end : {&m_Notes, &m_Output}) {
    if (end->IsOpen()) polls->push_back({end->Fd(), POLLIN, 0});
  }
}

void Child::Receive(const std::function<void()>& beforeOutput) {
  char bytes[1 << 14];
  const auto drain = [&](PipeEnd& end, const auto& take) {
    while (end.IsOpen()) {
      const ssize_t count = read(end.Fd(), bytes, sizeof bytes);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0 && errno == EAGAIN) return;
      if (count <= 0) return end.Close();
      take(static_cast<size_t>(count));
    }
  };
  drain(m_Output, [&](size_t count) {
    if (m_Mode == EOutput::kKeep) {
      m_pOutcome->sOutput.append(bytes, count);
      return;
    }
    beforeOutput();
    std::fwrite(bytes, 1, count, stdout);
    std::fflush(stdout);
  });
  drain(m_Notes, [&](size_t count) { ReadNotes(bytes, count); });
}

void Child::ReadNotes(const char* bytes, size_t count) {
  m_sPartial.append(bytes, count);
  size_t begin = 0;
  for (size_t end = 0; (end = m_sPartial.find('\n', begin)) != std::string::npos; begin = end + 1) {
    TakeNote(m_sPartial.substr(begin, end - begin));
  }
  m_sPartial.erase(0, begin);
}

void Child::TakeNote(const std::string& line) {
  const Json note = Json::parse(line, nullptr, false);
  if (!note.is_object()) return;  // cut short by the end of the process
  if (note.contains("tell")) {
    m_pOutcome->told[note["tell"].get<std::string>()] = note["facts"];
  } else if (note.contains("stage")) {
    m_pOutcome->sStage = note["stage"].get<std::string>();
    m_nShare = note["done"].get<double>();
  } else if (note.contains("exit")) {
    m_nExit = note["exit"].get<int>();
  }
}

void Child::Spend(Clock::duration time) {
  m_Spent += time;
  if (m_Ending && Clock::now() - *m_Ending > kGrace) kill(m_nPid, SIGKILL);
}

void Child::End(bool overTime) {
  if (m_Ending) return;
  m_Ending = Clock::now();
  m_bOverTime = overTime;
  kill(m_nPid, SIGTERM);  // so that it can write what it has printed
}

int Child::Finish(unsigned limitSeconds) {
  int status = 0;
  while (waitpid(m_nPid, &status, 0) < 0 && errno == EINTR) {
  }
  m_nPid = -1;
  const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  m_pOutcome->bGaveUp = signal != 0 || !m_nExit;
  m_pOutcome->nExit = m_pOutcome->bGaveUp ? kExitGaveUp : *m_nExit;
  if (!m_pOutcome->bGaveUp) return 0;
  const char* how = HowEnded(signal);
  m_pOutcome->sHow = m_bOverTime ? fmt::format("took longer than {} s", limitSeconds)
                     : how       ? how
                     : signal    ? fmt::format("was ended by signal {}", signal)
                                 : fmt::format("ended with status {}", WEXITSTATUS(status));
  return signal;
}
