#ifndef ZU_BENCH_CHECK_H_
#define ZU_BENCH_CHECK_H_

#include <cstdint>
#include <vector>

#include "bench/bench_files.h"
#include "bench/sources.h"

/// What a drain delivered, once it has been compared with what was written.
struct Delivered {
  uint64_t units = 0;
  uint64_t bytes = 0;
  uint64_t missingSound = 0;  ///< bytes at the end of the sound that never came
  unsigned long logLines = 0;
};

/// Plays a file out and compares every byte: pictures chunk by chunk, MP3 frame by frame, PCM back to back. At the end
/// two MP3 frames may be missing, of PCM in chunks above 16 KiB a block, else nothing. Throws std::runtime_error for
/// what differs, and for messages in the log beyond the few of an open and an end.
Delivered CheckDelivery(const BenchFile& file, IDataSource& source, const MappedSource& written);

/// Where a seek goes in a film.
struct SeekTarget {
  unsigned long ms;       ///< in the middle of a picture's time
  int64_t picture;        ///< its number
  const ChunkRef* video;  ///< of the key frame at or before it
  const ChunkRef* audio;  ///< with the sound at that key frame's time
};

/// `count` of them all over a film, the same ones each time.
std::vector<SeekTarget> SeekTargets(const BenchFile& film, size_t count);

/// Seeks to each and compares the picture, and the sound at its time. Throws std::runtime_error.
void CheckSeeks(const std::vector<SeekTarget>& targets, IDataSource& source, const BenchFile& film,
                const MappedSource& written);

#endif  // ZU_BENCH_CHECK_H_
