#ifndef ZU_TESTS_SUPPORT_CONTAINER_H_
#define ZU_TESTS_SUPPORT_CONTAINER_H_

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "avifile/avi_file_parser.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"
#include "tests/support/sources.h"

using Units = std::vector<Unit>;
constexpr uint32_t kKept = 77;  ///< the time of a read that leaves the caller's alone
inline Unit Got(const Data& bytes) { return Unit(bytes, kKept); }
/// What the container's reads answer at the end of a stream, and for a chunk that is too large.
inline Unit NoMore() { return Unit("", 0xFFFFFFFF, INT32_MIN); }

/// A file on its source, which can be made to fail.
struct Film {
  explicit Film(SparseSource film) : source(std::move(film)), faulty(source, {.first = SIZE_MAX}) {}
  SparseSource source;
  FaultySource faulty;
};

/// The container parser by itself, over a file. Each read gets memory of just `room` bytes.
class Container : public Film {
 public:
  explicit Container(const AviFile& file) : Container(SparseSource(file)) {}
  explicit Container(SparseSource film) : Film(std::move(film)), m_reader(&faulty) {
    debug_level = 1;
    m_file.Init(&m_reader);
    EXPECT_EQ(m_file.Parse(0), 1);
  }
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

 private:
  template <typename Op>
  Unit Read(Op op, int stream, unsigned room) {
    const std::unique_ptr<char[]> buf(new char[room]);
    unsigned read = 0xDDDD, ms = kKept;
    const int status = std::invoke(op, &m_file, stream, buf.get(), room, &read, &ms);
    EXPECT_LE(read, room);
    return Unit(Bytes(buf.get(), buf.get() + (read < room ? read : room)), ms, status);
  }

  AVISourceReader m_reader;
  CAVIFileParser m_file;
};

/// The whole parser over a file.
struct Host : Film {
  explicit Host(const AviFile& file) : Film(SparseSource(file)), parser(&faulty) {}
  Unit Video(unsigned long room = kHostBuffer, bool keyOnly = false) { return Pull(parser, 1, room, keyOnly); }
  OpenedParser parser;
};

#endif  // ZU_TESTS_SUPPORT_CONTAINER_H_
