#include "tools/aviprobe/text/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace {

constexpr uint64_t kLatest = std::numeric_limits<uint32_t>::max();

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// A whole number that makes up all of the text.
std::optional<uint64_t> Whole(std::string_view text) {
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || !IsDigit(text[0]) || error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

/// Milliseconds of "12", "12.5" or ".5" units of `unitMs`. No product here wraps: what is too late is refused before.
std::optional<uint64_t> Amount(std::string_view text, uint64_t unitMs) {
  const size_t point = text.find('.');
  const std::string_view fraction = point == text.npos ? "0" : text.substr(point + 1);
  const std::string_view whole = text.substr(0, point);
  const std::optional<uint64_t> count = whole.empty() && point != text.npos ? 0 : Whole(whole);
  if (!count || *count > kLatest / unitMs || fraction.empty() ||
      !std::all_of(fraction.begin(), fraction.end(), IsDigit)) {
    return {};
  }
  uint64_t parts = 0, scale = 1;
  for (const char digit : fraction.substr(0, 9)) {
    parts = parts * 10 + static_cast<uint64_t>(digit - '0');
    scale *= 10;
  }
  return *count * unitMs + parts * unitMs / scale;
}

std::optional<uint64_t> Clock(std::string_view text) {
  uint64_t total = 0;
  int colons = 0;
  for (size_t colon = 0; (colon = text.find(':')) != text.npos; text.remove_prefix(colon + 1)) {
    const std::optional<uint64_t> part = Whole(text.substr(0, colon));
    if (++colons > 2 || !part || *part > kLatest / 1000 || (colons == 2 && *part >= 60)) return {};
    total = (total + *part) * 60;
  }
  const std::optional<uint64_t> seconds = Amount(text, 1000);
  if (!seconds || *seconds >= 60'000) return {};
  return total * 1000 + *seconds;
}

std::optional<uint64_t> WithUnit(std::string_view text) {
  struct SUnitName {
    std::string_view name;
    uint64_t nMs;
  };
  constexpr SUnitName kUnits[] = {{"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}};
  for (const SUnitName& unit : kUnits) {
    if (text.ends_with(unit.name)) return Amount(text.substr(0, text.size() - unit.name.size()), unit.nMs);
  }
  return Whole(text);
}

}  // namespace

std::string ClockText(uint64_t ms) {
  return fmt::format("{:02}:{:02}:{:02}.{:03}", ms / 3'600'000, ms / 60'000 % 60, ms / 1000 % 60, ms % 1000);
}

std::optional<uint32_t> ParseTime(std::string_view text) {
  const std::optional<uint64_t> ms = text.find(':') == text.npos ? WithUnit(text) : Clock(text);
  if (!ms || *ms > kLatest) return {};
  return static_cast<uint32_t>(*ms);
}
