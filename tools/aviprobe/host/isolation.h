#ifndef ZU_TOOLS_AVIPROBE_HOST_ISOLATION_H_
#define ZU_TOOLS_AVIPROBE_HOST_ISOLATION_H_

#include <functional>
#include <string>
#include <vector>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/text/json_line.h"

// The library may end the process on some damaged files. A file's work is therefore done by a child process.

/// The exit codes of the tool, the worst of all files'.
enum EExit : int {
  kExitFine = 0,
  kExitFindings = 1,  ///< findings, or a track that did not play to its end
  kExitUsage = 2,
  kExitUnreadable = 3,  ///< not an AVI file, or not readable
  kExitGaveUp = 4,      ///< the library ended the process, crashed or never came back
};

/// For the work in the child: what the parent shall know even if the child does not live to its end.
class Progress {
 public:
  virtual ~Progress() = default;
  /// What is being done now: "opening", "playing track 1 at 00:00:12.000".
  virtual void Stage(const std::string& stage) = 0;
  /// Share of the work that is done, 0 to 1.
  virtual void Done(double share) = 0;
  /// Hands facts over; of several with the same name the last one counts.
  virtual void Tell(const std::string& name, const Json& facts) = 0;
};

/// What came of one file.
struct SOutcome {
  std::string sPath;
  int nExit = kExitFine;
  bool bGaveUp = false;        ///< ended by a signal or after the time limit
  std::string sHow;            ///< how it gave up: "aborted", "crashed (segmentation fault)", "took longer than 120 s"
  std::string sStage;          ///< the last one told
  Json told = Json::object();  ///< by name
  std::string sOutput;         ///< what it printed, where that was asked for
};

/// What a command wants; SHostOptions::bInProcess and nSeconds are the user's part of it.
struct SIsolation {
  unsigned nJobs = 1;        ///< files at the same time; more than 1 keeps each file's output together, in order
  bool bKeepOutput = false;  ///< to SOutcome::sOutput instead of stdout
  /// Called behind the last child when a signal ends this process: ForEachFile does not come back then.
  std::function<void()> onEnd{};
};

/// Does `work` for each file, which returns that file's exit code. An exception is printed and is kExitUnreadable.
/// After a file that gave up a line on stderr names it, how and where; the other files go on. What it printed before is
/// there.
///
/// The time limit is wall time, but for that in which nobody takes what is on stdout. While work takes longer than a
/// second and stderr is a terminal, a line there says how far it is; stdout of the work is no terminal then, so ask for
/// its manners before. Ctrl-C ends the children, then this process by the same signal; so does a stdout that closed.
/// @return as many as files, in their order.
std::vector<SOutcome> ForEachFile(const SHostOptions& host, const SIsolation& isolation,
                                  const std::vector<std::string>& files,
                                  const std::function<int(const std::string& path, Progress& progress)>& work);

/// The worst exit code of all.
int WorstExit(const std::vector<SOutcome>& outcomes);

#endif  // ZU_TOOLS_AVIPROBE_HOST_ISOLATION_H_
