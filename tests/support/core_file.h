#ifndef ZU_TESTS_SUPPORT_CORE_FILE_H_
#define ZU_TESTS_SUPPORT_CORE_FILE_H_

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

#include "avifile/avi_file_parser.h"
#include "tests/support/film.h"
#include "zu_parser_avi/track_info.h"

constexpr uint32_t kKept = 77;  ///< the time of a read that leaves the caller's alone
inline Unit Got(const Data& bytes) { return Unit(bytes, kKept); }
/// What the core's reads answer at the end of a stream, and for a chunk that is too large.
inline Unit NoMore() { return Unit("", 0xFFFFFFFF, INT32_MIN); }

using Entries = std::vector<std::pair<uint64_t, uint32_t>>;  ///< position, size with bit 31

/// The parser's core over a file. Each read gets memory of just `room` bytes.
class CoreFile : public Film {
 public:
  explicit CoreFile(SparseSource film, const Fault& fault = kNoFault) : Film(std::move(film), fault), reader(&faulty) {
    Parse();
  }
  explicit CoreFile(const AviFile& file, const Fault& fault = kNoFault) : CoreFile(SparseSource(file), fault) {}
  explicit CoreFile(const Bytes& file, const Fault& fault = kNoFault) : CoreFile(MemorySource(file), fault) {}
  explicit CoreFile(IDataSource& other) : Film(MemorySource({})), reader(&other) { Parse(); }
  CAVIFileParser* operator->() { return &m_file; }

  Unit Data(int stream, unsigned room = 4096) { return Read(&CAVIFileParser::GetNextData, stream, room); }
  Unit Audio(int stream) { return Read(&CAVIFileParser::GetNextAudioData, stream, 4096); }
  Unit FirstAudio(int stream) { return Read(&CAVIFileParser::GetFirstAudioData, stream, 4096); }
  Unit Video(int stream) {
    return Read([](auto* file, int s, char* buf, unsigned room, unsigned* read,
                   unsigned* ms) { return file->GetNextVideoData(s, buf, room, read, false, ms); },
                stream, 4096);
  }
  /// What GetNextData gives up to the end, that excluded.
  Units Rest(int stream, unsigned room = 4096) {
    Units units;
    while (units.empty() || (units.back().status == 0 && units.size() < 9999)) units.push_back(Data(stream, room));
    EXPECT_EQ(units.back(), NoMore());
    units.pop_back();
    return units;
  }
  Entries Index(int stream) {
    Entries entries;
    const SAVIStream* const record = m_file.GetStream(stream);
    for (uint32_t i = 0; i < IndexCount(record); ++i) {
      entries.emplace_back(record->pIndex->aIdx[i].qwOffset, record->pIndex->aIdx[i].dwSize);
    }
    return entries;
  }
  /// Of the stream's index; 0 without one.
  uint32_t MaxChunkSize(int stream) {
    const SAVIStream* const record = m_file.GetStream(stream);
    return record && record->pIndex ? record->pIndex->dwMaxChunkSize : 0;
  }
  SAVIInfo Info(int stream = 0) {
    SAVIInfo info = {};
    m_file.GetMoviInfo(&info, stream);
    return info;
  }

  AVISourceReader reader;
  int result = 0;  ///< of the walk

 private:
  void Parse() {
    m_file.Init(&reader);
    result = m_file.ParseAVI(0);
  }
  template <typename Op>
  Unit Read(Op op, int stream, unsigned room) {
    const std::unique_ptr<char[]> buf(new char[room]);
    unsigned read = 0xDDDD, ms = kKept;
    const int status = std::invoke(op, &m_file, stream, buf.get(), room, &read, &ms);
    EXPECT_LE(read, room);
    return Unit(Bytes(buf.get(), buf.get() + (read < room ? read : room)), ms, status);
  }

  CAVIFileParser m_file;
};

#endif  // ZU_TESTS_SUPPORT_CORE_FILE_H_
