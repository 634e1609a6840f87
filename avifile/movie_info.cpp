#define LOG_TAG "AVIFileParser"
#include <algorithm>

#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"
#include "base/checked_math.h"

namespace {

uint32_t SuggestedBufferSize(const SAVIStream* record) {
  return record->m_pStrh ? record->m_pStrh->dwSuggestedBufferSize : 0;
}

void DescribeAudio(const SAVIStream* record, SAVIInfo* pInfo) {
  pInfo->bHasAudio = 1;
  pInfo->dwAudioType = record->nStreamType;
  pInfo->dwAudioBitRate = SaturatedMul<uint32_t>(AvgBytesPerSec(record), 8u);
  pInfo->dwChannels = StrfU16(record, kWaveChannels);
  pInfo->dwSampleRate = SamplesPerSec(record);
  pInfo->dwBitsPerSample = StrfU16(record, kWaveBitsPerSample);
  pInfo->dwBlockAlign = BlockAlign(record);
  pInfo->dwAudioBufSize = SuggestedBufferSize(record);
  const uint32_t behindHeader =
      record->m_nStrfSize > kWaveHeaderBytes ? record->m_nStrfSize - static_cast<uint32_t>(kWaveHeaderBytes) : 0;
  pInfo->dwExtraSize = std::min<uint32_t>(StrfU16(record, kWaveCbSize), behindHeader);
  pInfo->pExtraData = pInfo->dwExtraSize ? record->m_pStrf + kWaveHeaderBytes : nullptr;
}

void DescribeVideo(const SAVIStream* record, SAVIInfo* pInfo) {
  pInfo->bHasVideo = 1;
  pInfo->dwVideoType = record->nStreamType;
  pInfo->wWidth = StrfU16(record, kBitmapWidth);
  pInfo->wHeight = StrfU16(record, kBitmapHeight);
  pInfo->nFrameRate = Truncate<int32_t>(record->fFramePerSec);
  pInfo->dwVideoBufSize = SuggestedBufferSize(record);
}

// The codecs whose files carry bitmap subtitles.
bool GoesWithSubtitles(const SAVIStream& stream) {
  return stream.nStreamType == STREAM_TYPE_DIVX5 || stream.nStreamType == STREAM_TYPE_DIVX ||
         stream.nStreamType == STREAM_TYPE_DIVX3 || stream.nStreamType == STREAM_TYPE_DXMF;
}

}  // namespace

int CAVIFileParser::GetMoviInfo(SAVIInfo* pInfo, int stream) {
  const SAVIStream* record = Stream(stream);
  if (!m_pRootNode || m_pRootNode->sRiff.dwFourCC != FourCC("RIFF") || !record) return 0;
  if (record->nStreamType == STREAM_TYPE_UNSUPPORTED) return 1;
  if (IsAudioStreamType(record->nStreamType)) {
    DescribeAudio(record, pInfo);
    const SAVIStreamHeader* strh = record->m_pStrh;
    if (dwPlayTime == 0 && strh && strh->dwRate != 0) {
      dwPlayTime = Truncate<uint32_t>(static_cast<double>(strh->dwLength) * strh->dwScale / strh->dwRate * 1000.0);
    }
  } else {
    DescribeVideo(record, pInfo);
    if (m_bSubtitle && std::any_of(m_aStream, m_aStream + m_iStreamNum, GoesWithSubtitles)) {
      pInfo->bSubtitle = m_bSubtitle;
      pInfo->bSubtitleAlpha = m_bAlphaSubtitle;
      pInfo->pSubtitleName = m_pSubtitleName;
    }
  }
  pInfo->dwDuration = dwPlayTime;
  pInfo->bIndexed = IsIndexed();
  return 1;
}
