#ifndef ZU_AVIFILE_AC3_HEADER_H_
#define ZU_AVIFILE_AC3_HEADER_H_

#include <cstdint>

/// Whether two bytes are the sync word of AC-3 and E-AC-3 (ATSC A/52), in either byte order.
constexpr bool IsAc3Sync(const uint8_t* bytes) {
  return (bytes[0] == 0x0B && bytes[1] == 0x77) || (bytes[0] == 0x77 && bytes[1] == 0x0B);
}

#endif  // ZU_AVIFILE_AC3_HEADER_H_
