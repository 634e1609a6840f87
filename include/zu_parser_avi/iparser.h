#ifndef ZU_PARSER_AVI_IPARSER_H_
#define ZU_PARSER_AVI_IPARSER_H_

#include <stdint.h>

#include "zu_parser_avi/codec_ids.h"
#include "zu_parser_avi/idata_source.h"
#include "zu_parser_avi/status.h"
#include "zu_parser_avi/track_info.h"
#include "zu_parser_avi/version.h"

/// @file
/// The interface that a host calls, and the two functions that make and end a parser. This header brings all that
/// playing needs; sample_index.h has the library's other exports.

// Types of the host that the parser only passes through.
class String8;
struct PiffInfo;
/// The host's kinds of metadata. This parser has none.
enum MetaDataType : int {};

/// A container parser as the media host sees it: one object plays one media item.
///
/// **Life.** createParser, Open, any number of the operations below in any order, Close, destroyParser. Close comes
/// before destroyParser: destroying alone leaks what Open made. After Close nothing is left to do but to destroy.
///
/// **Threads.** A parser has no lock and starts no thread: all it does, calls of the source included, happens on the
/// thread that is inside it. One thread at a time may be; which one may change from call to call if the host orders the
/// calls. Several parsers may run on several threads at once: all that they share is the log mask `debug_level`, which
/// the last one made sets for all.
///
/// **What crashes.** Pointers for results (`ms`, `len`, `ts`) are written without a test: never pass null. Nor may
/// `buf` of a data operation be null, or `maxLen` more than it holds. A track number at or beyond GetTrackCount gives
/// a pointer outside the records. A parser is destroyed once.
///
/// **What ends the process.** No file makes the parser overrun memory. A few, damaged or made for it, make it call
/// `abort` where a number would wrap: a "movi" list that declares 1 to 3 bytes (Open); MPEG audio that declares more
/// than some 29.8 Mbit/s (Open); a chunk number of 4,294,968 or above (47 hours at 25 frames a second) that a unit's
/// time, a seek or a next key frame is counted from; offsets near 2^63, which take a source that claims to have bytes
/// there. A host that opens files of strangers does so in a process that it can start again.
///
/// **Numbers.** Times are milliseconds from the start of the movie, 0 to 0xFFFFFFFE; those of re-cut sound pass that
/// where a file declares an absurd byte rate, so the status alone tells the end. But for them results leave the upper
/// half of an `unsigned long` 0. Buffer sizes above 0xFFFFFFFF count as that; of a time to seek only the lower 32 bits
/// count.
///
/// **Slots.** The order of the virtual functions is an ABI with the host: never insert, remove or reorder one. Slots 0
/// and 1 are the destructor's, 2 is Open, the rest follow as declared. Where this class gives a body here, the parser
/// keeps it: the slot does nothing, and a result of 0 is no promise.
///
/// **Data operations**, GetAudioData, GetVideoData and GetTextData, share these arguments:
/// - `buf`: the host's memory of `maxLen` bytes. It may be written in full whatever the result, never beyond.
/// - `len`: [out] bytes of the unit at `buf`; 0 unless the result is AVI_OK.
/// - `ts`: [out] the unit's time in milliseconds. Meaningful with a unit; 0xFFFFFFFF with AVI_END_OF_STREAM. A unit of
///   re-cut sound that is made of several chunks has the time of the one read last, at the very start too: later than
///   its first byte by up to two frames, or two blocks of PCM. Where sound has to meet the picture to the millisecond,
///   count its bytes or frames instead.
/// - `maxLen`: bytes at `buf`. A unit above it is not cut but looks like the end of the track. It stays in place and
///   comes with a larger buffer, so a host that is not sure asks once more with, say, twice the bytes.
///
/// **Which size suffices.** None is announced. Video, text and sound that is passed on as it is need the largest chunk
/// of the track, never more than the file; but an index that declares a larger one ends the track for any buffer below
/// that. Re-cut sound (MPEG audio, AC-3, E-AC-3, PCM, mu-law) needs the largest chunk too, though its units are far
/// smaller, and 1 MiB suffices: a chunk passes through 1 MiB together with what is held of the one before. One above
/// some 990 KiB may not fit there, and looks like the end whatever the buffer. Two kinds do not come again: a picture
/// joined from several MPEG-1/2 chunks (1 MiB at most) is lost when it is above `maxLen`, and a re-cut frame is cut off
/// there.
///
/// They also share these results:
/// - AVI_OK with `*len` above 0: a unit.
/// - AVI_OK with `*len` 0: nothing this time. The file has empty or undecodable chunks, a frame was dropped, or the
///   source would block. Ask again, after a pause if the source blocks; every other such call moves on. Without a track
///   of the kind this is the answer for ever: ask only for kinds that a record describes, and give up after, say, a
///   thousand in a row.
/// - AVI_END_OF_STREAM: the end, or a unit above `maxLen`, or one of which the source has no byte. As a rule it stays
///   until a seek, but ask once more. The next call may bring one more unit of re-cut sound. It goes on behind a unit
///   of which the source had no byte, which in a file that was cut off is the end again, and behind a joined picture
///   above `maxLen`. Without an index it repeats a search for the first picture that ended like this because the source
///   failed or blocked.
/// - AVI_IO_ERROR: the source failed. Calling again repeats the read when the file has an index.
/// - AVI_OUT_OF_MEMORY: give this track up; the others play on.
class IParser {
 public:
  IParser() : mHostData(0) {}  ///< The library's: a host gets parsers from createParser.
  virtual ~IParser() {}        ///< Never called by a host: destroyParser does that.

