#include "tools/aviprobe/commands/examples.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <string_view>

namespace {

struct SExample {
  std::string_view sCommand;
  std::string_view sArguments;
  std::string_view sWhat;
};

constexpr SExample kExamples[] = {
    {"check", "film.avi", "what is wrong, where, and what a viewer meets"},
    {"check", "--quick *.avi", "the same without playing, for many files"},
    {"tree", "film.avi --skip-data", "headers, lists and indexes; of the data only what is damaged"},
    {"tree", "film.avi --fields", "every field of the headers, decoded"},
    {"tree", "film.avi --resync", "what can still be found behind damage"},
    {"info", "film.avi", "all about the tracks, to paste into a report"},
    {"info", "--brief *.avi", "a line per file"},
    {"info", "--play film.avi", "what the library delivers, beside what the file declares"},
    {"packets", "film.avi --summary", "how many units each track gives"},
    {"packets", "film.avi --track 1 --hash", "every unit of a track with a hash of its bytes"},
    {"packets", "film.avi --order file --pos", "the units of all tracks as they lie in the file, and where"},
    {"compare", "old.avi new.avi", "the units that one of them delivers and the other does not"},
    {"layout", "film.avi", "bytes of each track second by second, and the buffer that playing needs"},
    {"layout", "film.avi --bucket 500ms --csv", "the same by half seconds, for a spreadsheet"},
    {"seek", "film.avi --at 00:01:30", "where a seek to one and a half minutes lands"},
    {"seektest", "film.avi", "where a seek to every 5 seconds lands, and what it makes the source read"},
    {"report", "film.avi -o film.html", "a page for a browser with findings, tracks and charts"},
    {"remux", "film.avi -o repaired.avi", "a healthy copy: the same units, new headers and index"},
    {"remux", "--ignore-index film.avi -o repaired.avi",
     "the same of all chunks, also those that a damaged index leaves out"},
    {"extract", "film.avi --track 0 -o film.h264", "a track's elementary stream"},
    {"extract", "film.avi --all tracks", "every track's, into a folder"},
    {"index", "film.avi --track 0", "the index entries of a track"},
};

std::string ExamplesOf(std::string_view command) {
  std::string text;
  for (const SExample& example : kExamples) {
    if (example.sCommand != command) continue;
    text += fmt::format("\n  aviprobe {} {}\n      {}", example.sCommand, example.sArguments, example.sWhat);
  }
  return text.empty() ? text : "Examples:" + text;
}

}  // namespace

void AddExamples(CLI::App& app) {
  for (CLI::App* command : app.get_subcommands({})) {
    std::string footer = command->get_footer();
    const std::string examples = ExamplesOf(command->get_name());
    if (!footer.empty() && !examples.empty()) footer += "\n\n";
    command->footer(footer += examples);
  }
}
