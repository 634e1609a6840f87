// Writes one of the benchmarks' files: make_file NAME UNITS PATH. The names stand in bench_files.h.
#include <cstdlib>
#include <exception>
#include <iostream>

#include "bench/bench_files.h"

int main(int argc, char** argv) {
  if (argc != 4) return std::cerr << "usage: make_file NAME UNITS PATH\n", 2;
  try {
    BenchFile file = MakeFile(argv[1], static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10)), argv[3]);
    file.path.clear();  // it is to stay
  } catch (const std::exception& error) {
    return std::cerr << "make_file: " << error.what() << '\n', 1;
  }
}
