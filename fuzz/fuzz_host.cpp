// What a host does with a file, in any order, on a source that may fail.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>

#include "fuzz/fuzz_support.h"

namespace {

constexpr size_t kMostFile = 64u << 10;
// What repeats itself shows nothing new, but the fuzzer takes every count for news and collects what is slow.
constexpr int kMostSteps = 100;
constexpr int kMostOpens = 4;
constexpr uint32_t kKinds[] = {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT};

class Host {
  template <typename Call>
  auto Query(Call call) {
    return m_source.Within(QueryBudget(), call);
  }

 public:
  Host(FuzzedDataProvider& input, FuzzSource& source) : m_input(input), m_source(source) {}

  void Play() {
    m_parser = createParser();
    Require(m_parser, "no parser");
    Resize(64u << 10);
    Open();
    for (int i = 0; i < kMostSteps && m_input.remaining_bytes() > 0; ++i) {
      Step();
    }
    PullAll(INT_MAX);
    Query([&] { return m_parser->Close(); });
    destroyParser(m_parser);
  }

 private:
  void Open() {
    if (++m_opens > kMostOpens) return;
    const int status = m_source.Within(OpenBudget(m_subject), [&] { return m_parser->Open(&m_source); });
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
        Query([&] { return m_parser->Seek(Time(), kind, mode); });
        return;
      }
      case 3:
        Query([&] { return m_parser->SelectAudioTrack(m_input.ConsumeIntegral<int8_t>()); });
        return;
      case 4:
        Query([&] { return m_parser->SelectTextTrack(m_input.ConsumeIntegral<int8_t>()); });
        return;
      case 5:
        Query([&] { return m_parser->GetNextVideoKeyFrameTime(Time()); });
        return;
      case 6:
        return Describe();
      case 7:
        return Configure(Draw(1) ? 1000u : static_cast<unsigned>(Draw(63)));
      case 8:
        if (const unsigned long size = kSizes[Draw(3)]) return Resize(size);
        return Resize(static_cast<unsigned>(Draw(63)));
      case 9:
        Query([&] { return m_parser->Close(); });
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
    if (m_pulls++ < m_mostPulls) Pull(m_parser, m_source, kind, m_block.get(), m_size, keyOnly);
  }

  void PullAll(int rounds) {
    bool ended[3] = {};
    while (rounds-- > 0 && m_pulls < m_mostPulls && !(ended[0] && ended[1] && ended[2])) {
      for (size_t kind = 0; kind < 3; ++kind) {
        if (ended[kind]) continue;
        ++m_pulls;
        const size_t reads = m_source.Reads();
        const Unit unit = Pull(m_parser, m_source, kKinds[kind], m_block.get(), m_size);
        const bool idle = unit.len == 0 && m_source.Reads() == reads;  // no such track, for one
        ended[kind] = unit.status != 0 || idle;
      }
    }
  }

  void Describe() {
    unsigned long ms;
    Query([&] { return m_parser->GetDurationMs(&ms); });
    uint8_t sum = 0;  // every byte that the host may look at is looked at
    const int tracks = Query([&] { return m_parser->GetTrackCount(); });
    for (int track = 0; track < tracks; ++track) {
      const TrackInfo* info = Query([&] { return m_parser->GetTrackInfo(static_cast<unsigned long>(track)); });
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
    int status = Query([&] { return m_parser->GetAudioConfig(block.get(), &len, cap); });
    Require(status == 0 ? len <= cap : status == AVI_ERROR, "an audio configuration that does not fit");
    status = m_source.Within(ConfigBudget(m_subject), [&] { return m_parser->GetVideoConfig(block.get(), &len, cap); });
    Require(status == 0, "a status that GetVideoConfig does not have");
  }

  FuzzedDataProvider& m_input;
  FuzzSource& m_source;
  const Subject m_subject = m_source.AsSubject();
  const uint64_t m_mostPulls = 200 + m_subject.file / 16;  // enough for the end of any file but one of tiny chunks
  uint64_t m_pulls = 0;
  int m_opens = 0;
  IParser* m_parser = nullptr;
  std::unique_ptr<uint8_t[]> m_block;
  unsigned long m_size = 0;
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
  constexpr size_t kHostBlocks = (1u << 20) + 4096;
  Run([&] { Host(input, source).Play(); }, HeapBudget(source.AsSubject()) + kHostBlocks);
  return 0;
}
