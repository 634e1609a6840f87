#ifndef ZU_PARSER_AVI_IPARSER_H_
#define ZU_PARSER_AVI_IPARSER_H_

#include <stdint.h>

#include "zu_parser_avi/codec_ids.h"
#include "zu_parser_avi/idata_source.h"
#include "zu_parser_avi/status.h"
#include "zu_parser_avi/track_info.h"

// Types of the host that the parser only passes through.
class String8;
struct PiffInfo;
enum MetaDataType : int {};

/// A container parser as the media host sees it: one object plays one media item.
///
/// **Life.** createParser, Open, any number of the operations below in any order, Close, destroyParser. Close comes
/// before destroyParser: destroying alone leaks what Open made. After Close nothing is left to do but to destroy.
///
/// **Threads.** A parser has no lock and starts no thread. One thread at a time may be inside it; which one may change
/// from call to call if the host orders the calls. Several parsers may run on several threads at once: all that they
/// share is the log mask `debug_level`, which the last one made sets for all.
///
/// **What crashes.** Pointers for results (`ms`, `len`, `ts`) are written without a test: never pass null. Nor may
/// `buf` of a data operation be null, or `maxLen` more than it holds. A track number at or beyond GetTrackCount gives
/// a pointer outside the records. A parser is destroyed once.
///
/// **What ends the process.** No file makes the parser overrun memory. A few, damaged or made for it, make it call
/// `abort` where a number would wrap: a "movi" list that declares 1 to 3 bytes (Open); MPEG audio that declares more
/// than some 29.8 Mbit/s (Open); a chunk number of 4,294,968 or above (47 hours at 25 frames a second) that a unit's
/// time, a seek or a next key frame is counted from; a streaming source whose offsets pass 2^63 - 1. A host that opens
/// files of strangers does so in a process that it can start again.
///
/// **Numbers.** Times are milliseconds from the start of the movie, 0 to 0xFFFFFFFE. Results leave the upper half of
/// an `unsigned long` 0. Buffer sizes above 0xFFFFFFFF count as that; of a time to seek only the lower 32 bits count.
///
/// **Slots.** The order of the virtual functions is an ABI with the host: never insert, remove or reorder one. Slots 0
/// and 1 are the destructor's, 2 is Open, the rest follow as declared. Where this class gives a body here, the parser
/// keeps it: the slot does nothing, and a result of 0 is no promise.
///
/// **Data operations**, GetAudioData, GetVideoData and GetTextData, share these arguments and results.
///
/// @param buf     the host's memory of `maxLen` bytes. It may be written in full whatever the result, never beyond.
/// @param len     [out] bytes of the unit at `buf`; 0 unless the result is AVI_OK.
/// @param ts      [out] the unit's time in milliseconds. Meaningful with a unit; 0xFFFFFFFF with AVI_END_OF_STREAM.
/// @param maxLen  bytes at `buf`. A unit above it is not cut but looks like the end of the track. It stays in place
///                and comes with a larger buffer, so a host that is not sure asks once more with, say, twice the
///                bytes. No size is announced: what suffices for video, text and sound that is passed on as it is, is
///                the largest chunk of the track, never more than the file. Re-cut sound (MPEG audio, AC-3, E-AC-3,
///                PCM, mu-law) passes through 1 MiB: that size suffices, and a chunk above it ends the track.
///                Two kinds do not come again: a picture joined from several MPEG-1/2 chunks (1 MiB at most) is
///                lost, and a re-cut frame above `maxLen` is cut off at it.
/// @return AVI_OK with `*len` above 0: a unit.
///         AVI_OK with `*len` 0: nothing this time. The file has empty or undecodable chunks, a frame was dropped, or
///         the source would block. Ask again, after a pause if the source blocks; every other such call moves on.
///         Without a track of the kind this is the answer for ever: ask only for kinds that a record describes, and
///         give up after, say, a thousand in a row.
///         AVI_END_OF_STREAM: the end, or a unit above `maxLen`. Stays until a seek, but for re-cut sound: a frame or
///         block that is still held may come with the next call, and then the end again.
///         AVI_IO_ERROR: the source failed. Calling again repeats the read when the file has an index.
///         AVI_OUT_OF_MEMORY, AVI_TOO_MANY_EMPTY_CHUNKS: give this track up; the others play on.
class IParser {
 public:
  IParser() : mHostData(0) {}
  virtual ~IParser() {}

  // --- Opening ---

  /// Opens the item: walks the file's headers, reads its index, puts every track at its start. Blocks as long as the
  /// source does; reads no media data but the start of each AC-3 track, to know it from E-AC-3.
  /// @param source  the host's, not null, and not to be destroyed before Close. AVI_OPEN_FAILED for null, the item
  ///                opened before staying as it was.
  /// @return 0, also for a file without streams (GetTrackCount is 0 then) and for a file whose streams nobody can
  ///         decode; AVI_OPEN_FAILED when the container cannot be parsed or memory is out.
  ///
  /// After a refusal there are no tracks: counts are 0, records null, data operations AVI_OK with length 0 for ever.
  /// GetVideoConfig and GetNextVideoKeyFrameTime may still answer from what was found before the refusal; both mean
  /// nothing then. Another Open, with this or another source, is allowed, and Close is still due. So is an Open on top
  /// of an opened item, without a Close in between: it drops that item, and pointers from GetTrackInfo with it.
  virtual int Open(IDataSource* source) = 0;

