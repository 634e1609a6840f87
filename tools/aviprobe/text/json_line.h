#ifndef ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_
#define ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_

#include <fmt/format.h>

#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;

/// One record on a line of its own. Text that is not UTF-8 (file names, names in a file) gets replacement characters.
inline void PrintJsonLine(const Json& record) {
  fmt::print("{}\n", record.dump(-1, ' ', false, Json::error_handler_t::replace));
}

#endif  // ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_
