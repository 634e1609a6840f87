#define LOG_TAG "aviparser"
#include "avifile/format_fields.h"
#include "base/checked_math.h"
#include "base/log.h"
#include "plugin/avi_parser.h"

namespace {

struct SCodecId {
  uint32_t nStreamType, nCodecId;
};

// Codecs without a row have no number: 0.
constexpr SCodecId kVideoCodecIds[] = {
    {STREAM_TYPE_UNKNOWN, AVI_CODEC_UNKNOWN_VIDEO},
    {STREAM_TYPE_MPEG4, AVI_CODEC_MPEG4},
    {STREAM_TYPE_DIVX5, AVI_CODEC_DIVX5},
    {STREAM_TYPE_DIVX, AVI_CODEC_DIVX},
    {STREAM_TYPE_DIVX3, AVI_CODEC_DIVX3},
    {STREAM_TYPE_XVID, AVI_CODEC_XVID},
    {STREAM_TYPE_WMV3, AVI_CODEC_WMV3},
    {STREAM_TYPE_MJPEG, AVI_CODEC_MJPEG},
    {STREAM_TYPE_H264, AVI_CODEC_H264},
    {STREAM_TYPE_H263, AVI_CODEC_H263},
    {STREAM_TYPE_VP6, AVI_CODEC_VP6},
    {STREAM_TYPE_VP7, AVI_CODEC_VP7},
    {STREAM_TYPE_VP8, AVI_CODEC_VP8},
    {STREAM_TYPE_MP42, AVI_CODEC_MP42},
    {STREAM_TYPE_MPEG2, AVI_CODEC_MPEG12},
    {STREAM_TYPE_MPEG1, AVI_CODEC_MPEG12},
    {STREAM_TYPE_MP4V, AVI_CODEC_MP4V},
    {STREAM_TYPE_THEORA, AVI_CODEC_THEORA},
    {STREAM_TYPE_VC1, AVI_CODEC_VC1},
    {STREAM_TYPE_MP43, AVI_CODEC_MP43},
    {STREAM_TYPE_DXMF, AVI_CODEC_DXMF},
    {STREAM_TYPE_WMV1, AVI_CODEC_WMV1},
    {STREAM_TYPE_WMV2, AVI_CODEC_WMV2},
    {STREAM_TYPE_VP9, AVI_CODEC_VP9},
};
constexpr SCodecId kAudioCodecIds[] = {
    {STREAM_TYPE_AUDIO_UNKNOWN, AVI_CODEC_PCM},
    {STREAM_TYPE_MP3, AVI_CODEC_MP3},
    {STREAM_TYPE_AC3, AVI_CODEC_AC3},
    {STREAM_TYPE_WMA2, AVI_CODEC_WMA2},
    {STREAM_TYPE_PCM, AVI_CODEC_PCM},
    {STREAM_TYPE_AUDIO_133, AVI_CODEC_AUDIO_215},
    {STREAM_TYPE_AAC, AVI_CODEC_AAC},
    {STREAM_TYPE_MPEG_AUDIO, AVI_CODEC_MP2},
    {STREAM_TYPE_MS_ADPCM, AVI_CODEC_ADPCM},
    {STREAM_TYPE_ALAW, AVI_CODEC_ALAW},
    {STREAM_TYPE_MULAW, AVI_CODEC_MULAW},
    {STREAM_TYPE_OKI_ADPCM, AVI_CODEC_ADPCM},
    {STREAM_TYPE_IMA_ADPCM, AVI_CODEC_ADPCM},
    {STREAM_TYPE_ADPCM_0012, AVI_CODEC_ADPCM},
    {STREAM_TYPE_DTS, AVI_CODEC_DTS},
    {STREAM_TYPE_AAC_RAW, AVI_CODEC_AAC},
    {STREAM_TYPE_EXTENSIBLE, AVI_CODEC_PCM},
    {STREAM_TYPE_WMA1, AVI_CODEC_WMA1},
    {STREAM_TYPE_AUDIO_0045, AVI_CODEC_AUDIO_0045},
};

template <size_t N>
uint32_t CodecIdOf(const SCodecId (&table)[N], uint32_t type) {
  for (const SCodecId& row : table) {
    if (row.nStreamType == type) return row.nCodecId;
  }
  return AVI_CODEC_NONE;
}

}  // namespace

void AVIParser::MapTrackInfos() {
  AVI_LOGV("Call MapTrackInfos Start");
  for (int stream = 0; stream < mTrackCount; ++stream) {
    mMoviInfo = {};
    mFileParser->GetMoviInfo(&mMoviInfo, stream);
    TrackInfo* record = &mTrackInfos[stream];
    if ((mMoviInfo.bHasVideo || mMoviInfo.bHasAudio) && mDurationMs == 0) mDurationMs = mMoviInfo.dwDuration;
    if (mMoviInfo.bHasVideo) MapVideo(record);
    if (mMoviInfo.bHasAudio) MapAudio(stream, record);
  }
  AVI_LOGV("Call MapTrackInfos End");
}

