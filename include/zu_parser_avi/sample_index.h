#ifndef ZU_PARSER_AVI_SAMPLE_INDEX_H_
#define ZU_PARSER_AVI_SAMPLE_INDEX_H_

#include <stdint.h>

/// One chunk of a stream.
struct SIndexEntry {
  uint64_t qwOffset;  ///< absolute file position of the chunk's data
  uint32_t dwSize;    ///< bits 0 to 30: bytes of data; bit 31 set: NOT a key frame
  uint32_t reserved;  ///< 0
};
static_assert(sizeof(SIndexEntry) == 16, "index entry");

/// The chunks of one stream in file order.
struct SIndex {
  uint32_t dwIdxNum;        ///< entries at aIdx
  SIndexEntry* aIdx;        ///< may be null although dwIdxNum is not 0, when the file's index broke off
  uint32_t dwMaxChunkSize;  ///< bytes of the largest chunk
  // What follows is private to the parser.
  uint32_t bOwnsEntries;  // aIdx is freed with this record; the streams of a legacy index share one table
};

#if defined(_WIN32)
#error "The exported names of this library follow the Itanium C++ ABI."
#endif

/// Stores entry `pIndex->dwIdxNum` + `i` as position `base` + `offset` and size `size` (bit 31 as in SIndexEntry), and
/// raises `dwMaxChunkSize` when this chunk is larger. `dwIdxNum` does not change. The caller owns `pIndex` and has made
/// `aIdx` large enough. A null `pIndex` is ignored.
void matching_idx(int i, SIndex* pIndex, long base, unsigned int offset, unsigned int size);

/// The next `count` bits at `buf`, most significant bit first; above 32 bits counts as 32.
/// @param buf     the caller's bytes; it answers for their number.
/// @param bitPos  [in, out] position in bits, 0 being the top bit of the first byte; moves on by the bits returned.
unsigned int readBits(char* buf, unsigned int* bitPos, unsigned int count);

/// The log mask of all parsers in the process: 1 errors, warnings and notices; 2 debug; 4 verbose; 8 every source read.
/// Set from the property "zucp.debug.level" each time a parser is made.
extern int debug_level;

#endif  // ZU_PARSER_AVI_SAMPLE_INDEX_H_
