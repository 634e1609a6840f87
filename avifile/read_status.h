#ifndef ZU_AVIFILE_READ_STATUS_H_
#define ZU_AVIFILE_READ_STATUS_H_

#include <cstdint>

#include "zu_parser_avi/status.h"

/// One chunk asked for, and what came of it.
struct SChunkRead {
  char* buf;            ///< the caller's memory
  uint32_t nBufLen;     ///< bytes at `buf`
  uint32_t nRead;       ///< [out] bytes written there
  uint32_t nTimeStamp;  ///< [out] milliseconds; AVI_END_MARK at the end

  /// Nothing read, and nothing will be. @return AVI_ERROR
  int End() {
    nRead = 0;
    nTimeStamp = AVI_END_MARK;
    return AVI_ERROR;
  }
};

/// The status of a read that failed with `nRead`, after the message `failed`, and `blocked` if the source would block.
/// @return AVI_EAGAIN then, else AVI_IO_ERROR.
int FailedRead(int nRead, const char* failed, const char* blocked);
/// The same for a chunk's payload or its header, with nothing read.
int FailedChunkRead(int nRead, SChunkRead* read);
/// The status of a read of an indexed chunk that came without an error and without a byte: AVI_ERROR, with a message
/// and the time of the end, when the chunk has bytes; else AVI_OK.
int EmptyIndexedRead(uint32_t chunkSize, SChunkRead* read);

#endif  // ZU_AVIFILE_READ_STATUS_H_