  /// Opens nothing; the 0 is not a success.
  virtual int OpenForSmoothStreaming(IDataSource*, PiffInfo*) { return 0; }

  // --- What is in the item. No call here reads the source but GetVideoConfig. ---

  /// Number of streams in the file, 0 to 100, each with one record; 0 before Open and after Close.
  virtual int GetTrackCount() = 0;

  /// Stores the movie's length in milliseconds as the file's headers declare it, 0 when they do not. A file that was
  /// cut off still declares its full length. Always 0.
  virtual int GetDurationMs(unsigned long* ms) = 0;

  /// The record of stream `track`, counted from 0 in file order. Not tested against GetTrackCount() - 1.
  /// @return the parser's record, valid until Close or the next Open; the parser reads it while it plays, so do not
  ///         write to it. Null without records: before Open, after a refusal, without streams, after Close.
  virtual TrackInfo* GetTrackInfo(unsigned long track) = 0;

  /// Always null.
  virtual void* GetMetaInfo() { return nullptr; }

  // --- Pulling units ---

  /// The decoder configuration of the selected audio track: for ADPCM the whole WAVEFORMATEX of the file, for other
  /// codecs the bytes behind its 18 fixed ones, often none.
  /// @param buf  `cap` bytes of the host's; never written beyond them. Null gives AVI_ERROR and leaves `*len`.
  /// @param len  [out] bytes of the whole configuration, which may be more than `cap`.
  /// @return 0: `*len` bytes are at `buf`; 0 bytes are normal, AC-3 for example needs none.
  ///         AVI_ERROR with `*len` 0: MPEG audio, which carries its configuration in every frame, or no audio track.
  ///         Play it without. AVI_ERROR with `*len` above `cap`: `cap` bytes were written; come with a larger buffer.
  virtual int GetAudioConfig(unsigned char* buf, unsigned long* len, unsigned long cap) = 0;

