#define LOG_TAG "AVIFileParser"
#include "avifile/avi_file_parser.h"
#include "base/bytes.h"
#include "base/checked_math.h"
#include "base/log.h"

namespace {

constexpr uint32_t kAvihBytes = 56;
// Positions in the payload.
constexpr size_t kMicroSecPerFrame = 0, kTotalFrames = 16, kStreams = 24, kWidth = 32, kHeight = 36;

}  // namespace

int CAVIFileParser::ParseChunkAviHdr(SRIFFNode* node, unsigned int size) {
  if (m_aStream) {
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
  const int nRead = m_pReader->AVI_fread(data.get(), kAvihBytes, 1);
  if (nRead < 1) {
    AVI_LOGE("[AVI] Error -> ParseChunkAviHdr :: nRead(%d)", nRead);
    return 1;
  }
  const uint8_t* header = data.get();
  node->pData = data.release();  // freed with the chunk tree

  const uint32_t streams = LoadLe32(header + kStreams);
  m_iStreamNum = static_cast<int>(streams);
  MallocPtr<SAVIStream> table = streams <= AVI_MAX_STREAMS ? AllocZeroed<SAVIStream>(streams) : nullptr;
  if (!table) {
    AVI_LOGE("[AVI] m_aStream allocate Error -> ParseChunkAviHdr");
    return 0;
  }
  m_aStream = table.release();  // freed by Destroy
  m_iCurrStreamIdx = -1;
  m_dwMicroSecPerFrame = LoadLe32(header + kMicroSecPerFrame);
  const uint32_t frames = LoadLe32(header + kTotalFrames);
  dwPlayTime = Truncate<uint32_t>(static_cast<double>(m_dwMicroSecPerFrame) * frames / 1000.0);
  AVI_LOGV("dwTotalFrames:%lu dwMicroSecPerFrame:%lu , dwHeight:%lu , dwWidth:%lu,dwPlayTime:%ld  ",
           static_cast<unsigned long>(frames), static_cast<unsigned long>(m_dwMicroSecPerFrame),
           static_cast<unsigned long>(LoadLe32(header + kHeight)),
           static_cast<unsigned long>(LoadLe32(header + kWidth)), static_cast<long>(dwPlayTime));

  m_StrfData = AllocZeroed<SStrfData>(streams).release();  // freed by Destroy
  if (!m_StrfData) {
    AVI_LOGE("[AVI] m_StrfData allocate Error");
    return 0;
  }
  return 1;
}
