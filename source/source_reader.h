#ifndef ZU_SOURCE_SOURCE_READER_H_
#define ZU_SOURCE_SOURCE_READER_H_

#include <algorithm>
#include <cstdint>

#include "base/log.h"
#include "zu_parser_avi/idata_source.h"

/// A file-like reader over the host's byte source: a position, seeks from three origins, and an end of readable data.
/// It reports and never retries. Not owned: the source, which has to outlive the reader.
class AVISourceReader {
 public:
  explicit AVISourceReader(IDataSource* source) : mpSource(source) {}

  /// Moves the position. @param origin 0 from the start, 1 from the position, 2 from the end (which asks the source for
  /// its length); any other origin moves nothing. A position beyond the end of a source whose length is known becomes
  /// that end. @return always 0
  int AVI_fseek(long offset, int origin) {
    // Every chunk is sought; what has nothing to say, clamp or ask is done here.
    if (origin != 0 || IsBeyondEnd(offset) || IsTraced()) return MoveTo(offset, origin);
    mlOffset = offset;
    return 0;
  }

  /// Reads up to `size` x `count` bytes at the position and moves it by what was delivered.
  /// @param buffer  caller's memory of `size` x `count` bytes.
  /// @return bytes delivered, possibly fewer than asked for; 0 at the end; AVI_END_OF_STREAM or the source's own
  /// negative
  ///         status, the position unmoved.
  int AVI_fread(void* buffer, unsigned int size, unsigned int count);

  /// The position in bytes from the start of the source.
  long AVI_ftell() const;
  /// The same without a message.
  long Position() const { return mlOffset; }

  /// Asks the source for its length and makes that, or the group size when one is set, the end of readable data.
  /// @return the end in bytes; 0 when it is not known.
  long AVI_FileLength_hdl();

  /// The source's length in bytes as it said last; 0 when it does not know, also after a group size has become the end.
  int64_t KnownLength() const { return mlGroupSize == 0 ? std::max<int64_t>(mlOffsetEnd, 0) : 0; }

  /// Makes `size` bytes the end of readable data from the next look at the length on.
  void AVI_FileGroupSize_set(unsigned long size);

  /// The source's own answer; non-zero when it has no known end.
  int AVI_IsStreamingSource() const;

 private:
  static bool IsTraced() { return (DebugLevel() & kLogTrace) != 0; }
  int MoveTo(long offset, int origin);
  int ReadUnusual(void* buffer, unsigned int size, unsigned int count);
  inline int ReadHere(void* buffer, uint64_t wanted);
  static int RefuseRead();
  static int FailedRead(int status);
  bool IsBeyondEnd(int64_t offset) const { return static_cast<uint64_t>(offset) > static_cast<uint64_t>(mlOffsetEnd); }
  bool IsAtEnd() const { return static_cast<uint64_t>(mlOffset) >= static_cast<uint64_t>(mlOffsetEnd); }
  uint64_t Left() const { return static_cast<uint64_t>(mlOffsetEnd) - static_cast<uint64_t>(mlOffset); }

  IDataSource* mpSource;
  int64_t mlOffset = 0;
  int64_t mlOffsetEnd = 0;  // 0 while the length is not known
  int64_t mlGroupSize = 0;  // when not 0, stands for the source's length
  bool mbStreaming = false;
};

#endif  // ZU_SOURCE_SOURCE_READER_H_
