#ifndef ZU_PARSER_AVI_STATUS_H_
#define ZU_PARSER_AVI_STATUS_H_

#include <stdint.h>

// Results of the parser's own operations and of the host's byte source. C++11, no dependencies.

/// Success.
constexpr int AVI_OK = 0;
/// The end of a stream, a chunk larger than the caller's buffer, or configuration that is not available.
constexpr int AVI_ERROR = INT32_MIN;
/// The source would block; nothing was consumed, call again. Never reaches the host.
constexpr int AVI_EAGAIN = 11;
/// The source failed to deliver bytes.
constexpr int AVI_IO_ERROR = -1004;
/// A stream without an index holds too many empty chunks in a row.
constexpr int AVI_TOO_MANY_EMPTY_CHUNKS = -1007;
/// A buffer that the operation cannot do without could not be allocated.
constexpr int AVI_OUT_OF_MEMORY = -1009;
/// The end: of a track towards the host, of the data from `IDataSource::ReadAt`.
constexpr int AVI_END_OF_STREAM = -1011;
/// `IDataSource::ReadAt` would block.
constexpr int AVI_SOURCE_WOULD_BLOCK = -11;
/// The container could not be opened.
constexpr int AVI_OPEN_FAILED = -1;

/// Length and time that inner readers report at the end of a stream.
constexpr uint32_t AVI_END_MARK = 0xFFFFFFFFu;

#endif  // ZU_PARSER_AVI_STATUS_H_
