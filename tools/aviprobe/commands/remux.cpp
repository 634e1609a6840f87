#include "tools/aviprobe/remux/remux.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <optional>
#include <set>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"

namespace {

namespace fs = std::filesystem;

struct SRemuxOptions {
  std::vector<std::string> files;
  std::string sOutput;
  bool bForce = false;
};

[[noreturn]] void Refuse(const std::string& message) { RefuseUsage("remux: " + message); }

std::optional<EContainer> ContainerOf(const fs::path& path) {
  std::string ending = path.extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ending == ".avi") return EContainer::kAvi;
  if (ending == ".mkv") return EContainer::kMatroska;
  return std::nullopt;
}

bool IsFolder(const std::string& path) {
  std::error_code ignored;
  return path.ends_with('/') || fs::is_directory(path, ignored);
}

SRemuxJob MakeJob(const SRemuxOptions& options, const std::string& file) {
  fs::path output = options.sOutput;
  if (IsFolder(options.sOutput)) output /= fs::path(file).stem().concat(".avi");
  const std::optional<EContainer> container = ContainerOf(output);
  if (!container) Refuse(output.string() + ": must end in .avi or .mkv, or be a folder");
  SRemuxJob job{file, output.string(), fmt::format("{}.{}.part", output.string(), getpid()), *container,
                options.bForce};
  std::error_code ignored;
  if (fs::equivalent(output, file, ignored)) Refuse(job.sOutput + ": is the file that is read");
  if (!options.bForce && fs::exists(fs::symlink_status(output, ignored))) {
    Refuse(job.sOutput + ": is there already; --force replaces it");
  }
  return job;
}

/// By input. Everything that can be wrong with the names is wrong before any file is read.
std::map<std::string, SRemuxJob> MakeJobs(const SRemuxOptions& options) {
  if (!RemuxIsBuiltIn()) RefuseUsage("remux is not built in");
  if (options.files.size() > 1 && !IsFolder(options.sOutput)) Refuse("several files need a folder: -o DIR/");
  std::map<std::string, SRemuxJob> jobs;
  std::set<std::string> outputs;
  for (const std::string& file : options.files) {
    const SRemuxJob job = MakeJob(options, file);
    if (!outputs.insert(job.sOutput).second) Refuse(file + ": another file has this name; copy it to another folder");
    for (const std::string& other : options.files) {
      std::error_code ignored;
      if (fs::equivalent(job.sOutput, other, ignored)) Refuse(job.sOutput + ": is a file that is read");
    }
    jobs[file] = job;
  }
  return jobs;
}

Json TrackJson(const SRemuxedTrack& track) {
  return {{"track", track.nTrack},
          {"type", TrackTypeName(track.nType)},
          {"codec_id", track.nCodecId},
          {"codec", CodecName(track.nType, track.nCodecId)},
          {"units", track.nUnits},
          {"bytes", track.nBytes},
          {"key_units", track.nType == AVI_TRACK_VIDEO ? Json(track.nKeys) : Json()},
          {"gaps", track.nGaps},
          {"hash", fmt::format("{:016x}", track.nHash)},
          {"same_units", track.bSame ? Json(*track.bSame) : Json()},
          {"drift_ms", track.nDriftMs},
          {"end", EndingName(track.result.ending)},
          {"status", track.result.nStatus}};
}

void PrintJson(const SRemuxJob& job, const SRemuxed& done) {
  Json tracks = Json::array();
  for (const SRemuxedTrack& track : done.tracks) tracks.push_back(TrackJson(track));
  PrintJsonLine({{"record", "remux"},
                 {"file", job.sInput},
                 {"output", job.sOutput},
                 {"container", job.container == EContainer::kAvi ? "avi" : "mkv"},
                 {"tracks", tracks},
                 {"notes", done.notes}});
}

void PrintText(const SRemuxJob& job, const SRemuxed& done) {
  fmt::print("{} to {}\n", Shown(job.sInput), Shown(job.sOutput));
  for (const SRemuxedTrack& track : done.tracks) {
    fmt::print("  track {}: {}, {}: {} units, {} bytes", track.nTrack, TrackTypeName(track.nType),
               CodecName(track.nType, track.nCodecId), track.nUnits, track.nBytes);
    if (track.nType == AVI_TRACK_VIDEO) fmt::print(", {} key frames", track.nKeys);
    if (track.nGaps) fmt::print(", {} frames without a picture", track.nGaps);
    if (track.bSame == true) fmt::print(", the copy delivers the same");
    fmt::print("\n");
  }
  for (const std::string& note : done.notes) fmt::print("  note: {}\n", note);
}

int RunRemux(const Host& host, const SRemuxJob& job, Progress& progress) try {
  const SRemuxed done = Remux(host, job, progress);
  host.Json() ? PrintJson(job, done) : PrintText(job, done);
  int code = done.troubles.empty() ? kExitFine : kExitFindings;
  for (const std::string& trouble : done.troubles) PrintError(job.sInput + ": " + trouble);
  for (const SRemuxedTrack& track : done.tracks) {
    const std::string trouble = Trouble(track.result);
    if (trouble.empty()) continue;
    PrintError(fmt::format("{}: track {} {} after {} units", job.sInput, track.nTrack, trouble, track.nUnits));
    code = kExitFindings;
  }
  return code;
} catch (const CopyError& error) {
  PrintError(error.what());
  return kExitFindings;
}

int RunAll(const SHostOptions& hostOptions, const SRemuxOptions& options,
           const std::map<std::string, SRemuxJob>& jobs) {
  if (options.sOutput.ends_with('/')) fs::create_directories(options.sOutput);
  const Host host(hostOptions);
  // What came to no good end has not got its name. Done here, because the process that wrote it may be gone.
  const auto removeUnfinished = [&] {
    for (const auto& [path, job] : jobs) {
      std::error_code ignored;
      fs::remove(job.sTemporary, ignored);
    }
  };
  const std::vector<SOutcome> outcomes =
      ForEachFile(hostOptions, {.onEnd = removeUnfinished}, options.files,
                  [&](const std::string& path, Progress& progress) { return RunRemux(host, jobs.at(path), progress); });
  removeUnfinished();
  return WorstExit(outcomes);
}

}  // namespace

void AddRemux(CLI::App& app, Command& command) {
  auto options = std::make_shared<SRemuxOptions>();
  CommandOptions remux(app, "remux", "Write a healthy copy of what the library delivers");
  remux.Files(&options->files);
  remux.Text("-o,--output", &options->sOutput, "OUT", "The copy, .avi or .mkv; DIR/ for DIR/NAME.avi of each file")
      .Required();
  remux.Flag("--force", &options->bForce, "Replace a file of that name, but never the one that is read");
  remux.OnRead([=, &command] {
    const std::map<std::string, SRemuxJob> jobs = MakeJobs(*options);
    command = [=](const SHostOptions& hostOptions) { return RunAll(hostOptions, *options, jobs); };
  });
}
