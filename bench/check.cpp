#include "bench/check.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "bench/log_counter.h"
#include "bench/player.h"

namespace {

constexpr unsigned long kLogLines = 20;  // of an open and an end of two tracks
constexpr uint64_t kMostMissingMp3 = 2 * 418;
constexpr uint64_t kPcmBlock = 16384;
constexpr uint64_t kPictureMs = 40;
constexpr uint64_t kSoundBytesPerMs = 16;

/// The bytes of one track as they stand in the file, chunk behind chunk.
class TrackBytes {
 public:
  TrackBytes(const BenchFile& file, uint16_t stream, const MappedSource& written)
      : m_at(file.layout.chunks.data()),
        m_end(m_at + file.layout.chunks.size()),
        m_all(written.All()),
        m_stream(stream) {
    FindChunk();
  }
  /// Whether `unit` comes next, if so steps over it.
  bool Take(std::span<const uint8_t> unit) {
    while (!unit.empty()) {
      if (m_at == m_end) return false;
      const size_t count = std::min<size_t>(unit.size(), m_at->size - m_used);
      if (std::memcmp(unit.data(), m_all.data() + m_at->offset + m_used, count) != 0) return false;
      unit = unit.subspan(count);
      m_used += count;
      if (m_used < m_at->size) continue;
      m_used = 0;
      ++m_at;
      FindChunk();
    }
    return true;
  }
  uint64_t ChunkLeft() const { return m_at == m_end ? 0 : m_at->size - m_used; }
  uint64_t Rest() const {
    uint64_t rest = 0;
    for (const ChunkRef* chunk = m_at; chunk != m_end; ++chunk) rest += chunk->stream == m_stream ? chunk->size : 0;
    return rest - m_used;
  }

 private:
  void FindChunk() {
    while (m_at != m_end && m_at->stream != m_stream) ++m_at;
  }
  const ChunkRef *m_at, *m_end;
  std::span<const uint8_t> m_all;
  uint16_t m_stream;
  size_t m_used = 0;
};

void Require(bool holds, const std::string& what, uint64_t number) {
  if (!holds) throw std::runtime_error(what + ", unit " + std::to_string(number));
}

/// Bytes at the end of the sound that the library may keep.
uint64_t MostMissing(const BenchFile& file) {
  if (file.sound == Sound::kMp3) return kMostMissingMp3;
  // A chunk above a block is cut, and what is left of the last one then stays behind.
  return file.layout.chunks.back().size > kPcmBlock ? kPcmBlock : 0;
}

uint64_t Mp3FrameStart(uint64_t frame) { return frame * 144 * 128000 / 44100; }

/// Whether `unit` is one of the two frames that begin at or behind byte `from` of the sound.
bool IsFrameBehind(uint64_t from, std::span<const uint8_t> unit, const std::vector<const ChunkRef*>& sound,
                   const MappedSource& written) {
  const uint64_t chunkBytes = sound.front()->size;
  uint64_t frame = from * 44100 / (144 * 128000);
  while (Mp3FrameStart(frame) < from) ++frame;
  for (int i = 0; i < 2; ++i, ++frame) {
    const uint64_t start = Mp3FrameStart(frame);
    const auto same = [&](size_t at) {
      const uint64_t byte = start + at;
      return byte / chunkBytes < sound.size() &&
             written.All()[sound[byte / chunkBytes]->offset + byte % chunkBytes] == unit[at];
    };
    bool all = unit.size() == Mp3FrameBytes(frame);
    for (size_t at = 0; all && at < unit.size(); ++at) all = same(at);
    if (all) return true;
  }
  return false;
}

}  // namespace

Delivered CheckDelivery(const BenchFile& file, IDataSource& source, const MappedSource& written) {
  const unsigned long lines = LoggedLines();
  Delivered all;
  uint64_t pictures = 0, sounds = 0;
  TrackBytes video(file, 0, written), audio(file, file.video ? 1 : 0, written);
  const auto compare = [&](Player::Tracks track, std::span<const uint8_t> unit, unsigned long) {
    if (track == Player::kVideo) {
      Require(unit.size() == video.ChunkLeft() && video.Take(unit), "video differs", pictures++);
    } else {
      if (file.sound == Sound::kMp3) Require(unit.size() == Mp3FrameBytes(sounds), "an MP3 frame's size", sounds);
      Require(audio.Take(unit), "sound differs", sounds++);
    }
    ++all.units;
    all.bytes += unit.size();
  };
  {
    Player player(source);
    player.Drain(file.video ? Player::kBoth : Player::kAudio, compare);
  }
  all.missingSound = audio.Rest();
  all.logLines = LoggedLines() - lines;
  Require(!file.video || video.Rest() == 0, "video ends early", pictures);
  Require(all.missingSound <= MostMissing(file), "sound ends " + std::to_string(all.missingSound) + " bytes early",
          sounds);
  Require(all.logLines <= kLogLines, "messages about a clean file", all.logLines);
  return all;
}

std::vector<SeekTarget> SeekTargets(const BenchFile& film, size_t count) {
  std::vector<const ChunkRef*> video, audio, keys;
  for (const ChunkRef& chunk : film.layout.chunks) {
    (chunk.stream == 0 ? video : audio).push_back(&chunk);
    if (chunk.stream == 0) keys.push_back(chunk.key ? &chunk : keys.back());
  }
  std::vector<SeekTarget> targets;
  uint64_t random = 1;
  for (size_t i = 0; i < count; ++i) {
    random = random * 6364136223846793005u + 1442695040888963407u;
    const size_t picture = 1 + (random >> 33) % (video.size() - 1);
    const auto key =
        std::find(video.rbegin() + static_cast<ptrdiff_t>(video.size() - 1 - picture), video.rend(), keys[picture]);
    const size_t keyNumber = static_cast<size_t>(video.rend() - key) - 1;
    // A chunk of sound lasts as long as a picture.
    targets.push_back(
        {picture * kPictureMs + kPictureMs / 2, static_cast<int64_t>(picture), keys[picture], audio[keyNumber]});
  }
  return targets;
}

void CheckSeeks(const std::vector<SeekTarget>& targets, IDataSource& source, const BenchFile& film,
                const MappedSource& written) {
  std::vector<const ChunkRef*> sound;
  for (const ChunkRef& chunk : film.layout.chunks) {
    if (chunk.stream == 1) sound.push_back(&chunk);
  }
  Player player(source);
  uint64_t number = 0;
  for (const SeekTarget& target : targets) {
    unsigned long reached = 0, heard = 0;
    const std::span<const uint8_t> picture = player.SeekVideo(target.ms, &reached);
    Require(picture.size() == target.video->size &&
                std::memcmp(picture.data(), written.All().data() + target.video->offset, picture.size()) == 0,
            "another picture than the key frame behind a seek", number);
    // The chunk that holds the byte at the picture's time, rounded as it may be to the one before.
    const std::span<const uint8_t> frame = player.SeekAudio(reached, &heard);
    const uint64_t chunk = reached * kSoundBytesPerMs / sound.front()->size;
    const auto behind = [&](uint64_t first) {
      return IsFrameBehind(first * sound.front()->size, frame, sound, written);
    };
    Require(behind(chunk) || (chunk > 0 && behind(chunk - 1)), "other sound than at the picture's time", number++);
  }
}
