#define LOG_TAG "aviparser"
#include "base/log.h"
#include "plugin/avi_parser.h"

int AVIParser::Close() {
  AVI_LOGV("Call AVIParser Close");
  delete mFileParser;
  mFileParser = nullptr;
  ReleaseOpenResources();
  mTrackCount = 0;
  mDurationMs = 0;
  mAudioTracks.fill(-1);
  mTextTracks.fill(-1);
  mAudioCount = mTextCount = 0;
  mAudioIdx = mTextIdx = 0;
  mVideoTrack = -1;
  return 0;
}

void AVIParser::ReleaseOpenResources() {
  delete mSourceReader;
  mSourceReader = nullptr;
  delete[] mTrackInfos;
  mTrackInfos = nullptr;
  ClearLocalData();
}

void AVIParser::ClearLocalData() {
  AVI_LOGV("Call ClearLocalData");
  mMP3Buf.Free();
  mAC3Buf.Free();
  mPCMBuf.Free();
  mMP3FrameSize = mAC3FrameSize = mPCMBlockSize = 0;
  mMP3Timestamp = mAC3Timestamp = mPCMTimestamp = 0;
  mMP3Resync = mAC3Resync = 1;
  mMP3Framing = mAC3Framing = 0;
}