void AVIParser::MapVideo(TrackInfo* record) {
  record->nTrackType = AVI_TRACK_VIDEO;
  record->video.bSeekable = mMoviInfo.bIndexed;
  if (mMoviInfo.dwVideoType == STREAM_TYPE_SUBTITLE) {
    record->nTrackType = AVI_TRACK_TEXT;
    record->nCodecId = AVI_CODEC_TEXT;
    record->text.bSubtitle = mMoviInfo.bSubtitle;
    record->text.bSubtitleAlpha = mMoviInfo.bSubtitleAlpha;
    record->text.pSubtitleName = mMoviInfo.pSubtitleName;
    return;
  }
  record->nCodecId = CodecIdOf(kVideoCodecIds, mMoviInfo.dwVideoType);
  record->video.nWidth = mMoviInfo.wWidth;
  record->video.nHeight = mMoviInfo.wHeight;
  record->video.nFrameRate = static_cast<uint32_t>(mMoviInfo.nFrameRate);
}

void AVIParser::MapAudio(int stream, TrackInfo* record) {
  record->nTrackType = AVI_TRACK_AUDIO;
  record->audio.bSeekable = mMoviInfo.bIndexed;
  MapAudioCodec(stream, record);
  record->audio.nChannels = mMoviInfo.dwChannels;
  record->audio.nSampleRate = mMoviInfo.dwSampleRate;
  record->audio.nBitsPerSample = mMoviInfo.dwBitsPerSample;
  record->audio.nBitRate = mMoviInfo.dwAudioBitRate;
  record->audio.nBlockAlign = static_cast<uint16_t>(mMoviInfo.dwBlockAlign);
  if (mMoviInfo.dwExtraSize == 0) return;
  record->audio.nExtraSize = static_cast<uint16_t>(mMoviInfo.dwExtraSize);
  record->audio.pExtraData = mMoviInfo.pExtraData;
  AVI_LOGV("Avi audio info extra data : %d", static_cast<int>(mMoviInfo.dwExtraSize));
}

void AVIParser::MapAudioCodec(int stream, TrackInfo* record) {
  record->nCodecId = CodecIdOf(kAudioCodecIds, mMoviInfo.dwAudioType);
  switch (mMoviInfo.dwAudioType) {
    case STREAM_TYPE_MP3:
      MapMpegAudio(3);
      break;
    case STREAM_TYPE_MPEG_AUDIO:
      MapMpegAudio(2);
      break;
    case STREAM_TYPE_AC3: {
      const int eac3 = mFileParser->CheckIsEAC3(stream);
      if (eac3 == 1) {
        record->nCodecId = AVI_CODEC_EAC3;
      } else if (eac3 != 0) {
        AVI_LOGW("MapTrackInfos: checking EAC3 logic fail - but processing as AC3 [%d]", eac3);
      }
      mAC3Buf.Allocate();
      break;
    }
    case STREAM_TYPE_AUDIO_UNKNOWN:
    case STREAM_TYPE_PCM:
    case STREAM_TYPE_EXTENSIBLE:
      if (mMoviInfo.dwAudioBitRate / 8 >= mMoviInfo.dwSampleRate) {
        MapPcm();
      } else {
        AVI_LOGE("PCM AUDIO haven't normal parametera so Disable Audio Track");
        record->nCodecId = AVI_CODEC_AUDIO_DISABLED;
      }
      break;
    case STREAM_TYPE_MULAW:
      MapPcm();
      break;
    default:
      break;
  }
}

void AVIParser::MapPcm() {
  mPCMBuf.Allocate();
  mPCMBlockSize = AVI_PCM_BLOCK;
}

void AVIParser::MapMpegAudio(uint32_t mode) {
  const uint32_t rate = mMoviInfo.dwSampleRate;
  const uint32_t bitRate = mMoviInfo.dwAudioBitRate;
  const bool mpeg1 = IsMpeg1SampleRate(rate);
  // Samples per frame over samples per second, times bytes per second; Layer II: over eight from the start.
  const uint32_t product = rate == 0   ? 0
                           : mode == 2 ? CheckedMul<uint32_t>(bitRate, 144u)
                                       : CheckedMul<uint32_t>(bitRate / 8, mpeg1 ? 1152u : 576u);
  mMP3FrameSize = rate ? product / rate : 0;
  mMpegAudioMode = mode;
  if (mode == 2) {
    AVI_LOGV("check MPEG1/2 layer2 mMP3FrameSize[samplingRate:%ld] : %ld", static_cast<long>(rate),
             static_cast<long>(mMP3FrameSize));
  } else if (mpeg1) {
    AVI_LOGV("check MPEG1 layer3 mMP3FrameSize[samplingRate:%ld] : %ld", static_cast<long>(rate),
             static_cast<long>(mMP3FrameSize));
  } else {
    AVI_LOGV("check MPEG2 layer3 mMP3FrameSize[samplingRate:%ld] : %ld", static_cast<long>(rate),
             static_cast<long>(mMP3FrameSize));
  }
  mMP3Buf.Allocate();
}
