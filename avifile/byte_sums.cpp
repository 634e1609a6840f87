#include "avifile/byte_sums.h"

#include <algorithm>

#include "avifile/format_fields.h"
#include "base/c_heap.h"

namespace {

uint32_t BlocksOf(uint32_t size, uint32_t blockAlign) {
  return blockAlign == 0 ? 1 : size / blockAlign + (size % blockAlign != 0);
}

size_t SampleCount(const SAVIStream* stream) { return IndexCount(stream) / SByteSums::kStride + 1; }

/// Samples of the sum over `amount(size)`; null without memory.
template <typename Amount>
MallocPtr<uint64_t> MakeSamples(const SAVIStream* stream, Amount amount) {
  MallocPtr<uint64_t> samples = AllocZeroed<uint64_t>(SampleCount(stream));
  if (!samples) return nullptr;
  const uint32_t count = IndexCount(stream);
  uint64_t sum = 0;
  for (uint32_t i = 0; i < count; ++i) {
    if (i % SByteSums::kStride == 0) samples.get()[i / SByteSums::kStride] = sum;
    sum += amount(ChunkSize(stream->pIndex->aIdx[i]));
  }
  if (count % SByteSums::kStride == 0) samples.get()[count / SByteSums::kStride] = sum;
  return samples;
}

/// The stream's sums, of bytes at least. Null without memory and for an index that is walked as fast: a search then
/// begins at the front and ends at the same place.
SByteSums* SumsOf(SAVIStream* stream) {
  if (IndexCount(stream) <= SByteSums::kStride) return nullptr;
  if (!stream->pSums) stream->pSums = AllocZeroed<SByteSums>(1).release();  // freed by FreeByteSums, with its samples
  SByteSums* const sums = stream->pSums;
  if (!sums) return nullptr;
  if (!sums->aBytes) sums->aBytes = MakeSamples(stream, [](uint32_t size) { return size; }).release();
  return sums->aBytes ? sums : nullptr;
}

/// The same with those of blocks, which take a division per entry.
const SByteSums* BlockSumsOf(SAVIStream* stream) {
  SByteSums* const sums = SumsOf(stream);
  if (!sums || sums->aBlocks) return sums;
  const uint32_t blockAlign = BlockAlign(stream);
  sums->aBlocks = MakeSamples(stream, [blockAlign](uint32_t size) { return BlocksOf(size, blockAlign); }).release();
  return sums->aBlocks ? sums : nullptr;
}

}  // namespace

SIndexPosition FindByteTarget(SAVIStream* stream, uint64_t target) {
  uint32_t i = 0;
  uint64_t bytes = 0;
  if (const SByteSums* sums = SumsOf(stream)) {
    const uint64_t* const begin = sums->aBytes;
    const uint64_t* const from = std::upper_bound(begin, begin + SampleCount(stream), target) - 1;  // the first is 0
    i = static_cast<uint32_t>(from - begin) * SByteSums::kStride;
    bytes = *from;
  }
  for (const uint32_t count = IndexCount(stream); i < count; ++i) {
    const uint32_t size = ChunkSize(stream->pIndex->aIdx[i]);
    if (target - bytes < size) break;
    bytes += size;
  }
  return {i, bytes};
}

SIndexPosition FindBlockCount(SAVIStream* stream, uint64_t blocks) {
  uint32_t i = 0;
  uint64_t bytes = 0, counted = 0;
  if (const SByteSums* sums = blocks ? BlockSumsOf(stream) : nullptr) {
    const uint64_t* const begin = sums->aBlocks;
    const auto sample = std::lower_bound(begin, begin + SampleCount(stream), blocks) - begin - 1;  // the first is 0
    i = static_cast<uint32_t>(sample) * SByteSums::kStride;
    bytes = sums->aBytes[sample];
    counted = begin[sample];
  }
  const uint32_t blockAlign = BlockAlign(stream);
  for (const uint32_t count = IndexCount(stream); i < count && counted < blocks; ++i) {
    const uint32_t size = ChunkSize(stream->pIndex->aIdx[i]);
    bytes += size;
    counted += BlocksOf(size, blockAlign);
  }
  return {i, bytes};
}

SIndexPosition EndOfIndex(SAVIStream* stream) { return FindBlockCount(stream, UINT64_MAX); }

void FreeByteSums(SByteSums* sums) {
  if (!sums) return;
  std::free(sums->aBytes);
  std::free(sums->aBlocks);
  std::free(sums);
}
