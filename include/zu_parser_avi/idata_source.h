#ifndef ZU_PARSER_AVI_IDATA_SOURCE_H_
#define ZU_PARSER_AVI_IDATA_SOURCE_H_

#include <stdint.h>

/// The host's byte source. The parser calls slots 2, 4, 5, 7 and 9; it never owns or deletes a source.
/// The order of the virtual functions is an ABI with the host: never insert, remove or reorder one.
class IDataSource {
 public:
  virtual ~IDataSource() {}
  /// Called once by `IParser::Open`; the result is ignored.
  virtual int Prepare() = 0;
  virtual int Reserved3() { return 0; }
  /// Stores the total length in bytes through `length`, 0 when it is not known. The result is ignored.
  virtual int GetSize(int64_t* length) = 0;
  /// Reads up to `*length` bytes at absolute byte `offset` into `buffer` and stores the count delivered in `*length`.
  /// @return 0 or positive: success, possibly short; AVI_END_OF_STREAM; AVI_SOURCE_WOULD_BLOCK; any other negative
  ///         value: a failure.
  virtual int ReadAt(int64_t offset, void* buffer, uint64_t* length) = 0;
  virtual int Reserved6() { return 0; }
  /// Called once by `IParser::Open` with (0, 0), right after `Prepare`; the result is ignored.
  virtual int SetPosition(int64_t offset, int origin) = 0;
  virtual int Reserved8() { return 0; }
  /// Non-zero when the source has no known end.
  virtual int IsStreaming() = 0;
};

#endif  // ZU_PARSER_AVI_IDATA_SOURCE_H_
