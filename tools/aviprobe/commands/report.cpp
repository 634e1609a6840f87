#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "tools/aviprobe/commands/check_text.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/check_facts.h"
#include "tools/aviprobe/report/details.h"
#include "tools/aviprobe/report/page.h"
#include "tools/aviprobe/report/series.h"
#include "tools/aviprobe/text/names.h"

namespace {

struct SReportOptions {
  std::vector<std::string> files;
  std::string sOutput;
};

/// Looks into one file. Tells what it knows as it goes: the library may end the process.
class Inspection {
 public:
  Inspection(const SHostOptions& options, const std::string& path, Progress& progress)
      : m_Options(options), m_sPath(path), m_Progress(progress), m_Source(path, false) {}

  int Run() {
    m_Progress.Stage("reading its structure");
    const SFileMap map = MapFile(m_Source, m_sPath);
    m_Series["byte_map"] = ByteMapSeries(map);
    m_Progress.Tell("headers", HeaderDetails(m_Source, map));
    TellCheck(map, nullptr);
    if (!map.IsAvi()) return kExitUnreadable;
    const Host host(m_Options);
    const SPlayback playback = Play(host, m_sPath, Watched());
    AddPlaybackSeries(FileFacts(map, &playback), &m_Series);
    m_Progress.Stage("comparing");
    const int code = TellCheck(map, &playback);
    if (!playback.bOpened) return code;
    m_Progress.Stage("seeking");
    m_Series["seeks"] = SeekDetails(host, m_sPath);
    m_Progress.Tell("series", m_Series);
    return code;
  }

 private:
  SPlayOptions Watched() {
    SPlayOptions options;
    options.bHash = false;
    options.onStage = [this](const std::string& stage) { m_Progress.Stage(stage); };
    options.onDone = [this](double share) { m_Progress.Done(share); };
    return options;
  }

  int TellCheck(const SFileMap& map, const SPlayback* playback) {
    const std::vector<SFinding> findings = Check(map, playback, m_Source);
    m_Progress.Tell("hex", HexDetails(m_Source, findings));
    m_Progress.Tell("check", CheckFacts(map, playback, findings));
    m_Progress.Tell("series", m_Series);
    for (const SFinding& finding : findings) {
      if (finding.severity != ESeverity::kNote) return kExitFindings;
    }
    return kExitFine;
  }

  const SHostOptions& m_Options;
  std::string m_sPath;
  Progress& m_Progress;
  FileSource m_Source;
  Json m_Series = Json::object();
};

/// What `check` says of the file, whatever became of the child.
Json FactsOf(const SOutcome& outcome) {
  const bool told = outcome.told.contains("check");
  Json facts = told ? outcome.told["check"] : UnreadableFacts(outcome.sPath);
  if (!outcome.bGaveUp) return facts;
  if (!told) facts["verdict"] = "errors";
  AddFinding({.pCode = "library-aborts",
              .severity = FindingKind("library-aborts").severity,
              .sConsequence = fmt::format("the library {} while {}: a player ends with it", outcome.sHow,
                                          outcome.sStage.empty() ? "working" : outcome.sStage),
              .sAdvice = "keep the file away from players; aviprobe remux FILE -o OUT.avi may save what is in it"},
             &facts);
  return facts;
}

/// All that the page needs of one file.
Json FileRecord(const SOutcome& outcome) {
  Json file = {{"file", Printable(outcome.sPath)}, {"exit", outcome.nExit}};
  if (outcome.bGaveUp) {
    file["gave_up"] = outcome.sHow;
    file["stage"] = outcome.sStage;
  }
  file["check"] = FactsOf(outcome);
  for (const char* name : {"series", "headers", "hex"}) {
    if (outcome.told.contains(name)) file[name] = outcome.told[name];
  }
  return file;
}

int RunReport(const SHostOptions& host, const SReportOptions& options) {
  std::ofstream out(options.sOutput, std::ios::binary);
  if (!out) throw HostError(fmt::format("cannot write {}: {}", options.sOutput, std::strerror(errno)));
  const std::vector<SOutcome> outcomes =
      ForEachFile(host, {}, options.files,
                  [&](const std::string& path, Progress& progress) { return Inspection(host, path, progress).Run(); });
  Json files = Json::array();
  for (const SOutcome& outcome : outcomes) files.push_back(FileRecord(outcome));
  out << ReportPage(files) << std::flush;
  if (!out) throw HostError(fmt::format("cannot write {}: {}", options.sOutput, std::strerror(errno)));
  return WorstExit(outcomes);
}

}  // namespace

void AddReport(CLI::App& app, Command& command) {
  auto options = std::make_shared<SReportOptions>();
  CLI::App* report = app.add_subcommand("report", "Write a page that shows all about files, for a browser");
  report->add_option("FILE", options->files, "AVI files")->required();
  report->add_option("-o,--output", options->sOutput, "The page")->type_name("HTML")->required();
  report->callback([=, &command] { command = [=](const SHostOptions& host) { return RunReport(host, *options); }; });
}
