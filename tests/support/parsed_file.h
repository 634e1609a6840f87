#ifndef ZU_TESTS_SUPPORT_PARSED_FILE_H_
#define ZU_TESTS_SUPPORT_PARSED_FILE_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "avifile/avi_file_parser.h"
#include "tests/support/log_capture.h"
#include "tests/support/sources.h"

/// What was logged under `tag` since the last call, each line with the letter of its priority and a bar behind it.
inline std::string Logged(LogCapture& log, const std::string& tag = "AVIFileParser") {
  std::string all;
  for (const LogLine& line : log.Lines()) {
    if (line.tag == tag) all += std::string(1, "VDIWE"[line.prio - ANDROID_LOG_VERBOSE]) + " " + line.text + "|";
  }
  log.Clear();
  return all;
}

using Entries = std::vector<std::pair<uint64_t, uint32_t>>;  ///< position, size with bit 31

/// A file walked by the parser behind the host's interface. Captures what is logged; one at a time.
struct ParsedFile {
  explicit ParsedFile(const Bytes& bytes, int level = 1) : own(bytes), reader(&own) { Parse(level); }
  explicit ParsedFile(IDataSource& source, int level = 1) : own({}), reader(&source) { Parse(level); }
  void Parse(int level) {
    debug_level = level;
    parser.Init(&reader);
    result = parser.ParseAVI(0);
  }
  CAVIFileParser* operator->() { return &parser; }
  Entries Index(int stream) const {
    Entries entries;
    const SAVIStream* const record = parser.GetStream(stream);
    for (uint32_t i = 0; i < IndexCount(record); ++i) {
      entries.emplace_back(record->pIndex->aIdx[i].qwOffset, record->pIndex->aIdx[i].dwSize);
    }
    return entries;
  }

  LogCapture log;
  MemorySource own;
  AVISourceReader reader;
  CAVIFileParser parser;
  int result = 0;
};

#endif  // ZU_TESTS_SUPPORT_PARSED_FILE_H_
