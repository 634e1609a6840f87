#include "tools/aviprobe/remux/lane.h"

#include <algorithm>

namespace {

/// More frames in a row without a picture are no gap but a wrong time.
constexpr int64_t kLargestGap = 10'000'000;

std::span<const uint8_t> BytesOf(const AVPacket& packet) { return {packet.data, static_cast<size_t>(packet.size)}; }

}  // namespace

Lane::Lane(const Host& host, const SRemuxJob& job, uint32_t track, const SStreamHeader& header,
           const std::vector<uint8_t>& config)
    : m_Container(job.container), m_Reader(host, job.sInput, track), m_Keys(host, job.sInput, track) {
  SStreamFacts facts{&m_Reader.Info(), &header, config, {}};
  m_Unit = m_Reader.Next();
  if (m_Unit) facts.firstUnit.assign(m_Unit->data, m_Unit->data + m_Unit->size);
  m_Parameters = ParametersFor(facts, m_Container);
  m_Base = IsVideo() ? av_inv_q(m_Parameters.rate) : AVRational{1, m_Parameters.codec->sample_rate};
  if (IsVideo() && m_Container == EContainer::kMatroska) m_pOrder = PictureOrder::For(m_Parameters.codec.get());
  if (IsVideo() && m_Container == EContainer::kAvi) m_pOrder = PictureOrder::AsInFile();
}

bool Lane::Fill() {
  const auto hasReady = [&] { return IsVideo() ? m_pOrder->HasReady() : m_Sound != nullptr; };
  while (!hasReady() && m_Unit) {
    AvPacket unit = std::exchange(m_Unit, m_Reader.Next());
    IsVideo() ? StampPicture(unit.get()) : StampSound(unit.get());
    if (!IsVideo()) {
      m_Sound = std::move(unit);
      continue;
    }
    m_pOrder->Push(std::move(unit));
    if (!m_Unit) m_pOrder->Finish();
  }
  return hasReady();
}

int64_t Lane::Time() const { return IsVideo() ? m_pOrder->Front().pts : m_Sound->pts; }

void Lane::StampPicture(AVPacket* packet) {
  // A unit's time is cut to whole milliseconds, after a rate in single precision. Half a millisecond more is nearest.
  const AVRational& rate = m_Parameters.rate;
  const int64_t frame = av_rescale_rnd(2 * packet->pts + 1, rate.num, int64_t{2000} * rate.den, AV_ROUND_NEAR_INF);
  packet->pts = std::max(frame, m_nFrame + 1);
  const int64_t gap = packet->pts - m_nFrame - 1;
  if (gap > kLargestGap) throw HostError("a picture's time is too far behind the one before it");
  m_nFrame = packet->pts;
  Result().nGaps += static_cast<uint64_t>(gap);
  if (!m_Keys.IsKey(m_Reader.Info(), BytesOf(*packet), packet->pos)) return;
  packet->flags |= AV_PKT_FLAG_KEY;
  ++Result().nKeys;
}

void Lane::StampSound(AVPacket* packet) {
  const int64_t delivered = av_rescale(packet->pts, m_Base.den, 1000);
  const int64_t samples = SamplesIn(m_Parameters.codec.get(), static_cast<size_t>(packet->size));
  if (m_nSamples < 0 || samples <= 0) m_nSamples = std::max(m_nSamples, delivered);
  packet->flags |= AV_PKT_FLAG_KEY;
  packet->pts = packet->dts = m_nSamples;
  packet->duration = std::max<int64_t>(samples, 0);
  Result().nDriftMs = av_rescale(m_nSamples - delivered, 1000, m_Base.den);
  m_nSamples += packet->duration;
}

void Lane::WriteGaps(Muxer* muxer, size_t stream, int64_t frame) {
  for (; m_nWritten < frame; ++m_nWritten) {
    const AvPacket empty = MakePacket({});
    empty->pts = empty->dts = m_nWritten;
    muxer->Write(stream, empty.get());
  }
}

void Lane::Write(Muxer* muxer, size_t stream) {
  const AvPacket packet = IsVideo() ? m_pOrder->Pop() : std::move(m_Sound);
  packet->pos = -1;
  if (m_Container == EContainer::kMatroska) {
    av_packet_rescale_ts(packet.get(), m_Base, muxer->TimeBase(stream));
  } else if (IsVideo()) {
    WriteGaps(muxer, stream, packet->dts);
  } else {
    // An AVI file has no times: sound is counted, by units or by bytes.
    packet->pts = packet->dts = m_nWritten;
    packet->duration = 0;
  }
  muxer->Write(stream, packet.get());
  ++m_nWritten;
}
