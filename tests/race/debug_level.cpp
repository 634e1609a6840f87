#include <android/log.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include "platform/properties.h"
#include "tests/support/sources.h"
#include "zu_parser_avi/iparser.h"

// Parsers are made on one thread while another one's write what the log mask lets through. Built with the thread
// sanitizer, together with the objects that write and read the mask; it ends the program when it sees a race.

namespace {
std::atomic<int> g_lines;
}

int __android_log_print(int, const char*, const char*, ...) { return ++g_lines; }
int property_get(const char*, char* value, const char*) {
  return static_cast<int>(std::strlen(std::strcpy(value, "9")));
}

int main() {
  const auto play = [] {
    for (int i = 0; i < 200; ++i) {
      MemorySource source(Riff("AVI ", Chunk("JUNK", "")));
      const std::unique_ptr<IParser, void (*)(IParser*)> parser(createParser(), destroyParser);
      parser->Open(&source);
      parser->Close();
    }
  };
  std::thread first(play), second(play);
  first.join();
  second.join();
  std::printf("%d lines\n", g_lines.load());
  return g_lines > 0 ? 0 : 1;
}
