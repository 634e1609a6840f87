#ifndef ZU_TESTS_SUPPORT_ELEMENTARY_H_
#define ZU_TESTS_SUPPORT_ELEMENTARY_H_

#include "tests/support/host.h"

// Elementary audio streams, and AVI files with one such stream.

AudioFormat Coded(uint32_t tag, uint32_t rate, uint32_t bytesPerSecond);
/// A frame of `size` bytes whose payload looks like no codec's header and like no other frame's.
Bytes Frame(const Bytes& header, size_t size, uint32_t number);
/// With a seed: pieces of 5 to 1500 bytes.
std::vector<Bytes> Cut(const Bytes& stream, size_t size, uint32_t seed = 0);
AviFile AudioFile(const AudioFormat& format, const std::vector<Bytes>& chunks, std::optional<StreamHeader> header = {});
/// Every successful answer of the audio track, empty ones too.
Units Play(const AviFile& file);

/// Fails the test unless 100 frames of these headers and sizes, in turn, come whole, in order and in time when cut into
/// chunks of 100, 417, 1000 and 16384 bytes and three times at random, all but the last `lost` ones of each file. Of
/// chunks of one frame all have to come, at their own times. `ms` is what a frame lasts.
void ExpectEveryFrame(const AudioFormat& format, uint32_t ms, const std::vector<std::pair<Bytes, size_t>>& kinds,
                      const std::string& lost);

#endif  // ZU_TESTS_SUPPORT_ELEMENTARY_H_
