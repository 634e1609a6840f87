#ifndef ZU_TOOLS_OBSERVE_RECORDER_H_
#define ZU_TOOLS_OBSERVE_RECORDER_H_

#include <cstddef>
#include <cstdint>

/// What is known of one scenario, in memory that outlives the process in which it runs.
struct Outcome {
  enum End : int { kNotRun, kDone, kStopped, kTimedOut, kSignal };  // kSignal + n: ended by signal n
  uint64_t hash = 0xCBF29CE484222325u;
  uint32_t calls = 0, logs = 0, reads = 0, events = 0;
  int end = kNotRun;
};
extern Outcome* g_outcome;  ///< of the scenario that runs
extern bool g_full;         ///< events are printed, too
extern int g_logMask;       ///< what the library is told to log

constexpr int kStoppedExit = 42;

uint64_t Fnv(const void* data, size_t size, uint64_t hash = 0xCBF29CE484222325u);

/// Adds a line to the scenario's hash. Ends the process with kStoppedExit when there have been too many.
[[gnu::format(printf, 1, 2)]] void Event(const char* format, ...);

#endif  // ZU_TOOLS_OBSERVE_RECORDER_H_
