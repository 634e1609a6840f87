#ifndef ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_
#define ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_

#include <fmt/format.h>

#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;

/// The number of the schema that all records follow (docs/aviprobe-json.schema.json). Goes up when a program that reads
/// them has to change; a field that is added leaves it alone.
constexpr int kJsonSchema = 1;

/// One record on a line of its own. Text that is not UTF-8 (file names, names in a file) gets replacement characters,
/// and what is not ASCII is escaped: nothing in it can upset a terminal.
inline void PrintJsonLine(const Json& record) {
  fmt::print("{}\n", record.dump(-1, ' ', true, Json::error_handler_t::replace));
}

#endif  // ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_
