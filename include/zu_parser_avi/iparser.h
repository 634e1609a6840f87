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

/// A container parser as the media host sees it. One object plays one media item and is called from one thread at a
/// time. The order of the virtual functions is an ABI with the host: never insert, remove or reorder one.
///
/// The data operations share these arguments: `buf`, the host's memory of `maxLen` bytes; `len` [out], bytes written;
/// `ts` [out], milliseconds from the start of the movie. They return 0 (possibly with `*len` 0: call again),
/// AVI_END_OF_STREAM at the end of the track, or a negative error; `*len` is 0 unless they return 0.
class IParser {
 public:
  IParser() : mHostData(0) {}
  virtual ~IParser() {}

  /// Opens the item. The source belongs to the host and must outlive `Close`.
  /// @return 0, also for a file without streams; -1 when the container cannot be parsed.
  virtual int Open(IDataSource* source) = 0;
  virtual int OpenForSmoothStreaming(IDataSource*, PiffInfo*) { return 0; }
  /// Number of streams in the file, each with one record.
  virtual int GetTrackCount() = 0;
  /// Stores the movie's length in milliseconds.
  virtual int GetDurationMs(unsigned long* ms) = 0;
  /// The record of stream `track`, from 0 to GetTrackCount() - 1, which the caller has to keep to; null without
  /// records.
  virtual TrackInfo* GetTrackInfo(unsigned long track) = 0;
  virtual void* GetMetaInfo() { return nullptr; }
  /// Configuration of the selected audio track. Never writes beyond `cap` bytes; `*len` tells the full size.
  /// @return 0; 0x80000000 when there is none or it is larger than `cap`.
  virtual int GetAudioConfig(unsigned char* buf, unsigned long* len, unsigned long cap) = 0;
  virtual int GetAudioData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) = 0;
  /// Configuration of the video track. Never writes beyond `cap` bytes; `*len` tells the full size. Always 0.
  virtual int GetVideoConfig(unsigned char* buf, unsigned long* len, unsigned long cap) = 0;
  /// @param keyOnly  skip to the next key frame.
  virtual int GetVideoData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen,
                           bool keyOnly) = 0;
  /// Moves the streams of one kind. @param trackType 1 video, 2 audio. @param seekMode video: 0 the key frame at or
  /// before `timeMs`, 1 the one at or after it, 2 or 3 the nearer one. Always 0.
  virtual int Seek(unsigned long timeMs, int trackType, int seekMode) = 0;
  virtual int SetConfig() = 0;
  /// @param track  stream number. Always 0; an unknown one selects the first audio track.
  virtual int SelectAudioTrack(int track) = 0;
  /// @param track  stream number. Always 0; an unknown one selects the first text track.
  virtual int SelectTextTrack(int track) = 0;
  virtual int Notify(unsigned short event, unsigned long value) = 0;
  virtual char* GetMetaData(const char*, char*, unsigned long) { return nullptr; }
  virtual char* GetMetaDataEx(MetaDataType, String8*, unsigned long*) { return nullptr; }
  virtual char* GetMetaDataEx(MetaDataType, char*, unsigned long*) { return nullptr; }
  virtual unsigned char* GetAlbumArt(unsigned long* n) {
    if (n) *n = 0;
    return nullptr;
  }
  virtual int ParseIndexData(unsigned long long) { return 0; }
  /// Time in milliseconds of the first key frame at or after `timeMs`; 0 without an index.
  virtual unsigned int GetNextVideoKeyFrameTime(unsigned long timeMs) = 0;
  /// Frees all that `Open` made. A closed parser is only destroyed, never opened again. Always 0.
  virtual int Close() = 0;
  virtual const char* getName() = 0;
  virtual void* getExtraInterface() { return nullptr; }
  /// The next sample of the selected text track. Without one it returns 0 and leaves `*len` and `*ts` as they are.
  /// `*ts` comes back as the host gave it, in 32 bits: subtitle samples carry their own times.
  virtual int GetTextData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) = 0;
  virtual int GetTextConfig(unsigned char*, unsigned long*, unsigned long, unsigned long) { return 0; }
  virtual unsigned long GetSeekPointCount() { return 0; }
  virtual long GetParameter(unsigned long, void*, unsigned long long) { return 0; }
  virtual long SetParameter(unsigned long, void*, unsigned long long) { return 0; }
  virtual int OpenEx(IDataSource*, int) { return 0; }
  virtual int SeekEx(unsigned long, int, int, int, unsigned long long, int) { return 0; }

 protected:
  uint64_t mHostData;
};
static_assert(sizeof(IParser) == 16, "interface: vtable pointer and one word");

extern "C" {
/// A new parser, to be ended with `destroyParser`; null only when memory is out.
IParser* createParser();
/// Ends a parser; null is ignored. Call `IParser::Close` first if it was opened.
void destroyParser(IParser* parser);
}

#endif  // ZU_PARSER_AVI_IPARSER_H_