  /// @name Opening
  /// @{

  /// Opens the item: walks the file's headers, reads its index, puts every track at its start. Blocks as long as the
  /// source does; reads no media data but the start of each AC-3 track, to know it from E-AC-3.
  ///
  /// After a refusal there are no tracks: counts are 0, records null, data operations AVI_OK with length 0 for ever.
  /// GetVideoConfig and GetNextVideoKeyFrameTime may still answer from what was found before the refusal; both mean
  /// nothing then. Another Open, with this or another source, is allowed, and Close is still due. So is an Open on top
  /// of an opened item, without a Close in between: it drops that item, and pointers from GetTrackInfo with it.
  ///
  /// @param source  the host's, not null, and not to be destroyed before Close or another Open. AVI_OPEN_FAILED for
  ///                null, the item opened before staying as it was.
  /// @return 0, also for a file whose streams nobody can decode, and for one without any (GetTrackCount is 0 then). An
  ///         item of 1 to 11 bytes is such a one, and so is another RIFF file, a WAV say, for its form is not looked
  ///         at: a host that has other parsers tries them where there is no track. AVI_OPEN_FAILED when the container
  ///         cannot be parsed or memory is out: play it with something else.
  virtual int Open(IDataSource* source) = 0;

  /// Opens nothing.
  /// @return 0, which is no success.
  virtual int OpenForSmoothStreaming(IDataSource*, PiffInfo*) { return 0; }

  /// @}
  /// @name What is in the item
  /// No call here reads the source.
  /// @{

  /// @return number of streams in the file, 0 to 100, each with one record; 0 before Open and after Close.
  virtual int GetTrackCount() = 0;

  /// Tells the movie's length. A file that was cut off still declares its full length, so a seek bar may be too long.
  /// @param ms  [out] milliseconds, 0 to 0xFFFFFFFF, as the file's headers declare them; 0 when they do not.
  /// @return 0.
  virtual int GetDurationMs(unsigned long* ms) = 0;

  /// The record of one stream.
  /// @param track  stream number, counted from 0 in file order. Not tested against GetTrackCount() - 1.
  /// @return the parser's record, valid until Close or the next Open; the parser reads it while it plays, so do not
  ///         write to it. Null without records: before Open, after a refusal, without streams, after Close.
  virtual TrackInfo* GetTrackInfo(unsigned long track) = 0;

