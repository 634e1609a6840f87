#include <sys/system_properties.h>

#include <cstring>

#include "platform/properties.h"

int property_get(const char* key, char* value, const char* default_value) {
  const int found = __system_property_get(key, value);
  if (found > 0) return found;
  const size_t length = default_value ? strnlen(default_value, PROP_VALUE_MAX - 1) : 0;
  if (length) std::memcpy(value, default_value, length);
  value[length] = '\0';
  return static_cast<int>(length);
}
