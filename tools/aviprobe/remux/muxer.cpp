#include "tools/aviprobe/remux/muxer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

void CreateNew(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) throw HostError(path + ": " + std::strerror(errno));
  close(fd);
}

}  // namespace

Muxer::Muxer(const SRemuxJob& job) : m_sPath(job.sOutput), m_sTemporary(job.sTemporary) {
  CreateNew(m_sTemporary);
  const char* kind = job.container == EContainer::kAvi ? "avi" : "matroska";
  CheckAv(avformat_alloc_output_context2(&m_pFormat, nullptr, kind, nullptr), m_sPath);
  m_pFormat->flags |= AVFMT_FLAG_BITEXACT;
  m_pFormat->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;  // FourCCs that it does not know
  m_pFormat->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
}

Muxer::~Muxer() {
  if (!m_pFormat) return;
  avio_closep(&m_pFormat->pb);
  avformat_free_context(m_pFormat);
}

void Muxer::AddStream(const SStreamParameters& parameters) {
  AVStream* stream = avformat_new_stream(m_pFormat, nullptr);
  if (!stream) throw HostError("no memory for a stream");
  CheckAv(avcodec_parameters_copy(stream->codecpar, parameters.codec.get()), m_sPath);
  if (parameters.codec->codec_type == AVMEDIA_TYPE_VIDEO) {
    stream->time_base = av_inv_q(parameters.rate);
    stream->avg_frame_rate = stream->r_frame_rate = parameters.rate;
    if (!parameters.bTopDown && m_pFormat->priv_data) av_opt_set_int(m_pFormat->priv_data, "flipped_raw_rgb", 1, 0);
  } else {
    stream->time_base = {1, parameters.codec->sample_rate};
  }
}

void Muxer::Begin() {
  CheckAv(avio_open(&m_pFormat->pb, ("file:" + m_sTemporary).c_str(), AVIO_FLAG_WRITE), m_sPath);
  if (avformat_write_header(m_pFormat, nullptr) < 0) {
    throw CopyError(m_sPath + ": this kind of file cannot have these tracks");
  }
}

void Muxer::Write(size_t stream, AVPacket* packet) {
  packet->stream_index = static_cast<int>(stream);
  CheckAv(av_write_frame(m_pFormat, packet), m_sPath);
  CheckAv(m_pFormat->pb->error, m_sPath);
}

void Muxer::Finish() {
  CheckAv(av_write_trailer(m_pFormat), m_sPath);
  CheckAv(avio_closep(&m_pFormat->pb), m_sPath);
}
