#define LOG_TAG "aviparser"
#include <algorithm>

#include "base/log.h"
#include "plugin/avi_parser.h"

namespace {

/// Position of stream `track` among the first `count` entries of a list; -1.
template <typename List>
int32_t FindTrack(const List& list, int32_t count, int track) {
  const auto end = list.begin() + count;
  const auto found = std::find(list.begin(), end, track);
  return found == end ? -1 : static_cast<int32_t>(found - list.begin());
}

}  // namespace

int AVIParser::SelectAudioTrack(int track) {
  const int32_t found = FindTrack(mAudioTracks, mAudioCount, track);
  if (found < 0) {
    AVI_LOGE("Should not be HERE! set Default audio track");
    mAudioIdx = 0;
    return 0;
  }
  AVI_LOGV("Set AudioIdx %d, Track Index %d", found, track);
  mAudioIdx = found;
  // Derived again from the track's own headers.
  mMP3FrameSize = 0;
  const uint32_t codec = CodecOf(track);
  mMpegAudioMode = codec == AVI_CODEC_MP2 ? 2 : codec == AVI_CODEC_MP3 ? 3 : 0;
  ResetAudio();
  return 0;
}

int AVIParser::SelectTextTrack(int track) {
  const int32_t found = FindTrack(mTextTracks, mTextCount, track);
  if (found < 0) {
    AVI_LOGE("Should not be HERE! set Default Text track");
    mTextIdx = 0;
    return 0;
  }
  AVI_LOGV("Set mTextIdx %d, Track Index %d", found, track);
  mTextIdx = found;
  return 0;
}

void AVIParser::ResetAudio() {
  ClearAudioBuffers();
  RestartAudio();
}

void AVIParser::ClearAudioBuffers() {
  mMP3Buf.clear();
  mPCMBuf.clear();
  mAC3Buf.clear();
}

void AVIParser::RestartAudio() {
  mAudioRestart = true;
  mMP3Resync = mAC3Resync = 1;
}

int AVIParser::Seek(unsigned long timeMs, int trackType, int seekMode) {
  AVI_LOGV("Call Seek Start : %ld, TrackType %d SeekMode %d", static_cast<long>(timeMs), trackType, seekMode);
  if (!IsActive()) return 0;
  if (trackType == AVI_TRACK_AUDIO) ClearAudioBuffers();
  if (trackType == AVI_TRACK_VIDEO && mMpeg2Split) mMpeg2Resync = true;
  SeekAndRestart(static_cast<unsigned int>(timeMs), trackType, seekMode, 1);
  if (trackType == AVI_TRACK_AUDIO || trackType == AVI_TRACK_VIDEO) AVI_LOGV("Call Seek End");
  return 0;
}

unsigned int AVIParser::avi_parser_seek_ff(unsigned int timeMs, int trackType, int seekMode) {
  return IsActive() ? SeekAndRestart(timeMs, trackType, seekMode, 1) : 0;
}

unsigned int AVIParser::avi_parser_seek_rw(unsigned int timeMs, int trackType, int seekMode) {
  return IsActive() ? SeekAndRestart(timeMs, trackType, seekMode, 0) : 0;
}

unsigned int AVIParser::SeekAndRestart(unsigned int timeMs, int trackType, int seekMode, unsigned char bSeekForward) {
  unsigned int reached = 0;
  mFileParser->SetStartTime(timeMs, &reached, bSeekForward, trackType, seekMode);
  if (trackType == AVI_TRACK_AUDIO) RestartAudio();
  if (trackType == AVI_TRACK_VIDEO) mVideoRestart = true;
  return reached;
}

unsigned int AVIParser::GetNextVideoKeyFrameTime(unsigned long timeMs) {
  return IsActive() ? mFileParser->getNextKeyFrameTime(static_cast<unsigned int>(timeMs)) : 0;
}
