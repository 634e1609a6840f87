#include "tools/aviprobe/remux/picture_order.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>

namespace {

using ByteSpan = std::span<const uint8_t>;

ByteSpan BytesOf(const AVPacket& packet) { return {packet.data, static_cast<size_t>(packet.size)}; }

/// Each picture is shown in its own frame.
class FileOrder final : public PictureOrder {
 public:
  void Push(AvPacket packet) override {
    packet->dts = packet->pts;
    m_Ready.push_back(std::move(packet));
  }
  void Finish() override {}
};

/// How far back a picture can come: as many frames as H.264 lets a decoder hold.
constexpr int64_t kMostHeld = 16;

/// What waits for later pictures to tell its frame.
class Waiting {
 public:
  void Add(AvPacket packet) {
    m_nBytes += static_cast<size_t>(packet->size);
    if (m_nBytes > kMostBytes) throw HostError("too many pictures between two that can be decoded alone");
    packet->dts = packet->pts;
    m_Packets.push_back(std::move(packet));
  }
  bool Empty() const { return m_Packets.empty(); }
  size_t Count() const { return m_Packets.size(); }
  AVPacket& At(size_t i) { return *m_Packets[i]; }
  /// Moves all on; each has its `pts`, and its number in the file as `dts`.
  void Release(std::deque<AvPacket>* ready) {
    for (AvPacket& packet : m_Packets) {
      packet->dts -= kMostHeld;
      if (packet->pts < packet->dts) throw HostError("a picture is shown before it can have been decoded");
      ready->push_back(std::move(packet));
    }
    m_Packets.clear();
    m_nBytes = 0;
  }

 private:
  static constexpr size_t kMostBytes = 256u << 20;
  std::vector<AvPacket> m_Packets;
  size_t m_nBytes = 0;
};

enum class EPicture { kReference, kBetween, kNone, kTwo };

EPicture Join(EPicture sofar, EPicture next) { return sofar == EPicture::kNone ? next : EPicture::kTwo; }

/// Calls `see` with what stands behind each start code's three bytes.
template <typename See>
void EachCode(ByteSpan unit, See see) {
  constexpr uint8_t kStart[] = {0, 0, 1};
  for (auto at = unit.begin();; at += 3) {
    at = std::search(at, unit.end(), std::begin(kStart), std::end(kStart));
    if (unit.end() - at < 4) return;
    see(unit.subspan(static_cast<size_t>(at - unit.begin()) + 3));
  }
}

// ISO/IEC 14496-2: vop_coding_type are the two bits behind the start code, 2 is B.
EPicture Mpeg4Picture(ByteSpan unit) {
  EPicture picture = EPicture::kNone;
  EachCode(unit, [&](ByteSpan code) {
    if (code[0] != 0xB6 || code.size() < 2) return;
    picture = Join(picture, code[1] >> 6 == 2 ? EPicture::kBetween : EPicture::kReference);
  });
  return picture;
}

// ISO/IEC 11172-2 and 13818-2: picture_coding_type stands behind ten bits of temporal reference, 3 is B. Two fields of
// one picture may be in a unit; the first one decides.
EPicture Mpeg12Picture(ByteSpan unit) {
  EPicture picture = EPicture::kNone;
  EachCode(unit, [&](ByteSpan code) {
    if (code[0] != 0x00 || code.size() < 3 || picture != EPicture::kNone) return;
    picture = (code[2] >> 3 & 7) == 3 ? EPicture::kBetween : EPicture::kReference;
  });
  return picture;
}

/// Pictures between two others are shown before the later one of those, which stands in front of them in the file.
class KindOrder final : public PictureOrder {
 public:
  explicit KindOrder(EPicture (*kindOf)(ByteSpan)) : m_KindOf(kindOf) {}

  void Push(AvPacket packet) override {
    switch (m_KindOf(BytesOf(*packet))) {
      case EPicture::kTwo:
        throw HostError("two pictures in one unit have no times of their own here; copy to an AVI file instead");
      case EPicture::kNone:
      case EPicture::kReference:
        Settle();
        break;
      case EPicture::kBetween:
        break;
    }
    m_Waiting.Add(std::move(packet));
  }
  void Finish() override { Settle(); }

