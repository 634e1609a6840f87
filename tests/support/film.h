#ifndef ZU_TESTS_SUPPORT_FILM_H_
#define ZU_TESTS_SUPPORT_FILM_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/avi_builder.h"
#include "tests/support/sources.h"

/// One answer of a read.
struct Unit {
  Unit(Data bytes, uint32_t ms, int result = 0) : data(std::move(bytes.bytes)), timeMs(ms), status(result) {}
  bool operator==(const Unit&) const = default;
  Bytes data;
  uint32_t timeMs;
  int status;
};
void PrintTo(const Unit& unit, std::ostream* out);
using Units = std::vector<Unit>;

constexpr Fault kNoFault{.first = SIZE_MAX};

/// A file on its source, which can be made to fail.
struct Film {
  explicit Film(SparseSource film, const Fault& fault = kNoFault) : source(std::move(film)), faulty(source, fault) {}
  SparseSource source;
  FaultySource faulty;
};

/// A sample file, without its first group's layout.
AviFile LoadSample(const std::string& path);

#endif  // ZU_TESTS_SUPPORT_FILM_H_
