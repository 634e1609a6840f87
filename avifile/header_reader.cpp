#define LOG_TAG "AVIFileParser"
#include "avifile/header_reader.h"

#include <algorithm>
#include <cstring>

#include "avifile/format_fields.h"
#include "avifile/sample_time.h"
#include "base/checked_math.h"
#include "base/log.h"
#include "zu_parser_avi/status.h"
#include "zu_parser_avi/stream_types.h"

namespace {

constexpr uint32_t kAvihBytes = 56;
// Positions in the payload of "avih".
constexpr size_t kMicroSecPerFrame = 0, kTotalFrames = 16, kStreams = 24, kWidth = 32, kHeight = 36;

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

int HeaderReader::ParseChunkAviHdr(SRIFFNode* node, uint32_t size) {
  if (m_Movie.streams.IsDeclared()) {
    AVI_LOGE("[AVI] Another RIFF AVI -> skip another RIFF");
    return 0;
  }
  if (size != kAvihBytes) {
    AVI_LOGE("ERROR! ParseChunk() 'avih' not valid");
    return 0;
  }
  MallocPtr<uint8_t> data = AllocZeroed<uint8_t>(kAvihBytes);
  if (!data) {
    AVI_LOGE("ERROR! ParseChunk() 'avih' malloc() error");
    return 0;
  }
  const int nRead = m_File.Read(data.get(), kAvihBytes);
  if (nRead < 1) {
    AVI_LOGE("[AVI] Error -> ParseChunkAviHdr :: nRead(%d)", nRead);
    return 1;
  }
  const uint8_t* header = data.get();
  node->pData = data.release();  // freed with the chunk tree

  if (!m_Movie.streams.Declare(LoadLe32(header + kStreams))) {
    AVI_LOGE("[AVI] m_aStream allocate Error -> ParseChunkAviHdr");
    return 0;
  }
  m_Movie.m_dwMicroSecPerFrame = LoadLe32(header + kMicroSecPerFrame);
  const uint32_t frames = LoadLe32(header + kTotalFrames);
  m_Movie.dwPlayTime = PlayTimeOfFrames(frames, m_Movie.m_dwMicroSecPerFrame);
  AVI_LOGV("dwTotalFrames:%lu dwMicroSecPerFrame:%lu , dwHeight:%lu , dwWidth:%lu,dwPlayTime:%ld  ",
           static_cast<unsigned long>(frames), static_cast<unsigned long>(m_Movie.m_dwMicroSecPerFrame),
           static_cast<unsigned long>(LoadLe32(header + kHeight)),
           static_cast<unsigned long>(LoadLe32(header + kWidth)), static_cast<long>(m_Movie.dwPlayTime));

  if (!m_Movie.streams.AllocateFormats()) {
    AVI_LOGE("[AVI] m_StrfData allocate Error");
    return 0;
  }
  return 1;
}

int HeaderReader::ParseChunkStrHdr(SRIFFNode* node, uint32_t size) {
  SAVIStream* stream = m_Movie.streams.CurrentStream();
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
  const int nRead = m_File.Read(raw, kStrhBytes);
  if (nRead < 1) {
    AVI_LOGE("[AVI] Error -> ParseChunkStrHdr :: nRead(%d)", nRead);
    return 1;
  }
  *header = DecodeStreamHeader(raw);
  const SAVIStreamHeader& strh = *header;
  stream->m_pStrh = header.get();
  node->pData = header.release();  // freed with the chunk tree
  stream->fFramePerSec = static_cast<float>(strh.dwRate) / static_cast<float>(strh.dwScale);

  if (strh.fccType == kFccAudio) return 1;
  if (strh.fccType != kFccVideo) {
    AVI_LOGW("WARNING! ParseChunk() 'strh' MIDI, TEXT not supported");
    stream->nStreamType = STREAM_TYPE_UNSUPPORTED;
    return 1;
  }
  // A video stream knows its length better than the main header does; of several the last one wins.
  if (strh.dwLength && strh.dwScale && strh.dwRate) m_Movie.dwPlayTime = PlayTimeOfHeader(strh);
  return 1;
}

uint32_t HeaderReader::RoomFor(const SRIFFNode* node, uint32_t size) const {
  return static_cast<uint32_t>(std::min<uint64_t>(size, m_File.Rest(static_cast<uint64_t>(node->llOffset), size)));
}

void HeaderReader::KeepRawChunk(SRIFFNode* node, uint32_t size) {
  if (size > AVI_MAX_COPY) return;
  const uint32_t room = RoomFor(node, size);
  MallocPtr<uint8_t> data = AllocZeroed<uint8_t>(room);
  if (!data) return;
  const int nRead = m_File.Read(data.get(), room);
  if (nRead < 0) AVI_LOGE("[AVI] Error -> ParseChunk :: nRead(%d)", nRead);
  node->pData = data.release();  // freed with the chunk tree
}

int HeaderReader::parseStreamName(SRIFFNode* node, uint32_t size) {
  if (m_Movie.m_pSubtitleName == node->pData) m_Movie.m_pSubtitleName = nullptr;
  std::free(node->pData);
  node->pData = nullptr;
  const uint32_t room = RoomFor(node, size);
  MallocPtr<char> name = size <= AVI_MAX_COPY ? AllocZeroed<char>(size_t{room} + 1) : nullptr;
  if (!name) {
    AVI_LOGE("[AVI] pData allocate Error -> parseStreamName");
    return AVI_OUT_OF_MEMORY;
  }
  const int nRead = m_File.Read(name.get(), room);
  if (nRead < 0) {
    AVI_LOGE("[AVI] Error -> parseStreamName :: nRead(%d)", nRead);
    return AVI_IO_ERROR;
  }
  constexpr char kSubtitle[] = {'S', 'u', 'b', 't', 'i', 't', 'l', 'e'};
  if (m_Movie.streams.GetStreamType(m_Movie.streams.Current()) == STREAM_TYPE_SUBTITLE &&
      nRead >= static_cast<int>(sizeof kSubtitle) && std::memcmp(name.get(), kSubtitle, sizeof kSubtitle) == 0) {
    AVI_LOGV("parseStreamName - Divx Subtitle(XSUB) track");
    m_Movie.m_pSubtitleName = name.get();
  }
  node->pData = name.release();  // freed with the chunk tree
  return 0;
}
