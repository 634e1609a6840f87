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

using Command = std::function<int(const Host&)>;

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
  info->callback([=, &command] { command = [=](const Host& host) { return RunInfo(host, *files); }; });
}

void AddPackets(CLI::App& app, Command& command) {
  auto options = std::make_shared<SPacketsOptions>();
  CLI::App* packets = app.add_subcommand("packets", "List the units that the library delivers");
  packets->add_option("FILE", options->sFile, "AVI file")->required();
  packets->add_option("--track", options->nTrack, "Only this track")->type_name("N")->check(Within(0, kMaxInt));
  packets->add_flag("--hash", options->bHash, "Add a hash of the bytes (FNV-1a, 64 bits)");
  packets->add_flag("--summary", options->bSummary, "Only a line per track and the total");
  packets->callback([=, &command] { command = [=](const Host& host) { return RunPackets(host, *options); }; });
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
  seek->callback([=, &command] { command = [=](const Host& host) { return RunSeek(host, *options); }; });
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
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }

  std::setvbuf(stdout, nullptr, _IOFBF, 1 << 16);
  const int code = command(Host(options));
  if (std::fflush(stdout) == 0) return code;
  throw HostError(std::string("cannot write: ") + std::strerror(errno));
} catch (const std::exception& error) {
  PrintError(error.what());
  return 1;
}
