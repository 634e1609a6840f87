#include "fuzz/fuzz_support.h"

#include <android/log.h>
#include <sanitizer/allocator_interface.h>
#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory_resource>
#include <unordered_map>
#include <utility>

#include "platform/properties.h"
#include "zu_parser_avi/codec_ids.h"

namespace {

struct FatalExit {};

const char* g_logLevel = "1";
uint64_t g_lines;  // of the level that a product writes: notices, warnings and errors
int g_formatted;   // lines of a run

// Blocks taken since the run began, with their sizes. The fuzzer has threads of its own, whose blocks do not count. The
// nodes are pooled: one more checked block for every block would cost as much as what is watched.
std::pmr::unsynchronized_pool_resource g_pool;
std::pmr::unordered_map<const volatile void*, size_t> g_blocks(&g_pool);
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

/// Whether the file may have pictures of MPEG-1 or MPEG-2, which may be cut across its chunks.
bool MayBeSplit(IParser* parser) {
  for (int track = 0; track < parser->GetTrackCount(); ++track) {
    const TrackInfo* info = parser->GetTrackInfo(static_cast<unsigned long>(track));
    if (info && info->nCodecId == AVI_CODEC_MPEG12) return true;
  }
  return false;
}

}  // namespace

// Blocks left by a fatal overflow are freed without knowing how they were taken. Long stacks of allocations, and
// mapping a megabyte's shadow anew instead of clearing it, would cost more than the parser.
extern "C" const char* __asan_default_options() {
  return "alloc_dealloc_mismatch=0:allocator_may_return_null=1:detect_leaks=0:quarantine_size_mb=32:"
         "malloc_context_size=4:clear_shadow_mmap_threshold=16777216";
}

// Every block moves when it grows, as large ones do on a phone: pointers into the old one are found, and so is time
// that copying takes. The fuzz targets are linked with --wrap=realloc.
extern "C" void* __wrap_realloc(void* block, size_t size) {
  void* const moved = std::malloc(size);
  if (!block || !moved) return moved;
  std::memcpy(moved, block, std::min(size, __sanitizer_get_allocated_size(block)));
  std::free(block);
  return moved;
}

// What is logged goes nowhere, but the first lines of a run are formatted, so that a wrong argument is found.
extern "C" int __android_log_print(int priority, const char*, const char* format, ...) {
  constexpr int kMostFormatted = 200;
  g_lines += priority >= ANDROID_LOG_INFO;
  if (++g_formatted > kMostFormatted) return 0;
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

void RequireAtMost(uint64_t count, uint64_t most, const char* what) {
  if (count <= most) return;
  std::fprintf(stderr, "==finding: %" PRIu64 " %s, of which there may be %" PRIu64 "\n", count, what, most);
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
  g_formatted = 0;
  g_counts = true;
  try {
    body(argument);
    g_counts = false;
    Require(g_blocks.empty(), "blocks of the heap left after Close and destroyParser");
    RequireAtMost(g_mostBytes, mostBytes, "bytes of the heap");
  } catch (const FatalExit&) {
    std::pmr::unordered_map<const volatile void*, size_t> left(&g_pool);
    left.swap(g_blocks);
    for (const auto& [block, size] : left) std::free(const_cast<void*>(block));
  }
}

Subject FuzzSource::AsSubject() const {
  const int64_t size = static_cast<int64_t>(m_bytes.size());
  // A reader that knows the end does not read there.
  const bool failsAtEnd = statusAtEnd < 0 && (length <= 0 || length > size);
  return {.file = m_bytes.size(),
          .length = length > 0 ? static_cast<uint64_t>(length) : 0,
          .sound = faults.empty() && !failsAtEnd};
}

void FuzzSource::BeginCall(const Budget& budget) {
  m_budget = budget;
  m_readsOfCall = m_bytesOfCall = g_lines = 0;
}

void FuzzSource::EndCall() const {
  const uint64_t bytes = m_budget.bytes + m_budget.bytesPerRead * m_readsOfCall;
  const uint64_t lines = m_budget.lines + m_budget.linesPerRead * m_readsOfCall;
  RequireAtMost(m_bytesOfCall, bytes, "bytes read in one call");
  RequireAtMost(g_lines, lines, "lines logged in one call");
}

int FuzzSource::ReadAt(int64_t offset, void* buffer, uint64_t* count) {
  RequireAtMost(++m_readsOfCall, m_budget.reads, "reads in one call");
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
  m_bytesOfCall += *count;
  *count += now.claim;
  return now.status;
}

Unit Pull(IParser* parser, FuzzSource& source, uint32_t kind, uint8_t* block, unsigned long maxLen, bool keyOnly) {
  const Subject subject = source.AsSubject();
  unsigned long len = kind == AVI_TRACK_TEXT ? 0 : 77, ts = 77;  // without a text track nothing is stored
  int status = 0;
  if (kind == AVI_TRACK_VIDEO) {
    status = source.Within(VideoBudget(subject, maxLen, MayBeSplit(parser)),
                           [&] { return parser->GetVideoData(block, &len, &ts, maxLen, keyOnly); });
  } else if (kind == AVI_TRACK_AUDIO) {
    status = source.Within(AudioBudget(subject), [&] { return parser->GetAudioData(block, &len, &ts, maxLen); });
  } else {
    status = source.Within(TextBudget(subject, maxLen), [&] { return parser->GetTextData(block, &len, &ts, maxLen); });
  }
  Require(status <= 0, "a status that is not the host's");
  Require(status == 0 || len == 0, "a length together with an error");
  Require(len <= maxLen, "more bytes than the host has room for");
  return {status, len};
}
