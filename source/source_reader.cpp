#define LOG_TAG "ZUAVISourceReader"
#include "source/source_reader.h"

#include <algorithm>

#include "base/checked_math.h"
#include "base/limits.h"
#include "base/log.h"
#include "zu_parser_avi/status.h"

namespace {

uint32_t ReadLength(unsigned int size, unsigned int count) {
  return std::min(CheckedMul<uint32_t>(size, count), AVI_MAX_READ);
}

}  // namespace

int AVISourceReader::MoveTo(long offset, int origin) {
  const bool traced = IsTraced();  // told once: a first line has its last one
  if (traced) AVI_LOGT("[mossgrove] AVIfseek offset :%lld, origin:%d", static_cast<long long>(offset), origin);
  if (origin == 0) {
    mlOffset = offset;
  } else if (origin == 1) {
    mlOffset = CheckedAdd<int64_t>(mlOffset, offset);
  } else if (origin == 2) {
    AVI_FileLength_hdl();
    mlOffset = CheckedAdd<int64_t>(mlOffsetEnd, offset);
  }
  if (!mbStreaming && IsBeyondEnd(mlOffset)) {
    AVI_LOGE("[mossgrove] AVI_fseek mlOffset(%llu)> mlOffsetEnd(%llu)", static_cast<unsigned long long>(mlOffset),
             static_cast<unsigned long long>(mlOffsetEnd));
    mlOffset = mlOffsetEnd;
  }
  if (traced) AVI_LOGT("AVI_fseek end");
  return 0;
}

int AVISourceReader::AVI_fread(void* buffer, unsigned int size, unsigned int count) {
  if (mlOffsetEnd == 0 || IsTraced()) return ReadUnusual(buffer, size, count);
  mbStreaming = false;
  const uint64_t length = ReadLength(size, count);
  return IsAtEnd() ? RefuseRead() : ReadHere(buffer, std::min(length, Left()));
}

int AVISourceReader::ReadUnusual(void* buffer, unsigned int size, unsigned int count) {
  const bool traced = IsTraced();
  if (traced) {
    AVI_LOGT("AVI_fread Start");
    AVI_LOGT("AVI_fread size %d mlOffset %lld mlOffsetEnd %lld", static_cast<int>(size),
             static_cast<long long>(mlOffset), static_cast<long long>(mlOffsetEnd));
  }
  mbStreaming = mlOffsetEnd == 0 && AVI_IsStreamingSource() != 0;
  const uint64_t length = ReadLength(size, count);
  if (!mbStreaming && IsAtEnd()) return RefuseRead();
  const int nRead = ReadHere(buffer, mbStreaming ? length : std::min(length, Left()));
  if (nRead >= 0 && traced) AVI_LOGT("AVI_fread End");
  return nRead;
}

int AVISourceReader::ReadHere(void* buffer, uint64_t wanted) {
  uint64_t length = wanted;
  const int status = mpSource->ReadAt(mlOffset, buffer, &length);
  if (status < 0) return FailedRead(status);
  const uint64_t delivered = std::min(length, wanted);  // a source cannot have delivered more than there was room for
  mlOffset = CheckedAdd<int64_t>(mlOffset, delivered);
  return static_cast<int>(delivered);
}

int AVISourceReader::RefuseRead() {
  AVI_LOGE("END");
  return 0;
}

int AVISourceReader::FailedRead(int status) {
  if (status == AVI_END_OF_STREAM) {
    AVI_LOGD("AVI_fread EOS");
  } else {
    AVI_LOGE("AVI_fread IO ERROR - %d", status);
  }
  return status;
}

long AVISourceReader::AVI_ftell() const {
  AVI_LOGV("called AVI_ftell");
  return mlOffset;
}

long AVISourceReader::AVI_FileLength_hdl() {
  int64_t length = 0;
  mpSource->GetSize(&length);
  AVI_LOGV("[mossgrove] AVIfseek ret_len :%lld, mlOffsetEnd:%lld", static_cast<long long>(length),
           static_cast<long long>(mlOffsetEnd));
  mlOffsetEnd = length;
  if (mlGroupSize != 0) {
    AVI_LOGI("AVI_FileLength_hdl GroupSize = %lld", static_cast<long long>(mlGroupSize));
    mlOffsetEnd = mlGroupSize;
  }
  return mlOffsetEnd;
}

void AVISourceReader::AVI_FileGroupSize_set(unsigned long size) {
  AVI_LOGD("[mossgrove] AVI_FileGroupSize_set filelength: %lld, mlOffsetEnd: %lld", static_cast<long long>(size),
           static_cast<long long>(mlOffsetEnd));
  mlGroupSize = static_cast<int64_t>(size);
}

int AVISourceReader::AVI_IsStreamingSource() const {
  const int streaming = mpSource->IsStreaming();
  AVI_LOGD("AVI_IsStreamingSource() isStreamingSource=%d", streaming);
  return streaming;
}
