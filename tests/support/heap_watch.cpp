#include "tests/support/heap_watch.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

long g_failFirst = HeapWatch::kNever, g_failLast = HeapWatch::kNever;
long g_asked = 0;
const std::vector<uint8_t>* g_behind = nullptr;
long g_blocks = 0;
long g_bytes = 0, g_peak = 0;  // the test framework frees blocks that were never seen here: only differences count
size_t g_largest = 0, g_copied = 0;

bool Allowed() {
  const long number = g_asked++;
  return number < g_failFirst || number > g_failLast;
}

void* Took(void* block) {
  if (!block) return nullptr;
  ++g_blocks;
  g_bytes += static_cast<long>(malloc_usable_size(block));
  g_peak = std::max(g_peak, g_bytes);
  return block;
}

void Gave(void* block) {
  if (!block) return;
  --g_blocks;
  g_bytes -= static_cast<long>(malloc_usable_size(block));
}

}  // namespace

extern "C" {
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);

void* __wrap_calloc(size_t count, size_t size) {
  if (!Allowed()) return nullptr;
  g_largest = std::max(g_largest, count * size);
  if (!g_behind) return Took(__real_calloc(count, size));
  void* const block = __real_calloc(1, count * size + g_behind->size());
  std::copy(g_behind->begin(), g_behind->end(), static_cast<uint8_t*>(block) + count * size);
  return Took(block);
}
void* __wrap_realloc(void* block, size_t size) {
  if (!Allowed()) return nullptr;
  g_largest = std::max(g_largest, size);
  void* const moved = Took(__real_realloc(nullptr, size));
  if (!moved || !block) return moved;
  const size_t kept = std::min(malloc_usable_size(block), size);
  std::memcpy(moved, block, kept);
  g_copied += kept;
  Gave(block);
  __real_free(block);
  return moved;
}
void __wrap_free(void* block) {
  Gave(block);
  __real_free(block);
}
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allowed() ? ::operator new(size) : nullptr; }
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return Allowed() ? ::operator new[](size) : nullptr;
}

void HeapWatch::Fail(long first, long last) {
  g_asked = 0;
  g_failFirst = first;
  g_failLast = last;
}
long HeapWatch::StopFailing() {
  g_failFirst = g_failLast = kNever;
  return g_asked;
}
void HeapWatch::PutBehind(const std::vector<uint8_t>* bytes) { g_behind = bytes; }
long HeapWatch::LiveBlocks() { return g_blocks; }
long HeapWatch::StartPeak() {
  g_largest = g_copied = 0;
  return g_peak = g_bytes;
}
long HeapWatch::Peak() { return g_peak; }
size_t HeapWatch::Largest() { return g_largest; }
size_t HeapWatch::Copied() { return g_copied; }
