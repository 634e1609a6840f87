#include "bench/bench_files.h"

#include <algorithm>
#include <span>
#include <stdexcept>
#include <vector>

namespace {

constexpr uint32_t kKeyEvery = 240;  // pictures
constexpr uint32_t kCbrChunk = 640;  // bytes of MP3 in 40 ms, not a whole number of frames
constexpr uint32_t kMp3BytesPerSecond = 16000;
constexpr uint32_t kMp3LargeChunk = 16000;  // a second
constexpr uint32_t kPcmChunk = 7056;        // 40 ms
constexpr uint32_t kPcmLargeChunk = 92000;
constexpr uint32_t kTinySound = 80;   // 10 ms
constexpr uint32_t kIndexEvery = 20;  // pictures per ix##
constexpr uint32_t kGroups = 3;

uint64_t Mix(uint64_t value) {  // of splitmix64
  value += 0x9E3779B97F4A7C15u;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9u;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBu;
  return value ^ (value >> 31);
}

/// Bytes without a zero and below 0xE0, so that they hold neither a start code nor an MP3 header.
std::span<const uint8_t> Noise(uint64_t number, size_t size) {
  static const Bytes all = [] {
    Bytes bytes(1u << 20);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(1 + Mix(i) % 0xDF);
    return bytes;
  }();
  return std::span(all).subspan(Mix(number) % (all.size() - size), size);
}

// vop_coding_type, the two bits behind the start code
enum Vop : uint8_t { kVopI = 0, kVopP = 1, kVopB = 2 };

void PutPicture(Bytes& to, uint64_t number, Vop type, size_t size) {
  const std::span<const uint8_t> noise = Noise(number, size);
  to.assign(noise.begin(), noise.end());
  const uint8_t head[] = {0, 0, 1, 0xB6, static_cast<uint8_t>(type << 6 | 0x10)};
  std::copy(std::begin(head), std::end(head), to.begin());
  for (size_t i = 0; i < 8; ++i) to[sizeof head + i] = static_cast<uint8_t>(0x80 | (number >> (7 * i) & 0x7F));
}

/// Pictures of a film: a large one at every key frame, then P and B by turns.
void PutFilmPicture(Bytes& to, uint64_t number, size_t scale) {
  const uint64_t within = number % kKeyEvery;
  const Vop type = within == 0 ? kVopI : within % 2 == 1 ? kVopP : kVopB;
  const size_t least = type == kVopI ? 24000 : type == kVopP ? 5000 : 2500;
  PutPicture(to, number, type, (least + Mix(~number) % (least * 3 / 2)) / scale);
}

/// A stream of MP3 frames, cut wherever it is wanted.
class Mp3Stream {
 public:
  Bytes Next(size_t size) {
    while (m_held.size() < size) AddFrame();
    Bytes taken(m_held.begin(), m_held.begin() + static_cast<ptrdiff_t>(size));
    m_held.erase(m_held.begin(), m_held.begin() + static_cast<ptrdiff_t>(size));
    return taken;
  }
  Bytes NextFrame() { return Next(Mp3FrameBytes(m_frame)); }

