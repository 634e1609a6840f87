// What an open item holds on the C heap for each entry of its index, and the most that opening it takes:
// index_memory FOLDER [--quick] > OUT.json
//
// The heap's own functions are taken over by this program. What does not grow with the index is measured with a small
// file of the same kind and taken off. A block that grows counts as a new one beside the old one, as with allocators
// that move it.
#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>

#include "bench/bench_files.h"
#include "bench/sources.h"
#include "zu_parser_avi/iparser.h"

namespace {

int64_t g_held = 0, g_peak = 0;  // bytes; what was there before this program's own code does not count

void* Took(void* block) {
  g_held += static_cast<int64_t>(malloc_usable_size(block));
  g_peak = std::max(g_peak, g_held);
  return block;
}

void Gave(void* block) { g_held -= static_cast<int64_t>(malloc_usable_size(block)); }

}  // namespace

// The C library's own functions, under the names that it keeps for those who replace them.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) { return Took(__libc_malloc(size)); }
void* calloc(size_t count, size_t size) { return Took(__libc_calloc(count, size)); }
void* memalign(size_t alignment, size_t size) { return Took(__libc_memalign(alignment, size)); }
void* aligned_alloc(size_t alignment, size_t size) { return Took(__libc_memalign(alignment, size)); }
int posix_memalign(void** block, size_t alignment, size_t size) {
  *block = Took(__libc_memalign(alignment, size));
  return *block ? 0 : ENOMEM;
}
void free(void* block) {
  Gave(block);
  __libc_free(block);
}
void* realloc(void* block, size_t size) {
  void* const moved = malloc(size);
  if (!moved || !block) return moved;
  std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
  free(block);
  return moved;
}
}

namespace {

struct Use {
  int64_t held, peak;
  size_t entries;
};

Use Open(const std::string& kind, uint32_t units, const std::filesystem::path& folder) {
  const BenchFile file = MakeFile(kind, units, folder / "memory.avi");
  FileSource source(file.path);
  const int64_t before = g_peak = g_held;
  IParser* const parser = createParser();
  if (parser->Open(&source) != AVI_OK) throw std::runtime_error("does not open");
  const Use use{g_held - before, g_peak - before, file.layout.chunks.size()};
  parser->Close();
  destroyParser(parser);
  if (g_held != before) throw std::runtime_error("Close left " + std::to_string(g_held - before) + " bytes");
  return use;
}

void PrintRow(const char* name, const std::string& kind, uint32_t units, const std::filesystem::path& folder,
              const char* behind) {
  const Use small = Open(kind, 1000, folder), large = Open(kind, units, folder);
  const double entries = static_cast<double>(large.entries - small.entries);
  std::cout << "{\"row\": \"" << name << "\", \"entries\": " << large.entries
            << ", \"held\": " << static_cast<double>(large.held - small.held) / entries
            << ", \"peak\": " << static_cast<double>(large.peak - small.held) / entries << "}" << behind << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = argc == 3 && std::strcmp(argv[2], "--quick") == 0;
  if (argc != 2 && !quick) return std::cerr << "usage: index_memory FOLDER [--quick]\n", 2;
  try {
    std::cout << "[";
    PrintRow("idx1", "tiny-alaw", quick ? 100000 : 1000000, argv[1], ",");
    PrintRow("ix## of 20 entries", "short-ix-alaw", quick ? 20000 : 80000, argv[1], "]");
  } catch (const std::exception& error) {
    return std::cerr << "index_memory: " << error.what() << '\n', 1;
  }
}
