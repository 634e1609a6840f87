// The smallest of hosts: plays the start of a file and prints the number of units. It fails when there are none.
// With CONSUMER_LOADS it loads the library that its second argument names, as a plug-in; else it is linked with it.
#include <dlfcn.h>
#include <stdio.h>

#include <vector>

#include "zu_parser_avi/iparser.h"

namespace {

class File : public IDataSource {
 public:
  explicit File(const char* path) : m_pFile(fopen(path, "rb")) {}
  ~File() override {
    if (m_pFile) fclose(m_pFile);
  }

  int Prepare() override { return 0; }
  int SetPosition(int64_t, int) override { return 0; }
  int IsStreaming() override { return 0; }
  int GetSize(int64_t* length) override {
    if (m_pFile && fseek(m_pFile, 0, SEEK_END) == 0) *length = ftell(m_pFile);
    return 0;
  }
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override {
    if (!m_pFile || fseek(m_pFile, static_cast<long>(offset), SEEK_SET) != 0) return AVI_END_OF_STREAM;
    *length = fread(buffer, 1, *length, m_pFile);
    return 0;
  }

 private:
  FILE* m_pFile;
};

struct EntryPoints {
  decltype(&createParser) create;
  decltype(&destroyParser) destroy;
};

#ifdef CONSUMER_LOADS
EntryPoints Find(const char* name) {
  EntryPoints found = {nullptr, nullptr};
  void* const library = name ? dlopen(name, RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (!library) return found;
  found.create = reinterpret_cast<decltype(&createParser)>(dlsym(library, "createParser"));
  found.destroy = reinterpret_cast<decltype(&destroyParser)>(dlsym(library, "destroyParser"));
  return found;
}
#else
EntryPoints Find(const char*) { return {createParser, destroyParser}; }
#endif

int CountUnits(IParser* parser) {
  std::vector<unsigned char> buffer(1 << 20);
  int units = 0;
  for (int i = 0; i < 100; ++i) {
    unsigned long length = 0, ms = 0;
    if (parser->GetVideoData(buffer.data(), &length, &ms, buffer.size(), false) == AVI_OK && length > 0) ++units;
    length = 0;
    if (parser->GetAudioData(buffer.data(), &length, &ms, buffer.size()) == AVI_OK && length > 0) ++units;
  }
  return units;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const EntryPoints library = Find(argv[2]);
  if (!library.create || !library.destroy) {
    fprintf(stderr, "play: %s\n", dlerror());
    return 1;
  }
  File file(argv[1]);
  IParser* const parser = library.create();
  const int units = parser->Open(&file) == AVI_OK ? CountUnits(parser) : 0;
  parser->Close();
  library.destroy(parser);
  printf("%d units\n", units);
  return units > 0 ? 0 : 1;
}
