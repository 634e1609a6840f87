#ifndef ZU_TOOLS_AVIPROBE_MODEL_FOURCC_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FOURCC_H_

#include <array>
#include <compare>
#include <cstdint>
#include <string_view>

/// Four characters as RIFF stores them. From a file they may be any bytes: Printable() before they are shown.
struct FourCC {
  std::array<char, 4> chars{};

  constexpr FourCC() = default;
  constexpr FourCC(const char (&text)[5]) : chars{text[0], text[1], text[2], text[3]} {}  // NOLINT: a literal is one
  constexpr explicit FourCC(const uint8_t* bytes)
      : chars{static_cast<char>(bytes[0]), static_cast<char>(bytes[1]), static_cast<char>(bytes[2]),
              static_cast<char>(bytes[3])} {}

  constexpr std::string_view Text() const { return {chars.data(), chars.size()}; }
  auto operator<=>(const FourCC&) const = default;
};

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FOURCC_H_
