#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ostream>

#include "platform/properties.h"

namespace {

std::vector<LogLine> g_lines;
LogCapture::Level g_level;
bool g_active = false;
size_t g_written = 0;

void Reset(bool active, const LogCapture::Level& level) {
  EXPECT_NE(g_active, active) << "two captures at a time";
  g_lines.clear();
  g_level = level;
  g_active = active;
}

struct LevelCheck : testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { before = debug_level; }
  void OnTestEnd(const testing::TestInfo&) override { EXPECT_EQ(debug_level, before) << "left behind by the test"; }
  int before = 0;
};
[[maybe_unused]] const bool g_checked = (testing::UnitTest::GetInstance()->listeners().Append(new LevelCheck), true);

}  // namespace

// The program exports these two, so they stand before the platform's own for the shared library as well.

int __android_log_print(int prio, const char* tag, const char* format, ...) {
  ++g_written;
  if (!g_active) return 0;
  char text[1024];
  va_list args;
  va_start(args, format);
  const int length = std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  g_lines.push_back({prio, tag, text});
  return length;
}

int property_get(const char* key, char* value, const char* default_value) {
  const bool set = g_level && std::strcmp(key, "zucp.debug.level") == 0;
  const std::string text = set ? *g_level : default_value ? default_value : "";
  std::memcpy(value, text.c_str(), text.size() + 1);
  return static_cast<int>(text.size());
}

void PrintTo(const LogLine& line, std::ostream* out) { *out << line.prio << "/" << line.tag << ": " << line.text; }

LogCapture::LogCapture(const Level& level) {
  Reset(true, level);
  debug_level = std::atoi(level.value_or("1").c_str());
}
LogCapture::~LogCapture() { Reset(false, {}); }
const std::vector<LogLine>& LogCapture::Lines() const { return g_lines; }
size_t LogCapture::Written() { return g_written; }
void LogCapture::Clear() { g_lines.clear(); }

bool LogCapture::Has(int prio, const std::string& tag, const std::string& text) const {
  return std::find(g_lines.begin(), g_lines.end(), LogLine{prio, tag, text}) != g_lines.end();
}

size_t LogCapture::Count(const std::string& text) const {
  return static_cast<size_t>(
      std::count_if(g_lines.begin(), g_lines.end(), [&](const LogLine& line) { return line.text == text; }));
}

std::string LogCapture::Take(const std::string& tag) {
  std::string all;
  for (const LogLine& line : g_lines) {
    if (line.tag == tag) all += std::string(1, "VDIWE"[line.prio - ANDROID_LOG_VERBOSE]) + " " + line.text + "|";
  }
  Clear();
  return all;
}
