#include "avifile/movie_info.h"

#include <algorithm>

#include "avifile/format_fields.h"
#include "avifile/sample_time.h"
#include "base/bytes.h"
#include "base/checked_math.h"
#include "zu_parser_avi/stream_types.h"

namespace {

void DescribeAudio(const SAVIStream* record, SAVIInfo* pInfo) {
  pInfo->bHasAudio = 1;
  pInfo->dwAudioType = record->nStreamType;
  pInfo->dwAudioBitRate = SaturatedMul<uint32_t>(AvgBytesPerSec(record), 8u);
  pInfo->dwChannels = StrfU16(record, kWaveChannels);
  pInfo->dwSampleRate = SamplesPerSec(record);
  pInfo->dwBitsPerSample = StrfU16(record, kWaveBitsPerSample);
  pInfo->dwBlockAlign = BlockAlign(record);
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
}

// The codecs whose files carry bitmap subtitles.
bool GoesWithSubtitles(const SAVIStream& stream) {
  return stream.nStreamType == STREAM_TYPE_DIVX5 || stream.nStreamType == STREAM_TYPE_DIVX ||
         stream.nStreamType == STREAM_TYPE_DIVX3 || stream.nStreamType == STREAM_TYPE_DXMF;
}

}  // namespace

int GetMoviInfo(SMovie& movie, SAVIInfo* pInfo, int stream) {
  const SAVIStream* record = movie.streams.At(stream);
  const SRIFFNode* root = movie.tree.Root();
  if (!root || root->sRiff.dwFourCC != FourCC("RIFF") || !record) return 0;
  if (record->nStreamType == STREAM_TYPE_UNSUPPORTED) return 1;
  if (IsAudioStreamType(record->nStreamType)) {
    DescribeAudio(record, pInfo);
    const SAVIStreamHeader* strh = record->m_pStrh;
    if (movie.dwPlayTime == 0 && strh && strh->dwRate != 0) movie.dwPlayTime = PlayTimeOfHeader(*strh);
  } else {
    DescribeVideo(record, pInfo);
    const auto streams = movie.streams.All();
    if (movie.m_bSubtitle && std::any_of(streams.begin(), streams.end(), GoesWithSubtitles)) {
      pInfo->bSubtitle = movie.m_bSubtitle;
      pInfo->bSubtitleAlpha = movie.m_bAlphaSubtitle;
      pInfo->pSubtitleName = movie.m_pSubtitleName;
    }
  }
  pInfo->dwDuration = movie.dwPlayTime;
  pInfo->bIndexed = movie.IsIndexed();
  return 1;
}
