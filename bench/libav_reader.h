#ifndef ZU_BENCH_LIBAV_READER_H_
#define ZU_BENCH_LIBAV_READER_H_

#include <cstdint>
#include <memory>
#include <string>

#include "zu_parser_avi/idata_source.h"

/// The same file read with libavformat: its AVI demuxer with its default options over the same source, without looking
/// into the streams beforehand. Throws std::runtime_error when something fails.
class LibavReader {
 public:
  /// Its version; empty when the benchmarks were built without it, and then there is nothing else to call.
  static std::string Version();

  explicit LibavReader(IDataSource& source);
  ~LibavReader();
  LibavReader(const LibavReader&) = delete;
  LibavReader& operator=(const LibavReader&) = delete;

  /// Reads every packet. @return bytes in all of them.
  uint64_t Drain();
  /// Seeks to the key frame at or before frame number `frame` of stream 0, and reads until a packet of it has come, and
  /// one of stream 1 too if `both`. @return bytes of that first packet of stream 0.
  uint32_t Seek(int64_t frame, bool both);

 private:
  struct Context;
  std::unique_ptr<Context> m_context;
};

#endif  // ZU_BENCH_LIBAV_READER_H_
