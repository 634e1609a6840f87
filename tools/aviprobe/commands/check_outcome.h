#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_CHECK_OUTCOME_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_CHECK_OUTCOME_H_

#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/text/json_line.h"

// What comes of a file that was checked, for all commands that check.

/// The name under which a child tells what CheckFacts() made.
constexpr const char* kCheckFacts = "check";

/// The name under which a child tells why a file cannot be read.
constexpr const char* kCheckTrouble = "trouble";

/// The exit code of a file with such facts. @param strict  notes count, too.
int CheckExit(const Json& facts, bool strict);

/// The facts of a file, whatever became of the child that checked it.
Json FactsOf(const SOutcome& outcome);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_CHECK_OUTCOME_H_
