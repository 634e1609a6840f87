#ifndef ZU_PARSER_AVI_SAMPLE_INDEX_H_
#define ZU_PARSER_AVI_SAMPLE_INDEX_H_

#include <stddef.h>
#include <stdint.h>

/// @file
/// What the library exports besides createParser and destroyParser: two helpers that work on the caller's memory alone
/// and may be called on any thread, and the log mask. Playing needs none of them.

/// One chunk of a stream, 16 bytes.
struct SIndexEntry {
  uint64_t qwOffset;  ///< absolute file position of the chunk's data, behind its 8 bytes of header
  uint32_t dwSize;    ///< bits 0 to 30: bytes of data; bit 31 set: NOT a key frame (as in OpenDML index entries)
  uint32_t reserved;  ///< 0; matching_idx leaves it as it was
};
static_assert(sizeof(void*) == 8, "libzu_parser_avi has no 32-bit interface: its records are those of 64-bit hosts");
static_assert(sizeof(SIndexEntry) == 16, "index entry");
static_assert(offsetof(SIndexEntry, qwOffset) == 0 && offsetof(SIndexEntry, dwSize) == 8 &&
                  offsetof(SIndexEntry, reserved) == 12,
              "index entry");

/// The chunks of one stream in file order.
struct SIndex {
  uint32_t dwIdxNum;        ///< entries at aIdx
  SIndexEntry* aIdx;        ///< may be null although dwIdxNum is not 0, when the file's index broke off
  uint32_t dwMaxChunkSize;  ///< bytes of the largest chunk
  uint32_t bOwnsEntries;    ///< private to the parser: aIdx is freed with this record; others may share it
};
static_assert(sizeof(SIndex) == 24 && alignof(SIndex) == 8, "index");
static_assert(offsetof(SIndex, dwIdxNum) == 0 && offsetof(SIndex, aIdx) == 8 &&
                  offsetof(SIndex, dwMaxChunkSize) == 16 && offsetof(SIndex, bOwnsEntries) == 20,
              "index");

#if defined(_WIN32)
#error "The exported names of this library follow the Itanium C++ ABI."
#endif

/// Stores one entry of an OpenDML chunk index behind those that a table already has.
/// `dwIdxNum` does not change: a caller stores a chunk index with `i` from 0 on, and then raises it by the number.
/// @param i       the entry stored is `dwIdxNum` + `i`; 0 or more.
/// @param pIndex  the caller's, `aIdx` not null and with room for that entry. Null is ignored.
///                `dwMaxChunkSize` is raised when this chunk is larger.
/// @param base    the chunk index's qwBaseOffset: an absolute file position in bytes.
/// @param offset  bytes from `base` to the chunk's data.
/// @param size    stored as it is, bit 31 as in SIndexEntry.
void matching_idx(int i, SIndex* pIndex, long base, unsigned int offset, unsigned int size);

/// The next `count` bits at `buf`, most significant bit first, as the headers of MPEG streams are written.
/// @param buf     the caller's bytes, not null. Nothing tests where they end: `*bitPos` + `count` bits are read.
/// @param bitPos  [in, out] position in bits, 0 being the top bit of the first byte; moves on by the bits returned.
/// @param count   0 to 32; above that counts as 32.
/// @return the bits, the last one lowest.
unsigned int readBits(char* buf, unsigned int* bitPos, unsigned int count);

/// The log mask of all parsers in the process, bits added up: 1 errors, warnings and notices; 2 debug; 4 verbose; 8
/// every source read; 0 silence. createParser sets it from the property "zucp.debug.level" each time, 1 when there is
/// none, 0 for what is no number. A host may write to it in between; writing it is atomic in here, and should be there.
extern int debug_level;

#endif  // ZU_PARSER_AVI_SAMPLE_INDEX_H_
