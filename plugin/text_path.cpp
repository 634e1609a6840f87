#define LOG_TAG "aviparser"
#include "base/log.h"
#include "plugin/avi_parser.h"

int AVIParser::GetTextData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) {
  if (CodecOf(SelectedText()) != AVI_CODEC_TEXT) {
    AVI_LOGV("[GetTextData] *pLen :%ld, *pTimestampMs :%ld ", static_cast<long>(*len), static_cast<long>(*ts));
    return 0;
  }
  unsigned int length = 0;
  // No time is read from the file: the host gets its own back, unless it is the end mark.
  unsigned int time = static_cast<unsigned int>(*ts);
  if (time == AVI_END_MARK) time = 0;
  int status = avi_parser_get_text_data(buf, &length, &time, ClampLength(maxLen));
  *len = length;
  *ts = time;
  if (status < 0) {
    AVI_LOGE("AVIParser::GetTextData ERROR %d", status);
    *len = 0;
    return status;
  }
  if (length == AVI_END_MARK || time == AVI_END_MARK) {
    AVI_LOGI("AVIParser::GetTextData = EOS");
    *len = 0;
    return AVI_END_OF_STREAM;
  }
  AVI_LOGV("[GetTextData] *pLen :%ld, *pTimestampMs :%ld ", static_cast<long>(*len), static_cast<long>(*ts));
  return 0;
}

int AVIParser::avi_parser_get_text_data(unsigned char* buf, unsigned int* len, unsigned int* timestampMs,
                                        unsigned int maxLen) {
  const int stream = SelectedText();
  if (stream == -1) {
    *timestampMs = 0;
    *len = 0;
    AVI_LOGE("Error Case");
    return 0;
  }
  const int status = mFileParser->GetNextTextData(stream, reinterpret_cast<char*>(buf), maxLen, len, timestampMs);
  AVI_LOGV("[avi_parser_get_text_data] index %d [TimeStamp: %ld]", stream, static_cast<long>(*timestampMs));
  if (IsFatal(status)) return status;
  if (status == AVI_ERROR && *len == 0) *len = *timestampMs = AVI_END_MARK;
  return 0;
}
