#ifndef ZU_BASE_C_HEAP_H_
#define ZU_BASE_C_HEAP_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

struct FreeDeleter {
  void operator()(void* block) const noexcept { std::free(block); }
};

/// Owner of a block of the C heap.
template <typename T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

/// The first of `count` zeroed records on the C heap, owned by the caller; null when memory is out. A count of 0 gives
/// a block too, so that null always means failure.
template <typename T>
MallocPtr<T> AllocZeroed(size_t count) {
  static_assert(std::is_trivial_v<T>, "C-heap records have no constructors");
  return MallocPtr<T>(static_cast<T*>(std::calloc(count ? count : 1, sizeof(T))));
}

#endif  // ZU_BASE_C_HEAP_H_
