#define LOG_TAG "AVIFileParser"
#include "avifile/movie.h"

#include "base/log.h"

SMovie::~SMovie() {
  if (m_iIndexType == IDXTYPE_OLD) return;
  int number = 0;
  for (const SAVIStream& stream : streams.All()) {
    if (stream.pIndex && stream.pIndex->aIdx) AVI_LOGV("free aIdx - idx[%d]", number);
    ++number;
  }
}
