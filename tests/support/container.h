#ifndef ZU_TESTS_SUPPORT_CONTAINER_H_
#define ZU_TESTS_SUPPORT_CONTAINER_H_

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "avifile/avi_file_parser.h"
#include "tests/support/host.h"

/// What the container's reads answer at the end of a stream, and for a chunk that is too large.
inline Unit NoMore() { return Unit("", 0xFFFFFFFF, INT32_MIN); }
constexpr uint32_t kKept = 77;  ///< the time of a read that leaves the caller's alone

/// The container parser by itself, its file parsed. Each read gets memory of just `room` bytes.
class Container {
 public:
  explicit Container(IDataSource* source) : m_reader(source) {
    m_file.Init(&m_reader);
    EXPECT_EQ(m_file.Parse(0), 1);
  }
  CAVIFileParser* operator->() { return &m_file; }

  Unit Data(int stream, unsigned room = 4096) { return Read(&CAVIFileParser::GetNextData, stream, room); }
  Unit Audio(int stream, unsigned room = 4096) { return Read(&CAVIFileParser::GetNextAudioData, stream, room); }
  Unit FirstAudio(int stream, unsigned room = 4096) { return Read(&CAVIFileParser::GetFirstAudioData, stream, room); }
  Unit Video(int stream, unsigned room = 4096) {
    return Read([](CAVIFileParser* file, auto... args) { return KeyOnly(file, false, args...); }, stream, room);
  }

  /// Units that `read` gives until its status is not 0; that last one too.
  template <typename Op>
  std::vector<Unit> Rest(Op read) {
    std::vector<Unit> units;
    do units.push_back(read());
    while (units.back().status == 0 && units.size() < 100000);
    return units;
  }

 private:
  static int KeyOnly(CAVIFileParser* file, bool keyOnly, int stream, char* buf, unsigned room, unsigned* read,
                     unsigned* time) {
    return file->GetNextVideoData(stream, buf, room, read, keyOnly, time);
  }
  template <typename Op>
  Unit Read(Op op, int stream, unsigned room) {
    const std::unique_ptr<char[]> buf(new char[room]);
    unsigned read = 0xDDDD, time = kKept;
    const int status = std::invoke(op, &m_file, stream, buf.get(), room, &read, &time);
    EXPECT_LE(read, room);
    return Unit(Bytes(buf.get(), buf.get() + std::min(read, room)), time, status);
  }

  AVISourceReader m_reader;
  CAVIFileParser m_file;
};

#endif  // ZU_TESTS_SUPPORT_CONTAINER_H_
