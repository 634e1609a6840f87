#ifndef ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_
#define ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_

#include <nlohmann/json.hpp>
#include <string>

using Json = nlohmann::ordered_json;

/// The number of the schema that all records follow (docs/aviprobe-json.schema.json). Goes up when a program that reads
/// them has to change; a field that is added leaves it alone.
constexpr int kJsonSchema = 1;

/// JSON without line breaks. Text that is not UTF-8 (file names, names in a file) gets replacement characters.
/// @param ascii  what is not ASCII is escaped: nothing in it can upset a terminal.
std::string JsonText(const Json& json, bool ascii = true);

/// One record on a line of its own, for a terminal.
void PrintJsonLine(const Json& record);

#endif  // ZU_TOOLS_AVIPROBE_TEXT_JSON_LINE_H_
