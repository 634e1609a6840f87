#include <cctype>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "platform/properties.h"

// Linux has no system properties: "zucp.debug.level" is the environment variable ZUCP_DEBUG_LEVEL.

namespace {

constexpr size_t kMaxValue = 92;  // the caller's memory, terminator included

void EnvironmentName(const char* key, char (&name)[kMaxValue]) {
  size_t i = 0;
  for (; key[i] && i + 1 < kMaxValue; ++i) {
    const int c = static_cast<unsigned char>(key[i]);
    name[i] = std::isalnum(c) ? static_cast<char>(std::toupper(c)) : '_';
  }
  name[i] = '\0';
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
  char name[kMaxValue];
  EnvironmentName(key, name);
  const char* found = std::getenv(name);
  if (!found || !*found) found = default_value ? default_value : "";
  const size_t length = strnlen(found, kMaxValue - 1);
  std::memcpy(value, found, length);
  value[length] = '\0';
  return static_cast<int>(length);
}
