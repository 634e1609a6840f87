#ifndef ZU_PARSER_AVI_STATUS_H_
#define ZU_PARSER_AVI_STATUS_H_

#include <stdint.h>

/// @file
/// Results of the parser's operations and of the host's byte source.
///
///     who answers               values
///     IParser::Open             AVI_OK, AVI_OPEN_FAILED
///     IParser::Get...Data       AVI_OK, AVI_END_OF_STREAM, AVI_IO_ERROR, AVI_OUT_OF_MEMORY
///     IParser::GetAudioConfig   AVI_OK, AVI_ERROR
///     IDataSource::ReadAt       0 or more, AVI_SOURCE_WOULD_BLOCK, any other negative value
///
/// Every other operation answers 0 whatever happened. A host that meets another value gives the track up.

/// Success. A data operation may give it with a length of 0: nothing yet, ask again (see IParser).
constexpr int AVI_OK = 0;

/// 0x80000000 as the host sees it: the selected audio track has no configuration, or one above the buffer. Inside the
/// parser also the end of a stream, and a chunk larger than the buffer; those reach a host as AVI_END_OF_STREAM.
constexpr int AVI_ERROR = INT32_MIN;

/// The source would block; nothing was consumed. Internal: the host gets AVI_OK with a length of 0 instead.
constexpr int AVI_EAGAIN = 11;

/// The source refused a read, whatever negative status it gave. With an index the unit is not consumed: the next call
/// reads it again. Without one the position may be lost, and the track then ends.
constexpr int AVI_IO_ERROR = -1004;

/// A search for a stream's next chunk met 1000 of size 0. Internal: the host gets AVI_END_OF_STREAM instead.
constexpr int AVI_TOO_MANY_EMPTY_CHUNKS = -1007;

/// A buffer that the track cannot do without could not be allocated. Re-cut sound (MPEG audio, AC-3, E-AC-3, PCM,
/// mu-law) asks for its buffer with the first unit and stays silent until another Open; MPEG-1/2 video tries again with
/// every call. Other tracks play.
constexpr int AVI_OUT_OF_MEMORY = -1009;

/// Towards the host: the end of a track, or a unit above the host's buffer, or one without a byte, which look the same.
/// From `IDataSource::ReadAt`: no more data. It counts as a failed read there, not as an orderly end.
constexpr int AVI_END_OF_STREAM = -1011;

/// `IDataSource::ReadAt` has nothing yet and does not want to wait.
constexpr int AVI_SOURCE_WOULD_BLOCK = -11;

/// The container could not be opened. What may follow is said at `IParser::Open`.
constexpr int AVI_OPEN_FAILED = -1;

/// The time that comes with AVI_END_OF_STREAM; real times end one below, but for those that IParser's "Numbers" names.
/// Inner readers report it as a length too.
constexpr uint32_t AVI_END_MARK = 0xFFFFFFFFu;

#endif  // ZU_PARSER_AVI_STATUS_H_
