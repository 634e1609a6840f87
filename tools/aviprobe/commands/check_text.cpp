#include "tools/aviprobe/commands/check_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "tools/aviprobe/model/check_facts.h"
#include "tools/aviprobe/model/findings.h"
#include "tools/aviprobe/text/shown.h"
#include "tools/aviprobe/text/times.h"

namespace {

constexpr const char* kCounts[] = {"errors", "warnings", "notes"};

uint64_t CountOf(const Json& facts, const char* name) { return facts["counts"][name].get<uint64_t>(); }

std::string NameOf(const Json& facts) { return Shown(facts["file"].get<std::string>()); }

std::string OrDash(const Json& value) { return value.is_null() ? "-" : JsonText(value); }

std::string ClockOrDash(const Json& ms) { return ms.is_null() ? "-" : ClockText(ms.get<uint64_t>()); }

/// "2 errors, 1 note".
std::string CountsText(const Json& facts) {
  std::string text;
  for (const std::string_view plural : kCounts) {
    const uint64_t count = CountOf(facts, plural.data());
    if (count == 0) continue;
    if (!text.empty()) text += ", ";
    text += CountText(count, plural.substr(0, plural.size() - 1));
  }
  return text;
}

/// @param said  advice that stands above already; what is new is added.
void PrintFinding(const Json& finding, std::set<std::string>* said) {
  const uint64_t count = finding["count"].get<uint64_t>();
  fmt::print("{:<7}  {:<27} {:>12}  {:>12}  {:>5}  {}{}\n", finding["severity"].get<std::string>(),
             finding["code"].get<std::string>(), OrDash(finding["offset"]), ClockOrDash(finding["time_ms"]),
             OrDash(finding["track"]), Shown(finding["consequence"].get<std::string>()),
             count > 1 ? fmt::format(" (the last at {})", OrDash(finding["last_offset"])) : "");
  std::istringstream advice(finding["advice"].get<std::string>());
  for (std::string line; std::getline(advice, line);) {
    if (said->insert(line).second) fmt::print("{:9}{}\n", "", Shown(line));
  }
}

/// Of a track that plays a smaller share than the whole file does: ", sound 00:00:01.000 of 00:00:03.000".
std::string LeastText(const Json& facts) {
  constexpr double kWorthSaying = 0.9;
  const Json* least = nullptr;
  double share = kWorthSaying *
                 std::min(1.0, facts["delivered_ms"].get<double>() / std::max(1.0, facts["expected_ms"].get<double>()));
  for (const Json& track : facts["tracks"]) {
    if (track["delivered"].is_null()) continue;
    const double present = track["present"]["ms"].get<double>(), declared = track["declared"]["ms"].get<double>();
    const double bytes =
        track["delivered"]["bytes"].get<double>() / std::max(1.0, track["present"]["bytes"].get<double>());
    const double of = std::max(present, declared);
    // Times of another speed than the header's alone lose nothing.
    const bool lost = bytes < kWorthSaying || present < kWorthSaying * declared;
    if (of <= 0 || !lost || track["delivered"]["ms"].get<double>() / of >= share) continue;
    share = track["delivered"]["ms"].get<double>() / of;
    least = &track;
  }
  if (!least) return "";
  const std::string type = (*least)["type"].get<std::string>();
  return fmt::format(
      ", track {} ({}) {} of {}", (*least)["track"].get<int>(), type,
      ClockText((*least)["delivered"]["ms"].get<uint64_t>()),
      ClockText(std::max((*least)["present"]["ms"].get<uint64_t>(), (*least)["declared"]["ms"].get<uint64_t>())));
}

std::string VerdictText(const Json& facts) {
  if (facts["verdict"] == kUnreadable && !facts["findings"].empty()) {
    return fmt::format("unreadable, {}", Shown(facts["findings"].front()["consequence"].get<std::string>()));
  }
  if (facts["verdict"] == kUnreadable) return "not an AVI file, or not readable";
  if (facts["verdict"] == "fine") {
    return fmt::format("fine, {}, {}{}", ClockText(facts["expected_ms"].get<uint64_t>()),
                       CountText(facts["tracks"].size(), "track"), facts["played"] == true ? "" : ", not played");
  }
  if (facts["delivered_ms"].is_null()) return CountsText(facts) + "; not played";
  return fmt::format("{}; plays {} of {}{}", CountsText(facts), ClockText(facts["delivered_ms"].get<uint64_t>()),
                     ClockText(facts["expected_ms"].get<uint64_t>()), LeastText(facts));
}

std::string VerdictName(const Json& facts) {
  return facts["gave_up"] == true ? "library aborts" : facts["verdict"].get<std::string>();
}

struct STotal {
  uint64_t nFine = 0, nUnreadable = 0;
  uint64_t counts[3] = {};  ///< as kCounts
};

STotal Sum(const std::vector<Json>& files) {
  STotal total;
  for (const Json& facts : files) {
    total.nFine += facts["verdict"] == "fine";
    total.nUnreadable += facts["verdict"] == kUnreadable;
    for (size_t i = 0; i < std::size(kCounts); ++i) total.counts[i] += CountOf(facts, kCounts[i]);
  }
  return total;
}

}  // namespace

void PrintCheckText(const Json& facts) {
  std::set<std::string> said;
  for (const Json& finding : facts["findings"]) PrintFinding(finding, &said);
  fmt::print("{}: {}\n", NameOf(facts), VerdictText(facts));
}

void PrintCheckJson(const Json& facts) {
  for (const Json& finding : facts["findings"]) {
    Json record = {{"record", "finding"}, {"schema", kJsonSchema}, {"file", facts["file"]}};
    record.update(finding);
    PrintJsonLine(record);
  }
  Json record = {{"record", "file_check"}, {"schema", kJsonSchema}};
  record.update(facts);
  record.erase("findings");
  PrintJsonLine(record);
}

void PrintTotalText(const std::vector<Json>& files) {
  fmt::print("\n{:<14} {:>6} {:>8} {:>5}  {:>12}  {:>12}  file\n", "verdict", "errors", "warnings", "notes", "plays",
             "of");
  for (const Json& facts : files) {
    fmt::print("{:<14} {:>6} {:>8} {:>5}  {:>12}  {:>12}  {}\n", VerdictName(facts), CountOf(facts, "errors"),
               CountOf(facts, "warnings"), CountOf(facts, "notes"), ClockOrDash(facts["delivered_ms"]),
               ClockOrDash(facts["expected_ms"]), NameOf(facts));
  }
  const STotal total = Sum(files);
  fmt::print("{}: {} fine, {} unreadable; {}, {}, {}\n", CountText(files.size(), "file"), total.nFine,
             total.nUnreadable, CountText(total.counts[0], "error"), CountText(total.counts[1], "warning"),
             CountText(total.counts[2], "note"));
}

void PrintTotalJson(const std::vector<Json>& files) {
  const STotal total = Sum(files);
  PrintJsonLine({{"record", "check_total"},
                 {"schema", kJsonSchema},
                 {"files", files.size()},
                 {"fine", total.nFine},
                 {"unreadable", total.nUnreadable},
                 {"errors", total.counts[0]},
                 {"warnings", total.counts[1]},
                 {"notes", total.counts[2]}});
}
