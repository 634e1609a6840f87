#ifndef ZU_BASE_BYTES_H_
#define ZU_BASE_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <span>

using ByteSpan = std::span<const uint8_t>;

constexpr uint16_t LoadLe16(const uint8_t* bytes) { return static_cast<uint16_t>(bytes[0] | bytes[1] << 8); }
constexpr uint32_t LoadLe32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}
constexpr uint64_t LoadLe64(const uint8_t* bytes) { return LoadLe32(bytes) | uint64_t{LoadLe32(bytes + 4)} << 32; }
constexpr uint32_t LoadBe32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | uint32_t{bytes[3]};
}

/// Four characters as RIFF stores them, read as a little-endian number.
constexpr uint32_t FourCC(const char (&s)[5]) {
  return uint32_t{static_cast<uint8_t>(s[0])} | uint32_t{static_cast<uint8_t>(s[1])} << 8 |
         uint32_t{static_cast<uint8_t>(s[2])} << 16 | uint32_t{static_cast<uint8_t>(s[3])} << 24;
}

/// Cursor over little-endian bytes in memory. Reading past the end yields 0, so a record is decoded straight through.
/// Keeps no copy of the bytes.
class LeReader {
 public:
  LeReader(const uint8_t* bytes, size_t size) : m_pNext(bytes), m_nLeft(size) {}
  uint16_t U16() { return static_cast<uint16_t>(Take(2)); }
  uint32_t U32() { return Take(4); }

 private:
  uint32_t Take(size_t count) {
    if (count > m_nLeft) {
      m_nLeft = 0;
      return 0;
    }
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) value |= uint32_t{m_pNext[i]} << (8 * i);
    m_pNext += count;
    m_nLeft -= count;
    return value;
  }
  const uint8_t* m_pNext;
  size_t m_nLeft;
};

constexpr ptrdiff_t kNotFound = -1;

/// Position of the first start code 00 00 01 `code` that begins at or after `from` and before `end`, and lies whole
/// inside `data`; kNotFound when there is none.
ptrdiff_t FindStartCode(ByteSpan data, uint8_t code, ptrdiff_t from, ptrdiff_t end);

#endif  // ZU_BASE_BYTES_H_
