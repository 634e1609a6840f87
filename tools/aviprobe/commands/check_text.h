#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_CHECK_TEXT_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_CHECK_TEXT_H_

#include <string>
#include <vector>

#include "tools/aviprobe/text/json_line.h"

// What `check` prints, from the facts that CheckFacts() made.

/// A line per finding, below it what no finding above advises, and one line of the whole file.
void PrintCheckText(const Json& facts);
/// A record `finding` each, and `file_check`.
void PrintCheckJson(const Json& facts);

/// A table of several files, and their total.
void PrintTotalText(const std::vector<Json>& files);
/// A record `check_total`.
void PrintTotalJson(const std::vector<Json>& files);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_CHECK_TEXT_H_
