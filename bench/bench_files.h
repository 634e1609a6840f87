#ifndef ZU_BENCH_BENCH_FILES_H_
#define ZU_BENCH_BENCH_FILES_H_

#include <cstdint>
#include <filesystem>
#include <string>

#include "bench/avi_writer.h"

// The files that the benchmarks read. The same name and number of units give the same bytes on every machine.

enum class Sound { kMp3, kPcm, kALaw };

/// A file that was written, and all that is known of it. The file goes with this object.
struct BenchFile {
  BenchFile(std::filesystem::path at, AviLayout written, bool hasVideo, Sound withSound)
      : path(std::move(at)), layout(std::move(written)), video(hasVideo), sound(withSound) {}
  ~BenchFile();
  BenchFile(const BenchFile&) = delete;
  BenchFile& operator=(const BenchFile&) = delete;

  std::filesystem::path path;
  AviLayout layout;
  bool video;
  Sound sound;
};

/// One of
///   film, film-opendml, film-noindex   `units` pictures at 25 a second, some 6 KB each, and MP3 of 128 kbit/s in
///   chunks
///                                      of 640 bytes; with idx1, three RIFF groups with an ix## per stream, no index
///   short-ix                           small pictures, and an ix## per stream and 20 of them
///   tiny                               `units` pictures of 20 to 83 bytes at 100 a second, each with 80 bytes of sound
///   short-ix-alaw, tiny-alaw           the same with A-law, for which the library needs no buffer of its own
///   pcm, pcm-large                     44.1 kHz stereo in `units` chunks of 7056 (a picture's time) or 92,000 bytes
///   mp3, mp3-large, mp3-frames         MP3 of 128 kbit/s alone in `units` chunks: of 640 or 16,000 bytes, or a frame
/// written to `path`. Throws std::runtime_error for another name and when the disk refuses.
BenchFile MakeFile(const std::string& name, uint32_t units, const std::filesystem::path& path);

/// Bytes of the MP3 frame number `frame`, from 0: 417 or 418, as 128 kbit/s at 44.1 kHz has them.
uint32_t Mp3FrameBytes(uint64_t frame);

#endif  // ZU_BENCH_BENCH_FILES_H_