  /// @return null.
  virtual void* GetMetaInfo() { return nullptr; }

  /// @}
  /// @name Pulling units
  /// @{

  /// The decoder configuration of the selected audio track: for ADPCM the whole WAVEFORMATEX of the file, for other
  /// codecs the bytes behind its 18 fixed ones, often none. Reads nothing.
  ///
  /// A WAVEFORMATEXTENSIBLE, of whichever codec, has 22 bytes of its own there: valid bits, channel mask, sub-format
  /// GUID. They come first and configure no decoder; an AudioSpecificConfig of AAC follows at byte 22, if there is one.
  /// @param buf  `cap` bytes of the host's; never written beyond them. Null gives AVI_ERROR and leaves `*len`.
  /// @param len  [out] bytes of the whole configuration, which may be more than `cap`.
  /// @param cap  bytes at `buf`.
  /// @retval AVI_OK     `*len` bytes are at `buf`; 0 bytes are normal, AC-3 for example needs none.
  /// @retval AVI_ERROR  With `*len` 0: MPEG audio, which carries its configuration in every frame, or no audio track.
  ///                    Play it without. With `*len` above `cap`: `cap` bytes were written; come with a larger buffer.
  virtual int GetAudioConfig(unsigned char* buf, unsigned long* len, unsigned long cap) = 0;

