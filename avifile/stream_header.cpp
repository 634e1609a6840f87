#define LOG_TAG "AVIFileParser"
#include <algorithm>
#include <cstring>

#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"
#include "base/checked_math.h"
#include "base/log.h"

namespace {

constexpr uint32_t kStrhBytes = 56;

SAVIStreamHeader DecodeStreamHeader(const uint8_t* raw) {
  LeReader in(raw, kStrhBytes);
  SAVIStreamHeader header;
  header.fccType = in.U32();
  header.fccHandler = in.U32();
  header.dwFlags = in.U32();
  header.wPriority = in.U16();
  header.wLanguage = in.U16();
  header.dwInitialFrames = in.U32();
  header.dwScale = in.U32();
  header.dwRate = in.U32();
  header.dwStart = in.U32();
  header.dwLength = in.U32();
  header.dwSuggestedBufferSize = in.U32();
  header.dwQuality = in.U32();
  header.dwSampleSize = in.U32();
  for (int16_t& side : header.rcFrame) side = static_cast<int16_t>(in.U16());
  return header;
}

}  // namespace

int CAVIFileParser::ParseChunkStrHdr(SRIFFNode* node, unsigned int size) {
  SAVIStream* stream = Stream(m_iCurrStreamIdx);
  if (size < kStrhBytes || !stream) {
    AVI_LOGE("ERROR! ParseChunk() 'strh' not valid");
    return 0;
  }
  MallocPtr<SAVIStreamHeader> header = AllocZeroed<SAVIStreamHeader>(1);
  if (!header) {
    AVI_LOGE("ERROR! ParseChunk() 'strh' malloc() error");
    return 0;
  }
  uint8_t raw[kStrhBytes] = {};
  const int nRead = m_pReader->AVI_fread(raw, kStrhBytes, 1);
  if (nRead < 1) {
    AVI_LOGE("[AVI] Error -> ParseChunkStrHdr :: nRead(%d)", nRead);
    return 1;
  }
  *header = DecodeStreamHeader(raw);
  const SAVIStreamHeader& strh = *header;
  stream->m_pStrh = header.get();
  node->pData = header.release();  // freed with the chunk tree
  stream->fFramePerSec = static_cast<float>(strh.dwRate) / static_cast<float>(strh.dwScale);

  if (strh.fccType == kFccAudio) {
    m_bHasAudio = true;
    return 1;
  }
  if (strh.fccType != kFccVideo) {
    AVI_LOGW("WARNING! ParseChunk() 'strh' MIDI, TEXT not supported");
    stream->nStreamType = STREAM_TYPE_UNSUPPORTED;
    return 1;
  }
  m_bHasVideo = true;
  m_nVideoFrameRate = Truncate<int>(stream->fFramePerSec);
  // A video stream knows its length better than the main header does; of several the last one wins.
  if (strh.dwLength && strh.dwScale && strh.dwRate) {
    dwPlayTime = Truncate<uint32_t>(static_cast<double>(strh.dwLength) * strh.dwScale / strh.dwRate * 1000.0);
  }
  return 1;
}

int CAVIFileParser::parseStreamName(SRIFFNode* node, unsigned int size) {
  if (m_pSubtitleName == node->pData) m_pSubtitleName = nullptr;
  std::free(node->pData);
  node->pData = nullptr;
  const uint64_t rest = RestOfFile(static_cast<uint64_t>(node->llOffset), size);
  const uint32_t room = static_cast<uint32_t>(std::min<uint64_t>(size, rest));
  MallocPtr<char> name = size <= AVI_MAX_COPY ? AllocZeroed<char>(size_t{room} + 1) : nullptr;
  if (!name) {
    AVI_LOGE("[AVI] pData allocate Error -> parseStreamName");
    return AVI_OUT_OF_MEMORY;
  }
  const int nRead = m_pReader->AVI_fread(name.get(), room, 1);
  if (nRead < 0) {
    AVI_LOGE("[AVI] Error -> parseStreamName :: nRead(%d)", nRead);
    return AVI_IO_ERROR;
  }
  constexpr char kSubtitle[] = {'S', 'u', 'b', 't', 'i', 't', 'l', 'e'};
  if (GetStreamType(m_iCurrStreamIdx) == STREAM_TYPE_SUBTITLE && nRead >= static_cast<int>(sizeof kSubtitle) &&
      std::memcmp(name.get(), kSubtitle, sizeof kSubtitle) == 0) {
    AVI_LOGV("parseStreamName - Divx Subtitle(XSUB) track");
    m_pSubtitleName = name.get();
  }
  node->pData = name.release();  // freed with the chunk tree
  return 0;
}

uint32_t CAVIFileParser::GetStreamType(int stream) const {
  if (stream < 0 || stream >= m_iStreamNum) return STREAM_TYPE_INVALID;
  const SAVIStream* record = Stream(stream);
  return record ? record->nStreamType : STREAM_TYPE_UNKNOWN;
}
