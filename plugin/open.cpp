#define LOG_TAG "aviparser"
#include <new>

#include "base/log.h"
#include "plugin/avi_parser.h"

int AVIParser::Open(IDataSource* source) {
  AVI_LOGD("[%s] Open", getName());
  if (!mFileParser || !source) return AVI_OPEN_FAILED;
  ResetOpenState();
  source->Prepare();
  source->SetPosition(0, 0);
  mSourceReader = new (std::nothrow) AVISourceReader(source);
  if (!mSourceReader) return AVI_OPEN_FAILED;
  mFileParser->Init(mSourceReader);
  if (!mFileParser->ParseAVI(0)) {
    AVI_LOGV("[ERROR] mFileParser->ParseAVI");
    return AVI_OPEN_FAILED;
  }
  const int streams = mFileParser->GetStreamNum();
  if (streams < 1) return 0;
  mTrackInfos = new (std::nothrow) TrackInfo[static_cast<size_t>(streams)]();
  if (!mTrackInfos) return AVI_OPEN_FAILED;
  mTrackCount = streams;
  ListTracks();
  unsigned int reached = 0;
  mFileParser->SetStartTime(0, &reached, 0);
  MapTrackInfos();
  return 0;
}

void AVIParser::ResetOpenState() {
  // An earlier open without a close in between leaves the reader, the records and the buffers behind.
  if (mSourceReader) {
    mFileParser->Destroy();
    ReleaseOpenResources();
  }
  mAudioTracks.fill(-1);
  mTextTracks.fill(-1);
  mAudioCount = mTextCount = 0;
  mAudioIdx = mTextIdx = 0;
  mVideoTrack = -1;
  mTrackCount = 0;
  mDurationMs = 0;
  mAudioRestart = mVideoRestart = true;
  mCheckBFrame = false;
  mMpeg2Split = mMpeg2DropB = false;
  mMpeg2Resync = true;
  mMpegAudioMode = 0;
  mMP3FrameSize = mAC3FrameSize = mPCMBlockSize = 0;
  mMP3Timestamp = mAC3Timestamp = mPCMTimestamp = 0;
  mMP3Resync = mAC3Resync = 1;
  mMP3Framing = mAC3Framing = 0;
}

void AVIParser::ListTracks() {
  for (int stream = 0; stream < mTrackCount; ++stream) {
    const uint32_t type = mFileParser->GetStreamType(stream);
    if (IsAudioStreamType(type)) {
      if (mAudioCount < AVI_MAX_AUDIO_TRACKS) mAudioTracks[static_cast<size_t>(mAudioCount++)] = stream;
    } else if (type == STREAM_TYPE_SUBTITLE) {
      if (mTextCount < AVI_MAX_TEXT_TRACKS) mTextTracks[static_cast<size_t>(mTextCount++)] = stream;
    } else if (mVideoTrack == -1) {
      mVideoTrack = stream;  // an unsupported stream too: the first one that is neither audio nor text
    }
  }
}

int AVIParser::GetDurationMs(unsigned long* ms) {
  *ms = mDurationMs;
  return 0;
}

TrackInfo* AVIParser::GetTrackInfo(unsigned long track) {
  if (!mTrackInfos) {
    AVI_LOGE("mTrackInfos cleared");
    return nullptr;
  }
  return mTrackInfos + track;
}

int AVIParser::GetAudioConfig(unsigned char* buf, unsigned long* len, unsigned long cap) {
  if (!mFileParser || SelectedAudio() < 0) {
    *len = 0;
    return AVI_ERROR;
  }
  uint32_t length = static_cast<uint32_t>(*len);
  const bool found = mFileParser->GetAudioSpecificInfo(SelectedAudio(), buf, &length, ClampLength(cap));
  *len = length;
  return found && length <= cap ? 0 : AVI_ERROR;
}

int AVIParser::GetVideoConfig(unsigned char* buf, unsigned long* len, unsigned long cap) {
  if (!mFileParser) {
    *len = 0;
    return 0;
  }
  const uint32_t room = buf ? ClampLength(cap) : 0;
  uint32_t length = static_cast<uint32_t>(*len);
  mFileParser->GetVideoSpecificInfo(mVideoTrack, buf, &length, room);
  *len = length;
  AVI_LOGV("[GetVideoConfig] *pLen:%ld", static_cast<long>(*len));
  if (length >= 1 && length <= room) mVideoConfigReady = true;
  return 0;
}
