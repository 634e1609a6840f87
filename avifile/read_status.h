#ifndef ZU_AVIFILE_READ_STATUS_H_
#define ZU_AVIFILE_READ_STATUS_H_

#include <cstdint>

#include "zu_parser_avi/status.h"

/// One chunk asked for: the caller's memory, and where the caller wants to be told what came of it.
struct SChunkRead {
  char* buf;
  uint32_t nBufLen;       ///< bytes at `buf`
  uint32_t* piRead;       ///< [out] bytes written there
  uint32_t* piTimeStamp;  ///< [out] milliseconds; AVI_END_MARK at the end

  /// Nothing read, and nothing will be. @return AVI_ERROR
  int End() const {
    *piRead = 0;
    *piTimeStamp = AVI_END_MARK;
    return AVI_ERROR;
  }
};

/// The status of a read that failed with `nRead`, after the message `failed`, and `blocked` if the source would block.
/// @return AVI_EAGAIN then, else AVI_IO_ERROR.
int FailedRead(int nRead, const char* failed, const char* blocked);
/// The same for a chunk's payload or its header, with nothing read.
int FailedChunkRead(int nRead, const SChunkRead& read);
/// The status of a read of an indexed chunk that came without an error: AVI_ERROR, with a message and the time of the
/// end, when nothing came of a chunk that has bytes; else AVI_OK.
int CheckIndexedRead(uint32_t chunkSize, const SChunkRead& read);

#endif  // ZU_AVIFILE_READ_STATUS_H_
