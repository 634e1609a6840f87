#ifndef ZU_AVIFILE_BYTE_SUMS_H_
#define ZU_AVIFILE_BYTE_SUMS_H_

#include <cstdint>

#include "avifile/records.h"

/// Sums of chunk sizes and of block counts over the front of an index, sampled, so that a position by bytes or blocks
/// costs a binary search and a short walk instead of a walk of the whole index. A chunk has as many blocks as
/// `nBlockAlign` goes into its size, rounded up; one with nBlockAlign 0.
struct SByteSums {
  // Sample i is of all entries before entry i x kStride, up to the end of the index. Owned; null until searched.
  uint64_t* aBytes;
  uint64_t* aBlocks;
  static constexpr uint32_t kStride = 256;
};

/// Where a walk over an index stopped.
struct SIndexPosition {
  uint32_t dwIdx;    ///< entries before the position
  uint64_t qwBytes;  ///< their sizes added up
};

/// The first entry i with bytes(i) <= `target` < bytes(i) + size(i); the end of the index when there is none.
SIndexPosition FindByteTarget(SAVIStream* stream, uint64_t target);

/// The fewest entries whose blocks add up to at least `blocks`; the end of the index when all have fewer.
SIndexPosition FindBlockCount(SAVIStream* stream, uint64_t blocks);

/// Behind the last entry.
SIndexPosition EndOfIndex(SAVIStream* stream);

/// Null is ignored.
void FreeByteSums(SByteSums* sums);

#endif  // ZU_AVIFILE_BYTE_SUMS_H_
