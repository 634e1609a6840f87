#ifndef ZU_AVIFILE_VOL_HEADER_H_
#define ZU_AVIFILE_VOL_HEADER_H_

#include <array>

#include "base/bytes.h"

constexpr size_t kVolHeaderBytes = 15;

/// vop_time_increment_resolution that fits the VOP header at `vop`, the position of its start code: the shortest length
/// of vop_time_increment for which marker, vop_coded and the fields behind them come out as an encoder writes them
/// (ISO/IEC 14496-2 6.2.5), assuming an empty modulo_time_base. @return 1 to 65535; 0 when none fits, as for P and S.
uint32_t GuessTimeIncrementResolution(ByteSpan frame, size_t vop);

/// A minimal video object layer header (ISO/IEC 14496-2 6.2.3). Of `width` and `height` the low 13 bits count.
std::array<uint8_t, kVolHeaderBytes> MakeVolHeader(uint32_t resolution, uint32_t width, uint32_t height);

#endif  // ZU_AVIFILE_VOL_HEADER_H_
