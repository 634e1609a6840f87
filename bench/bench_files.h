#ifndef ZU_BENCH_BENCH_FILES_H_
#define ZU_BENCH_BENCH_FILES_H_

#include <cstddef>
#include <cstdint>

#include "tests/support/avi_builder.h"

constexpr uint32_t kMp3FrameBytes = 417;  // MPEG-1 Layer III, 128 kbit/s, 44.1 kHz, no padding

/// A file with one MP3 track of `frames` frames, cut into chunks of `chunkBytes`, with a legacy index.
AviFile Mp3File(size_t frames, size_t chunkBytes);

/// A file whose PCM track has `entries` index entries that all name the same few bytes; nothing is to be read from it.
AviFile LongIndexFile(uint32_t entries);

#endif  // ZU_BENCH_BENCH_FILES_H_
