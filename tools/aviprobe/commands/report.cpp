#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <string_view>

#include "tools/aviprobe/commands/check_outcome.h"
#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/commands/output_file.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/check_facts.h"
#include "tools/aviprobe/report/details.h"
#include "tools/aviprobe/report/page.h"
#include "tools/aviprobe/report/series.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct SReportOptions {
  std::vector<std::string> files;
  std::string sOutput;
};

/// Looks into one file. Tells what it knows as it goes: the library may end the process.
class Inspection {
 public:
  Inspection(const Host& host, const std::string& path, Progress& progress)
      : m_Host(host), m_sPath(path), m_Progress(progress), m_Source(path, false) {}

  int Run() {
    m_Progress.Stage("reading its structure");
    const SFileMap map = MapFile(m_Source, m_sPath);
    m_Series["byte_map"] = ByteMapSeries(map);
    m_Progress.Tell("headers", HeaderDetails(m_Source, map));
    TellCheck(map, nullptr);
    if (!map.IsAvi()) {
      PrintError(m_sPath + ": not an AVI file");
      return kExitUnreadable;
    }
    const SPlayback playback = Play(m_Host, m_sPath, Watched());
    AddPlaybackSeries(FileFacts(map, &playback), &m_Series);
    m_Progress.Stage("comparing");
    const int code = TellCheck(map, &playback);
    if (!playback.bOpened) return code;
    m_Progress.Stage("seeking");
    m_Series["seeks"] = SeekDetails(m_Host, m_sPath);
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
    const Json facts = CheckFacts(map, playback, findings);
    m_Progress.Tell(kCheckFacts, facts);
    m_Progress.Tell("series", m_Series);
    return CheckExit(facts, false);
  }

  const Host& m_Host;
  std::string m_sPath;
  Progress& m_Progress;
  FileSource m_Source;
  Json m_Series = Json::object();
};

/// Tells why a file cannot be read, too.
int Inspect(const Host& host, const std::string& path, Progress& progress) try {
  return Inspection(host, path, progress).Run();
} catch (const HostError& error) {
  progress.Tell(kCheckTrouble, Shown(error.what()));
  throw;
}

/// All that the page needs of one file.
Json FileRecord(const SOutcome& outcome) {
  Json file = {{"file", Shown(outcome.sPath)}, {"exit", outcome.nExit}};
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

/// An older page is written over, but nothing that may be a film: `report -o *.avi` gives the first one as the page.
bool BeginsAsAvi(const std::string& path) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return false;
  char begin[4] = {};
  std::ifstream(path, std::ios::binary).read(begin, sizeof begin);
  return std::string_view(begin, sizeof begin) == "RIFF";
}

void CheckNotAFilm(const SReportOptions& options) {
  for (const std::string& file : options.files) {
    std::error_code ignored;
    if (std::filesystem::equivalent(options.sOutput, file, ignored)) {
      RefuseUsage("--output: " + options.sOutput + " is a file that is read");
    }
  }
  if (BeginsAsAvi(options.sOutput)) {
    RefuseUsage("--output: " + options.sOutput + " begins as an AVI file does: give the page another name");
  }
}

int RunReport(const SHostOptions& hostOptions, const SReportOptions& options) {
  const Host host(hostOptions);
  CheckWritable(options.sOutput);
  const std::vector<SOutcome> outcomes =
      ForEachFile(hostOptions, {}, options.files,
                  [&](const std::string& path, Progress& progress) { return Inspect(host, path, progress); });
  Json files = Json::array();
  for (const SOutcome& outcome : outcomes) files.push_back(FileRecord(outcome));
  WriteWhole(options.sOutput, ReportPage(files));
  return WorstExit(outcomes);
}

}  // namespace

void AddReport(CLI::App& app, Command& command) {
  auto options = std::make_shared<SReportOptions>();
  CommandOptions report(app, "report", "Write a page that shows all about files, for a browser");
  report.Files(&options->files);
  report.Text("-o,--output", &options->sOutput, "HTML", "The page").Required();
  report.OnRead([=, &command] {
    CheckNotAFilm(*options);
    command = [=](const SHostOptions& host) { return RunReport(host, *options); };
  });
}
