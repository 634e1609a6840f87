#include "tools/aviprobe/remux/stream_parameters.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

#include "tools/aviprobe/model/parameter_sets.h"

namespace {

using Bytes = std::vector<uint8_t>;
using ByteSpan = std::span<const uint8_t>;

constexpr uint16_t kTagPcm = 0x0001, kTagFloat = 0x0003, kTagExtensible = 0xFFFE;

AVCodecID FindId(const AVCodecTag* table, uint32_t tag) {
  const AVCodecTag* const tables[] = {table, nullptr};
  return av_codec_get_id(tables, tag);
}

constexpr std::pair<uint32_t, AVCodecID> kVideoIds[] = {
    {AVI_CODEC_MPEG12, AV_CODEC_ID_MPEG2VIDEO}, {AVI_CODEC_MPEG4, AV_CODEC_ID_MPEG4},
    {AVI_CODEC_MP4V, AV_CODEC_ID_MPEG4},        {AVI_CODEC_DIVX, AV_CODEC_ID_MPEG4},
    {AVI_CODEC_DIVX5, AV_CODEC_ID_MPEG4},       {AVI_CODEC_DXMF, AV_CODEC_ID_MPEG4},
    {AVI_CODEC_XVID, AV_CODEC_ID_MPEG4},        {AVI_CODEC_H263, AV_CODEC_ID_H263},
    {AVI_CODEC_H264, AV_CODEC_ID_H264},         {AVI_CODEC_MJPEG, AV_CODEC_ID_MJPEG},
    {AVI_CODEC_VP7, AV_CODEC_ID_VP7},           {AVI_CODEC_VP8, AV_CODEC_ID_VP8},
    {AVI_CODEC_VP9, AV_CODEC_ID_VP9},           {AVI_CODEC_THEORA, AV_CODEC_ID_THEORA}};

/// The FourCC stays in the copy, so what the muxer knows it as comes first.
AVCodecID VideoId(const SStreamFacts& facts, uint32_t fourcc) {
  const AVCodecID id = FindId(avformat_get_riff_video_tags(), fourcc);
  if (id != AV_CODEC_ID_NONE) return id;
  const auto* found = std::find_if(std::begin(kVideoIds), std::end(kVideoIds),
                                   [&](const auto& row) { return row.first == facts.pInfo->nCodecId; });
  return found == std::end(kVideoIds) ? AV_CODEC_ID_NONE : found->second;
}

void SetExtra(AVCodecParameters* codec, ByteSpan bytes) {
  if (bytes.empty()) return;
  codec->extradata = static_cast<uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!codec->extradata) throw HostError("no memory for a decoder's configuration");
  std::memcpy(codec->extradata, bytes.data(), bytes.size());
  codec->extradata_size = static_cast<int>(bytes.size());
}

/// What a decoder is configured with, as the first unit has it.
Bytes ExtraOfUnit(const AVCodecParameters* codec, ByteSpan unit) {
  const AVBitStreamFilter* kind = av_bsf_get_by_name("extract_extradata");
  AVBSFContext* raw = nullptr;
  if (unit.empty() || !kind || av_bsf_alloc(kind, &raw) < 0) return {};
  const AvFilter filter(raw);
  if (avcodec_parameters_copy(filter->par_in, codec) < 0 || av_bsf_init(filter.get()) < 0) return {};
  const AvPacket packet = MakePacket(unit);
  if (av_bsf_send_packet(filter.get(), packet.get()) < 0) return {};
  if (av_bsf_receive_packet(filter.get(), packet.get()) < 0) return {};
  size_t size = 0;
  const uint8_t* data = av_packet_get_side_data(packet.get(), AV_PKT_DATA_NEW_EXTRADATA, &size);
  return Bytes(data, data + size);
}

/// In an AVI file the configuration that the input had, with start codes where the units have them now; elsewhere what
/// a player is given, too.
Bytes VideoExtra(const SStreamFacts& facts, const AVCodecParameters* codec, EContainer container) {
  const Bytes& format = facts.pHeader->format;
  Bytes extra = facts.config;
  if (container == EContainer::kAvi)
    extra.assign(format.begin() + static_cast<ptrdiff_t>(std::min<size_t>(40, format.size())), format.end());
  if (facts.pInfo->nCodecId == AVI_CODEC_H264 && !extra.empty() && extra[0] == 1) extra = ParameterSets(extra);
  if (container == EContainer::kMatroska && extra.empty()) extra = ExtraOfUnit(codec, facts.firstUnit);
  return extra;
}

