#include "tools/aviprobe/commands/check_outcome.h"

#include <fmt/format.h>

#include "tools/aviprobe/model/check_facts.h"
#include "tools/aviprobe/model/findings.h"

namespace {

/// Facts of a file of which nothing is known.
Json UnreadableFacts(const std::string& path) {
  return {{"file", path},
          {"size", nullptr},
          {"verdict", kUnreadable},
          {"counts", {{"notes", 0}, {"warnings", 0}, {"errors", 0}}},
          {"played", false},
          {"expected_ms", nullptr},
          {"delivered_ms", nullptr},
          {"findings", Json::array()},
          {"tracks", Json::array()}};
}

}  // namespace

int CheckExit(const Json& facts, bool strict) {
  const Json& counts = facts["counts"];
  const bool found = counts["errors"] > 0 || counts["warnings"] > 0 || (strict && counts["notes"] > 0);
  return found ? kExitFindings : kExitFine;
}

Json FactsOf(const SOutcome& outcome) {
  const bool told = outcome.told.contains(kCheckFacts);
  Json facts = told ? outcome.told[kCheckFacts] : UnreadableFacts(outcome.sPath);
  if (outcome.nExit == kExitUnreadable && outcome.told.contains(kCheckTrouble)) {
    AddFinding({.pCode = "unreadable",
                .severity = FindingKind("unreadable").severity,
                .sConsequence = outcome.told[kCheckTrouble].get<std::string>(),
                .sAdvice = "see whether the file is there, may be read and is whole on its medium"},
               &facts);
    facts["verdict"] = kUnreadable;
  }
  facts["gave_up"] = outcome.bGaveUp;
  if (!outcome.bGaveUp) return facts;
  if (!told) facts["verdict"] = "errors";
  // What was found before says to play it, one way or the other.
  const std::string instead = NameFile(kAdviceResync, outcome.sPath);
  for (Json& finding : facts["findings"]) {
    for (const char* command : {"check", "packets"}) {
      finding["advice"] = ReplaceAdvice(finding["advice"].get<std::string>(), command, instead);
    }
  }
  AddFinding({.pCode = "library-aborts",
              .severity = FindingKind("library-aborts").severity,
              .sConsequence = fmt::format("the library {} while {}: a player ends with it", outcome.sHow,
                                          outcome.sStage.empty() ? "working" : outcome.sStage),
              .sAdvice = "keep the file away from players\n" + NameFile(kAdviceNoCopy, outcome.sPath)},
             &facts);
  return facts;
}
