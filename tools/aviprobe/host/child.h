#ifndef ZU_TOOLS_AVIPROBE_HOST_CHILD_H_
#define ZU_TOOLS_AVIPROBE_HOST_CHILD_H_

#include <poll.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/host/isolation.h"

using FileWork = std::function<int(const std::string& path, Progress& progress)>;

/// Does the work here, whatever it throws. @return the file's exit code.
int DoWork(const FileWork& work, const std::string& path, Progress& progress);

/// One end of a pipe.
class PipeEnd {
 public:
  explicit PipeEnd(int fd = -1) : m_nFd(fd) {}
  PipeEnd(PipeEnd&& other) noexcept;
  PipeEnd& operator=(PipeEnd&& other) noexcept;
  ~PipeEnd() { Close(); }
  int Fd() const { return m_nFd; }
  bool IsOpen() const { return m_nFd >= 0; }
  void Close();

 private:
  int m_nFd;
};

/// A child process that works on one file, as its parent sees it.
class Child {
 public:
  enum class EOutput {
    kInherit,  ///< goes where the parent's goes
    kPass,     ///< comes here and goes on to stdout at once
    kKeep,     ///< comes here and stays in the outcome
  };
  using Clock = std::chrono::steady_clock;

  /// Starts it. @throw HostError when there can be no process. @param outcome  outlives the child; has the path.
  Child(const FileWork& work, SOutcome* outcome, EOutput output);
  ~Child();  ///< ends a process that still runs
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Appends what to wait for.
  void AddPolls(std::vector<pollfd>* polls) const;
  /// Takes in what there is without waiting. `beforeOutput` is called before something goes on to stdout.
  void Receive(const std::function<void()>& beforeOutput);
  /// Whether all has been received; the process has ended then, or is about to.
  bool IsDone() const { return !m_Notes.IsOpen() && !m_Output.IsOpen(); }
  /// Waits for the end and completes the outcome. @return the signal that ended it, 0 for none.
  int Finish(unsigned limitSeconds);

  /// Time that counts for the limit has passed.
  void Spend(Clock::duration time);
  Clock::duration Spent() const { return m_Spent; }
  /// Asks it to end; one that is asked and does not is killed after half a second more. Harmless when repeated.
  void End(bool overTime);

  const SOutcome& Outcome() const { return *m_pOutcome; }
  double Share() const { return m_nShare; }

 private:
  void ReadNotes(const char* bytes, size_t count);
  void TakeNote(const std::string& line);

  SOutcome* m_pOutcome;
  EOutput m_Mode;
  pid_t m_nPid = -1;
  PipeEnd m_Notes, m_Output;
  std::string m_sPartial;  // of a line of notes
  double m_nShare = 0;
  std::optional<int> m_nExit;  // of work that came to its end
  Clock::duration m_Spent{};
  std::optional<Clock::time_point> m_Ending;  // when it was asked to
  bool m_bOverTime = false;
};

#endif  // ZU_TOOLS_AVIPROBE_HOST_CHILD_H_
