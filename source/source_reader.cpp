#define LOG_TAG "ZUAVISourceReader"
#include "source/source_reader.h"

#include <algorithm>

#include "base/checked_math.h"
#include "base/limits.h"
#include "base/log.h"
#include "zu_parser_avi/status.h"

int AVISourceReader::AVI_fseek(long offset, int origin) {
  const bool traced = (DebugLevel() & kLogTrace) != 0;
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
  const bool traced = (DebugLevel() & kLogTrace) != 0;
  if (traced) {
    AVI_LOGT("AVI_fread Start");
    AVI_LOGT("AVI_fread size %d mlOffset %lld mlOffsetEnd %lld", static_cast<int>(size),
             static_cast<long long>(mlOffset), static_cast<long long>(mlOffsetEnd));
  }
  mbStreaming = mlOffsetEnd == 0 && AVI_IsStreamingSource() != 0;

  uint64_t length = std::min(CheckedMul<uint32_t>(size, count), AVI_MAX_READ);
  if (!mbStreaming) {
    const uint64_t offset = static_cast<uint64_t>(mlOffset);
    const uint64_t end = static_cast<uint64_t>(mlOffsetEnd);
    if (offset >= end) {
      AVI_LOGE("END");
      return 0;
    }
    length = std::min(length, end - offset);
  }

  const uint64_t wanted = length;
  const int status = mpSource->ReadAt(mlOffset, buffer, &length);
  if (status < 0) return FailedRead(status);
  length = std::min(length, wanted);  // a source cannot have delivered more than there was room for
  mlOffset = CheckedAdd<int64_t>(mlOffset, length);
  if (traced) AVI_LOGT("AVI_fread End");
  return static_cast<int>(length);
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
