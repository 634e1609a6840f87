#define LOG_TAG "AVIFileParser"
#include "avifile/read_status.h"

#include "base/log.h"

int FailedRead(int nRead, const char* failed, const char* blocked) {
  AVI_LOGE("%s", failed);
  if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
  AVI_LOGE("%s", blocked);
  return AVI_EAGAIN;
}

int FailedChunkRead(int nRead, SChunkRead* read) {
  read->nRead = 0;
  return FailedRead(nRead, "GetNextData fread ERROR!", "GetNextData  ERROR EAGAIN");
}

int EmptyIndexedRead(uint32_t chunkSize, SChunkRead* read) {
  if (chunkSize == 0) return AVI_OK;
  AVI_LOGE(" GetNextData : AVI_ERROR dwChunkSize != 0 && *piRead == 0");
  read->nTimeStamp = AVI_END_MARK;
  return AVI_ERROR;
}
