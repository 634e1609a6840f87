#ifndef ZU_TOOLS_AVIPROBE_MODEL_LITTLE_ENDIAN_H_
#define ZU_TOOLS_AVIPROBE_MODEL_LITTLE_ENDIAN_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

/// A number of `count` bytes, at most 8, at a position of bytes in memory; what lies behind their end counts as 0.
constexpr uint64_t LittleEndian(std::span<const uint8_t> bytes, size_t at, size_t count) {
  uint64_t value = 0;
  const size_t there = at < bytes.size() ? std::min(count, bytes.size() - at) : 0;
  for (size_t i = 0; i < there; ++i) value |= uint64_t{bytes[at + i]} << (8 * i);
  return value;
}
constexpr uint16_t Le16At(std::span<const uint8_t> bytes, size_t at) {
  return static_cast<uint16_t>(LittleEndian(bytes, at, 2));
}
constexpr uint32_t Le32At(std::span<const uint8_t> bytes, size_t at) {
  return static_cast<uint32_t>(LittleEndian(bytes, at, 4));
}
constexpr uint64_t Le64At(std::span<const uint8_t> bytes, size_t at) { return LittleEndian(bytes, at, 8); }

#endif  // ZU_TOOLS_AVIPROBE_MODEL_LITTLE_ENDIAN_H_
