#define LOG_TAG "aviparser"
#include "plugin/track_table.h"

#include <new>

#include "base/log.h"
#include "plugin/audio_path.h"

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

void MapVideo(const SAVIInfo& info, TrackInfo* record) {
  record->nTrackType = AVI_TRACK_VIDEO;
  record->video.bSeekable = info.bIndexed;
  if (info.dwVideoType == STREAM_TYPE_SUBTITLE) {
    record->nTrackType = AVI_TRACK_TEXT;
    record->nCodecId = AVI_CODEC_TEXT;
    record->text.bSubtitle = info.bSubtitle;
    record->text.bSubtitleAlpha = info.bSubtitleAlpha;
    record->text.pSubtitleName = info.pSubtitleName;
    return;
  }
  record->nCodecId = CodecIdOf(kVideoCodecIds, info.dwVideoType);
  record->video.nWidth = info.wWidth;
  record->video.nHeight = info.wHeight;
  record->video.nFrameRate = static_cast<uint32_t>(info.nFrameRate);
}

/// The stream's codec id; `audio` gets ready for it.
uint32_t MapAudioCodec(CAVIFileParser* file, int stream, const SAVIInfo& info, AudioPath* audio) {
  switch (info.dwAudioType) {
    case STREAM_TYPE_MP3:
      audio->PrepareMpegAudio(3, info.dwSampleRate, info.dwAudioBitRate);
      break;
    case STREAM_TYPE_MPEG_AUDIO:
      audio->PrepareMpegAudio(2, info.dwSampleRate, info.dwAudioBitRate);
      break;
    case STREAM_TYPE_AC3: {
      audio->PrepareAc3();
      const int eac3 = file->CheckIsEAC3(stream);
      if (eac3 == 1) return AVI_CODEC_EAC3;
      if (eac3 != 0) AVI_LOGW("MapTrackInfos: checking EAC3 logic fail - but processing as AC3 [%d]", eac3);
      break;
    }
    case STREAM_TYPE_AUDIO_UNKNOWN:
    case STREAM_TYPE_PCM:
    case STREAM_TYPE_EXTENSIBLE:
      if (info.dwAudioBitRate / 8 < info.dwSampleRate) {
        AVI_LOGE("PCM AUDIO haven't normal parametera so Disable Audio Track");
        return AVI_CODEC_AUDIO_DISABLED;
      }
      [[fallthrough]];
    case STREAM_TYPE_MULAW:
      audio->PreparePcm();
      break;
    default:
      break;
  }
  return CodecIdOf(kAudioCodecIds, info.dwAudioType);
}

void MapAudio(const SAVIInfo& info, uint32_t codec, TrackInfo* record) {
  record->nTrackType = AVI_TRACK_AUDIO;
  record->nCodecId = codec;
  record->audio.bSeekable = info.bIndexed;
  record->audio.nChannels = info.dwChannels;
  record->audio.nSampleRate = info.dwSampleRate;
  record->audio.nBitsPerSample = info.dwBitsPerSample;
  record->audio.nBitRate = info.dwAudioBitRate;
  record->audio.nBlockAlign = static_cast<uint16_t>(info.dwBlockAlign);
  if (info.dwExtraSize == 0) return;
  record->audio.nExtraSize = static_cast<uint16_t>(info.dwExtraSize);
  record->audio.pExtraData = info.pExtraData;
  AVI_LOGV("Avi audio info extra data : %d", static_cast<int>(info.dwExtraSize));
}

}  // namespace

bool TrackTable::ListTracks(const CAVIFileParser& file) {
  const int streams = file.GetStreamNum();
  mTrackInfos = new (std::nothrow) TrackInfo[static_cast<size_t>(streams)]();
  if (!mTrackInfos) return false;
  mTrackCount = streams;
  for (int stream = 0; stream < mTrackCount; ++stream) {
    const uint32_t type = file.GetStreamType(stream);
    if (IsAudioStreamType(type)) {
      mAudio.Append(stream);
    } else if (type == STREAM_TYPE_SUBTITLE) {
      mText.Append(stream);
    } else if (mVideo.stream == -1) {
      mVideo = Input(stream);  // an unsupported stream too: the first one that is neither audio nor text
    }
  }
  mAudio.input = Input(mAudio.Selected());
  mText.input = Input(mText.Selected());
  return true;
}

void TrackTable::MapTrackInfos(CAVIFileParser* file, AudioPath* audio) {
  AVI_LOGV("Call MapTrackInfos Start");
  for (int stream = 0; stream < mTrackCount; ++stream) {
    SAVIInfo info{};
    file->GetMoviInfo(&info, stream);
    TrackInfo* const record = &mTrackInfos[stream];
    if ((info.bHasVideo || info.bHasAudio) && mDurationMs == 0) mDurationMs = info.dwDuration;
    if (info.bHasVideo) MapVideo(info, record);
    if (info.bHasAudio) MapAudio(info, MapAudioCodec(file, stream, info, audio), record);
  }
  AVI_LOGV("Call MapTrackInfos End");
}

void TrackTable::Clear(CAVIFileParser* file) {
  delete[] mTrackInfos;
  *this = TrackTable();
  mFile = file;
  mVideo = mAudio.input = mText.input = Input(-1);
}

TrackInfo* TrackTable::GetTrackInfo(unsigned long track) const {
  if (!mTrackInfos) {
    AVI_LOGE("mTrackInfos cleared");
    return nullptr;
  }
  return mTrackInfos + track;
}

bool TrackTable::SelectAudioTrack(int stream) {
  const bool known = mAudio.Select(stream);
  mAudio.input = Input(mAudio.Selected());
  if (known) {
    AVI_LOGV("Set AudioIdx %d, Track Index %d", mAudio.nSelected, stream);
  } else {
    AVI_LOGE("Should not be HERE! set Default audio track");
  }
  return known;
}

bool TrackTable::SelectTextTrack(int stream) {
  const bool known = mText.Select(stream);
  mText.input = Input(mText.Selected());
  if (known) {
    AVI_LOGV("Set mTextIdx %d, Track Index %d", mText.nSelected, stream);
  } else {
    AVI_LOGE("Should not be HERE! set Default Text track");
  }
  return known;
}
