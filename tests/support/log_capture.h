#ifndef ZU_TESTS_SUPPORT_LOG_CAPTURE_H_
#define ZU_TESTS_SUPPORT_LOG_CAPTURE_H_

#include <android/log.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

struct LogLine {
  int prio;
  std::string tag, text;
  bool operator==(const LogLine&) const = default;
};
void PrintTo(const LogLine& line, std::ostream* out);

/// Keeps what is logged while it lives, by the objects in this program and by the shared library alike, and answers for
/// the property "zucp.debug.level". One at a time; without one nothing is kept and the property is not set.
class LogCapture {
 public:
  using Level = std::optional<std::string>;  // none: the property is not set

  explicit LogCapture(const Level& level = {});
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// For the parsers made from now on.
  void SetDebugLevel(const Level& level);
  const std::vector<LogLine>& Lines() const;
  void Clear();
  bool Has(int prio, const std::string& tag, const std::string& text) const;
  size_t Count(const std::string& text) const;
};

#endif  // ZU_TESTS_SUPPORT_LOG_CAPTURE_H_
