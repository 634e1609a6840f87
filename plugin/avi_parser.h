#ifndef ZU_PLUGIN_AVI_PARSER_H_
#define ZU_PLUGIN_AVI_PARSER_H_

#include <memory>

#include "plugin/audio_path.h"
#include "plugin/track_table.h"
#include "plugin/video_path.h"
#include "source/source_reader.h"
#include "zu_parser_avi/iparser.h"

/// The parser as the host sees it: opens and closes, and hands each call to the path of its kind. Owns the file parser
/// always; the reader, the table's records and the carry-over buffers from Open to Close, for a parser destroyed
/// without Close leaves what Open made. The host's cells are read at the start of a delivery and written at its end.
class AVIParser : public IParser {
 public:
  AVIParser();
  const char* getName() override { return "AVIParser"; }
  int Open(IDataSource* source) override;
  int SetConfig() override { return 0; }
  int Notify(unsigned short /*event*/, unsigned long /*value*/) override { return 0; }
  int Close() override;

  int GetTrackCount() override { return mTracks.Count(); }
  int GetDurationMs(unsigned long* ms) override;
  TrackInfo* GetTrackInfo(unsigned long track) override { return mTracks.GetTrackInfo(track); }
  int GetAudioConfig(unsigned char* buf, unsigned long* len, unsigned long cap) override;
  int GetVideoConfig(unsigned char* buf, unsigned long* len, unsigned long cap) override;

  int GetAudioData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) override;
  int GetVideoData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen,
                   bool keyOnly) override;
  int GetTextData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) override;

  int Seek(unsigned long timeMs, int trackType, int seekMode) override;
  int SelectAudioTrack(int track) override;
  int SelectTextTrack(int track) override;
  unsigned int GetNextVideoKeyFrameTime(unsigned long timeMs) override;
  /// Seeks for fast forward. @return the time reached in milliseconds, 0 when the seek failed.
  unsigned int avi_parser_seek_ff(unsigned int timeMs, int trackType, int seekMode);
  /// The same for rewinding; the direction reaches the log only.
  unsigned int avi_parser_seek_rw(unsigned int timeMs, int trackType, int seekMode);

  /// Frees the carry-over buffers and forgets what the audio path knows.
  void ClearLocalData();

 private:
  void ReleaseOpenResources();
  unsigned int SeekAndRestart(unsigned int timeMs, int trackType, int seekMode, unsigned char bSeekForward);
  bool IsActive() const { return mFileParser && mSourceReader; }

  std::unique_ptr<CAVIFileParser> mFileParser;  // null after Close, for good
  AVISourceReader* mSourceReader = nullptr;     // owned, Close frees
  TrackTable mTracks;
  AudioPath mAudio;
  VideoPath mVideo;
};

#endif  // ZU_PLUGIN_AVI_PARSER_H_
