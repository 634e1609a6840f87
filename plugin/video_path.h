#ifndef ZU_PLUGIN_VIDEO_PATH_H_
#define ZU_PLUGIN_VIDEO_PATH_H_

#include "plugin/delivery.h"

/// Video on its way to the host. Owns what has to be remembered between pictures; relies on Restart whenever the file's
/// cursor was moved.
class VideoPath {
 public:
  /// Configuration of the track, at most `out->maxLen` bytes; the length, which stays as it was where the file has
  /// none, tells the full size. Once taken whole it is no longer put in front of pictures.
  void GetVideoConfig(const STrackInput& in, SDelivery* out);
  /// One access unit, as IParser::GetVideoData gives it; length and time go in as the host's.
  int GetVideoData(const STrackInput& in, SDelivery* out, bool keyOnly);
  /// Reads one chunk. The end has AVI_END_MARK as length and time. Without a track: length 0, time 0.
  /// @return 0, also when nothing could be read for now, with length 0; a fatal status.
  inline int avi_parser_get_video_data(const STrackInput& in, SDelivery* out, bool keyOnly);

  /// The next read is the first at its place.
  void Restart() { mVideoRestart = true; }
  /// Split video skips to an I picture again. Fast forward and rewind do not ask for this.
  void Resync() { mMpeg2Resync |= mMpeg2Split; }
  /// Makes everything anew but mVideoConfigReady.
  void Clear();

 private:
  // The inline ones are on the way of every unit, and defined in the body, which alone calls them.
  int ReadFirst(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly);
  inline int ReadNext(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly);
  static inline int ReadFrame(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly);
  static int RetryNext(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly);
  void DropBFrameAfterFirst(const STrackInput& in, SDelivery* out);
  inline int PullVideo(const STrackInput& in, SDelivery* out, bool keyOnly);
  void PrependConfig(const STrackInput& in, SDelivery* out);
  /// Drops the picture in `out` as long as its kind cannot be decoded, and reads on for an I picture if one is due.
  int ResyncSplitVideo(const STrackInput& in, SDelivery* out, bool keyOnly);

  bool mVideoRestart = true;  // the next read is the first after open or a seek
  bool mVideoConfigReady =
      false;                  // the host has taken the whole configuration; outlives a second open: it still has it
  bool mCheckBFrame = false;  // examine the frame that follows the first one
  bool mMpeg2Split = false;   // latched
  bool mMpeg2Resync = true;   // skip to an I picture
  bool mMpeg2DropB = false;   // drop pictures until a P picture; no seek ends this
};

#endif  // ZU_PLUGIN_VIDEO_PATH_H_
