#define LOG_TAG "aviparser"
#include "plugin/audio_feed.h"

#include "base/log.h"

int AudioFeed::ReadFirst(const STrackInput& in, unsigned char* buf, uint32_t room, SDelivery* out) {
  char* const chunk = reinterpret_cast<char*>(buf);
  uint32_t time = static_cast<uint32_t>(out->time);
  int status = in.file->GetFirstAudioData(in.stream, chunk, room, &out->len, &time);
  for (int i = 0; i < AVI_FIRST_RETRIES && !IsFatal(status) && out->len == 0; ++i) {
    AVI_LOGW("[avi_parser_get_audio_data] initial Audio data length is zero [it is to escape error case]");
    status = in.file->GetFirstAudioData(in.stream, chunk, room, &out->len, &time);
  }
  if (!IsFatal(status)) mAudioRestart = false;
  return FinishRead(status, time, out);
}

int AudioFeed::RetryNext(const STrackInput& in, int status, uint32_t time, unsigned char* buf, uint32_t room,
                         SDelivery* out) {
  for (int i = 0; i < AVI_NEXT_RETRIES && !IsFatal(status) && out->len == 0 && time != AVI_END_MARK; ++i) {
    AVI_LOGW("[avi_parser_get_audio_data] Audio data length is zero max_buf_size:%ld, *pBufLen:%ld",
             static_cast<long>(room), 0L);
    status = in.file->GetNextAudioData(in.stream, reinterpret_cast<char*>(buf), room, &out->len, &time);
  }
  return FinishRead(status, time, out);
}

int AudioFeed::PullChunk(const STrackInput& in, SDelivery* out) {
  if (in.stream == -1) {
    out->len = 0;
    out->time = 0;
    AVI_LOGE("Error Case");
    return 0;
  }
  const int status = avi_parser_get_audio_data(in, out->buf, out->maxLen, out);
  if (status >= 0 && out->time != AVI_END_MARK) return 0;
  out->len = 0;
  if (status < 0) {
    AVI_LOGE("AVIParser::GetAudioData COMMON AUDIO ERROR %d", status);
    return status;
  }
  AVI_LOGI("[GetAudioData] mAudioEOS = OMX_TRUE ");
  return AVI_END_OF_STREAM;
}

int AudioFeed::EndRead(int status, const SFeedTexts& texts, SDelivery* out) {
  out->len = 0;
  if (status < 0) {
    AVI_LOGE("AVIParser::%s ERROR %d", texts.name, status);
    return status;
  }
  AVI_LOGI("%s", texts.endText);
  return AVI_END_OF_STREAM;
}
