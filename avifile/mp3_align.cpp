#define LOG_TAG "AVIFileParser"
#include "avifile/mp3_align.h"

#include <algorithm>

#include "avifile/mpeg_audio_header.h"
#include "avifile/read_status.h"
#include "base/bytes.h"
#include "base/c_heap.h"
#include "base/limits.h"
#include "base/log.h"

namespace {

/// Position of the first two bytes that look like a Layer III header; kNotFound.
ptrdiff_t FindLayer3Sync(ByteSpan chunk) {
  for (size_t i = 0; i + 1 < chunk.size(); ++i) {
    if (chunk[i] == 0xFF && MpegAudioLayer(chunk[i + 1]) == 3) return static_cast<ptrdiff_t>(i);
  }
  return kNotFound;
}

/// Reads a chunk whose data begin at `offset`, where the file stands. @param sync [out] as FindLayer3Sync.
int FindSyncInChunk(FileView& file, const SMovie& movie, uint32_t chunkSize, uint64_t offset, ptrdiff_t* sync) {
  const uint32_t size = static_cast<uint32_t>(std::min<uint64_t>(chunkSize, file.Rest(offset, AVI_MAX_FIRST_FRAME)));
  MallocPtr<uint8_t> acTempBuf = AllocZeroed<uint8_t>(size);
  if (!acTempBuf) {
    AVI_LOGE("[AVI] acTempBuf allocate Error -> FindFirstDataMP3 - [%d]", static_cast<int>(movie.m_iIndexType));
    return AVI_ERROR;
  }
  const int nRead = file.Read(acTempBuf.get(), size);
  if (nRead < 1) return FailedRead(nRead, "FindFirstDataMP3  fread ERROR!", "FindFirstDataMP3  ERROR EAGAIN");
  *sync = FindLayer3Sync({acTempBuf.get(), static_cast<size_t>(nRead)});
  return AVI_OK;
}

int AlignIndexed(FileView& file, const SMovie& movie, SAVIStream* record) {
  for (; SIndexEntry* entry = IndexEntry(record, record->dwCurrIdx); ++record->dwCurrIdx) {
    if (ChunkSize(*entry) == 0) continue;
    file.Seek(entry->qwOffset);
    ptrdiff_t sync = kNotFound;
    const int status = FindSyncInChunk(file, movie, ChunkSize(*entry), entry->qwOffset, &sync);
    if (status != AVI_OK) return status;
    if (sync == kNotFound) continue;
    // The size stays: the next read takes as many bytes beyond the chunk's end.
    entry->qwOffset += static_cast<uint64_t>(sync);
    AVI_LOGV("FindFirstDataMP3 end : Found : %d", 1);
    return AVI_OK;
  }
  return AVI_ERROR;
}

int AlignScanned(FileView& file, const SMovie& movie, ChunkScanner& scanner, int stream, SAVIStream* record) {
  bool turnedBack = false;
  while (record->dwCurrOffset != kCursorAtEnd) {
    file.Seek(record->dwCurrOffset);
    SRIFF riff;
    const int nRead = file.ReadHeader(&riff);
    if (nRead < 0)
      return FailedRead(nRead, "CAVIFileParser::FindFirstDataMP3  fread ERROR!", "FindFirstDataMP3  ERROR EAGAIN");
    if (nRead == 0) return AVI_ERROR;
    file.StepBackOverType();
    if (riff.dwSize != 0) {
      ptrdiff_t sync = kNotFound;
      const int status = FindSyncInChunk(file, movie, riff.dwSize, record->dwCurrOffset + 8, &sync);
      if (status != AVI_OK) return status;
      // A chunk without any sync is taken as it is; one whose sync is not at the front is skipped whole.
      if (sync <= 0) {
        AVI_LOGV("FindFirstDataMP3 end : Found : %d", 1);
        return AVI_OK;
      }
    }
    const long next = scanner.FindNextData(stream);
    // A status as cursor leads back once, to an end or a failure; twice would be for ever.
    if (next <= static_cast<long>(record->dwCurrOffset)) {
      if (turnedBack) return next == AVI_EAGAIN ? AVI_EAGAIN : AVI_ERROR;
      turnedBack = true;
    }
    record->dwCurrOffset = static_cast<uint64_t>(next);
  }
  return AVI_ERROR;
}

}  // namespace

int FindFirstDataMP3(FileView& file, const SMovie& movie, ChunkScanner& scanner, int stream) {
  AVI_LOGV("FindFirstDataMP3 start");
  SAVIStream* record = movie.streams.At(stream);
  if (!record) return AVI_ERROR;
  return movie.IsIndexed() ? AlignIndexed(file, movie, record) : AlignScanned(file, movie, scanner, stream, record);
}
