#ifndef ZU_BENCH_PLAYER_H_
#define ZU_BENCH_PLAYER_H_

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>

#include "bench/unit_buffer.h"
#include "zu_parser_avi/iparser.h"

/// The library as a player uses it, with one parser. Throws std::runtime_error when an operation does
/// not give what a sound file has to give.
class Player {
 public:
  enum Tracks { kVideo = 1, kAudio = 2, kBoth = 3 };

  explicit Player(IDataSource& source);

  /// Plays the tracks out, always that whose time is behind. Calls `unit(track, bytes, ms)` with every unit.
  template <typename Unit>
  void Drain(Tracks tracks, Unit unit);

  /// The first unit behind a seek. @return its bytes, in UnitBuffer.
  std::span<const uint8_t> SeekVideo(unsigned long ms, unsigned long* reached);
  std::span<const uint8_t> SeekAudio(unsigned long ms, unsigned long* reached);

 private:
  struct Close {
    void operator()(IParser* parser) const;
  };
  struct Cursor {
    bool playing;
    unsigned long ms = 0, len = 0;
  };
  int Pull(Tracks track, Cursor* cursor);

  std::unique_ptr<IParser, Close> m_parser;
};

inline int Player::Pull(Tracks track, Cursor* cursor) {
  const std::span<unsigned char> buffer = UnitBuffer();
  return track == kVideo ? m_parser->GetVideoData(buffer.data(), &cursor->len, &cursor->ms, buffer.size(), false)
                         : m_parser->GetAudioData(buffer.data(), &cursor->len, &cursor->ms, buffer.size());
}

template <typename Unit>
void Player::Drain(Tracks tracks, Unit unit) {
  Cursor video{(tracks & kVideo) != 0}, audio{(tracks & kAudio) != 0};
  while (video.playing || audio.playing) {
    const bool pullsVideo = video.playing && (!audio.playing || video.ms <= audio.ms);
    const Tracks track = pullsVideo ? kVideo : kAudio;
    Cursor& cursor = pullsVideo ? video : audio;
    int status = Pull(track, &cursor);
    // Sound that is cut anew may hold a last frame back until it is asked once more.
    if (status == AVI_END_OF_STREAM && track == kAudio) status = Pull(track, &cursor);
    if (status == AVI_END_OF_STREAM) {
      cursor.playing = false;
    } else if (status != AVI_OK) {
      throw std::runtime_error("a read failed");
    } else if (cursor.len != 0) {
      unit(track, std::span<const uint8_t>(UnitBuffer().first(cursor.len)), cursor.ms);
    }
  }
}

#endif  // ZU_BENCH_PLAYER_H_
