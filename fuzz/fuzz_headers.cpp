// The decoders that need no file, on a block that ends where its bytes do.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>

#include "avifile/avi_file_parser.h"
#include "avifile/codec_table.h"
#include "avifile/video_bitstream.h"
#include "avifile/vol_header.h"
#include "base/checked_math.h"
#include "fuzz/fuzz_support.h"
#include "zu_parser_avi/sample_index.h"

namespace {

unsigned BitsAt(ByteSpan data, size_t at, size_t count) {
  unsigned bits = 0;
  for (size_t i = at; i < at + count; ++i) bits = bits << 1 | (data[i / 8] >> (7 - i % 8) & 1u);
  return bits;
}

void StartCodes(FuzzedDataProvider& input, ByteSpan data) {
  const ptrdiff_t size = static_cast<ptrdiff_t>(data.size());
  const uint8_t code = input.ConsumeIntegral<uint8_t>();
  const ptrdiff_t from = input.ConsumeIntegralInRange<ptrdiff_t>(-8, 247);
  const ptrdiff_t end = size + 8 - input.ConsumeIntegralInRange<ptrdiff_t>(0, 255);
  ptrdiff_t first = std::max<ptrdiff_t>(from, 0);
  while (first < end && first + 4 <= size && LoadBe32(data.data() + first) != (0x100u | code)) ++first;
  if (first >= end || first + 4 > size) first = kNotFound;
  Require(FindStartCode(data, code, from, end) == first, "FindStartCode");
}

void Bits(FuzzedDataProvider& input, uint8_t* bytes, unsigned size) {
  const unsigned at = input.ConsumeIntegralInRange(0u, size * 8);
  const unsigned count = input.ConsumeIntegralInRange(0u, std::min(size * 8 - at, 32u));
  unsigned position = at;
  const unsigned bits = readBits(reinterpret_cast<char*>(bytes), &position, count == 32 ? 1000 : count);
  Require(position == at + count && bits == BitsAt({bytes, size}, at, count), "readBits");
}

void Pictures(ByteSpan data) {
  const ptrdiff_t size = static_cast<ptrdiff_t>(data.size());
  if (const ptrdiff_t vol = FindDamagedVol(data); vol != kNotFound) {
    Require(FindStartCode(data, kVolStartCode, 0, size - 4) == vol && data[static_cast<size_t>(vol) + 4] & 0x80, "VOL");
  }
  IsTheoraIntra(data);
  IsH263Intra(data);
  const ptrdiff_t vop = FindStartCode(data, kVopStartCode, 0, size - 4);
  const int type = VopCodingType(data);
  Require(type >= -1 && type <= 3 && (type < 0) == (vop == kNotFound), "VopCodingType");
  if (vop == kNotFound) return;
  const uint32_t resolution = GuessTimeIncrementResolution(data, static_cast<size_t>(vop));
  Require(resolution <= 0xFFFF && (resolution & (resolution + 1)) == 0, "GuessTimeIncrementResolution");
}

void Vol(uint32_t resolution, uint32_t width, uint32_t height) {
  const auto vol = MakeVolHeader(resolution, width, height);
  Require(BitsAt(vol, 0, 32) == 0x120 && BitsAt(vol, 61, 16) == resolution, "MakeVolHeader");
  Require(BitsAt(vol, 80, 13) == (width & 0x1FFF) && BitsAt(vol, 94, 13) == (height & 0x1FFF), "MakeVolHeader: size");
}

void MpegHeader(uint32_t header) {
  int size, rate, channels, kbps, samples;
  const bool valid = CAVIFileParser::GetMPEGAudioFrameSize(header, &size, &rate, &channels, &kbps, &samples);
  Require(valid ? size >= 24 && size <= 2881 && rate >= 8000 && rate <= 48000 && kbps >= 8 && kbps <= 448
                : size == 0 && rate == 0 && channels == 0 && kbps == 0,
          "GetMPEGAudioFrameSize");
}

void Codecs(ByteSpan guid) {
  bool baseMedia;
  const uint16_t tag = FormatTagOf(guid.data(), &baseMedia);
  Require(!baseMedia || tag == LoadLe16(guid.data()), "FormatTagOf");
  Require(IsAudioStreamType(AudioTypeOf(tag)) && !IsAudioStreamType(VideoTypeOf(LoadLe32(guid.data()))), "codec types");
}

template <typename T>
void Truncated(double value) {
  const double low = static_cast<double>(std::numeric_limits<T>::min());
  const double high = static_cast<double>(std::numeric_limits<T>::max());
  const double exact = std::isnan(value) ? 0 : std::trunc(std::clamp(value, low, high));
  Require(static_cast<double>(Truncate<T>(value)) == exact, "Truncate");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  FuzzedDataProvider input(bytes, size);
  const std::vector<uint8_t> body = TakeBody(input, 4096);
  const std::unique_ptr<uint8_t[]> block(new uint8_t[body.size()]);
  std::copy(body.begin(), body.end(), block.get());
  const ByteSpan data(block.get(), body.size());
  debug_level = 15;
  StartCodes(input, data);
  Bits(input, block.get(), static_cast<unsigned>(data.size()));
  Pictures(data);
  Vol(input.ConsumeIntegral<uint16_t>(), input.ConsumeIntegral<uint32_t>(), input.ConsumeIntegral<uint32_t>());
  if (data.size() >= 4) MpegHeader(LoadBe32(data.data()));
  if (data.size() >= 16) Codecs(data);
  const double value = std::bit_cast<double>(input.ConsumeIntegral<uint64_t>());
  Truncated<int32_t>(value);
  Truncated<uint32_t>(value);
  Truncated<int64_t>(value);
  Truncated<uint64_t>(value);
  Require(ToTimeMs(value) != AVI_END_MARK && (std::isfinite(value) || ToTimeMs(value) == 0), "ToTimeMs");
  LengthsToStartCodes(block.get(), static_cast<uint32_t>(data.size()));
  return 0;
}
