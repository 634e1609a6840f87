#ifndef ZU_PARSER_AVI_IDATA_SOURCE_H_
#define ZU_PARSER_AVI_IDATA_SOURCE_H_

#include <stdint.h>

/// @file
/// The interface that a host implements.

/// The host's byte source: random access to one media item. The host implements it.
///
/// The parser never owns, copies or deletes a source. It keeps the pointer from `IParser::Open` to `IParser::Close` (or
/// to the next Open) and calls it only on the thread that is inside Open, GetVideoConfig or a Get...Data operation of
/// that parser. Selecting, seeking, closing and destroying call nothing here. A source that serves several parsers on
/// several threads has to lock for itself. It may block, for nothing waits but that call of the host; it must not
/// throw, nor call the parser that is calling it.
///
/// The order of the virtual functions is an ABI with the host: never insert, remove or reorder one. Slots 0 and 1 are
/// the destructor's; the parser calls slots 2, 4, 5, 7 and 9.
class IDataSource {
 public:
  virtual ~IDataSource() {}  ///< Never called by the parser.

  /// Called by `IParser::Open` before anything else. A source may connect or fill a buffer here, and may block.
  /// @return ignored: a source that failed says so in ReadAt.
  virtual int Prepare() = 0;

  virtual int Reserved3() { return 0; }  ///< Never called. @return anything

  /// Tells the total length. Asked several times during Open, so a growing file may give a new length then; not asked
  /// later.
  /// @param length  [out] bytes; never null, and holds 0. 0 means unknown. With IsStreaming non-zero the item then ends
  ///                at the size that its first RIFF group declares: the count starts behind the group's 8 bytes of
  ///                header, so the group's last 8 bytes are not read (often the last entry of its index), nor are
  ///                further groups of an OpenDML file, whose super indexes are not used either. A group of size 0, as
  ///                a live recorder writes it, is refused. With IsStreaming 0 Open refuses. A negative length opens
  ///                as an item without tracks.
  /// @return ignored.
  virtual int GetSize(int64_t* length) = 0;

  /// Reads up to `*length` bytes at absolute byte `offset` into `buffer` and stores the count delivered in `*length`.
  ///
  /// Deliver all that was asked for unless the data ends: the parser does not ask for a rest. A short header counts as
  /// the end of the file, a short unit goes to the decoder as it is.
  ///
  /// @param offset  bytes from the start. With a known length `offset` + `*length` lies within it. With an unknown one
  ///                anything can come, negative values included: answer those with AVI_END_OF_STREAM.
  /// @param buffer  the parser's or the host's own memory of `*length` bytes; not to be kept.
  /// @param length  [in] 0 to 0x7FFFFFFF; a chunk of size 0 is read too. [out] the count, cut to what was asked for
  ///                when it is more. Ignored when the result is negative, so it need not be written then.
  /// @return 0 or positive: success. With `*length` 0 it is the end of the data: a chunk that should have had bytes
  ///         ends its track with AVI_END_OF_STREAM once, and the call after that goes on behind it. Right after Open
  ///         or a seek up to 11 such chunks are passed over instead; in joined MPEG-1/2 pictures they count as empty.
  /// @return AVI_SOURCE_WOULD_BLOCK: nothing yet. A data operation tries up to 210 times without a pause (of MPEG-1/2
  ///         pictures that are spread over chunks, right after Open or a seek, up to 1071 times) and then returns 0
  ///         with length 0. With an index no chunk is lost, but a start whose first call blocks may suffer: joined
  ///         MPEG-1/2 may then begin with another picture than an I picture, H.263 and Theora too, and sound may have
  ///         one wrong time. Without an index the position may be lost, and the track then ends early. Where that
  ///         matters a source waits in here.
  /// @return AVI_END_OF_STREAM or any other negative value: a failed read, for the host AVI_IO_ERROR, but
  ///         AVI_END_OF_STREAM in search of the first picture of a file without an index. Open takes every negative
  ///         value for a failure: it refuses, or goes on without the header or index that it was reading. So wait in
  ///         here while Open runs.
  virtual int ReadAt(int64_t offset, void* buffer, uint64_t* length) = 0;

  virtual int Reserved6() { return 0; }  ///< Never called. @return anything

  /// Called by `IParser::Open` right after Prepare, and never again: every read brings its own offset.
  /// @param offset  0.
  /// @param origin  0.
  /// @return ignored.
  virtual int SetPosition(int64_t offset, int origin) = 0;

  virtual int Reserved8() { return 0; }  ///< Never called. @return anything

  /// Asked while GetSize gives 0, possibly with every read: answer at once.
  /// @return non-zero when the source has no known end.
  virtual int IsStreaming() = 0;
};

#endif  // ZU_PARSER_AVI_IDATA_SOURCE_H_
