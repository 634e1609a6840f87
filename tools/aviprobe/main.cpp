#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string_view>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/commands/examples.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/host/last_words.h"
#include "tools/aviprobe/model/index_chunks.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/nearest.h"
#include "tools/aviprobe/text/shown.h"

namespace {

/// Whole numbers. An unsigned option alone would take a minus sign as a huge number.
CLI::Validator From(int64_t low) { return CLI::Range(low, kMaxInt).description(""); }

/// "N:STATUS".
SSimulation::SFailure ParseFailure(const std::string& text) {
  const size_t colon = text.find(':');
  SSimulation::SFailure failure{};
  const bool good = colon != std::string::npos && CLI::detail::lexical_cast(text.substr(0, colon), failure.nRead) &&
                    CLI::detail::lexical_cast(text.substr(colon + 1), failure.nStatus);
  if (!good || text[0] == '-' || failure.nRead < 1 || failure.nStatus >= 0) {
    throw CLI::ValidationError("--fail-at", "takes a number from 1, a colon and a status below 0: 100:-1004");
  }
  return failure;
}

void AddSourceOptions(CLI::App& app, SSimulation& simulation) {
  app.add_flag("--streaming", simulation.bStreaming,
               "Hide the length of the file, as a source still being received does");
  app.add_option("--chunk-bytes", simulation.nChunkBytes, "Let each read of the file deliver at most that much")
      ->type_name("BYTES")
      ->check(From(1));
  app.add_option_function<std::string>(
         "--fail-at", [&](const std::string& text) { simulation.failure = ParseFailure(text); },
         "Let the Nth read, counted from 1, and all behind it fail with this status")
      ->type_name("N:STATUS");
  app.add_option("--block-every", simulation.nBlockEvery, "Let each Nth read say that it would block")
      ->type_name("N")
      ->check(From(2));
  app.add_flag_callback(
      "--ignore-index", [&] { simulation.hiddenChunks = IndexChunks; },
      "Hide the indexes: what a damaged one leaves out is played too");
}

void AddHostOptions(CLI::App& app, SHostOptions& options) {
  app.add_option("--library", options.sLibrary, "The parser library to use instead of the one that belongs to the tool")
      ->type_name("PATH");
  app.add_option("--buffer", options.nBuffer, "Size of the buffer for one unit, instead of one that grows with need")
      ->type_name("BYTES")
      ->check(From(1));
  AddSourceOptions(app, options);
  app.add_option("--timeout", options.nSeconds, "How long the work on one file may take")
      ->type_name("SECONDS")
      ->capture_default_str()
      ->check(From(1));
  app.add_flag("--in-process", options.bInProcess, "Start no process for a file's work: for debuggers");
  app.add_flag("--json", options.bJson, "Print JSON, one record a line");
  app.add_flag("-v,--verbose", options.nVerbosity,
               "Show the library's messages; twice: debugging too, thrice: every read");
}

/// What CLI11 has to say, which repeats the command line as it is.
int Say(const CLI::App& app, const CLI::ParseError& error) {
  std::stringstream said;
  const int code = app.exit(error, std::cout, said);
  for (std::string line; std::getline(said, line);) fmt::print(stderr, "{}\n", Shown(line));
  return code == 0 ? kExitFine : kExitUsage;
}

/// Of those that the command takes.
std::string NearestOption(const CLI::App& app, const std::string& typed) {
  std::vector<std::string> names;
  const auto add = [&](const CLI::App& from) {
    for (const CLI::Option* option : from.get_options()) {
      names.insert(names.end(), option->get_lnames().begin(), option->get_lnames().end());
    }
  };
  add(app);
  for (const CLI::App* command : app.get_subcommands()) add(*command);
  return Nearest(typed, names);
}

/// Says what was wrong with the command line, or what it asked for. @return the exit code.
int Explain(const CLI::App& app, const CLI::ParseError& error, bool json) {
  if (json && dynamic_cast<const CLI::CallForVersion*>(&error)) {
    PrintJsonLine({{"record", "version"}, {"version", AVIPROBE_VERSION}, {"schema", kJsonSchema}});
    return kExitFine;
  }
  const std::vector<std::string> rest = app.remaining(true);
  if (error.get_exit_code() == 0 || rest.empty()) return Say(app, error);
  if (rest[0].starts_with("--")) {
    const int code = Say(app, error);
    const std::string nearest = NearestOption(app, rest[0].substr(2, rest[0].find('=') - 2));
    if (!nearest.empty()) PrintError(fmt::format("did you mean '--{}'?", nearest));
    return code;
  }
  if (!app.get_subcommands().empty() || rest[0].starts_with('-')) return Say(app, error);
  std::vector<std::string> commands;
  for (const CLI::App* command : app.get_subcommands({})) commands.push_back(command->get_name());
  const std::string nearest = Nearest(rest[0], commands);
  PrintError(fmt::format("no command '{}'; {}", rest[0],
                         nearest.empty() ? "aviprobe --help lists them" : fmt::format("did you mean '{}'?", nearest)));
  return kExitUsage;
}

constexpr const char* kExitCodes =
    "Exit code, the worst of all files':\n"
    "  0  fine\n"
    "  1  findings, a track that did not play to its end, or nothing to play\n"
    "  2  the command line is wrong\n"
    "  3  not an AVI file, or not readable\n"
    "  4  the library gave up on a file: it ended the process, crashed or never came back";

/// What the command line asks for. @return the exit code.
int Run(int argc, char** argv) {
  SHostOptions options;
  Command command;
  CLI::App app("Opens AVI files through the parser library, as a media host does.", "aviprobe");
  app.set_version_flag("--version", "aviprobe " AVIPROBE_VERSION);
  app.require_subcommand(1);
  app.fallthrough();       // the host's options may follow the command
  app.footer(kExitCodes);  // the commands' too, which take it over as they are added
  AddHostOptions(app, options);
  AddInfo(app, command);
  AddPackets(app, command);
  AddSeek(app, command);
  AddSeekTest(app, command);
  AddCompare(app, command);
  AddExtract(app, command);
  AddCheck(app, command);
  AddRemux(app, command);
  AddIndex(app, command);
  AddTree(app, command);
  AddLayout(app, command);
  AddReport(app, command);
  AddExamples(app);
  app.footer(std::string("aviprobe COMMAND --help shows a command's options and examples.\n\n") + kExitCodes);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return Explain(app, error,
                   std::any_of(argv, argv + argc, [](std::string_view argument) { return argument == "--json"; }));
  }

  BufferStdout();
  return command(options);
}

}  // namespace

int main(int argc, char** argv) try {
  const int code = Run(argc, argv);
  std::cout.flush();
  FlushStdout();
  return code;
} catch (const std::exception& error) {
  PrintError(error.what());
  return kExitUnreadable;
}
