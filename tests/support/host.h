#ifndef ZU_TESTS_SUPPORT_HOST_H_
#define ZU_TESTS_SUPPORT_HOST_H_

#include <cstdint>
#include <optional>

#include "tests/support/film.h"
#include "tests/support/log_capture.h"
#include "zu_parser_avi/iparser.h"

/// What every data operation answers once its track has ended.
inline Unit End() { return Unit("", 0xFFFFFFFF, -1011); }

constexpr unsigned long kHostBuffer = 1u << 20;

/// One call of a host for a track of kind AVI_TRACK_VIDEO, _AUDIO or _TEXT. Fails the test when the parser writes
/// beyond `maxLen` bytes, reports more, or reports a length with an error.
Unit Pull(IParser* parser, uint32_t kind, unsigned long maxLen = kHostBuffer, bool keyOnly = false);

struct HostOptions {
  std::optional<int> open = 0;  ///< none: whatever Open answers
  Fault fault = kNoFault;
  IParser* (*create)() = createParser;
  void (*destroy)(IParser*) = destroyParser;
};

/// A parser from Open to Close, as its host sees it. Fails the test when Open does not answer as expected.
class Host : public Film {
 public:
  explicit Host(SparseSource film, const HostOptions& options = {});
  explicit Host(const AviFile& file, const HostOptions& options = {}) : Host(SparseSource(file), options) {}
  explicit Host(const Bytes& file, const HostOptions& options = {}) : Host(MemorySource(file), options) {}
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  IParser* operator->() const { return parser; }

  Unit Video(unsigned long room = kHostBuffer, bool keyOnly = false) const {
    return Pull(parser, AVI_TRACK_VIDEO, room, keyOnly);
  }
  Unit Audio(unsigned long room = kHostBuffer) const { return Pull(parser, AVI_TRACK_AUDIO, room); }
  Unit Text(unsigned long room = kHostBuffer) const { return Pull(parser, AVI_TRACK_TEXT, room); }
  /// The non-empty units that a track still gives, until it ends or nothing but empty ones come.
  Units Rest(uint32_t kind) const;

 private:
  void (*m_destroy)(IParser*);
  DebugLevelGuard m_level;

 public:
  IParser* const parser;
  const int opened;  ///< what Open answered
};

#endif  // ZU_TESTS_SUPPORT_HOST_H_
