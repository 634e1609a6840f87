#define LOG_TAG "aviparser"
#include "plugin/video_path.h"

#include <cstring>

#include "avifile/video_bitstream.h"
#include "base/log.h"

namespace {

// ISO/IEC 11172-2, 13818-2: picture_coding_type stands in the sixth byte of a picture that begins with its start code.
enum class EPicture { kNone, kI, kP, kOther };
EPicture PictureType(const SDelivery& unit) {
  if (unit.len < 6) return EPicture::kNone;
  const unsigned type = unit.buf[5] & 0x18;
  return type == 0x08 ? EPicture::kI : type == 0x10 ? EPicture::kP : EPicture::kOther;
}

bool IsMpeg4Part2(uint32_t codec) {
  return codec == AVI_CODEC_MPEG4 || codec == AVI_CODEC_MP4V || codec == AVI_CODEC_DIVX || codec == AVI_CODEC_DIVX5 ||
         codec == AVI_CODEC_DXMF || codec == AVI_CODEC_XVID;
}

}  // namespace

void VideoPath::Clear() {
  const bool ready = mVideoConfigReady;
  *this = VideoPath();
  mVideoConfigReady = ready;
}

void VideoPath::GetVideoConfig(const STrackInput& in, SDelivery* out) {
  in.file->GetVideoSpecificInfo(in.stream, out->buf, &out->len, out->maxLen);
  AVI_LOGV("[GetVideoConfig] *pLen:%ld", static_cast<long>(out->len));
  if (out->len >= 1 && out->len <= out->maxLen) mVideoConfigReady = true;
}

// Inline where every unit is delivered; the other caller, which skips behind a seek, gets a copy of its own.
[[gnu::always_inline]] inline int VideoPath::PullVideo(const STrackInput& in, SDelivery* out, bool keyOnly) {
  const int status = avi_parser_get_video_data(in, out, keyOnly);
  if (status == 0 && out->time != AVI_END_MARK && out->len != AVI_END_MARK) return 0;
  out->len = 0;
  if (status < 0) {
    AVI_LOGE("AVIParser::GetVideoData ERROR %d", status);
    return status;
  }
  AVI_LOGI("[GetVideoData] mVideoEOS = OMX_TRUE ");
  return AVI_END_OF_STREAM;
}

[[gnu::always_inline]] inline int VideoPath::avi_parser_get_video_data(const STrackInput& in, SDelivery* out,
                                                                       bool keyOnly) {
  if (in.stream == -1) {
    out->len = 0;
    out->time = 0;
    return 0;
  }
  uint32_t time = static_cast<uint32_t>(out->time);
  const int status = mVideoRestart ? ReadFirst(in, out, &time, keyOnly) : ReadNext(in, out, &time, keyOnly);
  return FinishRead(status, time, out);
}

inline int VideoPath::ReadNext(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly) {
  const int status = ReadFrame(in, out, time, keyOnly);
  if (status != AVI_OK && IsFatal(status)) return status;
  if (mCheckBFrame) DropBFrameAfterFirst(in, out);
  return out->len != 0 || *time == AVI_END_MARK ? status : RetryNext(in, out, time, keyOnly);
}

inline int VideoPath::ReadFrame(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly) {
  return in.file->GetNextVideoData(in.stream, reinterpret_cast<char*>(out->buf), out->maxLen, &out->len, keyOnly, time);
}

int VideoPath::GetVideoData(const STrackInput& in, SDelivery* out, bool keyOnly) {
  const int status = PullVideo(in, out, keyOnly);
  if (status != 0 || !in.file) return status;
  if (in.file->IsSplitVideo()) mMpeg2Split = true;
  if (mMpeg2Split) return ResyncSplitVideo(in, out, keyOnly);
  if (!mVideoConfigReady && in.Codec() == AVI_CODEC_H264) PrependConfig(in, out);
  return 0;
}

int VideoPath::RetryNext(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly) {
  int status = AVI_OK;
  for (int i = 0; i < AVI_NEXT_RETRIES && !IsFatal(status) && out->len == 0 && *time != AVI_END_MARK; ++i) {
    AVI_LOGW("[avi_parser_get_video_data] Video data length is zero max_buf_size:%ld, *pBufLen:%ld",
             static_cast<long>(out->maxLen), 0L);
    status = ReadFrame(in, out, time, keyOnly);
  }
  return status;
}

int VideoPath::ReadFirst(const STrackInput& in, SDelivery* out, uint32_t* time, bool keyOnly) {
  char* const buf = reinterpret_cast<char*>(out->buf);
  int status = in.file->GetFirstVideoData(in.stream, buf, out->maxLen, &out->len, keyOnly, time);
  for (int i = 0; i < AVI_FIRST_RETRIES && !IsFatal(status) && out->len == 0; ++i) {
    AVI_LOGW("[avi_parser_get_video_data] initial Video data length is zero [it is to escape error case]");
    status = in.file->GetFirstVideoData(in.stream, buf, out->maxLen, &out->len, keyOnly, time);
  }
  if (IsFatal(status)) return status;
  mVideoRestart = false;
  mCheckBFrame = true;
  return status;
}

void VideoPath::DropBFrameAfterFirst(const STrackInput& in, SDelivery* out) {
  mCheckBFrame = false;
  if (out->len == 0 || !IsMpeg4Part2(in.Codec())) return;
  const int type = VopCodingType({out->buf, out->len});
  if (type < 0) return;
  AVI_LOGV("[avi_parser_get_video_data] vop_coding_type %d", type);
  if (type != kVopB) return;
  // It would be predicted from a picture in front of the position that was sought.
  AVI_LOGV("[avi_parser_get_video_data] Drop B frame next to I frame");
  out->len = 0;
}

void VideoPath::PrependConfig(const STrackInput& in, SDelivery* out) {
  if (out->len < sizeof kIdrSlice || std::memcmp(out->buf, kIdrSlice, sizeof kIdrSlice) != 0) return;
  uint8_t config[AVI_CONFIG_SCRATCH];
  uint32_t length = 0;
  if (!in.file->GetCodecSpecificInfo(in.stream, config, &length)) return;
  if (length > out->maxLen || out->len > out->maxLen - length) return;
  std::memmove(out->buf + length, out->buf, out->len);
  std::memcpy(out->buf, config, length);
  out->len += length;
}

int VideoPath::ResyncSplitVideo(const STrackInput& in, SDelivery* out, bool keyOnly) {
  if (mMpeg2DropB) {
    if (PictureType(*out) == EPicture::kP) {
      mMpeg2DropB = false;
    } else {
      out->len = 0;
    }
  }
  if (!mMpeg2Resync) return 0;
  for (int i = 0; i < AVI_RESYNC_PICTURES && PictureType(*out) != EPicture::kI; ++i) {
    const int status = PullVideo(in, out, keyOnly);
    if (status != 0) return status;
  }
  mMpeg2Resync = false;
  mMpeg2DropB = true;
  return 0;
}
