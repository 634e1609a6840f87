#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "tools/aviprobe/commands/check_outcome.h"
#include "tools/aviprobe/commands/check_text.h"
#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/check_facts.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct SCheckOptions {
  std::vector<std::string> files;
  bool bStrict = false;  ///< notes count for the exit code
  bool bQuick = false;   ///< play nothing
  unsigned nJobs = 1;
};

/// What a child does. @param host  null: play nothing. It tells what the structure gives before the library opens the
/// file: that outlives an abort.
int CheckOne(const Host* host, const SCheckOptions& options, const std::string& path, Progress& progress) {
  progress.Stage("reading the structure");
  FileSource source(path, false);
  const SFileMap map = MapFile(source, path);
  Json facts = CheckFacts(map, nullptr, Check(map, nullptr, source));
  progress.Tell(kCheckFacts, facts);
  if (!map.IsAvi()) return kExitUnreadable;
  if (!host) return CheckExit(facts, options.bStrict);

  SPlayOptions play;
  play.bHash = false;
  play.onStage = [&](const std::string& stage) { progress.Stage(stage); };
  play.onDone = [&](double share) { progress.Done(share); };
  const SPlayback playback = Play(*host, path, play);
  progress.Stage("comparing");
  facts = CheckFacts(map, &playback, Check(map, &playback, source));
  progress.Tell(kCheckFacts, facts);
  return CheckExit(facts, options.bStrict);
}

/// Tells why a file cannot be read, too.
int CheckOrTell(const Host* host, const SCheckOptions& options, const std::string& path, Progress& progress) {
  try {
    return CheckOne(host, options, path, progress);
  } catch (const HostError& error) {
    progress.Tell(kCheckTrouble, Shown(error.what()));  // bytes that are no UTF-8 do not go into JSON
    throw;
  }
}

class Report {
 public:
  Report(const SHostOptions& host, const SCheckOptions& options) : m_bJson(host.bJson), m_Options(options) {}

  void Add(const SOutcome& outcome) {
    m_nWorst = std::max(m_nWorst, outcome.nExit);
    m_Files.push_back(FactsOf(outcome));
    m_bJson ? PrintCheckJson(m_Files.back()) : PrintCheckText(m_Files.back());
    // What is needed for the end: a batch of thousands keeps no findings.
    m_Files.back().erase("findings");
    m_Files.back().erase("tracks");
    FlushStdout();
  }

  int Finish() const {
    if (m_Options.files.size() > 1) m_bJson ? PrintTotalJson(m_Files) : PrintTotalText(m_Files);
    return m_nWorst;
  }

 private:
  bool m_bJson;
  const SCheckOptions& m_Options;
  std::vector<Json> m_Files;
  int m_nWorst = kExitFine;
};

int RunCheck(const SHostOptions& host, const SCheckOptions& options) {
  std::optional<Host> player;
  if (!options.bQuick) player.emplace(host);
  Report report(host, options);
  const auto work = [&](const std::string& path, Progress& progress) {
    return CheckOrTell(player ? &*player : nullptr, options, path, progress);
  };
  // As many at a time as are wanted, so that what is known comes out as the work goes on.
  for (size_t at = 0; at < options.files.size();) {
    const size_t count = std::min<size_t>(options.files.size() - at, options.nJobs == 1 ? 1 : options.nJobs * 8);
    const auto first = options.files.begin() + static_cast<ptrdiff_t>(at);
    const std::vector<std::string> some(first, first + static_cast<ptrdiff_t>(count));
    for (const SOutcome& outcome : ForEachFile(host, {.nJobs = options.nJobs}, some, work)) report.Add(outcome);
    at += count;
  }
  return report.Finish();
}

std::string CodeTable() {
  std::string text = "Findings:\n";
  for (const SFindingKind& kind : FindingKinds()) {
    text += fmt::format("  {:<8} {:<28} {}\n", SeverityName(kind.severity), kind.pCode, kind.pMeaning);
  }
  return text;
}

}  // namespace

void AddCheck(CLI::App& app, Command& command) {
  auto options = std::make_shared<SCheckOptions>();
  CommandOptions check(app, "check", "Say what is wrong with files, and what a viewer meets");
  check.Files(&options->files);
  check.Flag("--strict", &options->bStrict, "Notes, too, make the exit code 1");
  check.Flag("--quick", &options->bQuick, "Look at structure and index only, play nothing");
  check.Number("--jobs", &options->nJobs, {1, 64}, "N", "Files at the same time").ShowDefault();
  check.Epilogue(CodeTable());
  check.OnRead([=, &command] { command = [=](const SHostOptions& host) { return RunCheck(host, *options); }; });
}
