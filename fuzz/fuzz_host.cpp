// What a host does with a file, in any order, on a source that may fail.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>

#include "fuzz/fuzz_support.h"

namespace {

constexpr size_t kMostFile = 64u << 10;
constexpr size_t kMostPulled = 4u << 20;
constexpr int kMostSteps = 400;
constexpr int kMostRounds = 300;  // of pulling every kind at the end
constexpr uint32_t kKinds[] = {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT};

class Host {
 public:
  Host(FuzzedDataProvider& input, FuzzSource& source) : m_input(input), m_source(source) {}

  void Play() {
    m_parser = createParser();
    Require(m_parser, "no parser");
    Resize(64u << 10);
    Open();
    for (int i = 0; i < kMostSteps && m_input.remaining_bytes() > 0; ++i) {
      m_source.NextCall();
      Step();
    }
    PullAll(kMostRounds);
    m_parser->Close();
    destroyParser(m_parser);
  }

 private:
  void Open() {
    m_source.NextCall();
    const int status = m_parser->Open(&m_source);
    Require(status == 0 || status == -1, "a status that Open does not have");
  }

  void Step() {
    constexpr unsigned long kSizes[] = {64u << 10, 1000, 1u << 20, 0};
    switch (m_input.ConsumeIntegralInRange(0, 10)) {
      case 0:
        return PullAll(m_input.ConsumeIntegralInRange(1, 16));
      case 1:
        return PullOne(kKinds[Draw(2)], m_input.ConsumeBool());
      case 2: {
        const int kind = Draw(4);
        const int mode = Draw(5) - 1;
        m_parser->Seek(Time(), kind, mode);
        return;
      }
      case 3:
        m_parser->SelectAudioTrack(m_input.ConsumeIntegral<int8_t>());
        return;
      case 4:
        m_parser->SelectTextTrack(m_input.ConsumeIntegral<int8_t>());
        return;
      case 5:
        m_parser->GetNextVideoKeyFrameTime(Time());
        return;
      case 6:
        return Describe();
      case 7:
        return Configure(Draw(1) ? 1000u : static_cast<unsigned>(Draw(63)));
      case 8:
        if (const unsigned long size = kSizes[Draw(3)]) return Resize(size);
        return Resize(static_cast<unsigned>(Draw(63)));
      case 9:
        m_parser->Close();
        return;
      default:
        return Open();
    }
  }

  int Draw(int most) { return m_input.ConsumeIntegralInRange(0, most); }
  unsigned long Time() {
    return m_input.ConsumeBool() ? m_input.ConsumeIntegral<unsigned long>() : m_input.ConsumeIntegral<uint16_t>();
  }

  void Resize(unsigned long size) {
    m_block.reset(new uint8_t[size]);
    m_size = size;
  }

  void PullOne(uint32_t kind, bool keyOnly) {
    if (m_pulled >= kMostPulled) return;
    m_source.NextCall();
    m_pulled += Pull(m_parser, kind, m_block.get(), m_size, keyOnly).len;
  }

  void PullAll(int rounds) {
    bool ended[3] = {};
    for (int i = 0; i < rounds && m_pulled < kMostPulled; ++i) {
      for (size_t kind = 0; kind < 3; ++kind) {
        if (ended[kind]) continue;
        m_source.NextCall();
        const Unit unit = Pull(m_parser, kKinds[kind], m_block.get(), m_size, false);
        ended[kind] = unit.status != 0;
        m_pulled += unit.len;
      }
    }
  }

  void Describe() {
    unsigned long ms;
    m_parser->GetDurationMs(&ms);
    uint8_t sum = 0;  // every byte that the host may look at is looked at
    for (int track = 0; track < m_parser->GetTrackCount(); ++track) {
      const TrackInfo* info = m_parser->GetTrackInfo(static_cast<unsigned long>(track));
      if (!info) continue;
      if (info->nTrackType == AVI_TRACK_AUDIO && info->audio.pExtraData) {
        for (size_t i = 0; i < info->audio.nExtraSize; ++i) sum ^= info->audio.pExtraData[i];
      } else if (info->nTrackType == AVI_TRACK_TEXT && info->text.pSubtitleName) {
        sum ^= static_cast<uint8_t>(std::strlen(info->text.pSubtitleName));
      }
    }
    [[maybe_unused]] volatile uint8_t keep = sum;
  }

  void Configure(unsigned long cap) {
    const std::unique_ptr<uint8_t[]> block(new uint8_t[cap]);
    unsigned long len = 77;
    const int status = m_parser->GetAudioConfig(block.get(), &len, cap);
    Require(status == 0 ? len <= cap : status == AVI_ERROR, "an audio configuration that does not fit");
    Require(m_parser->GetVideoConfig(block.get(), &len, cap) == 0, "a status that GetVideoConfig does not have");
  }

  FuzzedDataProvider& m_input;
  FuzzSource& m_source;
  IParser* m_parser = nullptr;
  std::unique_ptr<uint8_t[]> m_block;
  unsigned long m_size = 0;
  size_t m_pulled = 0;
};

void DrawSource(FuzzedDataProvider& input, FuzzSource* source) {
  constexpr int kStatuses[] = {AVI_IO_ERROR, AVI_SOURCE_WOULD_BLOCK, AVI_END_OF_STREAM, -5, INT_MIN, 0, 3};
  const uint8_t flags = input.ConsumeIntegral<uint8_t>();
  source->streaming = flags & 1;
  if (flags & 2) source->statusAtEnd = 0;
  SetLogLevel(flags & 4 ? "15" : "1");
  const int64_t size = source->length;
  const int64_t lengths[] = {size, 0, size / 2, size - 1, size + 4096, size + (16 << 20), -1, size};
  source->length = lengths[(flags >> 3 & 7) ^ (flags & 1)];  // a stream's is not known by default
  for (int i = 0; i < flags >> 6; ++i) {
    Fault fault;
    fault.first = input.ConsumeIntegralInRange<size_t>(0, 1023);
    fault.last = fault.first + input.ConsumeIntegralInRange<size_t>(0, 255);
    fault.status = input.PickValueInArray(kStatuses);
    if (fault.status >= 0) {
      fault.most = input.ConsumeIntegralInRange<uint64_t>(0, 15);
      fault.claim = input.ConsumeBool() ? UINT32_MAX : 0;
    }
    source->faults.push_back(fault);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const std::vector<uint8_t> file = TakeBody(input, kMostFile);
  FuzzSource source(file);
  DrawSource(input, &source);
  // Beside what grows with the file: the buffers of audio, split video and the host, and three copies of one format
  // whose claimed size is believed up to 16 MiB. While the length is not known, tables may take 64 MiB per stream.
  const bool known = source.length > 0 && source.length <= static_cast<int64_t>(2 * kMostFile);
  const size_t most = known ? (64u << 20) + 64 * file.size() : SIZE_MAX;
  Run([&] { Host(input, source).Play(); }, most);
  return 0;
}
