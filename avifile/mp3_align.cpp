#define LOG_TAG "AVIFileParser"
#include <algorithm>

#include "avifile/avi_file_parser.h"
#include "avifile/mpeg_audio_header.h"
#include "avifile/riff_header.h"
#include "base/log.h"

namespace {

/// Position of the first two bytes that look like a Layer III header; kNotFound.
ptrdiff_t FindLayer3Sync(ByteSpan chunk) {
  for (size_t i = 0; i + 1 < chunk.size(); ++i) {
    if (chunk[i] == 0xFF && MpegAudioLayer(chunk[i + 1]) == 3) return static_cast<ptrdiff_t>(i);
  }
  return kNotFound;
}

}  // namespace

int CAVIFileParser::FindFirstDataMP3(int stream) {
  AVI_LOGV("FindFirstDataMP3 start");
  SAVIStream* record = Stream(stream);
  if (!record) return AVI_ERROR;
  return IsIndexed() ? AlignIndexed(record) : AlignScanned(stream, record);
}

int CAVIFileParser::AlignIndexed(SAVIStream* record) {
  for (; SIndexEntry* entry = IndexEntry(record, record->dwCurrIdx); ++record->dwCurrIdx) {
    if (ChunkSize(*entry) == 0) continue;
    m_pReader->AVI_fseek(static_cast<long>(entry->qwOffset), 0);
    ptrdiff_t sync = kNotFound;
    const int status = FindSyncInChunk(ChunkSize(*entry), entry->qwOffset, &sync);
    if (status != AVI_OK) return status;
    if (sync == kNotFound) continue;
    // The size stays: the next read takes as many bytes beyond the chunk's end.
    entry->qwOffset += static_cast<uint64_t>(sync);
    AVI_LOGV("FindFirstDataMP3 end : Found : %d", 1);
    return AVI_OK;
  }
  return AVI_ERROR;
}

int CAVIFileParser::AlignScanned(int stream, SAVIStream* record) {
  bool turnedBack = false;
  while (record->dwCurrOffset != kCursorAtEnd) {
    m_pReader->AVI_fseek(static_cast<long>(record->dwCurrOffset), 0);
    SRIFF riff;
    const int nRead = ReadRiffHeader(m_pReader, &riff);
    if (nRead < 0) {
      AVI_LOGE("CAVIFileParser::FindFirstDataMP3  fread ERROR!");
      if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
      AVI_LOGE("FindFirstDataMP3  ERROR EAGAIN");
      return AVI_EAGAIN;
    }
    if (nRead == 0) return AVI_ERROR;
    m_pReader->AVI_fseek(-4, 1);
    if (riff.dwSize != 0) {
      ptrdiff_t sync = kNotFound;
      const int status = FindSyncInChunk(riff.dwSize, record->dwCurrOffset + 8, &sync);
      if (status != AVI_OK) return status;
      // A chunk without any sync is taken as it is; one whose sync is not at the front is skipped whole.
      if (sync <= 0) {
        AVI_LOGV("FindFirstDataMP3 end : Found : %d", 1);
        return AVI_OK;
      }
    }
    const long next = FindNextData(stream);
    // A status as cursor leads back once, to an end or a failure; twice would be for ever.
    if (next <= static_cast<long>(record->dwCurrOffset)) {
      if (turnedBack) return next == AVI_EAGAIN ? AVI_EAGAIN : AVI_ERROR;
      turnedBack = true;
    }
    record->dwCurrOffset = static_cast<uint64_t>(next);
  }
  return AVI_ERROR;
}

int CAVIFileParser::FindSyncInChunk(uint32_t chunkSize, uint64_t offset, ptrdiff_t* sync) {
  const uint32_t size = static_cast<uint32_t>(std::min<uint64_t>(chunkSize, RestOfFile(offset, AVI_MAX_FIRST_FRAME)));
  MallocPtr<uint8_t> acTempBuf = AllocZeroed<uint8_t>(size);
  if (!acTempBuf) {
    AVI_LOGE("[AVI] acTempBuf allocate Error -> FindFirstDataMP3 - [%d]", static_cast<int>(m_iIndexType));
    return AVI_ERROR;
  }
  const int nRead = ReadPayload(acTempBuf.get(), size);
  if (nRead < 1) {
    AVI_LOGE("FindFirstDataMP3  fread ERROR!");
    if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
    AVI_LOGE("FindFirstDataMP3  ERROR EAGAIN");
    return AVI_EAGAIN;
  }
  *sync = FindLayer3Sync({acTempBuf.get(), static_cast<size_t>(nRead)});
  return AVI_OK;
}
