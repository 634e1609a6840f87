#include "tests/support/film.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <ostream>

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

AviFile LoadSample(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {Bytes(std::istreambuf_iterator<char>(in), {}), {}, 0, {}};
}
