#include "tools/aviprobe/commands/examples.h"

#include <fmt/format.h>

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
    {"tree", "film.avi --skip-data", "the chunks but for the sound ones of movi"},
    {"tree", "film.avi --fields", "every field of the headers, decoded"},
    {"info", "film.avi", "all about the tracks, to paste into a report"},
    {"info", "--brief *.avi", "a line per file"},
    {"info", "--play film.avi", "what the library delivers, beside what the file declares"},
    {"packets", "film.avi --summary", "how many units each track gives"},
    {"packets", "film.avi --track 1 --hash", "every unit of a track with a hash of its bytes"},
    {"compare", "old.avi new.avi", "the first unit that differs"},
    {"layout", "film.avi", "bytes of each track second by second, and the buffer that playing needs"},
    {"layout", "film.avi --bucket 500ms --csv", "the same by half seconds, for a spreadsheet"},
    {"seek", "film.avi --at 90000", "where a seek to 1 minute 30 lands"},
    {"seektest", "film.avi", "whether seeks reach what playing through reaches"},
    {"report", "film.avi -o film.html", "a page with all of it, for others"},
    {"remux", "film.avi -o repaired.avi", "the same streams in a healthy file"},
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
    const std::string before = command->get_footer();
    const std::string examples = ExamplesOf(command->get_name());
    command->footer(before.empty() || examples.empty() ? before + examples : before + "\n\n" + examples);
  }
}
