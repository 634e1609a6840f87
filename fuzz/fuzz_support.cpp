#include "fuzz/fuzz_support.h"

#include <android/log.h>
#include <sanitizer/allocator_interface.h>
#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "platform/properties.h"

namespace {

struct FatalExit {};

const char* g_logLevel = "1";

// Blocks taken since the run began, with their sizes. The fuzzer has threads of its own, whose blocks do not count.
std::unordered_map<const volatile void*, size_t> g_blocks;
size_t g_bytes, g_mostBytes;
thread_local bool g_counts = false;  // new blocks
thread_local bool g_inHook = false;  // the container's own

void OnMalloc(const volatile void* block, size_t size) {
  if (!g_counts || g_inHook) return;
  g_inHook = true;
  g_blocks.emplace(block, size);
  g_mostBytes = std::max(g_mostBytes, g_bytes += size);
  g_inHook = false;
}

void OnFree(const volatile void* block) {
  if (g_inHook || g_blocks.empty()) return;
  g_inHook = true;
  if (const auto found = g_blocks.find(block); found != g_blocks.end()) {
    g_bytes -= found->second;
    g_blocks.erase(found);
  }
  g_inHook = false;
}

}  // namespace

// Blocks left by a fatal overflow are freed without knowing how they were taken.
extern "C" const char* __asan_default_options() {
  return "alloc_dealloc_mismatch=0:allocator_may_return_null=1:detect_leaks=0:quarantine_size_mb=32:malloc_context_"
         "size=12";
}

// What is logged goes nowhere, but is formatted, so that a wrong argument is found.
extern "C" int __android_log_print(int, const char*, const char* format, ...) {
  char line[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  return length;
}

extern "C" int property_get(const char*, char* value, const char*) {
  return std::snprintf(value, 92, "%s", g_logLevel);
}

void Require(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "==finding: %s\n", what);
  std::abort();
}

std::vector<uint8_t> TakeBody(FuzzedDataProvider& input, size_t most) {
  const size_t decisions = input.ConsumeIntegralInRange<size_t>(0, 1023);
  const size_t left = input.remaining_bytes();
  std::vector<uint8_t> body = input.ConsumeBytes<uint8_t>(left - std::min(left, decisions));
  body.resize(std::min(body.size(), most));
  return body;
}

void SetLogLevel(const char* level) { g_logLevel = level; }

void EndByFatalOverflow() {
  g_counts = false;  // what throwing takes is not the run's
  throw FatalExit();
}

void Run(void (*body)(void*), void* argument, size_t mostBytes) {
  static const int installed = __sanitizer_install_malloc_and_free_hooks(OnMalloc, OnFree);
  Require(installed > 0, "no place for the heap hooks");
  g_bytes = g_mostBytes = 0;
  g_counts = true;
  try {
    body(argument);
    g_counts = false;
    Require(g_blocks.empty(), "blocks of the heap left after Close and destroyParser");
    if (g_mostBytes > mostBytes) std::fprintf(stderr, "%zu bytes instead of %zu\n", g_mostBytes, mostBytes);
    Require(g_mostBytes <= mostBytes, "memory out of proportion to the file");
  } catch (const FatalExit&) {
    for (const auto& [block, size] : std::exchange(g_blocks, {})) std::free(const_cast<void*>(block));
  }
}

int FuzzSource::ReadAt(int64_t offset, void* buffer, uint64_t* count) {
  Require(++m_readsOfCall <= 4 * m_bytes.size() + 10000, "too many reads in one call");
  uint8_t* const to = static_cast<uint8_t*>(buffer);
  const bool fits = !*count || (!__asan_region_is_poisoned(to, std::min<size_t>(*count, 1u << 20)) &&
                                !__asan_address_is_poisoned(to + *count - 1));
  Require(fits, "a read beyond the memory that it goes to");
  const size_t read = m_reads++;
  const auto fault =
      std::find_if(faults.begin(), faults.end(), [=](const Fault& f) { return read >= f.first && read <= f.last; });
  const Fault now = fault == faults.end() ? Fault() : *fault;
  const uint64_t wanted = *count;
  *count = 0;
  if (now.status < 0) return now.status;
  if (offset < 0) return -22;
  const uint64_t at = static_cast<uint64_t>(offset);
  if (at >= m_bytes.size()) return statusAtEnd;
  *count = std::min({wanted, m_bytes.size() - at, now.most});
  if (*count) std::memcpy(to, m_bytes.data() + at, *count);
  *count += now.claim;
  return now.status;
}

Unit Pull(IParser* parser, uint32_t kind, uint8_t* block, unsigned long maxLen, bool keyOnly) {
  unsigned long len = kind == AVI_TRACK_TEXT ? 0 : 77, ts = 77;  // without a text track nothing is stored
  const int status = kind == AVI_TRACK_VIDEO   ? parser->GetVideoData(block, &len, &ts, maxLen, keyOnly)
                     : kind == AVI_TRACK_AUDIO ? parser->GetAudioData(block, &len, &ts, maxLen)
                                               : parser->GetTextData(block, &len, &ts, maxLen);
  Require(status <= 0, "a status that is not the host's");
  Require(status == 0 || len == 0, "a length together with an error");
  Require(len <= maxLen, "more bytes than the host has room for");
  return {status, len};
}