 private:
  /// The first one gets the last frame, the others the frame before theirs.
  void Settle() {
    if (m_Waiting.Empty()) return;
    const size_t last = m_Waiting.Count() - 1;
    m_Waiting.At(0).pts = m_Waiting.At(last).dts;
    for (size_t i = 1; i <= last; ++i) m_Waiting.At(i).pts = m_Waiting.At(i - 1).dts;
    m_Waiting.Release(&m_Ready);
  }

  EPicture (*m_KindOf)(ByteSpan);
  Waiting m_Waiting;
};

/// H.264 counts its pictures anew from each that a decoder can begin with.
class CountOrder final : public PictureOrder {
 public:
  explicit CountOrder(const AVCodecParameters* parameters)
      : m_pParser(av_parser_init(AV_CODEC_ID_H264)), m_Codec(avcodec_alloc_context3(nullptr)) {
    if (!m_pParser || !m_Codec || avcodec_parameters_to_context(m_Codec.get(), parameters) < 0) {
      throw HostError("cannot read H.264 here");
    }
    m_pParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  }
  ~CountOrder() override { av_parser_close(m_pParser); }

  void Push(AvPacket packet) override {
    uint8_t* out = nullptr;
    int size = 0;
    av_parser_parse2(m_pParser, m_Codec.get(), &out, &size, packet->data, packet->size, AV_NOPTS_VALUE, AV_NOPTS_VALUE,
                     0);
    if (IsFirst(BytesOf(*packet))) Settle();
    m_aCounts.push_back(m_pParser->output_picture_number);
    m_Waiting.Add(std::move(packet));
  }
  void Finish() override { Settle(); }

 private:
  /// A slice of type 5 is one of such a picture.
  static bool IsFirst(ByteSpan unit) {
    std::optional<bool> first;
    EachCode(unit, [&](ByteSpan code) {
      const int type = code[0] & 0x1F;
      if (!first && type >= 1 && type <= 5) first = type == 5;
    });
    return first.value_or(false);
  }

  void Settle() {
    std::vector<size_t> shown(m_aCounts.size());
    std::iota(shown.begin(), shown.end(), size_t{0});
    std::stable_sort(shown.begin(), shown.end(), [&](size_t a, size_t b) { return m_aCounts[a] < m_aCounts[b]; });
    for (size_t i = 0; i < shown.size(); ++i) {
      if (i > 0 && m_aCounts[shown[i]] == m_aCounts[shown[i - 1]]) {
        throw HostError("the order of the pictures cannot be read; copy to an AVI file instead");
      }
      m_Waiting.At(shown[i]).pts = m_Waiting.At(i).dts;
    }
    m_Waiting.Release(&m_Ready);
    m_aCounts.clear();
  }

  AVCodecParserContext* m_pParser;
  AvCodec m_Codec;
  Waiting m_Waiting;
  std::vector<int> m_aCounts;
};

// ITU-T H.263: PTYPE's source format, bits 35 to 37, is 7 in the extended form, which can have pictures in between.
class H263Order final : public PictureOrder {
 public:
  void Push(AvPacket packet) override {
    const ByteSpan unit = BytesOf(*packet);
    if (unit.size() < 5 || (unit[4] >> 2 & 7) == 7) {
      throw HostError("H.263 in its extended form may show pictures in another order; copy to an AVI file instead");
    }
    packet->dts = packet->pts;
    m_Ready.push_back(std::move(packet));
  }
  void Finish() override {}
};

}  // namespace

std::unique_ptr<PictureOrder> PictureOrder::For(const AVCodecParameters* codec) {
  switch (codec->codec_id) {
    case AV_CODEC_ID_MPEG4:
      return std::make_unique<KindOrder>(Mpeg4Picture);
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
      return std::make_unique<KindOrder>(Mpeg12Picture);
    case AV_CODEC_ID_H264:
      return std::make_unique<CountOrder>(codec);
    case AV_CODEC_ID_H263:
      return std::make_unique<H263Order>();
    default:
      break;
  }
  const AVCodecDescriptor* kind = avcodec_descriptor_get(codec->codec_id);
  if (kind && !(kind->props & AV_CODEC_PROP_REORDER)) return AsInFile();
  throw HostError(
      "pictures of this codec may be shown in another order, which is not known; copy to an AVI file instead");
}

std::unique_ptr<PictureOrder> PictureOrder::AsInFile() { return std::make_unique<FileOrder>(); }

AvPacket PictureOrder::Pop() {
  AvPacket packet = std::move(m_Ready.front());
  m_Ready.pop_front();
  return packet;
}
