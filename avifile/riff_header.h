#ifndef ZU_AVIFILE_RIFF_HEADER_H_
#define ZU_AVIFILE_RIFF_HEADER_H_

#include <cstddef>

#include "avifile/records.h"
#include "base/bytes.h"
#include "source/source_reader.h"

constexpr size_t kRiffHeaderBytes = 12;

/// Reads FourCC, size and the four bytes behind them, which are a list's form type or a chunk's first data.
/// @return 12; 0 at the end and for a header cut short; a negative status.
inline int ReadRiffHeader(AVISourceReader* reader, SRIFF* riff) {
  uint8_t raw[kRiffHeaderBytes];
  const int nRead = reader->AVI_fread(raw, kRiffHeaderBytes, 1);
  if (nRead < 0) return nRead;
  if (nRead < static_cast<int>(kRiffHeaderBytes)) return 0;
  *riff = {LoadLe32(raw), LoadLe32(raw + 4), LoadLe32(raw + 8)};
  return nRead;
}

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
