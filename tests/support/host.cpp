#include "tests/support/host.h"

#include <gtest/gtest.h>

#include <algorithm>

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

Host::Host(SparseSource film, const HostOptions& options)
    : Film(std::move(film), options.fault),
      m_destroy(options.destroy),
      parser(options.create()),
      opened(parser->Open(&faulty)) {
  EXPECT_EQ(opened, options.open.value_or(opened)) << "Open";
}

Host::~Host() {
  parser->Close();
  m_destroy(parser);
}

Units Host::Rest(uint32_t kind) const {
  constexpr int kMaxEmpty = 100;
  constexpr size_t kMaxUnits = 100000;
  Units units;
  for (int empty = 0; empty < kMaxEmpty; ++empty) {
    Unit unit = Pull(parser, kind);
    if (unit.status != 0) break;
    if (unit.data.empty()) continue;
    empty = 0;
    units.push_back(std::move(unit));
    if (units.size() == kMaxUnits) {
      ADD_FAILURE() << "the track does not end";
      break;
    }
  }
  return units;
}
