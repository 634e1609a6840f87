#ifndef ZU_BENCH_UNIT_BUFFER_H_
#define ZU_BENCH_UNIT_BUFFER_H_

#include <cstdint>
#include <span>

/// The one buffer that all readers put what they read into, so that none has better memory than another.
inline std::span<unsigned char> UnitBuffer() {
  alignas(4096) static unsigned char bytes[1u << 20];
  return bytes;
}

#endif  // ZU_BENCH_UNIT_BUFFER_H_