/// Raw pictures have no FourCC: the bits of a pixel tell.
void SetRaw(AVCodecParameters* codec) {
  switch (codec->bits_per_coded_sample) {
    case 16:
      codec->format = AV_PIX_FMT_RGB555LE;
      return;
    case 24:
      codec->format = AV_PIX_FMT_BGR24;
      return;
    case 32:
      codec->format = AV_PIX_FMT_BGRA;
      return;
    default:
      throw HostError("raw pictures of this kind cannot be copied");
  }
}

/// @return none, 0, when nothing tells.
AVRational FrameRate(const SStreamFacts& facts) {
  const SStreamHeader& header = *facts.pHeader;
  const uint32_t whole = facts.pInfo->video.nFrameRate;
  AVRational rate{static_cast<int>(std::min<uint32_t>(whole, 1'000'000)), 1};
  // Where the library found another rate, its is the one by which the units are stamped.
  if (header.nScale && header.nRate && header.nRate / header.nScale == whole) {
    av_reduce(&rate.num, &rate.den, header.nRate, header.nScale, std::numeric_limits<int>::max());
  }
  if (rate.num <= 0) throw HostError("pictures without a frame rate cannot be copied");
  return rate;
}

/// Without the sign, of which the library makes a number without one.
int HeightOf(const SStreamFacts& facts) {
  const int32_t declared = facts.pHeader->Height();
  const bool topDown = declared < 0 && declared > std::numeric_limits<int32_t>::min();
  return topDown ? -declared : static_cast<int>(facts.pInfo->video.nHeight);
}

SStreamParameters VideoParameters(const SStreamFacts& facts, EContainer container, AvParameters codec) {
  const SStreamHeader& header = *facts.pHeader;
  const FourCC fourcc = header.Compression();
  uint32_t tag = 0;
  std::memcpy(&tag, fourcc.chars.data(), sizeof tag);
  codec->codec_type = AVMEDIA_TYPE_VIDEO;
  codec->codec_id = VideoId(facts, tag);
  codec->codec_tag = tag;
  codec->width = static_cast<int>(facts.pInfo->video.nWidth);
  codec->height = HeightOf(facts);
  if (header.format.size() >= 16) codec->bits_per_coded_sample = header.format[14] | header.format[15] << 8;
  const Bytes extra = VideoExtra(facts, codec.get(), container);
  SetExtra(codec.get(), extra);
  if (codec->codec_id == AV_CODEC_ID_RAWVIDEO && tag == 0) SetRaw(codec.get());
  return {std::move(codec), FrameRate(facts), header.Height() < 0};
}

AVCodecID PcmId(uint16_t tag, uint32_t bits) {
  if (tag == kTagFloat) return bits == 64 ? AV_CODEC_ID_PCM_F64LE : AV_CODEC_ID_PCM_F32LE;
  if (bits == 8) return AV_CODEC_ID_PCM_U8;
  return bits == 32 ? AV_CODEC_ID_PCM_S32LE : AV_CODEC_ID_PCM_S16LE;  // 24 bits arrive as 16
}

AVCodecID AudioId(const SStreamFacts& facts, uint16_t tag) {
  const TrackInfo& info = *facts.pInfo;
  if (info.nCodecId == AVI_CODEC_EAC3) return AV_CODEC_ID_EAC3;
  if (info.nCodecId == AVI_CODEC_MP2) return AV_CODEC_ID_MP2;
  if (tag == kTagPcm || tag == kTagFloat) return PcmId(tag, info.audio.nBitsPerSample);
  return FindId(avformat_get_riff_audio_tags(), tag);
}

/// Samples of each frame, where all have the same number and the codec alone does not tell.
int FrameSamples(AVCodecID id, ByteSpan unit) {
  if (id == AV_CODEC_ID_AAC) return 1024;
  if (id == AV_CODEC_ID_EAC3 && unit.size() > 4 && unit[0] == 0x0B && unit[1] == 0x77) {
    constexpr std::array<int, 4> kBlocks = {1, 2, 3, 6};
    const bool reducedRate = unit[4] >> 6 == 3;
    return 256 * (reducedRate ? 6 : kBlocks[unit[4] >> 4 & 3u]);
  }
  if (id == AV_CODEC_ID_DTS && unit.size() > 5 && unit[0] == 0x7F && unit[1] == 0xFE) {
    return (((unit[4] & 1) << 6 | unit[5] >> 2) + 1) * 32;
  }
  return 0;
}

