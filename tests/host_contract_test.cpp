// docs/host-contract.md against the headers and the codec tables, row by row.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;
using Facts = std::map<std::string, std::string>;

/// What each match of `pattern` captures.
std::vector<Strings> Captures(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::vector<Strings> all;
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
    all.emplace_back(std::next(at->begin()), at->end());
  }
  return all;
}

/// The same for a source without its comments, each run of blanks and line ends being one blank.
std::vector<Strings> CapturesOfFile(const std::string& path, const std::string& pattern) {
  std::ifstream in(std::string(ZU_SOURCE_DIR) + "/" + path);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  const std::string code = std::regex_replace(text, std::regex("//.*"), "");
  return Captures(std::regex_replace(code, std::regex("\\s+"), " "), pattern);
}

/// The cells of the rows from the page's `heading` to the next, each its quoted beginning where it has one.
std::vector<Strings> Rows(const std::string& heading) {
  std::ifstream in(std::string(ZU_SOURCE_DIR) + "/docs/host-contract.md");
  std::vector<Strings> rows;
  bool below = false;
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("#")) below = line.substr(line.find(' ') + 1) == heading;
    if (!below || !line.starts_with("| ")) continue;
    std::istringstream cells(line.substr(1));
    rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, '|');) {
      rows.back().push_back(std::regex_replace(cell, std::regex("^ `(.*?)`.*|^ (.*) $"), "$1$2"));
    }
  }
  if (!rows.empty()) rows.erase(rows.begin());  // the titles
  return rows;
}

void ExpectSame(const std::string& what, const Facts& page, const Facts& code) {
  EXPECT_FALSE(code.empty()) << what << ": nothing is found in the code";
  for (const auto& [key, value] : page) {
    const auto found = code.find(key);
    EXPECT_EQ(found == code.end() ? "absent" : found->second, value) << what << ": row of " << key;
  }
  for (const auto& [key, value] : code) {
    EXPECT_TRUE(page.count(key)) << what << ": no row has " << key << ", which is " << value;
  }
}

std::string Number(const std::string& text) {
  return std::to_string(text == "INT32_MIN" ? INT32_MIN : std::strtoll(text.c_str(), nullptr, 0));
}

TEST(HostContract, SlotsAreInTheOrderOfTheHeaders) {
  const Facts headers = {{"IParser", "iparser.h"}, {"IDataSource", "idata_source.h"}};
  for (const auto& [name, header] : headers) {
    Facts page, code;
    for (const Strings& row : Rows("Slots of " + name)) page[row[0]] = row[1];
    code["0, 1"] = "destructor";
    int slot = 2;
    for (const Strings& found : CapturesOfFile("include/zu_parser_avi/" + header, "virtual ([^~;{]*?\\))")) {
      code[std::to_string(slot++)] = found[0];
    }
    ExpectSame("slot of " + name, page, code);
  }
}

TEST(HostContract, StatusesHaveTheirValues) {
  Facts page, code;
  for (const Strings& row : Rows("Statuses")) page[row[0]] = Number(row[1]);
  for (const Strings& found : CapturesOfFile("include/zu_parser_avi/status.h", "(AVI_\\w+) = (-?\\w+)")) {
    code[found[0]] = Number(found[1]);
  }
  ExpectSame("status", page, code);
}

TEST(HostContract, CodecsHaveTheirNumbers) {
  Facts page, code;
  for (const Strings& row : Rows("Codec numbers")) {
    if (row[0] != "number") page[row[1]] = row[0];
  }
  for (const Strings& found : CapturesOfFile("include/zu_parser_avi/codec_ids.h", "AVI_CODEC_(\\w+) = (\\d+)")) {
    code[found[0]] = found[1];
  }
  ExpectSame("codec", page, code);
}

TEST(HostContract, FourCCsAndTagsLeadToTheirCodecs) {
  Facts page, code, codecs = {{"SUBTITLE", "TEXT"}};
  for (const Strings& row : Rows("Codec numbers")) {
    if (row[1] == "EAC3") continue;  // told from AC-3 by its frames
    for (const Strings& found : Captures(row[2], "(0x[0-9A-F]{4})|\\b([A-Z]\\w{3})\\b(\\\\\\*)?")) {
      page[found[0] + found[1]] = row[1];
      std::string lower = found[1];
      for (char& letter : lower) letter = static_cast<char>(std::tolower(letter));
      if (!found[2].empty()) page[lower] = row[1];
    }
  }
  for (const Strings& found : CapturesOfFile("plugin/track_table.cpp", "\\{STREAM_TYPE_(\\w+), AVI_CODEC_(\\w+)\\}")) {
    codecs[found[0]] = found[1];
  }
  for (const Strings& found : CapturesOfFile("avifile/codec_table.cpp",
                                             "\\{(?:FourCC\\(\"(.{4})\"\\)|(0x[0-9A-F]{4})), STREAM_TYPE_(\\w+)\\}")) {
    code[found[0] + found[1]] = codecs.count(found[2]) ? codecs[found[2]] : "NONE";
  }
  ExpectSame("FourCC or tag", page, code);
}

}  // namespace
