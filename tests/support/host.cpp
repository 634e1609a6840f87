#include "tests/support/host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>

void PrintTo(const Unit& unit, std::ostream* out) {
  constexpr size_t kShown = 64;
  *out << unit.data.size() << " bytes \"";
  for (size_t i = 0; i < std::min(unit.data.size(), kShown); ++i) {
    char text[8];
    std::snprintf(text, sizeof text, std::isprint(unit.data[i]) ? "%c" : "\\x%02x", unit.data[i]);
    *out << text;
  }
  *out << (unit.data.size() > kShown ? "...\"" : "\"") << " at " << unit.timeMs << " ms, status " << unit.status;
}

Unit Pull(IParser* parser, uint32_t kind, unsigned long maxLen, bool keyOnly) {
  constexpr size_t kGuardBytes = 16, kStaleBytes = 4096;
  constexpr uint8_t kGuard = 0xA5;
  static Bytes buffer;  // kept, because a fresh one for each call is slow with the address sanitizer
  buffer.resize(std::max(buffer.size(), maxLen + kGuardBytes));
  std::fill_n(buffer.begin(), std::min(maxLen, kStaleBytes), kGuard);
  uint8_t* const guard = buffer.data() + maxLen;
  std::fill_n(guard, kGuardBytes, kGuard);

  // The upper half shows whether a result fills the host's whole word. Without a text track nothing is filled.
  unsigned long len = kind == AVI_TRACK_TEXT ? 0 : 0x5555555500000000ul, ms = 0;
  const int status = kind == AVI_TRACK_VIDEO   ? parser->GetVideoData(buffer.data(), &len, &ms, maxLen, keyOnly)
                     : kind == AVI_TRACK_AUDIO ? parser->GetAudioData(buffer.data(), &len, &ms, maxLen)
                                               : parser->GetTextData(buffer.data(), &len, &ms, maxLen);
  EXPECT_EQ(std::count(guard, guard + kGuardBytes, kGuard), kGuardBytes) << "bytes beyond the host's buffer";
  EXPECT_LE(len, status == 0 ? maxLen : 0);
  EXPECT_LE(ms, 0xFFFFFFFFul);
  return Unit(Bytes(buffer.data(), buffer.data() + std::min(len, maxLen)), static_cast<uint32_t>(ms), status);
}

Drained Drain(IParser* parser, uint32_t kind, unsigned long maxLen, bool keyOnly) {
  constexpr int kMaxEmpty = 100;
  constexpr size_t kMaxUnits = 100000;
  Drained result{{}, 0};
  for (int empty = 0; empty < kMaxEmpty && result.status == 0; ++empty) {
    Unit unit = Pull(parser, kind, maxLen, keyOnly);
    result.status = unit.status;
    if (unit.data.empty()) continue;
    empty = 0;
    result.units.push_back(std::move(unit));
    if (result.units.size() == kMaxUnits) {
      ADD_FAILURE() << "the track does not end";
      break;
    }
  }
  return result;
}

OpenedParser::OpenedParser(IDataSource* source, int expected, const ParserFactory& factory)
    : m_factory(factory), m_parser(factory.create()) {
  EXPECT_EQ(m_parser->Open(source), expected) << "Open";
}

OpenedParser::~OpenedParser() {
  m_parser->Close();
  m_factory.destroy(m_parser);
}
