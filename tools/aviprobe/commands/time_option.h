#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_TIME_OPTION_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_TIME_OPTION_H_

#include <CLI/CLI.hpp>
#include <string>

#include "tools/aviprobe/text/times.h"

/// An option that takes a time as ParseTime understands it. @param ms  lives as long as the command line is read.
inline CLI::Option* AddTimeOption(CLI::App& app, const std::string& name, uint32_t* ms, const std::string& help) {
  const auto take = [ms, name](const std::string& text) {
    const std::optional<uint32_t> time = ParseTime(text);
    if (!time) throw CLI::ValidationError(name, "no time from 0 to 4294967295 ms: " + text);
    *ms = *time;
  };
  return app.add_option_function<std::string>(name, take, help)->type_name("TIME");
}

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_TIME_OPTION_H_
