#ifndef ZU_TESTS_SUPPORT_HEAP_WATCH_H_
#define ZU_TESTS_SUPPORT_HEAP_WATCH_H_

#include <cstddef>
#include <cstdint>
#include <vector>

/// The program's own calls of the C heap, which the linker sends here (--wrap), and its nothrow new. Not thread-safe.
class HeapWatch {
 public:
  static constexpr long kNever = -1;

  /// From now on the allocations number `first` to `last`, counted from 0, fail.
  static void Fail(long first, long last);
  /// @return how many were asked for since Fail.
  static long StopFailing();

  /// From now on `bytes` lie behind every zeroed block, where nobody has any business; null ends it.
  static void PutBehind(const std::vector<uint8_t>* bytes);

  /// Blocks of the C heap that were allocated and not freed.
  static long LiveBlocks();
  /// Begins to look for the peak. @return bytes of the C heap in use, give or take a constant.
  static long StartPeak();
  /// The most bytes in use at once since then.
  static long Peak();
  /// Since then, too: the largest block asked for, and the bytes copied by realloc, which here moves every block.
  static size_t Largest();
  static size_t Copied();
};

#endif  // ZU_TESTS_SUPPORT_HEAP_WATCH_H_
