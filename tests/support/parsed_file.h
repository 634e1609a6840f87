#ifndef ZU_TESTS_SUPPORT_PARSED_FILE_H_
#define ZU_TESTS_SUPPORT_PARSED_FILE_H_

#include <cstdint>
#include <utility>
#include <vector>

#include "avifile/avi_file_parser.h"

/// The parser behind the host's interface, for what the host does not see.
struct ParsedFile {
  explicit ParsedFile(IDataSource& source, unsigned char skipIndex = 0, int logLevel = 1) : reader(&source) {
    debug_level = logLevel;
    parser.Init(&reader);
    result = parser.ParseAVI(skipIndex);
  }

  using Entries = std::vector<std::pair<uint64_t, uint32_t>>;  // position, size with bit 31
  Entries Index(int stream) const {
    Entries entries;
    const SAVIStream* const record = parser.GetStream(stream);
    for (uint32_t i = 0; i < IndexCount(record); ++i) {
      entries.emplace_back(record->pIndex->aIdx[i].qwOffset, record->pIndex->aIdx[i].dwSize);
    }
    return entries;
  }

  AVISourceReader reader;
  CAVIFileParser parser;
  int result = 0;
};

#endif  // ZU_TESTS_SUPPORT_PARSED_FILE_H_
