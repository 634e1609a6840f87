#ifndef ZU_TESTS_SUPPORT_HOST_H_
#define ZU_TESTS_SUPPORT_HOST_H_

#include <cstdint>
#include <vector>

#include "tests/support/avi_builder.h"
#include "zu_parser_avi/iparser.h"

/// One answer of a data operation.
struct Unit {
  Unit(Data bytes, uint32_t ms, int result = 0) : data(std::move(bytes.bytes)), timeMs(ms), status(result) {}
  bool operator==(const Unit&) const = default;
  Bytes data;
  uint32_t timeMs;
  int status;
};
void PrintTo(const Unit& unit, std::ostream* out);

/// What every data operation answers once its track has ended.
inline Unit End() { return Unit("", 0xFFFFFFFF, -1011); }

/// The non-empty units that a track gave, and how it ended: `status` 0 when nothing but empty units came any more.
struct Drained {
  std::vector<Unit> units;
  int status;
};

constexpr unsigned long kHostBuffer = 1u << 20;

/// One call of the host for a track of kind AVI_TRACK_VIDEO, _AUDIO or _TEXT. Fails the test when the parser writes
/// beyond `maxLen` bytes, reports more, or reports a length with an error.
Unit Pull(IParser* parser, uint32_t kind, unsigned long maxLen = kHostBuffer, bool keyOnly = false);
Drained Drain(IParser* parser, uint32_t kind, unsigned long maxLen, bool keyOnly);

inline Drained DrainVideo(IParser* parser, unsigned long maxLen = kHostBuffer, bool keyOnly = false) {
  return Drain(parser, AVI_TRACK_VIDEO, maxLen, keyOnly);
}
inline Drained DrainAudio(IParser* parser, unsigned long maxLen = kHostBuffer) {
  return Drain(parser, AVI_TRACK_AUDIO, maxLen, false);
}
inline Drained DrainText(IParser* parser, unsigned long maxLen = kHostBuffer) {
  return Drain(parser, AVI_TRACK_TEXT, maxLen, false);
}

struct ParserFactory {
  IParser* (*create)() = createParser;
  void (*destroy)(IParser*) = destroyParser;
};

/// A parser from Open to Close. Fails the test when Open does not return `expected`.
class OpenedParser {
 public:
  explicit OpenedParser(IDataSource* source, int expected = 0, const ParserFactory& factory = {});
  ~OpenedParser();
  OpenedParser(const OpenedParser&) = delete;
  OpenedParser& operator=(const OpenedParser&) = delete;

  operator IParser*() const { return m_parser; }
  IParser* operator->() const { return m_parser; }

 private:
  ParserFactory m_factory;
  IParser* m_parser;
};

#endif  // ZU_TESTS_SUPPORT_HOST_H_
