#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "tools/aviprobe/commands.h"

namespace {

/// Accepts whole numbers from `low` to `high`. An unsigned option alone would take a minus sign as a huge number.
CLI::Validator Within(int64_t low, int64_t high) { return CLI::Range(low, high).description(""); }

constexpr int64_t kMaxTime = std::numeric_limits<uint32_t>::max();
constexpr int64_t kMaxInt = std::numeric_limits<int32_t>::max();

using Command = std::function<int(const SHostOptions&)>;

void AddHostOptions(CLI::App& app, SHostOptions& options) {
  app.add_option("--library", options.sLibrary, "The parser library to use instead of the one that belongs to the tool")
      ->type_name("PATH");
  app.add_option("--buffer", options.nBuffer, "Size of the buffer for one unit")
      ->type_name("BYTES")
      ->capture_default_str()
      ->check(Within(1, kMaxInt));
  app.add_flag("--streaming", options.bStreaming, "Hide the length of the file, as a source still being received does");
  app.add_flag("--json", options.bJson, "Print JSON, one record a line");
  app.add_flag("-v,--verbose", options.nVerbosity,
               "Show the library's messages; twice: debugging too, thrice: every read");
}

void AddInfo(CLI::App& app, Command& command) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* info = app.add_subcommand("info", "Show duration, tracks and their configuration");
  info->add_option("FILE", *files, "AVI files")->required();
  info->callback([=, &command] { command = [=](const SHostOptions& host) { return RunInfo(Host(host), *files); }; });
}

void AddPackets(CLI::App& app, Command& command) {
  auto options = std::make_shared<SPacketsOptions>();
  CLI::App* packets = app.add_subcommand("packets", "List the units that the library delivers");
  packets->add_option("FILE", options->sFile, "AVI file")->required();
  packets->add_option("--track", options->nTrack, "Only this track")->type_name("N")->check(Within(0, kMaxInt));
  packets->add_flag("--hash", options->bHash, "Add a hash of the bytes (FNV-1a, 64 bits)");
  packets->add_flag("--summary", options->bSummary, "Only a line per track and the total");
  packets->callback(
      [=, &command] { command = [=](const SHostOptions& host) { return RunPackets(Host(host), *options); }; });
}

void AddSeek(CLI::App& app, Command& command) {
  auto options = std::make_shared<SSeekOptions>();
  CLI::App* seek = app.add_subcommand("seek", "Seek and show the unit that comes next");
  seek->add_option("FILE", options->sFile, "AVI file")->required();
  seek->add_option("--at", options->nAtMs, "Time to go to")->type_name("MS")->required()->check(Within(0, kMaxTime));
  seek->add_option("--mode", options->nMode, "Key frame: 0 at or before, 1 at or after, 2 or 3 the nearer one")
      ->type_name("0..3")
      ->capture_default_str()
      ->check(Within(0, 3));
  seek->add_option("--kind", options->sKind, "What to seek in, video or audio")
      ->type_name("KIND")
      ->capture_default_str()
      ->check(CLI::IsMember({"video", "audio"}));
  seek->add_option("--track", options->nTrack, "The track instead of the first one of its kind")
      ->type_name("N")
      ->check(Within(0, kMaxInt));
  seek->callback([=, &command] { command = [=](const SHostOptions& host) { return RunSeek(Host(host), *options); }; });
}

void AddExtract(CLI::App& app, Command& command) {
  auto options = std::make_shared<SExtractOptions>();
  CLI::App* extract = app.add_subcommand("extract", "Write elementary streams as the decoders get them");
  extract->add_option("FILE", options->sFile, "AVI file")->required();
  CLI::Option* track = extract->add_option("--track", options->nTrack, "Only this track")->type_name("N");
  CLI::Option* output = extract->add_option("-o,--output", options->sOutput, "Where to, - is stdout")->type_name("OUT");
  track->check(Within(0, kMaxInt))->needs(output);
  output->needs(track);
  CLI::Option* all = extract->add_option("--all", options->sFolder, "Every track, to DIR/trackN.EXT")->type_name("DIR");
  all->excludes(track)->excludes(output);
  extract->callback([=, &command] {
    if (all->empty() && track->empty()) throw CLI::RequiredError("--track with --output, or --all");
    command = [=](const SHostOptions& host) { return RunExtract(Host(host), *options); };
  });
}

void AddIndex(CLI::App& app, Command& command) {
  auto options = std::make_shared<SIndexOptions>();
  CLI::App* index = app.add_subcommand("index", "List the entries of the file's index");
  index->add_option("FILE", options->sFile, "AVI file")->required();
  index->add_option("--track", options->nTrack, "Only this track")->type_name("N")->check(Within(0, kMaxInt));
  index->callback([=, &command] { command = [=](const SHostOptions& host) { return RunIndex(host, *options); }; });
}

void AddTree(CLI::App& app, Command& command) {
  auto options = std::make_shared<STreeOptions>();
  CLI::App* tree = app.add_subcommand("tree", "List the chunks of a file and what is wrong with them");
  tree->add_option("FILE", options->sFile, "Any file")->required();
  tree->add_flag("--skip-data", options->bSkipData,
                 "Without the data chunks in movi that have nothing wrong with them");
  tree->callback([=, &command] { command = [=](const SHostOptions& host) { return RunTree(host, *options); }; });
}

}  // namespace

int main(int argc, char** argv) try {
  SHostOptions options;
  Command command;
  CLI::App app("Opens AVI files through the parser library, as a media host does.", "aviprobe");
  app.set_version_flag("--version", "aviprobe " AVIPROBE_VERSION);
  app.require_subcommand(1);
  app.fallthrough();  // the host's options may follow the command
  app.footer("Exit code: 0; 1 when something is wrong with a file; 2 when the command line is.");
  AddHostOptions(app, options);
  AddInfo(app, command);
  AddPackets(app, command);
  AddSeek(app, command);
  AddExtract(app, command);
  AddIndex(app, command);
  AddTree(app, command);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }

  std::setvbuf(stdout, nullptr, _IOFBF, 1 << 16);
  const int code = command(options);
  if (std::fflush(stdout) == 0) return code;
  throw HostError(std::string("cannot write: ") + std::strerror(errno));
} catch (const std::exception& error) {
  PrintError(error.what());
  return 1;
}
