#define LOG_TAG "aviparser"
#include <algorithm>

#include "base/log.h"
#include "plugin/avi_parser.h"

namespace {

/// Narrows 24-bit little-endian samples to 16 bits in place: each keeps its upper two bytes. What is missing of a last
/// sample counts as 0. @return the new length, at most `room`.
unsigned long NarrowTo16Bits(unsigned char* buf, unsigned long len, unsigned long room) {
  unsigned long out = 0;
  for (unsigned long in = 0; in < len && out + 2 <= room; in += 3) {
    buf[out++] = in + 1 < len ? buf[in + 1] : uint8_t{0};
    buf[out++] = in + 2 < len ? buf[in + 2] : uint8_t{0};
  }
  return out;
}

}  // namespace

int AVIParser::GetAudioData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen) {
  *len = 0;
  const int stream = SelectedAudio();
  const uint32_t codec = CodecOf(stream);
  switch (codec) {
    case AVI_CODEC_MP3:
    case AVI_CODEC_MP2:
      return GetFramed(&AVIParser::GetMpegAudioData, "GetMpegAudioData End or Error case", buf, len, ts, maxLen);
    case AVI_CODEC_AC3:
    case AVI_CODEC_EAC3:
      return GetFramed(&AVIParser::GetAC3AudioData, "GetAC3AudioData End or Error case", buf, len, ts, maxLen);
    case AVI_CODEC_PCM:
    case AVI_CODEC_MULAW: {
      const int status = GetPCMData(buf, len, ts, maxLen);
      if (status < 0) {
        AVI_LOGI("GetPCMData End or Error case");
        return status;
      }
      if (codec == AVI_CODEC_PCM && Track(stream)->audio.nBitsPerSample == 24) *len = NarrowTo16Bits(buf, *len, maxLen);
      return 0;
    }
    default:
      return PullChunk(buf, len, ts, ClampLength(maxLen));
  }
}

int AVIParser::GetFramed(int (AVIParser::*get)(unsigned char*, unsigned long*, unsigned long*, unsigned long),
                         const char* endText, unsigned char* buf, unsigned long* len, unsigned long* ts,
                         unsigned long maxLen) {
  for (int i = 0; i < AVI_FRAMER_TRIES && *len == 0; ++i) {
    const int status = (this->*get)(buf, len, ts, maxLen);
    if (status < 0) {
      AVI_LOGI("%s", endText);
      return status;
    }
  }
  return 0;
}

int AVIParser::PullChunk(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned int maxLen) {
  unsigned int length = 0;
  unsigned int time = static_cast<unsigned int>(*ts);
  const int status = avi_parser_get_audio_data(buf, &length, &time, maxLen);
  *ts = time;
  if (status < 0) {
    AVI_LOGE("AVIParser::GetAudioData COMMON AUDIO ERROR %d", status);
    return status;
  }
  if (time == AVI_END_MARK) {
    AVI_LOGI("[GetAudioData] mAudioEOS = OMX_TRUE ");
    return AVI_END_OF_STREAM;
  }
  *len = length;
  return 0;
}

int AVIParser::avi_parser_get_audio_data(unsigned char* buf, unsigned int* len, unsigned int* timestampMs,
                                         unsigned int maxLen) {
  const int stream = SelectedAudio();
  if (stream == -1) {
    *timestampMs = 0;
    *len = 0;
    AVI_LOGE("Error Case");
    return 0;
  }
  char* out = reinterpret_cast<char*>(buf);
  const int status = mAudioRestart ? ReadFirstAudio(stream, out, len, timestampMs, maxLen)
                                   : ReadNextAudio(stream, out, len, timestampMs, maxLen);
  if (IsFatal(status)) return status;
  if (status == AVI_ERROR && *len == 0) *len = *timestampMs = AVI_END_MARK;
  return 0;
}

int AVIParser::ReadFirstAudio(int stream, char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen) {
  int status = mFileParser->GetFirstAudioData(stream, buf, maxLen, len, ts);
  for (int i = 0; i < AVI_FIRST_RETRIES && !IsFatal(status) && *len == 0; ++i) {
    AVI_LOGW("[avi_parser_get_audio_data] initial Audio data length is zero [it is to escape error case]");
    status = mFileParser->GetFirstAudioData(stream, buf, maxLen, len, ts);
  }
  if (!IsFatal(status)) mAudioRestart = false;
  return status;
}

int AVIParser::ReadNextAudio(int stream, char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen) {
  int status = mFileParser->GetNextAudioData(stream, buf, maxLen, len, ts);
  for (int i = 0; i < AVI_NEXT_RETRIES && !IsFatal(status) && *len == 0 && *ts != AVI_END_MARK; ++i) {
    AVI_LOGW("[avi_parser_get_audio_data] Audio data length is zero max_buf_size:%ld, *pBufLen:%ld",
             static_cast<long>(maxLen), 0L);
    status = mFileParser->GetNextAudioData(stream, buf, maxLen, len, ts);
  }
  return status;
}

int AVIParser::ReadIntoCarry(CarryBuffer* buffer, size_t kept, const char* name, const char* endText,
                             unsigned long* len, unsigned long* ts, unsigned int maxLen) {
  unsigned char* tail = buffer->Tail() + kept;
  const size_t space = buffer->space() - kept;
  unsigned int length = 0;
  unsigned int time = static_cast<unsigned int>(*ts);
  const int status =
      avi_parser_get_audio_data(tail, &length, &time, static_cast<unsigned int>(std::min<size_t>(maxLen, space)));
  *ts = time;
  *len = 0;
  if (status < 0) {
    AVI_LOGE("AVIParser::%s ERROR %d", name, status);
    return status;
  }
  if (time == AVI_END_MARK) {
    AVI_LOGI("%s", endText);
    return AVI_END_OF_STREAM;
  }
  buffer->MarkWritten(kept + length);
  *len = length;
  return 0;
}
