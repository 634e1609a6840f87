#ifndef ZU_PLUGIN_AVI_PARSER_H_
#define ZU_PLUGIN_AVI_PARSER_H_

#include <array>
#include <cstdint>

#include "avifile/avi_file_parser.h"
#include "plugin/carry_buffer.h"
#include "source/source_reader.h"
#include "zu_parser_avi/iparser.h"

/// The parser as the host sees it. Members marked "Close frees" outlive the destructor: a host closes first.
class AVIParser : public IParser {
 public:
  // entry.cpp
  AVIParser();
  AVIParser(const AVIParser&) = delete;
  AVIParser& operator=(const AVIParser&) = delete;
  ~AVIParser() override;
  const char* getName() override;

  // open.cpp
  int Open(IDataSource* source) override;
  int GetTrackCount() override { return mTrackCount; }
  int GetDurationMs(unsigned long* ms) override;
  TrackInfo* GetTrackInfo(unsigned long track) override;
  int GetAudioConfig(unsigned char* buf, unsigned long* len, unsigned long cap) override;
  int GetVideoConfig(unsigned char* buf, unsigned long* len, unsigned long cap) override;

  // audio_path.cpp, video_path.cpp, text_path.cpp
  int GetAudioData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) override;
  int GetVideoData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen,
                   bool keyOnly) override;
  int GetTextData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) override;

  // track_select.cpp
  int Seek(unsigned long timeMs, int trackType, int seekMode) override;
  int SelectAudioTrack(int track) override;
  int SelectTextTrack(int track) override;
  unsigned int GetNextVideoKeyFrameTime(unsigned long timeMs) override;
  /// Seeks for fast forward. @return the time reached in milliseconds, 0 when the seek failed.
  unsigned int avi_parser_seek_ff(unsigned int timeMs, int trackType, int seekMode);
  /// The same for rewinding; the direction reaches the log only.
  unsigned int avi_parser_seek_rw(unsigned int timeMs, int trackType, int seekMode);

  // lifecycle.cpp
  int SetConfig() override { return 0; }
  int Notify(unsigned short /*event*/, unsigned long /*value*/) override { return 0; }
  int Close() override;
  /// Frees the carry-over buffers and forgets the framers' state.
  void ClearLocalData();

 private:
  struct SSyncFramer;  // sync_framer.h

  // open.cpp
  void ResetOpenState();
  void ReleaseOpenResources();
  void ListTracks();
  int SelectedAudio() const { return mAudioIdx < mAudioCount ? mAudioTracks[static_cast<size_t>(mAudioIdx)] : -1; }
  int SelectedText() const { return mTextIdx < mTextCount ? mTextTracks[static_cast<size_t>(mTextIdx)] : -1; }
  bool IsActive() const { return mFileParser && mSourceReader; }

  // track_map.cpp
  void MapTrackInfos();
  void MapVideo(TrackInfo* record);
  void MapAudio(int stream, TrackInfo* record);
  void MapAudioCodec(int stream, TrackInfo* record);
  void MapMpegAudio(uint32_t mode);
  void MapPcm();
  /// The stream's record; null for a stream number out of range.
  const TrackInfo* Track(int stream) const {
    return mTrackInfos && stream >= 0 && stream < mTrackCount ? &mTrackInfos[stream] : nullptr;
  }
  uint32_t CodecOf(int stream) const {
    const TrackInfo* track = Track(stream);
    return track ? track->nCodecId : 0;
  }

  // track_select.cpp
  void ResetAudio();
  void ClearAudioBuffers();
  void RestartAudio();
  unsigned int SeekAndRestart(unsigned int timeMs, int trackType, int seekMode, unsigned char bSeekForward);

  // video_path.cpp
  int avi_parser_get_video_data(unsigned char* buf, unsigned int* len, unsigned int* timestampMs, unsigned int maxLen,
                                bool keyOnly);
  int ReadFirstVideo(unsigned char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen, bool keyOnly);
  int ReadNextVideo(unsigned char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen, bool keyOnly);
  void DropBFrameAfterFirst(const unsigned char* buf, unsigned int* len);
  int PullVideo(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned int maxLen, bool keyOnly);
  void PrependConfig(unsigned char* buf, unsigned long* len, unsigned int maxLen);
  int ResyncSplitVideo(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned int maxLen, bool keyOnly);

  // audio_path.cpp
  int avi_parser_get_audio_data(unsigned char* buf, unsigned int* len, unsigned int* timestampMs, unsigned int maxLen);
  int ReadFirstAudio(int stream, char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen);
  int ReadNextAudio(int stream, char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen);
  int PullChunk(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned int maxLen);
  /// Reads one chunk behind what `buffer` holds and `kept` bytes more; the caller appends it.
  /// @return 0; AVI_END_OF_STREAM after logging `endText`; a fatal code after logging `name`. `*len` is 0 then.
  int ReadIntoCarry(CarryBuffer* buffer, size_t kept, const char* name, const char* endText, unsigned long* len,
                    unsigned long* ts, unsigned int maxLen);
  int GetFramed(int (AVIParser::*get)(unsigned char*, unsigned long*, unsigned long*, unsigned long),
                const char* endText, unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen);

  // sync_framer.cpp
  int GetSyncFrame(const SSyncFramer& framer, unsigned char* out, unsigned long* len, unsigned long* ts,
                   unsigned int maxLen);
  int CutFromCarry(const SSyncFramer& framer, unsigned char* out, unsigned long* len, unsigned int maxLen,
                   uint8_t* nextByte1);
  int FindSync(const SSyncFramer& framer, unsigned long* len, unsigned long* ts, unsigned int maxLen);
  static unsigned long CopyFrame(const unsigned char* frame, uint64_t held, uint64_t size, unsigned char* out,
                                 unsigned long maxLen, const char* name);

  // mpeg_audio_framer.cpp
  int GetMpegAudioData(unsigned char* out, unsigned long* len, unsigned long* timestampMs, unsigned long maxLen);
  int DetectedMp3StartCode(unsigned char* buf, unsigned long* len);
  int GetMp3Data(unsigned char* buf, unsigned long* bufLen, unsigned char* out, unsigned long* outLen,
                 unsigned long maxLen, uint64_t* removed);
  bool AcceptsMpegHeader(const unsigned char* header) const;
  uint64_t MpegBufferedTime(int cut, uint8_t nextByte1, uint64_t hostTime) const;

  // ac3_framer.cpp
  int GetAC3AudioData(unsigned char* out, unsigned long* len, unsigned long* timestampMs, unsigned long maxLen);
  int DetectedAC3StartCode(unsigned char* buf, unsigned long* len);
  int GetAC3Data(unsigned char* buf, unsigned long* bufLen, unsigned char* out, unsigned long* outLen,
                 unsigned long maxLen, uint64_t* removed);
  int FindAC3Sync(unsigned char* buf, uint64_t* start, uint64_t end);
  bool TakeAC3Header(const unsigned char* front, const unsigned char* sync, uint64_t held);
  void TakeEAC3Header(const unsigned char* front, uint8_t rateCode, bool swapped);
  uint64_t Ac3BufferedTime(int cut, uint8_t nextByte1, uint64_t hostTime) const;

  // pcm_blocks.cpp
  int GetPCMData(unsigned char* buf, unsigned long* len, unsigned long* timestampMs, unsigned long maxLen);
  void SetPcmBlockSize(uint64_t chunkSize);
  unsigned long DeliverPcmBlock(unsigned char* buf, unsigned int maxLen);
  uint64_t PcmDuration(uint64_t bytes) const;

  // text_path.cpp
  int avi_parser_get_text_data(unsigned char* buf, unsigned int* len, unsigned int* timestampMs, unsigned int maxLen);

  CAVIFileParser* mFileParser = nullptr;     // owned; Close or the destructor frees
  AVISourceReader* mSourceReader = nullptr;  // owned, Close frees
  TrackInfo* mTrackInfos = nullptr;          // owned, mTrackCount records, Close frees
  int32_t mTrackCount = 0;
  uint32_t mDurationMs = 0;
  SAVIInfo mMoviInfo{};

  // Which streams there are of each kind, and which are played.
  std::array<int32_t, AVI_MAX_AUDIO_TRACKS> mAudioTracks;
  std::array<int32_t, AVI_MAX_TEXT_TRACKS> mTextTracks;
  int32_t mAudioCount = 0, mTextCount = 0;
  int32_t mAudioIdx = 0, mTextIdx = 0;
  int32_t mVideoTrack = -1;

  // Video.
  bool mVideoRestart = true;       // the next read is the first after open or a seek
  bool mVideoConfigReady = false;  // the host has taken the whole configuration
  bool mCheckBFrame = false;       // examine the frame that follows the first one
  bool mMpeg2Split = false;        // latched
  bool mMpeg2Resync = true;        // skip to an I picture
  bool mMpeg2DropB = false;        // drop pictures until a P picture

  // Audio.
  bool mAudioRestart = true;
  uint32_t mMpegAudioMode = 0;  // layer of the MPEG audio track: 2, 3, or 0
  CarryBuffer mMP3Buf;          // Close frees
  uint64_t mMP3FrameSize = 0;   // bytes
  uint64_t mMP3Timestamp = 0;   // milliseconds, of the last frame delivered
  uint8_t mMP3Resync = 1;       // search for a header across chunks
  uint8_t mMP3Framing = 0;      // chunks have been seen not to be frames
  CarryBuffer mAC3Buf;          // Close frees
  uint64_t mAC3FrameSize = 0;
  uint64_t mAC3Timestamp = 0;
  uint8_t mAC3Resync = 1;
  uint8_t mAC3Framing = 0;
  CarryBuffer mPCMBuf;         // Close frees
  uint64_t mPCMBlockSize = 0;  // bytes
  uint64_t mPCMTimestamp = 0;
};

/// A host's 64-bit length as the 32 bits that the inner operations take.
inline uint32_t ClampLength(unsigned long length) {
  return length > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(length);
}

/// Statuses that end an operation; the others become a success without data.
inline bool IsFatal(int status) {
  return status == AVI_OUT_OF_MEMORY || status == AVI_TOO_MANY_EMPTY_CHUNKS || status == AVI_IO_ERROR;
}

#endif  // ZU_PLUGIN_AVI_PARSER_H_
