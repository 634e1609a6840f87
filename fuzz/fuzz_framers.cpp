// Any bytes as the sound of a well-formed file, cut into chunks anyhow.
#include <algorithm>
#include <memory>

#include "fuzz/fuzz_support.h"
#include "tests/support/avi_builder.h"

namespace {

constexpr size_t kMostPayload = 64u << 10;
constexpr size_t kMostPulled = 5u << 18;  // all that fits a carry-over buffer, and what comes after
constexpr uint32_t kCarryBytes = 1u << 20;
constexpr unsigned long kSizes[] = {64u << 10, 1u << 20, 4096, 100, 1};

AudioFormat DrawFormat(FuzzedDataProvider& input) {
  struct Coding {
    uint32_t tag, bits;
  };
  constexpr Coding kCodings[] = {{0x55, 0}, {0x50, 0}, {0x2000, 0}, {1, 8}, {1, 16}, {1, 24}, {7, 8}, {0xFFFE, 24}};
  constexpr uint32_t kRates[] = {44100, 48000, 32000, 22050, 8000, 0};
  const Coding coding = input.PickValueInArray(kCodings);
  AudioFormat format{.tag = coding.tag, .rate = input.PickValueInArray(kRates), .bits = coding.bits};
  format.channels = input.ConsumeIntegralInRange<uint32_t>(1, 6);
  const bool samples = coding.bits != 0;
  format.blockAlign = samples ? format.channels * coding.bits / 8 : 1;
  format.bytesPerSecond =
      samples ? format.rate * format.blockAlign : input.ConsumeIntegralInRange<uint32_t>(0, 63) * 1000;
  return format;
}

AviFile DrawFile(FuzzedDataProvider& input, const Bytes& payload) {
  AviBuilder builder;
  const AudioFormat format = DrawFormat(input);
  const uint8_t flags = input.ConsumeIntegral<uint8_t>();
  StreamHeader header{.scale = format.blockAlign, .rate = format.bytesPerSecond, .sampleSize = format.blockAlign};
  if (flags & 1) header = {.scale = 1152, .rate = format.rate, .sampleSize = 0};
  builder.Audio(format, header);
  if (!(flags & 2)) builder.OldIndex();
  // First a chunk that fills a carry-over buffer, or nearly: the payload over and over, behind everything else.
  const bool fill = (flags & 0xF2) == 0xF0 && !payload.empty();
  if (fill) builder.IndexEntry("00wb", 0x10, 0, kCarryBytes - input.ConsumeIntegralInRange(0u, 255u));
  if (flags & 4) builder.IndexEntry("JUNK", 0, 4, 8);
  if (flags & 8) builder.IndexEntry("RES1", 0, 4, 8);
  for (size_t at = 0, cut = 0; at < payload.size(); at += cut) {
    cut = fill ? 0 : input.ConsumeIntegralInRange<size_t>(0, 1535);
    if (cut == 0) cut = std::max<size_t>(417, payload.size() / 64);  // also when nothing is left to draw
    const size_t end = at + std::min(cut, payload.size() - at);
    builder.Chunk(0, Bytes(payload.data() + at, payload.data() + end));
  }
  AviFile file = builder.Build();
  if (fill) {
    file.Put(file.Find("idx1") + 16, Le32(file.bytes.size() + 8));
    file.bytes.reserve(file.bytes.size() + 8 + kCarryBytes);
    Append(file.bytes, Join({"JUNK", Le32(kCarryBytes)}));
    for (size_t left = kCarryBytes; left > 0; left -= std::min(left, payload.size())) {
      Append(file.bytes, Head(payload, left));
    }
  }
  return file;
}

void Play(FuzzedDataProvider& input, FuzzSource& source, unsigned long maxLen, int restarts) {
  IParser* const parser = createParser();
  Require(parser, "no parser");
  const int opened = source.Within(OpenBudget(source.AsSubject()), [&] { return parser->Open(&source); });
  Require(opened == 0, "a well-formed file does not open");
  const std::unique_ptr<uint8_t[]> block(new uint8_t[maxLen]);
  for (; restarts >= 0; --restarts) {
    // Most calls deliver a byte or drop one; a few tries at the end of the data do neither.
    const size_t most = restarts ? input.ConsumeIntegral<uint8_t>() : 4 * kMostPayload + 1000;
    size_t calls = 0, bytes = 0;
    while (calls < most && bytes < kMostPulled) {
      const Unit unit = Pull(parser, source, AVI_TRACK_AUDIO, block.get(), maxLen);
      if (unit.status != 0) break;
      bytes += unit.len;
      ++calls;
    }
    Require(restarts || calls < most, "no end of the track");
    if (input.ConsumeBool()) source.Within(QueryBudget(), [&] { return parser->SelectAudioTrack(0); });
    if (!input.ConsumeBool()) continue;
    const uint16_t time = input.ConsumeIntegral<uint16_t>();
    source.Within(QueryBudget(), [&] { return parser->Seek(time, AVI_TRACK_AUDIO, 0); });
  }
  parser->Close();
  destroyParser(parser);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const Bytes payload = TakeBody(input, kMostPayload);
  const AviFile file = DrawFile(input, payload);
  FuzzSource source(file.bytes);
  const unsigned long maxLen = input.PickValueInArray(kSizes);
  const int restarts = input.ConsumeIntegralInRange(0, 7);
  Run([&] { Play(input, source, maxLen, restarts); }, HeapBudget(source.AsSubject()) + maxLen);
  return 0;
}
