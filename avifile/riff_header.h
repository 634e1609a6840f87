#ifndef ZU_AVIFILE_RIFF_HEADER_H_
#define ZU_AVIFILE_RIFF_HEADER_H_

#include <cstddef>

#include "avifile/records.h"
#include "base/bytes.h"

constexpr size_t kRiffHeaderBytes = 12;

constexpr bool IsList(const SRIFF& riff) { return riff.dwFourCC == FourCC("RIFF") || riff.dwFourCC == FourCC("LIST"); }

/// The two decimal digits in front of a data chunk's FourCC. Not tested for being digits: other ids give numbers that
/// no stream has.
constexpr int StreamNumber(uint32_t fourCC) {
  return (static_cast<int>(fourCC & 0xFF) - '0') * 10 + (static_cast<int>(fourCC >> 8 & 0xFF) - '0');
}

constexpr bool HasSuffix(uint32_t fourCC, char c2, char c3) {
  return (fourCC >> 16 & 0xFF) == static_cast<uint8_t>(c2) && fourCC >> 24 == static_cast<uint8_t>(c3);
}

#endif  // ZU_AVIFILE_RIFF_HEADER_H_
