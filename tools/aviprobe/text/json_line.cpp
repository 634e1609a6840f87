#include "tools/aviprobe/text/json_line.h"

#include <fmt/format.h>

std::string JsonText(const Json& json, bool ascii) { return json.dump(-1, ' ', ascii, Json::error_handler_t::replace); }

void PrintJsonLine(const Json& record) { fmt::print("{}\n", JsonText(record)); }
