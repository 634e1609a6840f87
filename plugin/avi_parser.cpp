#define LOG_TAG "aviparser"
#include "plugin/avi_parser.h"

#include <cstdlib>
#include <new>

#include "base/log.h"
#include "platform/properties.h"
#include "plugin/text_path.h"

namespace {

int ReadDebugLevel() {
  char value[kPropertyBytes] = {};
  property_get("zucp.debug.level", value, "1");
  return std::atoi(value);  // NOLINT(cert-err34-c): anything that is no number means silence
}

}  // namespace

AVIParser::AVIParser() {
  SetDebugLevel(ReadDebugLevel());  // of all parsers in the process: the last one made sets it
  mFileParser.reset(new (std::nothrow) CAVIFileParser);
  mTracks.Clear(mFileParser.get());
}

int AVIParser::Open(IDataSource* source) {
  AVI_LOGD("[%s] Open", getName());
  if (!mFileParser || !source) return AVI_OPEN_FAILED;
  if (mSourceReader) {  // an earlier open without a close in between
    mFileParser->Destroy();
    ReleaseOpenResources();
  }
  source->Prepare();
  source->SetPosition(0, 0);
  mSourceReader = new (std::nothrow) AVISourceReader(source);
  if (!mSourceReader) return AVI_OPEN_FAILED;
  mFileParser->Init(mSourceReader);
  if (!mFileParser->ParseAVI(0)) {
    AVI_LOGV("[ERROR] mFileParser->ParseAVI");
    return AVI_OPEN_FAILED;
  }
  if (mFileParser->GetStreamNum() < 1) return 0;
  if (!mTracks.ListTracks(*mFileParser)) return AVI_OPEN_FAILED;
  unsigned int reached = 0;
  mFileParser->SetStartTime(0, &reached, 0);
  mTracks.MapTrackInfos(mFileParser.get(), &mAudio);
  return 0;
}

int AVIParser::Close() {
  AVI_LOGV("Call AVIParser Close");
  mFileParser.reset();
  ReleaseOpenResources();
  return 0;
}

void AVIParser::ReleaseOpenResources() {
  delete mSourceReader;
  mSourceReader = nullptr;
  mTracks.Clear(mFileParser.get());
  mVideo.Clear();
  ClearLocalData();
}

void AVIParser::ClearLocalData() {
  AVI_LOGV("Call ClearLocalData");
  mAudio.Clear();
}

int AVIParser::GetDurationMs(unsigned long* ms) {
  *ms = mTracks.DurationMs();
  return 0;
}

int AVIParser::GetAudioConfig(unsigned char* buf, unsigned long* len, unsigned long cap) {
  const int stream = mTracks.Audio().stream;
  if (stream < 0) {
    *len = 0;
    return AVI_ERROR;
  }
  uint32_t length = static_cast<uint32_t>(*len);
  const bool found = mFileParser->GetAudioSpecificInfo(stream, buf, &length, ClampLength(cap));
  *len = length;
  return found && length <= cap ? 0 : AVI_ERROR;
}

int AVIParser::GetVideoConfig(unsigned char* buf, unsigned long* len, unsigned long cap) {
  SDelivery config{buf, buf ? ClampLength(cap) : 0, 0, 0};
  if (mFileParser) {
    config.len = static_cast<uint32_t>(*len);
    mVideo.GetVideoConfig(mTracks.Video(), &config);
  }
  *len = config.len;
  return 0;
}

int AVIParser::GetAudioData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) {
  SDelivery unit{buf, ClampLength(maxLen), 0, *ts};
  const STrackInput in = mTracks.Audio();
  const int status = mAudio.GetAudioData(in, &unit);
  *len = unit.len;
  *ts = unit.time;
  return status;
}

int AVIParser::GetVideoData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen,
                            bool keyOnly) {
  SDelivery unit{buf, ClampLength(maxLen), static_cast<uint32_t>(*len), *ts};
  const STrackInput in = mTracks.Video();
  const int status = mVideo.GetVideoData(in, &unit, keyOnly);
  *len = unit.len;
  *ts = unit.time;
  return status;
}

int AVIParser::GetTextData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) {
  const STrackInput in = mTracks.Text();
  int status = 0;
  // Without a text track the host's cells stay as they are.
  if (in.Codec() == AVI_CODEC_TEXT) {
    // No time is read from the file: the host gets its own back, unless it is the end mark.
    const uint32_t time = static_cast<uint32_t>(*ts);
    SDelivery unit{buf, ClampLength(maxLen), 0, time == AVI_END_MARK ? 0 : time};
    status = TextPath::GetTextData(in, &unit);
    *len = unit.len;
    *ts = unit.time;
  }
  if (status == 0) {
    AVI_LOGV("[GetTextData] *pLen :%ld, *pTimestampMs :%ld ", static_cast<long>(*len), static_cast<long>(*ts));
  }
  return status;
}

int AVIParser::Seek(unsigned long timeMs, int trackType, int seekMode) {
  AVI_LOGV("Call Seek Start : %ld, TrackType %d SeekMode %d", static_cast<long>(timeMs), trackType, seekMode);
  if (!IsActive()) return 0;
  if (trackType == AVI_TRACK_AUDIO) mAudio.ResetAudio();
  if (trackType == AVI_TRACK_VIDEO) mVideo.Resync();
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
  if (trackType == AVI_TRACK_AUDIO) mAudio.Restart();
  if (trackType == AVI_TRACK_VIDEO) mVideo.Restart();
  return reached;
}

int AVIParser::SelectAudioTrack(int track) {
  if (mTracks.SelectAudioTrack(track)) mAudio.SelectTrack(mTracks.Audio().Codec());
  return 0;
}

int AVIParser::SelectTextTrack(int track) {
  mTracks.SelectTextTrack(track);
  return 0;
}

unsigned int AVIParser::GetNextVideoKeyFrameTime(unsigned long timeMs) {
  return IsActive() ? mFileParser->getNextKeyFrameTime(static_cast<unsigned int>(timeMs)) : 0;
}
