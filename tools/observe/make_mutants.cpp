#include "tools/observe/make_mutants.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;
using Random = std::mt19937_64;  // the same numbers everywhere, other than the distributions

/// Without what a fuzz seed, which has no ".avi", holds behind the file: decisions, and their number in two bytes.
Bytes ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  Bytes bytes(std::istreambuf_iterator<char>(in), {});
  if (path.extension() == ".avi" || bytes.size() < 2) return bytes;
  const size_t decisions = (bytes[bytes.size() - 2] + bytes[bytes.size() - 1] * size_t{256}) % 1024;
  bytes.resize(bytes.size() - 2 - std::min(bytes.size() - 2, decisions));
  return bytes;
}

/// Headers and indexes stand at the two ends, so most of the damage is done there.
size_t Place(Random& random, size_t size) {
  constexpr size_t kEnd = 2048;
  const size_t near = random() % std::min(size, kEnd);
  switch (random() % 4) {
    case 0:
      return random() % size;
    case 1:
      return size - 1 - near;
    default:
      return near;
  }
}

void Damage(Random& random, Bytes* bytes) {
  if (bytes->empty()) return;
  const size_t at = Place(random, bytes->size());
  const size_t end = std::min(bytes->size(), at + 1 + random() % 24);
  const auto from = bytes->begin() + static_cast<std::ptrdiff_t>(at);
  switch (random() % 8) {
    case 0:
      return bytes->resize(at);
    case 1:
      std::fill(from, bytes->begin() + static_cast<std::ptrdiff_t>(end), uint8_t{0});
      return;
    case 2:
      std::fill(from, bytes->begin() + static_cast<std::ptrdiff_t>(std::min(at + 4, bytes->size())), uint8_t{0xFF});
      return;
    case 3:
      bytes->erase(from, bytes->begin() + static_cast<std::ptrdiff_t>(end));
      return;
    default:
      (*bytes)[at] = static_cast<uint8_t>((*bytes)[at] ^ 1u << random() % 8);
  }
}

bool WriteFile(const fs::path& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return out.good();
}

}  // namespace

int MakeMutants(const fs::path& in, const fs::path& out, size_t count, uint64_t seed) {
  std::map<std::string, Bytes> named;
  for (const auto& entry : fs::directory_iterator(in)) {
    const fs::path& path = entry.path();
    const bool isSeed = path.filename().string().starts_with("seed-");
    if (isSeed || path.extension() == ".avi") named[path.stem().string()] = ReadFile(path);
  }
  std::set<Bytes> seen;
  std::erase_if(named, [&](const auto& file) { return !seen.insert(file.second).second; });
  if (named.empty()) return std::fprintf(stderr, "zu_observe: no files in %s\n", in.c_str()), 2;
  fs::create_directories(out);
  bool written = true;
  for (const auto& [name, bytes] : named) written = WriteFile(out / (name + ".avi"), bytes) && written;
  Random random(seed);
  auto file = named.begin();
  for (size_t i = 0; i < count; ++i) {
    Bytes bytes = file->second;
    for (uint64_t times = 1 + random() % 3; times > 0; --times) Damage(random, &bytes);
    written = WriteFile(out / (file->first + "-" + std::to_string(i) + ".avi"), bytes) && written;
    if (++file == named.end()) file = named.begin();
  }
  return written ? 0 : (std::fprintf(stderr, "zu_observe: cannot write to %s\n", out.c_str()), 2);
}
