#define LOG_TAG "aviparser"
#include <cstring>

#include "avifile/video_bitstream.h"
#include "base/log.h"
#include "plugin/avi_parser.h"

namespace {

// ISO/IEC 11172-2, 13818-2: picture_coding_type stands in the sixth byte of a picture that begins with its start code.
enum class EPicture { kNone, kI, kP, kOther };
EPicture PictureType(const unsigned char* buf, unsigned long len) {
  if (len < 6) return EPicture::kNone;
  const unsigned type = buf[5] & 0x18;
  return type == 0x08 ? EPicture::kI : type == 0x10 ? EPicture::kP : EPicture::kOther;
}

bool IsMpeg4Part2(uint32_t codec) {
  return codec == AVI_CODEC_MPEG4 || codec == AVI_CODEC_MP4V || codec == AVI_CODEC_DIVX || codec == AVI_CODEC_DIVX5 ||
         codec == AVI_CODEC_DXMF || codec == AVI_CODEC_XVID;
}

}  // namespace

int AVIParser::GetVideoData(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned long maxLen,
                            bool keyOnly) {
  const unsigned int room = ClampLength(maxLen);
  const int status = PullVideo(buf, len, ts, room, keyOnly);
  if (status != 0) return status;
  if (mFileParser && mFileParser->IsSplitVideo()) mMpeg2Split = true;
  if (mMpeg2Split) return ResyncSplitVideo(buf, len, ts, room, keyOnly);
  PrependConfig(buf, len, room);
  return 0;
}

int AVIParser::PullVideo(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned int maxLen, bool keyOnly) {
  unsigned int length = static_cast<unsigned int>(*len);
  unsigned int time = static_cast<unsigned int>(*ts);
  const int status = avi_parser_get_video_data(buf, &length, &time, maxLen, keyOnly);
  *len = length;
  *ts = time;
  if (status < 0) {
    AVI_LOGE("AVIParser::GetVideoData ERROR %d", status);
    *len = 0;
    return status;
  }
  if (time == AVI_END_MARK || length == AVI_END_MARK) {
    *len = 0;
    AVI_LOGI("[GetVideoData] mVideoEOS = OMX_TRUE ");
    return AVI_END_OF_STREAM;
  }
  return 0;
}

int AVIParser::avi_parser_get_video_data(unsigned char* buf, unsigned int* len, unsigned int* timestampMs,
                                         unsigned int maxLen, bool keyOnly) {
  if (mVideoTrack == -1 || !mFileParser) {
    *timestampMs = 0;
    *len = 0;
    return 0;
  }
  const int status = mVideoRestart ? ReadFirstVideo(buf, len, timestampMs, maxLen, keyOnly)
                                   : ReadNextVideo(buf, len, timestampMs, maxLen, keyOnly);
  if (IsFatal(status)) return status;
  if (status == AVI_ERROR && *len == 0) *len = *timestampMs = AVI_END_MARK;
  return 0;
}

int AVIParser::ReadFirstVideo(unsigned char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen,
                              bool keyOnly) {
  char* out = reinterpret_cast<char*>(buf);
  int status = mFileParser->GetFirstVideoData(mVideoTrack, out, maxLen, len, keyOnly, ts);
  for (int i = 0; i < AVI_FIRST_RETRIES && !IsFatal(status) && *len == 0; ++i) {
    AVI_LOGW("[avi_parser_get_video_data] initial Video data length is zero [it is to escape error case]");
    status = mFileParser->GetFirstVideoData(mVideoTrack, out, maxLen, len, keyOnly, ts);
  }
  if (IsFatal(status)) return status;
  mVideoRestart = false;
  mCheckBFrame = true;
  return status;
}

int AVIParser::ReadNextVideo(unsigned char* buf, unsigned int* len, unsigned int* ts, unsigned int maxLen,
                             bool keyOnly) {
  char* out = reinterpret_cast<char*>(buf);
  int status = mFileParser->GetNextVideoData(mVideoTrack, out, maxLen, len, keyOnly, ts);
  if (IsFatal(status)) return status;
  DropBFrameAfterFirst(buf, len);
  for (int i = 0; i < AVI_NEXT_RETRIES && *len == 0 && *ts != AVI_END_MARK; ++i) {
    AVI_LOGW("[avi_parser_get_video_data] Video data length is zero max_buf_size:%ld, *pBufLen:%ld",
             static_cast<long>(maxLen), 0L);
    status = mFileParser->GetNextVideoData(mVideoTrack, out, maxLen, len, keyOnly, ts);
    if (IsFatal(status)) return status;
  }
  return status;
}

void AVIParser::DropBFrameAfterFirst(const unsigned char* buf, unsigned int* len) {
  if (!mCheckBFrame) return;
  mCheckBFrame = false;
  if (*len == 0 || !IsMpeg4Part2(CodecOf(mVideoTrack))) return;
  const int type = VopCodingType({buf, *len});
  if (type < 0) return;
  AVI_LOGV("[avi_parser_get_video_data] vop_coding_type %d", type);
  if (type != kVopB) return;
  // It would be predicted from a picture in front of the position that was sought.
  AVI_LOGV("[avi_parser_get_video_data] Drop B frame next to I frame");
  *len = 0;
}

void AVIParser::PrependConfig(unsigned char* buf, unsigned long* len, unsigned int maxLen) {
  if (!mFileParser || mVideoConfigReady || CodecOf(mVideoTrack) != AVI_CODEC_H264) return;
  if (*len < sizeof kIdrSlice || std::memcmp(buf, kIdrSlice, sizeof kIdrSlice) != 0) return;
  uint8_t config[AVI_CONFIG_SCRATCH];
  uint32_t configLength = 0;
  if (!mFileParser->GetCodecSpecificInfo(mVideoTrack, config, &configLength)) return;
  if (configLength > maxLen || *len > maxLen - configLength) return;
  std::memmove(buf + configLength, buf, *len);
  std::memcpy(buf, config, configLength);
  *len += configLength;
}

int AVIParser::ResyncSplitVideo(unsigned char* buf, unsigned long* len, unsigned long* ts, unsigned int maxLen,
                                bool keyOnly) {
  if (mMpeg2DropB) {
    if (PictureType(buf, *len) == EPicture::kP) {
      mMpeg2DropB = false;
    } else {
      *len = 0;
    }
  }
  if (!mMpeg2Resync) return 0;
  for (int i = 0; i < AVI_RESYNC_PICTURES && PictureType(buf, *len) != EPicture::kI; ++i) {
    const int status = PullVideo(buf, len, ts, maxLen, keyOnly);
    if (status != 0) return status;
  }
  mMpeg2Resync = false;
  mMpeg2DropB = true;
  return 0;
}