  /// The next unit of the selected audio track; see the data operations above.
  ///
  /// MPEG audio, AC-3 and E-AC-3 come frame by frame wherever the file cut them, with up to 3 stray bytes behind one.
  /// PCM and mu-law come in blocks, as a rule of at most 16 KiB; other codecs chunk by chunk.
  /// PCM of 24 bits arrives as 16 bits, little-endian: the record goes on saying 24. A block that ends inside a sample
  /// is filled up with zeros.
  virtual int GetAudioData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) = 0;

  /// The decoder configuration of the video track: what stands behind the 40 bytes of the file's BITMAPINFOHEADER (of
  /// the last video stream, when there are several) or, for MPEG-4 Visual in a file with an index, what precedes the
  /// first picture; that one reads the source.
  /// @param buf  `cap` bytes of the host's; never written beyond them. Null counts as a `cap` of 0.
  /// @param len  [in, out] bytes of the whole configuration, which may be more than `cap`: come with a larger buffer
  ///             then. 0: none, the decoder finds all in the units. Stays as it was without a video format: preset 0.
  /// @return always 0.
  ///
  /// H.264 in a file with an index: until the host has taken the whole configuration, a unit that begins with an IDR
  /// slice gets the parameter sets of the file's first unit in front, up to 1000 bytes, when `maxLen` has room.
  virtual int GetVideoConfig(unsigned char* buf, unsigned long* len, unsigned long cap) = 0;

  /// The next unit of the video track; see the data operations above. That track is the first stream that is neither
  /// sound nor subtitles, be it one that the parser cannot describe; others are never delivered.
  ///
  /// Times are positions in the file over the frame rate. Where a stream has B-frames that is the decoding order, and
  /// the decoder has to put the pictures in order. No mark says whether a unit is a key frame: with an index the first
  /// one after Open and after a seek is, and every one got with `keyOnly`.
  /// H.264 comes with start codes (ITU-T H.264 annex B), lengths in the file being rewritten.
  ///
  /// @param keyOnly  skip to the next key frame, for fast play. When none follows, or without an index, the next unit.
  virtual int GetVideoData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen,
                           bool keyOnly) = 0;

  // --- Moving ---

  /// Moves the tracks of one kind, all audio tracks or all video streams; a seek in audio drops the sound that is held.
  /// Reads nothing and does not tell where it got: that is the `*ts` of the next unit.
  ///
  /// To move sound and picture to one time: Seek video, pull one video unit, Seek audio to its `*ts`. Doing both to
  /// the wanted time lets the sound start where the picture's key frame does not.
  ///
  /// @param timeMs     milliseconds. 0 is the start in every mode. Past the end, video goes to the last key
  ///                   frame, and audio to its last unit or to its end, as the codec has it.
  /// @param trackType  AVI_TRACK_VIDEO or AVI_TRACK_AUDIO. Any other moves nothing: text tracks stay where they are.
  /// @param seekMode   for video: 0 the key frame at or before `timeMs`; 2 and 3 the nearer one of those before and
  ///                   behind; any other, say 1, the one at or behind it. A key frame among the last five units is
  ///                   never chosen as the one behind; the one before is then. Audio goes to the unit at `timeMs`.
  /// @return always 0, before Open and after Close too.
  ///
  /// Without an index (`bSeekable` 0 in the records) only 0 can be reached, and that rewinds every track, whatever the
  /// kind: seek both kinds then, for the sound that is held. Any other time moves nothing, and playing goes on.
  virtual int Seek(unsigned long timeMs, int trackType, int seekMode) = 0;

  /// Does nothing. Always 0.
  virtual int SetConfig() = 0;

  /// Makes stream `track` the one that GetAudioData and GetAudioConfig serve; the first audio stream until then.
  ///
  /// Every track has a position of its own, which selecting leaves alone: the track goes on where it was last played
  /// or sought. A seek moves all audio tracks, so seek after selecting. What is held of the track played so far is
  /// dropped, which may cost it some frames.
  /// @param track  stream number as in GetTrackInfo. One that is no audio stream, or beyond the file's first 10 of
  ///               them, selects the first audio stream.
  /// @return always 0.
  virtual int SelectAudioTrack(int track) = 0;

  /// The same for GetTextData and the file's first 28 subtitle streams.
  virtual int SelectTextTrack(int track) = 0;

  /// Does nothing. Always 0.
  virtual int Notify(unsigned short event, unsigned long value) = 0;

  // --- What this parser does not have ---

  /// Always null; the buffer stays as it is.
  virtual char* GetMetaData(const char*, char*, unsigned long) { return nullptr; }
  /// Always null.
  virtual char* GetMetaDataEx(MetaDataType, String8*, unsigned long*) { return nullptr; }
  /// Always null.
  virtual char* GetMetaDataEx(MetaDataType, char*, unsigned long*) { return nullptr; }
  /// Always null; `*n` becomes 0. The one operation whose cell may be null.
  virtual unsigned char* GetAlbumArt(unsigned long* n) {
    if (n) *n = 0;
    return nullptr;
  }
  /// Does nothing: Open has read the index. Always 0.
  virtual int ParseIndexData(unsigned long long) { return 0; }

  /// Time in milliseconds of the first video key frame at or behind `timeMs`. Moves nothing, reads nothing.
  /// 0 when none follows and without an index. Of several video streams, subtitles among them, the last one decides.
  virtual unsigned int GetNextVideoKeyFrameTime(unsigned long timeMs) = 0;

  // --- Ending ---

  /// Frees all that Open made, the records included, and lets go of the source, which is not called any more. Due after
  /// a refused Open too; harmless when repeated. Afterwards Open answers AVI_OPEN_FAILED and everything else as for an
  /// item without tracks. Always 0.
  virtual int Close() = 0;

  /// "AVIParser", a constant of the library.
  virtual const char* getName() = 0;

  /// Always null.
  virtual void* getExtraInterface() { return nullptr; }

  // --- Text, and slots that came later ---

  /// The next sample of the selected text track; see the data operations above. Without a text track it returns 0 and
  /// leaves `*len` and `*ts` as they are: preset `*len` with 0.
  /// @param ts  [in, out] subtitle samples carry their own times, so it comes back as the host gave it, in 32 bits
  ///            (0 for 0xFFFFFFFF); with AVI_END_OF_STREAM it is 0xFFFFFFFF.
  virtual int GetTextData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) = 0;

  /// Stores nothing. Always 0.
  virtual int GetTextConfig(unsigned char*, unsigned long*, unsigned long, unsigned long) { return 0; }
  /// Always 0, with an index too: `bSeekable` in the records tells whether seeking works.
  virtual unsigned long GetSeekPointCount() { return 0; }
  /// Stores nothing. Always 0.
  virtual long GetParameter(unsigned long, void*, unsigned long long) { return 0; }
  /// Takes nothing. Always 0.
  virtual long SetParameter(unsigned long, void*, unsigned long long) { return 0; }
  /// Opens nothing; the 0 is not a success. Use Open.
  virtual int OpenEx(IDataSource*, int) { return 0; }
  /// Moves nothing; the 0 is not a success. Use Seek.
  virtual int SeekEx(unsigned long, int, int, int, unsigned long long, int) { return 0; }

 protected:
  uint64_t mHostData;  ///< the host's own word: 0 at first, never read or written by the parser
};
static_assert(sizeof(IParser) == 16, "interface: vtable pointer and one word");

extern "C" {
/// A new parser, the caller's to end with destroyParser. Reads the property "zucp.debug.level", 1 when it is not set,
/// into `debug_level`. May be called on any thread.
/// @return null only when memory is out. A parser made just short of that refuses every Open.
IParser* createParser();

/// Ends a parser: frees the object with the allocator that made it, so never use `delete`. Null is ignored. Call
/// IParser::Close first if Open was called, and nothing afterwards: a second destroyParser is a double free.
void destroyParser(IParser* parser);
}

#endif  // ZU_PARSER_AVI_IPARSER_H_
