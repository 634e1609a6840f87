#include "bench/bench_files.h"

#include <algorithm>
#include <span>
#include <stdexcept>
#include <utility>
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
constexpr uint32_t kPcm = 1, kALaw = 6;  // format tags

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

/// Fields of bits, the most significant one first.
class BitWriter {
 public:
  BitWriter& Put(uint32_t value, int bits) {
    while (bits-- > 0) {
      if (m_used % 8 == 0) m_bytes.push_back(0);
      m_bytes.back() = static_cast<uint8_t>(m_bytes.back() | (value >> bits & 1) << (7 - m_used++ % 8));
    }
    return *this;
  }
  const Bytes& Finish() { return m_used % 8 == 0 ? m_bytes : Put(0, 1).Ones(); }

 private:
  const Bytes& Ones() {
    while (m_used % 8 != 0) Put(1, 1);
    return m_bytes;
  }
  Bytes m_bytes;
  int m_used = 0;
};

int BitsFor(uint32_t rate) { return rate <= 32 ? 5 : 7; }  // of a time in units of 1/rate s

/// What a decoder of MPEG-4 Visual is told first: 640x480 with B pictures.
Bytes VolHeader(uint32_t rate) {
  BitWriter bits;
  bits.Put(0x00000100, 32).Put(0x00000120, 32);
  bits.Put(0, 1).Put(17, 8).Put(0, 1).Put(1, 4);                     // advanced simple, square pixels
  bits.Put(1, 1).Put(1, 2).Put(0, 1).Put(0, 1).Put(0, 2).Put(1, 1);  // 4:2:0, not of low delay, rectangular
  bits.Put(rate, 16).Put(1, 1).Put(0, 1).Put(1, 1);                  // units of time
  bits.Put(640, 13).Put(1, 1).Put(480, 13).Put(1, 1);
  bits.Put(0, 1).Put(1, 1).Put(0, 1).Put(0, 1).Put(0, 1);  // progressive, no sprites, 8 bits, H.263 quantiser
  bits.Put(1, 1).Put(1, 1).Put(0, 1).Put(0, 1);            // nothing estimated, resynchronised, partitioned
  return bits.Finish();
}

// vop_coding_type
enum Vop : uint8_t { kVopI = 0, kVopP = 1, kVopB = 2 };

void PutPicture(Bytes& to, uint64_t number, uint32_t rate, Vop type, size_t size) {
  const std::span<const uint8_t> noise = Noise(number, size);
  to.assign(noise.begin(), noise.end());
  BitWriter bits;
  bits.Put(0x000001B6, 32).Put(type, 2);
  const uint32_t tick = static_cast<uint32_t>(number % rate);
  if (tick == 0 && number != 0) bits.Put(1, 1);  // another second
  bits.Put(0, 1).Put(1, 1).Put(tick, BitsFor(rate)).Put(1, 1).Put(1, 1);
  if (type == kVopP) bits.Put(static_cast<uint32_t>(number & 1), 1);
  bits.Put(0, 3).Put(4, 5);
  if (type != kVopI) bits.Put(1, 3);
  if (type == kVopB) bits.Put(1, 3);
  const Bytes& head = bits.Finish();
  std::copy(head.begin(), head.end(), to.begin());
  // No two pictures are alike.
  for (size_t i = 0; i < 4; ++i) to[head.size() + i] = static_cast<uint8_t>(0x80 | (number >> (7 * i) & 0x7F));
}

/// Pictures of a film at 25 a second: a large one at every key frame, then P and B by turns.
void PutFilmPicture(Bytes& to, uint64_t number, size_t scale) {
  const uint64_t within = number % kKeyEvery;
  const Vop type = within == 0 ? kVopI : within % 2 == 1 ? kVopP : kVopB;
  const size_t least = type == kVopI ? 24000 : type == kVopP ? 4450 : 2200;
  PutPicture(to, number, 25, type, (least + Mix(~number) % (least * 3 / 2)) / scale);
}

/// A stream of MP3 frames, cut wherever it is wanted.
class Mp3Stream {
 public:
  /// The next `size` bytes, valid until the next call.
  std::span<const uint8_t> Next(size_t size) {
    m_held.erase(m_held.begin(), m_held.begin() + static_cast<ptrdiff_t>(std::exchange(m_taken, size)));
    while (m_held.size() < size) AddFrame();
    return std::span(m_held).first(size);
  }
  std::span<const uint8_t> NextFrame() { return Next(Mp3FrameBytes(m_frame)); }

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
  size_t m_taken = 0;  // of these, by the last call
};

AviStream Video(uint32_t rate) {
  return {{.type = "vids", .scale = 1, .rate = rate, .handler = "xvid"},
          Strf(VideoFormat{.width = 640, .height = 480, .extra = VolHeader(rate)})};
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

AviStream Telephone(uint32_t tag) {
  return Pcm({.tag = tag, .channels = 1, .rate = 8000, .bytesPerSecond = 8000, .blockAlign = 1, .bits = 8});
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

AviLayout ShortIndexes(const std::filesystem::path& path, uint32_t units, bool alaw) {
  AviWriter out(path, {Video(25), alaw ? Telephone(kALaw) : Mp3()}, IndexKind::kOpenDml, k25Fps,
                units / kIndexEvery + 1);
  Mp3Stream sound;
  Bytes picture;
  for (uint32_t i = 0; i < units; ++i) {
    PutFilmPicture(picture, i, 10);
    out.Chunk(0, picture, i % kKeyEvery == 0);
    out.Chunk(1, alaw ? Noise(i, 4 * kTinySound) : sound.Next(kCbrChunk));
    if ((i + 1) % kIndexEvery == 0) out.ChunkIndexes();
  }
  return out.Finish();
}

AviLayout Tiny(const std::filesystem::path& path, uint32_t units, uint32_t tag) {
  AviWriter out(path, {Video(100), Telephone(tag)}, IndexKind::kLegacy, k100Fps);
  Bytes picture;
  for (uint32_t i = 0; i < units; ++i) {
    const bool key = i % kKeyEvery == 0;
    PutPicture(picture, i, 100, key ? kVopI : kVopP, 20 + Mix(i) % 64);
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
  if (name == "short-ix") return {path, ShortIndexes(path, units, false), true, Sound::kMp3};
  if (name == "short-ix-alaw") return {path, ShortIndexes(path, units, true), true, Sound::kALaw};
  if (name == "tiny") return {path, Tiny(path, units, kPcm), true, Sound::kPcm};
  if (name == "tiny-alaw") return {path, Tiny(path, units, kALaw), true, Sound::kALaw};
  if (name == "pcm") return {path, PcmAlone(path, units, kPcmChunk), false, Sound::kPcm};
  if (name == "pcm-large") return {path, PcmAlone(path, units, kPcmLargeChunk), false, Sound::kPcm};
  if (name == "mp3") return {path, Mp3Alone(path, units, kCbrChunk), false, Sound::kMp3};
  if (name == "mp3-large") return {path, Mp3Alone(path, units, kMp3LargeChunk), false, Sound::kMp3};
  if (name == "mp3-frames") return {path, Mp3Alone(path, units, 0), false, Sound::kMp3};
  throw std::runtime_error("no such file is known: " + name);
}
