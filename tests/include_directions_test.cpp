// Who may include whom, read from the #include lines of the sources.
#include <fnmatch.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

struct Folder {
  std::string name;
  Strings mayInclude;
};
const Folder kFolders[] = {
    {.name = "include", .mayInclude = {}},
    {.name = "base", .mayInclude = {"include"}},
    {.name = "source", .mayInclude = {"base", "include"}},
    {.name = "avifile", .mayInclude = {"source", "base", "include"}},
    {.name = "plugin", .mayInclude = {"avifile", "source", "base", "include"}},
    {.name = "platform", .mayInclude = {}},
    {.name = "tools/aviprobe/text", .mayInclude = {"include"}},
    {.name = "tools/aviprobe/host", .mayInclude = {"tools/aviprobe/text", "include"}},
    {.name = "tools/aviprobe/model", .mayInclude = {"tools/aviprobe/host", "tools/aviprobe/text", "include"}},
    {.name = "tools/aviprobe/remux",
     .mayInclude = {"tools/aviprobe/model", "tools/aviprobe/host", "tools/aviprobe/text", "include"}},
    {.name = "tools/aviprobe/report",
     .mayInclude = {"tools/aviprobe/model", "tools/aviprobe/host", "tools/aviprobe/text"}},
    {.name = "tools/aviprobe/commands",
     .mayInclude = {"tools/aviprobe/remux", "tools/aviprobe/report", "tools/aviprobe/model", "tools/aviprobe/host",
                    "tools/aviprobe/text"}},
    {.name = "tools/aviprobe",
     .mayInclude = {"tools/aviprobe/commands", "tools/aviprobe/model", "tools/aviprobe/host", "tools/aviprobe/text"}},
    {.name = "tools/observe", .mayInclude = {"include"}},
    {.name = "bench", .mayInclude = {"tests", "include"}},
};

struct Exception {
  std::string from, to;  // patterns
};
const Exception kExceptions[] = {
    {.from = "plugin/avi_parser.cpp", .to = "platform/properties.h"},
    {.from = "tools/observe/*", .to = "platform/properties.h"},  // which it takes the place of
    // The tree and index views show what no host can see.
    {.from = "tools/aviprobe/host/core_view.cpp", .to = "avifile/*"},
    {.from = "tools/aviprobe/host/core_view.cpp", .to = "source/*"},
};

const std::string kCoreDoor = "avifile/avi_file_parser.h";
const Strings kCoreDoorUsers = {"avifile/avi_file_parser.cpp", "plugin/delivery.h", "tools/aviprobe/host/core_view.cpp",
                                "tests/*", "fuzz/*"};

bool Matches(const std::string& pattern, const std::string& path) {
  return fnmatch(pattern.c_str(), path.c_str(), 0) == 0;
}

struct Include {
  std::string from, to;  // paths below the project's folder
  std::string where;     // file and line
};

/// The file of this project that an include line names, as a compiler would find it; empty for any other header.
std::string Resolve(const fs::path& from, const std::string& name) {
  const fs::path root = ZU_SOURCE_DIR;
  for (const fs::path& folder : {from.parent_path(), root, root / "include"}) {
    const fs::path file = (folder / name).lexically_normal();
    if (fs::is_regular_file(file)) return file.lexically_relative(root).generic_string();
  }
  return "";
}

std::vector<Include> AllIncludes() {
  static const std::regex kLine("^\\s*#\\s*include\\s*[\"<]([^\">]+)[\">].*");
  std::vector<Include> includes;
  for (const char* folder :
       {"include", "base", "source", "avifile", "plugin", "platform", "tools", "tests", "bench", "fuzz"}) {
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(ZU_SOURCE_DIR) / folder)) {
      const fs::path& path = entry.path();
      if (path.extension() != ".h" && path.extension() != ".cpp") continue;
      const std::string from = path.lexically_relative(ZU_SOURCE_DIR).generic_string();
      std::ifstream in(path);
      std::smatch found;
      std::string line;
      for (int number = 1; std::getline(in, line); ++number) {
        if (!std::regex_match(line, found, kLine)) continue;
        const std::string to = Resolve(path, found[1]);
        if (!to.empty()) includes.push_back({from, to, from + ":" + std::to_string(number)});
      }
    }
  }
  return includes;
}

std::string FolderOf(const std::string& path) {
  for (const Folder& folder : kFolders) {
    if (path.starts_with(folder.name + "/")) return folder.name;
  }
  return path.substr(0, path.find('/'));
}

TEST(IncludeDirections, EachFolderIncludesOnlyThoseBelowIt) {
  std::map<std::string, int> seen;
  for (const Include& include : AllIncludes()) {
    const std::string from = FolderOf(include.from), to = FolderOf(include.to);
    const auto folder = std::find_if(std::begin(kFolders), std::end(kFolders), [&](auto& f) { return f.name == from; });
    if (folder == std::end(kFolders)) continue;
    ++seen[from];
    const Strings& may = folder->mayInclude;
    const bool allowed = from == to || std::find(may.begin(), may.end(), to) != may.end();
    const bool excepted = std::any_of(std::begin(kExceptions), std::end(kExceptions), [&](const Exception& exception) {
      return Matches(exception.from, include.from) && Matches(exception.to, include.to);
    });
    EXPECT_TRUE(allowed || excepted) << include.where << ": " << from << "/ may include " << testing::PrintToString(may)
                                     << " and itself, not " << include.to;
  }
  for (const Folder& folder : kFolders) EXPECT_GT(seen[folder.name], 0) << "no includes found in " << folder.name;
}

TEST(IncludeDirections, TheCoreIsEnteredByItsDoor) {
  for (const Include& include : AllIncludes()) {
    if (include.to != kCoreDoor) continue;
    EXPECT_TRUE(std::any_of(kCoreDoorUsers.begin(), kCoreDoorUsers.end(),
                            [&](const std::string& user) { return Matches(user, include.from); }))
        << include.where << " includes " << kCoreDoor << ", which only " << testing::PrintToString(kCoreDoorUsers)
        << " may";
  }
}

TEST(IncludeDirections, NoHeaderIncludesItselfByWayOfOthers) {
  std::vector<Include> left = AllIncludes();
  // What neither includes nor is included by another of those left is in no circle.
  const auto loose = [&](const Include& include) {
    return std::none_of(left.begin(), left.end(), [&](const Include& other) { return other.from == include.to; }) ||
           std::none_of(left.begin(), left.end(), [&](const Include& other) { return other.to == include.from; });
  };
  while (true) {
    const auto at = std::find_if(left.begin(), left.end(), loose);
    if (at == left.end()) break;
    left.erase(at);
  }
  for (const Include& include : left) ADD_FAILURE() << include.where << " includes " << include.to << ", in a circle";
}

}  // namespace
