#ifndef ZU_PLATFORM_PROPERTIES_H_
#define ZU_PLATFORM_PROPERTIES_H_

constexpr unsigned kPropertyBytes = 92;  // the longest value, its terminating zero included

extern "C" {
/// Copies the value of system property `key`, or `default_value` when it is not set, into `value`, the caller's memory
/// of kPropertyBytes bytes, zero-terminated. @return the length of what was copied.
int property_get(const char* key, char* value, const char* default_value);
}

#endif  // ZU_PLATFORM_PROPERTIES_H_
