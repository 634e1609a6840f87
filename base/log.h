#ifndef ZU_BASE_LOG_H_
#define ZU_BASE_LOG_H_

#include <android/log.h>

#include <array>
#include <cstddef>
#include <cstdint>

// Each .cpp defines its LOG_TAG before it includes this header. A message whose bit of `debug_level` is off costs one
// test: its arguments are not evaluated and must therefore have no effects.

extern int debug_level;

// Parsers are made on any thread while others log. An atomic type would change what hosts see of the variable.
inline int DebugLevel() { return __atomic_load_n(&debug_level, __ATOMIC_RELAXED); }
inline void SetDebugLevel(int level) { __atomic_store_n(&debug_level, level, __ATOMIC_RELAXED); }

constexpr int kLogErrors = 1;  // errors, warnings and notices
constexpr int kLogDebug = 2;
constexpr int kLogVerbose = 4;
constexpr int kLogTrace = 8;  // every read of the source

#define AVI_LOG_IF(bit, prio, ...)                                                                    \
  do {                                                                                                \
    if (__builtin_expect(DebugLevel() & (bit), 0)) __android_log_print((prio), LOG_TAG, __VA_ARGS__); \
  } while (0)
#define AVI_LOGE(...) AVI_LOG_IF(kLogErrors, ANDROID_LOG_ERROR, __VA_ARGS__)
#define AVI_LOGW(...) AVI_LOG_IF(kLogErrors, ANDROID_LOG_WARN, __VA_ARGS__)
#define AVI_LOGI(...) AVI_LOG_IF(kLogErrors, ANDROID_LOG_INFO, __VA_ARGS__)
#define AVI_LOGD(...) AVI_LOG_IF(kLogDebug, ANDROID_LOG_DEBUG, __VA_ARGS__)
#define AVI_LOGV(...) AVI_LOG_IF(kLogVerbose, ANDROID_LOG_VERBOSE, __VA_ARGS__)
#define AVI_LOGT(...) AVI_LOG_IF(kLogTrace, ANDROID_LOG_VERBOSE, __VA_ARGS__)

/// Lets each of some texts be written `kLines` times, so that a file cannot drown the log. `Text` is an enumeration of
/// them that ends in kCount; several texts may share a number and then a count.
template <typename Text, uint32_t kLines>
class LineLimits {
 public:
  bool Take(Text text) {
    uint32_t& written = m_aWritten[static_cast<size_t>(text)];
    return written < kLines && ++written;
  }

 private:
  std::array<uint32_t, static_cast<size_t>(Text::kCount)> m_aWritten{};
};

#endif  // ZU_BASE_LOG_H_
