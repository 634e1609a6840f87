#ifndef ZU_AVIFILE_SEEKER_H_
#define ZU_AVIFILE_SEEKER_H_

#include <cstdint>

#include "avifile/byte_sums.h"
#include "avifile/movie.h"

/// Puts the cursors of streams at a time. Owns nothing, and is given no file: it reads nothing but the indexes in
/// memory. An audio seek makes a stream's byte sums, which the stream keeps. There are two forms of seeking that differ
/// in every rule: by kind of track, and of all streams at once.
class Seeker {
 public:
  explicit Seeker(const SMovie& movie) : m_Movie(movie) {}

  // Times in ms. @param pdwStartTime [out, may be null] time reached.
  // @return AVI_OK; AVI_ERROR, no cursor moved: without an index only time 0 can be reached.

  /// Positions the streams of one kind. @param nTrackType 1 video, 2 audio; any other moves nothing.
  /// @param bSeekForward  reaches only the log. @param nSeekMode  as in SeekVideoKeyFrame.
  int SetStartTime(uint32_t dwTime, uint32_t* pdwStartTime, unsigned char bSeekForward, int nTrackType, int nSeekMode);
  /// Positions all streams, audio at the time that video reached.
  int SetStartTime(uint32_t dwTime, uint32_t* pdwStartTime, unsigned char bSeekForward);

  /// Entry of the key frame to start from. @param nSeekMode 0 the one at or before `dwTime`; 2 and 3 the nearer one;
  /// else the one at or after it. @return 0 for a stream without entries.
  uint32_t SeekVideoKeyFrame(uint32_t dwTime, int stream, int nSeekMode, unsigned char bSeekForward) const;
  /// Time of the first key frame at or after `dwTime`; of several video streams the last one answers. 0 without an
  /// index.
  uint32_t getNextKeyFrameTime(uint32_t dwTime) const;

  // An audio seek in MPEG audio rewrites the sample size in the stream's header: it becomes the bytes in a frame.

 private:
  int SeekWithoutIndex(uint32_t dwTime, uint32_t* pdwStartTime);
  void SeekAudioStream(int stream, SAVIStream* record, uint32_t dwTime);
  void SeekVideoStream(int stream, SAVIStream* record, uint32_t dwTime, unsigned char bSeekForward, int nSeekMode,
                       uint32_t* time);
  static void SeekAllVideoStream(SAVIStream* record, unsigned char bSeekForward, uint32_t* time);
  /// @param bytes [in, out] the sum that earlier streams left. @return false when the position is the stream's end.
  static bool SeekAllAudioStream(SAVIStream* record, uint32_t time, uint64_t* bytes);
  static uint32_t FindAllCbrIndex(SAVIStream* record, uint32_t time, uint64_t* bytes);
  void MoveAllToEnd();

  const SMovie& m_Movie;
};

#endif  // ZU_AVIFILE_SEEKER_H_
