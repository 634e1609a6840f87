#include "tools/aviprobe/report/html.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>

std::string EscapeHtml(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string ScriptJson(const Json& json) {
  std::string out;
  for (const char c : JsonText(json, false)) {
    if (c == '<') {
      out += "\\u003c";  // "</script>" and "<!--" are read before any JSON is
    } else {
      out += c;
    }
  }
  return out;
}

std::string Grouped(int64_t number) {
  std::string digits = fmt::format("{}", number);
  const size_t first = number < 0 ? 2 : 1;
  for (size_t at = digits.size(); at > first + 2; at -= 3) digits.insert(at - 3, "\u202F");
  return digits;
}

std::string ByteText(double bytes) {
  if (std::abs(bytes) < 1000) return fmt::format("{:.0f} bytes", bytes);
  constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB"};
  size_t unit = 0;
  double value = bytes / 1000;
  for (; std::abs(value) >= 1000 && unit < 3; ++unit) value /= 1000;
  return fmt::format("{} {}", std::abs(value) < 100 ? Short(std::round(value * 10) / 10) : fmt::format("{:.0f}", value),
                     kUnits[unit]);
}

std::string ClockOf(int64_t ms) {
  const char* sign = ms < 0 ? "-" : "";
  ms = std::abs(ms);
  return fmt::format("{}{:02}:{:02}:{:02}.{:03}", sign, ms / 3600000, ms / 60000 % 60, ms / 1000 % 60, ms % 1000);
}

std::string Short(double number) {
  std::string text = fmt::format("{:.2f}", number);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text == "-0" ? "0" : text;
}

bool Has(const Json& record, const char* name) {
  return record.is_object() && record.contains(name) && !record[name].is_null();
}

double NumberOf(const Json& record, const char* name) {
  return Has(record, name) && record[name].is_number() ? record[name].get<double>() : 0;
}

int64_t IntOf(const Json& record, const char* name) {
  return Has(record, name) && record[name].is_number() ? record[name].get<int64_t>() : 0;
}

std::string TextOf(const Json& record, const char* name) {
  return Has(record, name) && record[name].is_string() ? record[name].get<std::string>() : std::string();
}

const Json& ListOf(const Json& record, const char* name) {
  static const Json none = Json::array();
  return Has(record, name) ? record[name] : none;
}

int64_t CountOf(const Json& check, const char* severity) {
  return Has(check, "counts") ? IntOf(check["counts"], severity) : 0;
}
