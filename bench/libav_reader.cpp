#include "bench/libav_reader.h"

#include <stdexcept>

#if ZU_HAVE_LIBAVFORMAT

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

constexpr int kBufferBytes = 32768;  // what libavformat takes for a file of its own

struct Position {
  IDataSource& source;
  int64_t size = 0, at = 0;
};

int ReadPacket(void* opaque, uint8_t* buffer, int size) {
  Position& position = *static_cast<Position*>(opaque);
  uint64_t length = static_cast<uint64_t>(size);
  if (position.source.ReadAt(position.at, buffer, &length) < 0) return AVERROR(EIO);
  if (length == 0) return AVERROR_EOF;
  position.at += static_cast<int64_t>(length);
  return static_cast<int>(length);
}

int64_t SeekTo(void* opaque, int64_t offset, int whence) {
  Position& position = *static_cast<Position*>(opaque);
  if (whence & AVSEEK_SIZE) return position.size;
  if (whence != SEEK_SET) return AVERROR(EINVAL);
  return position.at = offset;
}

}  // namespace

struct LibavReader::Context {
  explicit Context(IDataSource& source) : position{source} { source.GetSize(&position.size); }
  Position position;
  AVIOContext* io = nullptr;
  AVFormatContext* format = nullptr;
  AVPacket* packet = nullptr;
};

std::string LibavReader::Version() {
  const unsigned version = avformat_version();
  return std::to_string(AV_VERSION_MAJOR(version)) + "." + std::to_string(AV_VERSION_MINOR(version)) + "." +
         std::to_string(AV_VERSION_MICRO(version));
}

LibavReader::LibavReader(IDataSource& source) : m_context(std::make_unique<Context>(source)) {
  av_log_set_level(AV_LOG_QUIET);  // messages are not what is measured
  Context& c = *m_context;
  c.io = avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBufferBytes)), kBufferBytes, 0, &c.position,
                            ReadPacket, nullptr, SeekTo);
  c.format = avformat_alloc_context();
  c.packet = av_packet_alloc();
  c.format->pb = c.io;
  if (avformat_open_input(&c.format, nullptr, av_find_input_format("avi"), nullptr) < 0) {
    throw std::runtime_error("libavformat does not open the file");
  }
}

LibavReader::~LibavReader() {
  Context& c = *m_context;
  av_packet_free(&c.packet);
  avformat_close_input(&c.format);
  av_freep(&c.io->buffer);
  avio_context_free(&c.io);
}

uint64_t LibavReader::Drain() {
  Context& c = *m_context;
  uint64_t bytes = 0;
  while (av_read_frame(c.format, c.packet) >= 0) {
    bytes += static_cast<uint64_t>(c.packet->size);
    av_packet_unref(c.packet);
  }
  return bytes;
}

uint32_t LibavReader::Seek(int64_t frame, bool both) {
  Context& c = *m_context;
  if (av_seek_frame(c.format, 0, frame, AVSEEK_FLAG_BACKWARD) < 0) throw std::runtime_error("libavformat cannot seek");
  int first = -1;
  for (bool sound = !both; first < 0 || !sound;) {
    if (av_read_frame(c.format, c.packet) < 0) throw std::runtime_error("libavformat reads nothing behind a seek");
    if (c.packet->stream_index == 1) sound = true;
    if (c.packet->stream_index == 0 && first < 0) first = c.packet->size;
    av_packet_unref(c.packet);
  }
  return static_cast<uint32_t>(first);
}

#else

struct LibavReader::Context {};
std::string LibavReader::Version() { return ""; }
LibavReader::LibavReader(IDataSource&) { throw std::logic_error("built without libavformat"); }
LibavReader::~LibavReader() = default;
uint64_t LibavReader::Drain() { return 0; }
uint32_t LibavReader::Seek(int64_t, bool) { return 0; }

#endif
