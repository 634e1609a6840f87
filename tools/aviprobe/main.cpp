#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/aviprobe/commands/commands.h"

namespace {

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