/// Of a WAVEFORMATEX; that of an extensible one has fields of its own first.
Bytes AudioExtra(const SStreamHeader& header) {
  const Bytes& format = header.format;
  if (format.size() < 18) return {};
  const bool extensible = format[0] == (kTagExtensible & 0xFF) && format[1] == kTagExtensible >> 8;
  const size_t declared = 18 + (format[16] | size_t{format[17]} << 8);
  const size_t begin = extensible ? 40 : 18, end = std::min(declared, format.size());
  if (end <= begin) return {};
  return Bytes(format.begin() + static_cast<ptrdiff_t>(begin), format.begin() + static_cast<ptrdiff_t>(end));
}

bool IsPcm(AVCodecID id) { return av_get_exact_bits_per_sample(id) >= 8; }

SStreamParameters AudioParameters(const SStreamFacts& facts, AvParameters codec) {
  const TrackInfo::Audio& audio = facts.pInfo->audio;
  const uint16_t tag = facts.pHeader->FormatTag();
  constexpr uint32_t kMax = std::numeric_limits<int>::max();
  if (audio.nSampleRate == 0 || audio.nSampleRate > kMax || audio.nChannels == 0) {
    throw HostError("sound without a sample rate or channels cannot be copied");
  }
  codec->codec_type = AVMEDIA_TYPE_AUDIO;
  codec->codec_id = AudioId(facts, tag);
  if (codec->codec_id == AV_CODEC_ID_NONE) codec->codec_tag = tag;
  codec->sample_rate = static_cast<int>(audio.nSampleRate);
  av_channel_layout_default(&codec->ch_layout, static_cast<int>(audio.nChannels));
  codec->bit_rate = audio.nBitRate;
  codec->block_align = audio.nBlockAlign;
  codec->bits_per_coded_sample = static_cast<int>(std::min<uint32_t>(audio.nBitsPerSample, 64));
  if (IsPcm(codec->codec_id)) {
    codec->bits_per_coded_sample = av_get_exact_bits_per_sample(codec->codec_id);
    codec->block_align = static_cast<int>(audio.nChannels) * codec->bits_per_coded_sample / 8;
    codec->bit_rate = int64_t{codec->block_align} * 8 * codec->sample_rate;
    return {std::move(codec)};
  }
  codec->frame_size = FrameSamples(codec->codec_id, facts.firstUnit);
  SetExtra(codec.get(), AudioExtra(*facts.pHeader));
  // Blocks of one length: what the input's header says of bytes per second need not be true.
  if (codec->codec_id == AV_CODEC_ID_ADPCM_MS || codec->codec_id == AV_CODEC_ID_ADPCM_IMA_WAV) {
    const int samples = av_get_audio_frame_duration2(codec.get(), codec->block_align);
    if (samples > 0) codec->bit_rate = av_rescale(int64_t{codec->block_align} * 8, codec->sample_rate, samples);
  }
  // A block size makes the muxer count bytes, where each chunk is one frame it must count those. Where neither tells a
  // length, 1 stands for counted bytes.
  const bool framed = codec->frame_size > 0 || av_get_audio_frame_duration2(codec.get(), 0) > 0;
  codec->block_align = framed ? 0 : std::max(codec->block_align, 1);
  return {std::move(codec)};
}

}  // namespace

SStreamParameters ParametersFor(const SStreamFacts& facts, EContainer container) {
  AvParameters codec(avcodec_parameters_alloc());
  if (!codec) throw HostError("no memory");
  const bool video = facts.pInfo->nTrackType == AVI_TRACK_VIDEO;
  return video ? VideoParameters(facts, container, std::move(codec)) : AudioParameters(facts, std::move(codec));
}

int64_t SamplesIn(AVCodecParameters* codec, size_t bytes) {
  if (IsPcm(codec->codec_id)) return codec->block_align ? static_cast<int64_t>(bytes) / codec->block_align : 0;
  if (codec->frame_size > 0) return codec->frame_size;
  return av_get_audio_frame_duration2(codec, static_cast<int>(std::min<size_t>(bytes, INT32_MAX)));
}