 private:
  void AddFrame() {
    const uint32_t size = Mp3FrameBytes(m_frame);
    // MPEG-1 Layer III, 128 kbit/s, 44.1 kHz, padded or not, stereo
    Append(m_held, Bytes{0xFF, 0xFB, static_cast<uint8_t>(size == 418 ? 0x92 : 0x90), 0x00});
    const std::span<const uint8_t> noise = Noise(m_frame++, size - 4);
    m_held.insert(m_held.end(), noise.begin(), noise.end());
  }
  uint64_t m_frame = 0;
  Bytes m_held;
};

AviStream Video(uint32_t rate) {
  return {{.type = "vids", .scale = 1, .rate = rate, .handler = "xvid"},
          Strf(VideoFormat{.width = 640, .height = 480})};
}
AviStream Mp3() {
  return {{.type = "auds", .scale = 1, .rate = kMp3BytesPerSecond, .sampleSize = 1},
          Strf(AudioFormat{.tag = 0x55,
                           .bytesPerSecond = kMp3BytesPerSecond,
                           .blockAlign = 1,
                           .bits = 0,
                           .extra = Join({Le16(1), Le32(2), Le16(417), Le16(1), Le16(0)})})};
}
AviStream Pcm(const AudioFormat& format) {
  return {{.type = "auds", .scale = format.blockAlign, .rate = format.bytesPerSecond, .sampleSize = format.blockAlign},
          Strf(format)};
}

constexpr uint32_t k25Fps = 40000, k100Fps = 10000;  // microseconds

AviLayout Film(const std::filesystem::path& path, uint32_t units, IndexKind index) {
  AviWriter out(path, {Video(25), Mp3()}, index, k25Fps, kGroups);
  Mp3Stream sound;
  Bytes picture;
  for (uint32_t i = 0; i < units; ++i) {
    if (index == IndexKind::kOpenDml && i != 0 && i % (units / kGroups) == 0 && i / (units / kGroups) < kGroups) {
      out.NextRiff();
    }
    PutFilmPicture(picture, i, 1);
    out.Chunk(0, picture, i % kKeyEvery == 0);
    out.Chunk(1, sound.Next(kCbrChunk));
  }
  return out.Finish();
}

AviLayout ShortIndexes(const std::filesystem::path& path, uint32_t units) {
  AviWriter out(path, {Video(25), Mp3()}, IndexKind::kOpenDml, k25Fps, units / kIndexEvery + 1);
  Mp3Stream sound;
  Bytes picture;
  for (uint32_t i = 0; i < units; ++i) {
    PutFilmPicture(picture, i, 10);
    out.Chunk(0, picture, i % kKeyEvery == 0);
    out.Chunk(1, sound.Next(kCbrChunk));
    if ((i + 1) % kIndexEvery == 0) out.ChunkIndexes();
  }
  return out.Finish();
}

AviLayout Tiny(const std::filesystem::path& path, uint32_t units) {
  const AudioFormat telephone{.channels = 1, .rate = 8000, .bytesPerSecond = 8000, .blockAlign = 1, .bits = 8};
  AviWriter out(path, {Video(100), Pcm(telephone)}, IndexKind::kLegacy, k100Fps);
  Bytes picture;
  for (uint32_t i = 0; i < units; ++i) {
    const bool key = i % kKeyEvery == 0;
    PutPicture(picture, i, key ? kVopI : kVopP, 20 + Mix(i) % 64);
    out.Chunk(0, picture, key);
    out.Chunk(1, Noise(i, kTinySound));
  }
  return out.Finish();
}

AviLayout PcmAlone(const std::filesystem::path& path, uint32_t units, uint32_t chunk) {
  AviWriter out(path, {Pcm({})}, IndexKind::kLegacy, k25Fps);
  for (uint32_t i = 0; i < units; ++i) out.Chunk(0, Noise(i, chunk));
  return out.Finish();
}

AviLayout Mp3Alone(const std::filesystem::path& path, uint32_t units, uint32_t chunk) {
  AviWriter out(path, {Mp3()}, IndexKind::kLegacy, k25Fps);
  Mp3Stream sound;
  for (uint32_t i = 0; i < units; ++i) out.Chunk(0, chunk == 0 ? sound.NextFrame() : sound.Next(chunk));
  return out.Finish();
}

}  // namespace

uint32_t Mp3FrameBytes(uint64_t frame) {
  const auto end = [](uint64_t frames) { return frames * 144 * 128000 / 44100; };
  return static_cast<uint32_t>(end(frame + 1) - end(frame));
}

BenchFile::~BenchFile() {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

BenchFile MakeFile(const std::string& name, uint32_t units, const std::filesystem::path& path) {
  if (name == "film") return {path, Film(path, units, IndexKind::kLegacy), true, Sound::kMp3};
  if (name == "film-opendml") return {path, Film(path, units, IndexKind::kOpenDml), true, Sound::kMp3};
  if (name == "film-noindex") return {path, Film(path, units, IndexKind::kNone), true, Sound::kMp3};
  if (name == "short-ix") return {path, ShortIndexes(path, units), true, Sound::kMp3};
  if (name == "tiny") return {path, Tiny(path, units), true, Sound::kPcm};
  if (name == "pcm") return {path, PcmAlone(path, units, kPcmChunk), false, Sound::kPcm};
  if (name == "pcm-large") return {path, PcmAlone(path, units, kPcmLargeChunk), false, Sound::kPcm};
  if (name == "mp3") return {path, Mp3Alone(path, units, kCbrChunk), false, Sound::kMp3};
  if (name == "mp3-large") return {path, Mp3Alone(path, units, kMp3LargeChunk), false, Sound::kMp3};
  if (name == "mp3-frames") return {path, Mp3Alone(path, units, 0), false, Sound::kMp3};
  throw std::runtime_error("no such file is known: " + name);
}
