#include "tools/aviprobe/model/header_map.h"

#include <algorithm>
#include <bit>
#include <span>

#include "tools/aviprobe/model/chunk_data.h"
#include "tools/aviprobe/model/format_names.h"
#include "tools/aviprobe/model/little_endian.h"

namespace {

constexpr size_t kMainBytes = 56, kStreamBytes = 48;
constexpr size_t kMostFormat = 64u << 10, kMostName = 256;

// BITMAPINFOHEADER and WAVEFORMATEX.
constexpr size_t kWidthAt = 4, kHeightAt = 8, kCompressionAt = 16;
constexpr size_t kTagAt = 0, kChannelsAt = 2, kSamplesAt = 4, kBytesPerSecAt = 8, kBlockAlignAt = 12, kBitsAt = 14;
constexpr size_t kSubFormatAt = 24;

SMainHeader DecodeMain(std::span<const uint8_t> raw, int64_t offset) {
  return {.nOffset = offset,
          .nMicroSecPerFrame = Le32At(raw, 0),
          .nMaxBytesPerSec = Le32At(raw, 4),
          .nPaddingGranularity = Le32At(raw, 8),
          .nFlags = Le32At(raw, 12),
          .nTotalFrames = Le32At(raw, 16),
          .nInitialFrames = Le32At(raw, 20),
          .nStreams = Le32At(raw, 24),
          .nSuggestedBufferSize = Le32At(raw, 28),
          .nWidth = Le32At(raw, 32),
          .nHeight = Le32At(raw, 36)};
}

void DecodeStream(std::span<const uint8_t> raw, SStreamHeader* stream) {
  if (raw.size() >= 4) stream->kind = FourCC(raw.data());
  if (raw.size() >= 8) stream->handler = FourCC(raw.data() + 4);
  stream->nFlags = Le32At(raw, 8);
  stream->nInitialFrames = Le32At(raw, 16);
  stream->nScale = Le32At(raw, 20);
  stream->nRate = Le32At(raw, 24);
  stream->nStart = Le32At(raw, 28);
  stream->nLength = Le32At(raw, 32);
  stream->nSuggestedBufferSize = Le32At(raw, 36);
  stream->nSampleSize = Le32At(raw, 44);
}

/// A chunk of a stream's list. Of several with one name the first counts.
void ReadStreamChunk(FileSource& source, const SFileMap& map, size_t number, SStreamHeader* stream) {
  const SChunk& chunk = map.chunks[number];
  if (chunk.id == FourCC("strh") && !stream->nStrhOffset) {
    stream->nStrhOffset = chunk.DataOffset();
    DecodeStream(ReadOwnData(source, map, number, kStreamBytes), stream);
  }
  if (chunk.id == FourCC("strf") && !stream->nStrfOffset) {
    stream->nStrfOffset = chunk.DataOffset();
    stream->format = ReadOwnData(source, map, number, kMostFormat);
  }
  if (chunk.id == FourCC("strn") && stream->sName.empty()) {
    const std::vector<uint8_t> name = ReadOwnData(source, map, number, kMostName);
    stream->sName.assign(name.begin(), std::find(name.begin(), name.end(), 0));
  }
}

}  // namespace

void ReadHeaders(FileSource& source, SFileMap* map) {
  int32_t list = -1;  // of the newest stream
  for (size_t i = 0; i < map->OwnChunks(); ++i) {
    const SChunk& chunk = map->chunks[i];
    if (chunk.id == FourCC("avih") && !map->main) {
      map->main = DecodeMain(ReadOwnData(source, *map, i, kMainBytes), chunk.DataOffset());
    }
    if (chunk.bList && chunk.type == FourCC("strl")) {
      list = static_cast<int32_t>(i);
      map->streams.push_back({.nListOffset = chunk.nOffset});
    }
    if (list >= 0 && chunk.nParent == list) ReadStreamChunk(source, *map, i, &map->streams.back());
  }
}

FourCC SStreamHeader::Compression() const {
  return IsVideo() && format.size() >= kCompressionAt + 4 ? FourCC(format.data() + kCompressionAt) : FourCC();
}
int32_t SStreamHeader::Width() const { return IsVideo() ? std::bit_cast<int32_t>(Le32At(format, kWidthAt)) : 0; }
int32_t SStreamHeader::Height() const { return IsVideo() ? std::bit_cast<int32_t>(Le32At(format, kHeightAt)) : 0; }

uint16_t SStreamHeader::FormatTag() const {
  if (!IsAudio()) return 0;
  const uint16_t tag = Le16At(format, kTagAt);
  if (tag != kExtensibleTag || format.size() < kSubFormatAt + kGuidBytes) return tag;
  return TagOfSubFormat(std::span(format).subspan(kSubFormatAt).first<kGuidBytes>());
}
uint32_t SStreamHeader::SamplesPerSec() const { return IsAudio() ? Le32At(format, kSamplesAt) : 0; }
uint32_t SStreamHeader::AvgBytesPerSec() const { return IsAudio() ? Le32At(format, kBytesPerSecAt) : 0; }
uint16_t SStreamHeader::BlockAlign() const { return IsAudio() ? Le16At(format, kBlockAlignAt) : uint16_t{0}; }
uint16_t SStreamHeader::Channels() const { return IsAudio() ? Le16At(format, kChannelsAt) : uint16_t{0}; }
uint16_t SStreamHeader::BitsPerSample() const { return IsAudio() ? Le16At(format, kBitsAt) : uint16_t{0}; }

std::optional<double> SStreamHeader::DeclaredSeconds() const {
  if (nScale == 0 || nRate == 0) return std::nullopt;
  return static_cast<double>(nLength) * nScale / nRate;
}
