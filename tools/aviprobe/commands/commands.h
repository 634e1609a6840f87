#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_COMMANDS_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_COMMANDS_H_

#include <functional>

#include "tools/aviprobe/host/host.h"

namespace CLI {
class App;
}

/// What the user asked for; made while the command line is read, run when all of it is known. Prints on stdout and
/// returns the exit code of the tool.
using Command = std::function<int(const SHostOptions&)>;

// Each adds its subcommand, which makes `command`.

/// What a file holds, track by track.
void AddInfo(CLI::App& app, Command& command);
/// Every unit that the library delivers, and totals.
void AddPackets(CLI::App& app, Command& command);
/// Where a seek lands: the next unit after it.
void AddSeek(CLI::App& app, Command& command);
/// The same from one end of the file to the other, and what each seek costs the source.
void AddSeekTest(CLI::App& app, Command& command);
/// The units that one of two files delivers and the other does not.
void AddCompare(CLI::App& app, Command& command);
/// The elementary streams as the decoders get them.
void AddExtract(CLI::App& app, Command& command);
/// What is wrong with a file, and what a viewer meets.
void AddCheck(CLI::App& app, Command& command);
/// A healthy copy of what the library delivers.
void AddRemux(CLI::App& app, Command& command);

// These do not go through the library: they show what no host can ask for.

/// The index as the library's own classes find it.
void AddIndex(CLI::App& app, Command& command);
/// Every chunk of a file, whether the library can open it or not.
void AddTree(CLI::App& app, Command& command);
/// How the tracks lie beside each other in a file.
void AddLayout(CLI::App& app, Command& command);
/// A page with all of it, for a browser.
void AddReport(CLI::App& app, Command& command);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_COMMANDS_H_
