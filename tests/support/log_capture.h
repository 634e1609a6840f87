#ifndef ZU_TESTS_SUPPORT_LOG_CAPTURE_H_
#define ZU_TESTS_SUPPORT_LOG_CAPTURE_H_

#include <android/log.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/log.h"

struct LogLine {
  int prio;
  std::string tag, text;
  bool operator==(const LogLine&) const = default;
};
void PrintTo(const LogLine& line, std::ostream* out);

/// Puts a `debug_level` back as it was: every parser made sets it for the whole process. A test that leaves it changed
/// fails.
class DebugLevelGuard {
 public:
  explicit DebugLevelGuard(int& level = debug_level) : m_level(level), m_before(level) {}
  ~DebugLevelGuard() { m_level = m_before; }
  DebugLevelGuard(const DebugLevelGuard&) = delete;
  DebugLevelGuard& operator=(const DebugLevelGuard&) = delete;

 private:
  int& m_level;
  const int m_before;
};

/// Keeps what is logged while it lives, by the objects in this program and by the shared library alike, and answers for
/// the property "zucp.debug.level", which it gives to the program's own objects at once. One at a time; without one
/// nothing is kept and the property is not set.
class LogCapture {
 public:
  using Level = std::optional<std::string>;  // none: the property is not set

  explicit LogCapture(const Level& level = {});
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogLine>& Lines() const;
  /// Lines written by the program since it began, kept or not.
  static size_t Written();
  void Clear();
  bool Has(int prio, const std::string& tag, const std::string& text) const;
  size_t Count(const std::string& text) const;
  /// What was logged under `tag` since the last call, each line with the letter of its priority and a bar behind it.
  std::string Take(const std::string& tag = "AVIFileParser");

 private:
  DebugLevelGuard m_guard;
};

#endif  // ZU_TESTS_SUPPORT_LOG_CAPTURE_H_
