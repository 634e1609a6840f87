#ifndef ZU_TOOLS_AVIPROBE_REPORT_HTML_H_
#define ZU_TOOLS_AVIPROBE_REPORT_HTML_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/aviprobe/text/json_line.h"

// Text for the page. Whatever comes from a file goes through EscapeHtml() or ScriptJson().

/// For element content and quoted attributes.
std::string EscapeHtml(std::string_view text);
/// JSON that can stand inside a script element: nothing in it ends the element.
std::string ScriptJson(const Json& json);

/// "1 234 567", with spaces that do not break.
std::string Grouped(int64_t number);
/// "1.2 MB", in powers of ten; below 1000 "999 bytes".
std::string ByteText(double bytes);
/// "00:01:30.500".
std::string ClockOf(int64_t ms);
/// At most two decimals, none that is zero.
std::string Short(double number);

/// A member as number or text; what is missing or null is 0 or "".
double NumberOf(const Json& record, const char* name);
int64_t IntOf(const Json& record, const char* name);
std::string TextOf(const Json& record, const char* name);
/// A member; an empty array when it is missing.
const Json& ListOf(const Json& record, const char* name);
bool Has(const Json& record, const char* name);
/// How many findings of a severity: "errors", "warnings", "notes".
int64_t CountOf(const Json& check, const char* severity);

#endif  // ZU_TOOLS_AVIPROBE_REPORT_HTML_H_
