#include "tools/aviprobe/text/shown.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>

namespace {

/// A character and the bytes that it takes; 0 bytes: not UTF-8.
struct SCharacter {
  uint32_t nCode = 0;
  size_t nBytes = 0;
};

SCharacter Decode(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(text[i])); };
  const uint32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) return {};
  uint32_t code = lead & (0x7Fu >> bytes);
  for (size_t i = 1; i < bytes; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {};
    code = code << 6 | (byte(i) & 0x3F);
  }
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  if (code < kSmallest[bytes] || code > 0x10FFFF || surrogate) return {};
  return {code, bytes};
}

bool IsHarmless(uint32_t code) {
  const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
  const bool turns = code == 0x61C || code == 0x200E || code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
                     (code >= 0x2066 && code <= 0x2069);
  return !control && !turns;
}

}  // namespace

std::string Shown(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const SCharacter character = Decode(text);
    const size_t bytes = character.nBytes ? character.nBytes : 1;
    if (character.nBytes && IsHarmless(character.nCode)) {
      shown += text.substr(0, bytes);
    } else {
      for (const char c : text.substr(0, bytes)) shown += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
    }
    text.remove_prefix(bytes);
  }
  return shown;
}
