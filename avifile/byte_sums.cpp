#include "avifile/byte_sums.h"

#include <algorithm>

#include "avifile/format_fields.h"
#include "base/c_heap.h"

namespace {

uint64_t BlocksOf(uint32_t size, uint32_t blockAlign) {
  return blockAlign == 0 ? 1 : (uint64_t{size} + blockAlign - 1) / blockAlign;
}

SByteSums* MakeByteSums(const SAVIStream* stream) {
  MallocPtr<SByteSums> sums = AllocZeroed<SByteSums>(1);
  if (!sums) return nullptr;
  const uint32_t count = IndexCount(stream);
  sums->nSamples = count / SByteSums::kStride + 1;
  const uint32_t blockAlign = BlockAlign(stream);
  MallocPtr<SByteSums::SSample> samples = AllocZeroed<SByteSums::SSample>(sums->nSamples);
  if (!samples) return nullptr;
  SByteSums::SSample sum{};
  for (uint32_t i = 0; i < count; ++i) {
    if (i % SByteSums::kStride == 0) samples.get()[i / SByteSums::kStride] = sum;
    const uint32_t size = ChunkSize(stream->pIndex->aIdx[i]);
    sum.qwBytes += size;
    sum.qwBlocks += BlocksOf(size, blockAlign);
  }
  if (count % SByteSums::kStride == 0) samples.get()[count / SByteSums::kStride] = sum;
  sums->aSamples = samples.release();  // freed by FreeByteSums
  return sums.release();
}

/// Walks from the last sample that `before(sample)` accepts to the first entry that `stop(bytes, blocks, size)`
/// accepts. Without memory for samples it walks from the front: the same result, later.
template <typename Before, typename Stop>
SIndexPosition Walk(SAVIStream* stream, Before before, Stop stop) {
  const uint32_t count = IndexCount(stream);
  const uint32_t blockAlign = BlockAlign(stream);
  if (!stream->pSums && count > SByteSums::kStride) stream->pSums = MakeByteSums(stream);
  SByteSums::SSample sum{};
  uint32_t i = 0;
  if (const SByteSums* sums = stream->pSums) {
    const SByteSums::SSample* begin = sums->aSamples;
    const SByteSums::SSample* from = std::partition_point(begin, begin + sums->nSamples, before);
    if (from != begin) {
      sum = from[-1];
      i = static_cast<uint32_t>(from - 1 - begin) * SByteSums::kStride;
    }
  }
  for (; i < count; ++i) {
    const uint32_t size = ChunkSize(stream->pIndex->aIdx[i]);
    if (stop(sum, size)) break;
    sum.qwBytes += size;
    sum.qwBlocks += BlocksOf(size, blockAlign);
  }
  return {i, sum.qwBytes};
}

}  // namespace

SIndexPosition FindByteTarget(SAVIStream* stream, uint64_t target) {
  return Walk(
      stream, [target](const SByteSums::SSample& sample) { return sample.qwBytes <= target; },
      [target](const SByteSums::SSample& sum, uint32_t size) { return target - sum.qwBytes < size; });
}

SIndexPosition FindBlockCount(SAVIStream* stream, uint64_t blocks) {
  return Walk(
      stream, [blocks](const SByteSums::SSample& sample) { return sample.qwBlocks < blocks; },
      [blocks](const SByteSums::SSample& sum, uint32_t) { return sum.qwBlocks >= blocks; });
}

SIndexPosition EndOfIndex(SAVIStream* stream) { return FindBlockCount(stream, UINT64_MAX); }

void FreeByteSums(SByteSums* sums) {
  if (!sums) return;
  std::free(sums->aSamples);
  std::free(sums);
}
