#define LOG_TAG "aviparser"
#include "plugin/text_path.h"

#include "base/log.h"

int TextPath::GetTextData(const STrackInput& in, SDelivery* out) {
  int status = avi_parser_get_text_data(in, out);
  if (status < 0) {
    AVI_LOGE("AVIParser::GetTextData ERROR %d", status);
  } else if (out->len == AVI_END_MARK || out->time == AVI_END_MARK) {
    AVI_LOGI("AVIParser::GetTextData = EOS");
    status = AVI_END_OF_STREAM;
  }
  if (status != 0) out->len = 0;
  return status;
}

int TextPath::avi_parser_get_text_data(const STrackInput& in, SDelivery* out) {
  if (in.stream == -1) {
    out->len = 0;
    out->time = 0;
    AVI_LOGE("Error Case");
    return 0;
  }
  uint32_t time = static_cast<uint32_t>(out->time);
  const int status =
      in.file->GetNextTextData(in.stream, reinterpret_cast<char*>(out->buf), out->maxLen, &out->len, &time);
  AVI_LOGV("[avi_parser_get_text_data] index %d [TimeStamp: %ld]", in.stream, static_cast<long>(time));
  return FinishRead(status, time, out);
}