  /// The next unit of the selected audio track.
  ///
  /// MPEG audio, AC-3 and E-AC-3 come frame by frame wherever the file cut them, with up to 3 stray bytes behind one; a
  /// last frame that is not all there is filled up with zeros. PCM and mu-law come in blocks, as a rule of at most
  /// 16 KiB, which may end anywhere inside a sample; other codecs come chunk by chunk. Where the file's chunks are not
  /// such frames or blocks themselves, the track's last frame, or up to a block of its PCM, stays held and never comes.
  ///
  /// PCM of 24 bits arrives as 16 bits, little-endian, the upper two bytes of each sample; the record goes on saying
  /// 24. A block that ends inside a sample is filled up with zeros. So where a file has such sound in chunks of 16 KiB
  /// and more, nearly every block begins inside a sample and is noise, told by units of 10,924 bytes; no argument
  /// avoids that.
  ///
  /// @param buf     as for all data operations: see the class.
  /// @param len     the same.
  /// @param ts      the same.
  /// @param maxLen  the same.
  /// @return as of all data operations: see the class.
  virtual int GetAudioData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) = 0;

  /// The decoder configuration of the video track: what stands behind the 40 bytes of the file's BITMAPINFOHEADER (of
  /// the last video stream with a FourCC that the parser knows, whichever is played) or else, for MPEG-4 Visual in a
  /// file with an index, what precedes the first picture, or a VOL header made up from that picture when none does;
  /// this reads the source.
  ///
  /// H.264 in a file with an index: until the host has taken the whole configuration, a unit that begins with an IDR
  /// slice gets the parameter sets of the file's first unit in front, up to 1000 bytes, when `maxLen` has room. Having
  /// taken it counts for every item that this parser opens, so take it again after another Open.
  ///
  /// @param buf  `cap` bytes of the host's; never written beyond them. Null counts as a `cap` of 0.
  /// @param len  [in, out] bytes of the whole configuration, which may be more than `cap`: come with a larger buffer
  ///             then. 0: none, the decoder finds all in the units; or reading failed or would block, so ask again
  ///             where the source may. Stays as it was without a video format: preset 0.
  /// @param cap  bytes at `buf`.
  /// @return 0.
  virtual int GetVideoConfig(unsigned char* buf, unsigned long* len, unsigned long cap) = 0;

  /// The next unit of the video track. That track is the first stream that is neither sound nor subtitles, be it one
  /// that the parser cannot describe; others are never delivered.
  ///
  /// Times are positions in the file over the frame rate. Where a stream has B-frames that is the decoding order, and
  /// the decoder has to put the pictures in order. No mark says whether a unit is a key frame: with an index the first
  /// one after Open and after a seek is, and every one got with `keyOnly`, as far as the index marks key frames.
  /// H.264 comes with start codes (ITU-T H.264 annex B), lengths in the file being rewritten.
  ///
  /// @param buf     as for all data operations: see the class.
  /// @param len     the same.
  /// @param ts      the same.
  /// @param maxLen  the same.
  /// @param keyOnly  skip to the next key frame, for fast play. When none follows, or without an index, the next unit.
  /// @return as of all data operations: see the class.
  virtual int GetVideoData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen,
                           bool keyOnly) = 0;

  /// @}
  /// @name Moving
  /// @{

  /// Moves the tracks of one kind, all audio tracks or all video streams; a seek in audio drops the sound that is held.
  /// Reads nothing and does not tell where it got: that is the `*ts` of the next unit.
  ///
  /// To move sound and picture to one time: Seek video, pull one video unit, Seek audio to its `*ts`. Doing both to
  /// the wanted time lets the sound start where the picture's key frame does not.
  ///
  /// Without an index (`bSeekable` 0 in the records) only 0 can be reached, and that rewinds every track, whatever the
  /// kind: seek both kinds then, for the sound that is held. Any other time moves nothing, and playing goes on.
  ///
  /// @param timeMs     milliseconds. 0 is the start in every mode. Past the end, video goes to the last key
  ///                   frame, and audio to its last unit or to its end, as the codec has it.
  /// @param trackType  AVI_TRACK_VIDEO or AVI_TRACK_AUDIO. Any other moves nothing: text tracks stay where they are.
  /// @param seekMode   for video, counted from the unit that is shown at `timeMs`: 0 the key frame at or before it; 2
  ///                   and 3 the one of those before and behind whose time is nearer; any other, say 1, the one at or
  ///                   behind it. A key frame among the last five units is never chosen as the one behind; the one
  ///                   before is then. Audio goes in every mode to where the stream's header and the
  ///                   format's block size put `timeMs`, which is the unit at that time where they tell the truth. See
  ///                   AVI_CODEC_EAC3 for files in which they do not.
  /// @return 0, before Open and after Close too.
  virtual int Seek(unsigned long timeMs, int trackType, int seekMode) = 0;

  /// Does nothing.
  /// @return 0.
  virtual int SetConfig() = 0;

  /// Makes stream `track` the one that GetAudioData and GetAudioConfig serve; the first audio stream until then.
  ///
  /// Every track has a position of its own, which selecting leaves alone: the track goes on where it was last played
  /// or sought, one never played at the start. A seek moves all audio tracks, so seek after selecting. What is held of
  /// the track played so far is dropped, which may cost it some frames.
  ///
  /// @param track  stream number as in GetTrackInfo. One that is no audio stream, or beyond the file's first 10 of
  ///               them, selects the first audio stream; units held of the track before still come first then, unless
  ///               a seek in audio drops them.
  /// @return 0.
  virtual int SelectAudioTrack(int track) = 0;

  /// The same for GetTextData. Nothing is held of text.
  /// @param track  stream number. One that is no subtitle stream, or beyond the file's first 28 of them, selects the
  ///               first one.
  /// @return 0.
  virtual int SelectTextTrack(int track) = 0;

  /// Does nothing.
  /// @param event  anything.
  /// @param value  anything.
  /// @return 0.
  virtual int Notify(unsigned short event, unsigned long value) = 0;

  /// @}
  /// @name What this parser does not have
  /// @{

  /// The buffer stays as it is.
  /// @return null.
  virtual char* GetMetaData(const char*, char*, unsigned long) { return nullptr; }
  /// The string stays as it is.
  /// @return null.
  virtual char* GetMetaDataEx(MetaDataType, String8*, unsigned long*) { return nullptr; }
  /// The buffer stays as it is.
  /// @return null.
  virtual char* GetMetaDataEx(MetaDataType, char*, unsigned long*) { return nullptr; }
  /// @param n  [out] 0. The one cell that may be null.
  /// @return null.
  virtual unsigned char* GetAlbumArt(unsigned long* n) {
    if (n) *n = 0;
    return nullptr;
  }
  /// Does nothing: Open has read the index.
  /// @return 0.
  virtual int ParseIndexData(unsigned long long) { return 0; }

  /// @}
  /// @name Key frames
  /// @{

  /// Finds the first video key frame at or behind the unit that is shown at `timeMs`. Moves nothing, reads nothing. Of
  /// several video streams, subtitles among them, the last one decides; where it has none the result is of no use.
  /// @param timeMs  milliseconds. Up to a unit's length behind a key frame's time that frame is the answer again, so to
  ///                go from one to the next add that length and 2 ms (42 in all at 25 frames a second).
  /// @return its time in milliseconds, which may be a little less than `timeMs`; 0 when none follows and without an
  ///         index.
  virtual unsigned int GetNextVideoKeyFrameTime(unsigned long timeMs) = 0;

  /// @}
  /// @name Ending
  /// @{

  /// Frees all that Open made, the records included, and lets go of the source, which is not called any more. Due after
  /// a refused Open too; harmless when repeated. Afterwards Open answers AVI_OPEN_FAILED and everything else as for an
  /// item without tracks.
  /// @return 0.
  virtual int Close() = 0;

  /// @return "AVIParser", a constant of the library.
  virtual const char* getName() = 0;

  /// @return null.
  virtual void* getExtraInterface() { return nullptr; }

  /// @}
  /// @name Text, and slots that came later
  /// @{

  /// The next sample of the selected text track. Without an index only chunks named like pictures, "01dc" or "01db" for
  /// stream 1, are found; in a file that names them otherwise the first call walks the whole list, and the track is at
  /// its end.
  /// Without a text track it returns 0 and leaves `*len` and `*ts` as they are: preset `*len` with 0.
  /// @param buf     as for all data operations: see the class.
  /// @param len     the same.
  /// @param ts      [in, out] subtitle samples carry their own times, so it comes back as the host gave it, in 32 bits
  ///                (0 for 0xFFFFFFFF); with AVI_END_OF_STREAM it is 0xFFFFFFFF.
  /// @param maxLen  as for all data operations.
  /// @return as of all data operations: see the class.
  virtual int GetTextData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) = 0;

  /// Stores nothing.
  /// @return 0.
  virtual int GetTextConfig(unsigned char*, unsigned long*, unsigned long, unsigned long) { return 0; }
  /// @return 0, with an index too: `bSeekable` in the records tells whether seeking works.
  virtual unsigned long GetSeekPointCount() { return 0; }
  /// Stores nothing.
  /// @return 0.
  virtual long GetParameter(unsigned long, void*, unsigned long long) { return 0; }
  /// Takes nothing.
  /// @return 0.
  virtual long SetParameter(unsigned long, void*, unsigned long long) { return 0; }
  /// Opens nothing: use Open.
  /// @return 0, which is no success.
  virtual int OpenEx(IDataSource*, int) { return 0; }
  /// Moves nothing: use Seek.
  /// @return 0, which is no success.
  virtual int SeekEx(unsigned long, int, int, int, unsigned long long, int) { return 0; }

  /// @}

 protected:
  uint64_t mHostData;  ///< The host's own word: 0 at first, never read or written by the parser.
};
static_assert(sizeof(IParser) == 16, "interface: vtable pointer and one word");

extern "C" {
/// Makes a parser. Reads the property "zucp.debug.level", 1 when it is not set, into `debug_level`. May be called on
/// any thread.
/// @return a new parser, the caller's to end with destroyParser; null only when memory is out. A parser made just short
///         of that refuses every Open.
IParser* createParser();

/// Ends a parser: frees the object with the allocator that made it, so never use `delete`. Call IParser::Close first if
/// Open was called, and nothing afterwards: a second destroyParser is a double free.
/// @param parser  from createParser. Null is ignored.
void destroyParser(IParser* parser);
}

#endif  // ZU_PARSER_AVI_IPARSER_H_
