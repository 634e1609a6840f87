#include <cctype>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "platform/properties.h"

// Linux has no system properties: "zucp.debug.level" is the environment variable ZUCP_DEBUG_LEVEL.

namespace {

void EnvironmentName(const char* key, char (&name)[kPropertyBytes]) {
  size_t i = 0;
  for (; key[i] && i + 1 < kPropertyBytes; ++i) {
    const int c = static_cast<unsigned char>(key[i]);
    name[i] = std::isalnum(c) ? static_cast<char>(std::toupper(c)) : '_';
  }
  name[i] = '\0';
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
  char name[kPropertyBytes];
  EnvironmentName(key, name);
  const char* found = std::getenv(name);
  if (!found || !*found) found = default_value ? default_value : "";
  const size_t length = strnlen(found, kPropertyBytes - 1);
  std::memcpy(value, found, length);
  value[length] = '\0';
  return static_cast<int>(length);
}
