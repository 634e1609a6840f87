#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tools/aviprobe/model/findings.h"

// Sound against picture, by what lies beside what in the file: an AVI has no times.

namespace {

constexpr int64_t kDriftMs = 200;        // from which lips are seen to be off
constexpr int64_t kEndsApartMs = 1000;   // that an end may be early: encoders and cutters leave as much
constexpr int64_t kInterleaveMs = 2000;  // of media a player has to hold back; capture programs go up to 1 s

/// Milliseconds of sound as players count them: of a constant rate by the format's bytes per second.
class SoundClock {
 public:
  explicit SoundClock(const STrackFacts& track) : m_Track(track), m_nRate(track.pHeader->AvgBytesPerSec()) {
    m_bByBytes = !track.CountsChunks() && m_nRate > 0;
  }
  int64_t MsBefore(size_t chunk) const {
    if (!m_bByBytes) return static_cast<int64_t>(m_Track.MsBefore(chunk));
    const uint64_t bytes = chunk < m_Track.before.size() ? m_Track.before[chunk] : m_Track.present.nBytes;
    return static_cast<int64_t>(bytes * 1000 / m_nRate);
  }
  int64_t Ms() const { return MsBefore(m_Track.chunks.size()); }

 private:
  const STrackFacts& m_Track;
  uint32_t m_nRate;
  bool m_bByBytes = false;
};

/// Finds where a track of two that lie side by side has a hole: there the other one goes on alone.
class HoleSearch {
 public:
  /// The next chunk of the track, which begins at `ms` where the other one has come to `otherMs`.
  void Take(size_t chunk, int64_t ms, int64_t otherMs) {
    const int64_t alone = (otherMs - m_nOtherMs) - (ms - m_nMs);
    if (chunk > 0 && alone > m_nLongest) {
      m_nSecond = std::exchange(m_nLongest, alone);
      m_nChunk = chunk;
    } else if (chunk > 0) {
      m_nSecond = std::max(m_nSecond, alone);
    }
    m_nMs = ms;
    m_nOtherMs = otherMs;
  }

  /// Whether one hole explains so much of a difference: a drift has many small ones, and so have large chunks.
  bool Explains(int64_t differenceMs) const { return m_nLongest > 2 * m_nSecond && 5 * m_nLongest > 4 * differenceMs; }
  size_t Chunk() const { return m_nChunk; }  ///< the first behind it
  int64_t Ms() const { return m_nLongest; }

 private:
  int64_t m_nMs = 0, m_nOtherMs = 0, m_nLongest = 0, m_nSecond = 0;
  size_t m_nChunk = 0;
};

/// How far the sound is ahead of the picture where their chunks lie side by side.
struct SSkew {
  int64_t nStartMs = 0;  ///< behind the first chunk of both
  int64_t nEndMs = 0;    ///< where the first of the two ends
  int64_t nMostMs = 0;   ///< the farthest, of any sign
  HoleSearch video{}, audio{};
  STally far{};  ///< chunks that are too far away from what is shown with them
};

class SyncCheck {
 public:
  SyncCheck(const STrackFacts& video, const STrackFacts& audio, Findings* findings)
      : m_Video(video), m_Audio(audio), m_Clock(audio), m_Findings(*findings) {}

  void Run() {
    if (m_Video.chunks.empty() || !IsTimed(m_Video) || !IsTimed(m_Audio)) return;
    const SSkew skew = Walk();
    CheckEnds(skew);
    m_Findings.Add(
        "interleave-far", skew.far, m_Audio.nTrack,
        fmt::format("sound lies up to {:.1f} s away from its picture: players stutter, or need large buffers",
                    static_cast<double>(std::abs(skew.nMostMs)) / 1000),
        "aviprobe remux FILE -o OUT.avi puts sound and picture side by side");
  }

 private:
  static bool IsTimed(const STrackFacts& track) { return track.pHeader->nRate != 0 && track.pHeader->nScale != 0; }

  uint32_t NextOf(const STrackFacts& track, size_t i) const {
    return i < track.chunks.size() ? track.chunks[i] : UINT32_MAX;
  }

  int64_t VideoMs(size_t chunk) const { return static_cast<int64_t>(m_Video.MsBefore(chunk)); }

  SSkew Walk() const {
    SSkew skew;
    const std::vector<SChunk>& chunks = m_Findings.Map().chunks;
    size_t v = 0, a = 0;
    bool begun = false;
    while (v < m_Video.chunks.size() || a < m_Audio.chunks.size()) {
      const bool isVideo = NextOf(m_Video, v) < NextOf(m_Audio, a);
      const uint32_t number = isVideo ? m_Video.chunks[v] : m_Audio.chunks[a];
      // A chunk waits for the other track when it is ahead of it, and is waited for when it is behind.
      const int64_t ahead = m_Clock.MsBefore(a) - VideoMs(v);
      const bool bothGoOn = v < m_Video.chunks.size() && a < m_Audio.chunks.size();
      const bool late = isVideo ? ahead > kInterleaveMs : ahead < -kInterleaveMs;
      if (late) {
        skew.far.Hit(chunks[number].nOffset);
        if (std::abs(ahead) > std::abs(skew.nMostMs)) skew.nMostMs = ahead;
      }
      isVideo ? skew.video.Take(v, VideoMs(v), m_Clock.MsBefore(a))
              : skew.audio.Take(a, m_Clock.MsBefore(a), VideoMs(v));
      ++(isVideo ? v : a);
      const int64_t behind = m_Clock.MsBefore(a) - VideoMs(v);
      if (!begun && v > 0 && a > 0) skew.nStartMs = behind;
      begun = begun || (v > 0 && a > 0);
      if (bothGoOn) skew.nEndMs = behind;
    }
    return skew;
  }

  /// Sound and picture drift apart when both go on to the end and are off there, and were not from the start.
  void CheckEnds(const SSkew& skew) {
    const int64_t difference = m_Clock.Ms() - static_cast<int64_t>(m_Video.present.nMs);
    const int64_t grown = skew.nEndMs - skew.nStartMs;
    const bool drifts = std::abs(difference) > kDriftMs && std::abs(grown) > kDriftMs &&
                        (grown > 0) == (difference > 0) && skew.far.nCount < m_Audio.chunks.size() / 2 + 1;
    const HoleSearch& hole = difference > 0 ? skew.video : skew.audio;
    if (drifts && hole.Explains(std::abs(grown))) return ReportHole(difference > 0 ? m_Video : m_Audio, hole);
    if (drifts) return ReportDrift(difference);
    if (difference < -kEndsApartMs) ReportEnd("audio-short", m_Audio, m_Clock.Ms(), m_Video.present.nMs);
    if (difference > kEndsApartMs) {
      ReportEnd("video-short", m_Video, static_cast<int64_t>(m_Video.present.nMs), static_cast<uint64_t>(m_Clock.Ms()));
    }
  }

  void ReportHole(const STrackFacts& track, const HoleSearch& hole) {
    const int64_t at = m_Findings.Map().chunks[track.chunks[hole.Chunk()]].nOffset;
    m_Findings.Add({.pCode = "gap",
                    .nOffset = at,
                    .nTimeMs = static_cast<uint32_t>(track.MsBefore(hole.Chunk())),
                    .nTrack = track.nTrack,
                    .sConsequence = fmt::format(
                        "{:.1f} s of {} are not in the file: from {} on sound runs {} the picture",
                        static_cast<double>(hole.Ms()) / 1000, TrackText(track),
                        ClockText(track.MsBefore(hole.Chunk())), track.pHeader->IsAudio() ? "ahead of" : "behind"),
                    .sAdvice = kAdviceSource});
  }

  void ReportDrift(int64_t difference) {
    m_Findings.Add(
        {.pCode = "audio-drift",
         .nOffset = *m_Audio.pHeader->nStrhOffset - kChunkHeaderBytes,
         .nTrack = m_Audio.nTrack,
         .sConsequence =
             fmt::format("sound runs {:.1f} s {} the picture at the end",
                         static_cast<double>(std::abs(difference)) / 1000, difference > 0 ? "behind" : "ahead of"),
         .sAdvice = "compare the rates of both streams with those of the source\n" + std::string(kAdviceFields)});
  }

  void ReportEnd(const char* code, const STrackFacts& track, int64_t endsMs, uint64_t ofMs) {
    const SChunk* last = track.chunks.empty() ? nullptr : &m_Findings.Map().chunks[track.chunks.back()];
    m_Findings.Add({.pCode = code,
                    .nOffset = last ? std::optional(last->nOffset) : std::nullopt,
                    .nTrack = track.nTrack,
                    .sConsequence = fmt::format("the {} stops at {}", TrackText(track),
                                                ShareText(static_cast<uint64_t>(endsMs), ofMs)),
                    .sAdvice = "see whether the source has more of it"});
  }

  const STrackFacts& m_Video;
  const STrackFacts& m_Audio;
  SoundClock m_Clock;
  Findings& m_Findings;
};

}  // namespace

void CheckSync(Findings* findings) {
  const STrackFacts* main = findings->Facts().Main();
  if (!main || !main->pHeader->IsVideo()) return;
  for (const STrackFacts& track : findings->Facts().Tracks()) {
    if (track.pHeader->IsAudio()) SyncCheck(*main, track, findings).Run();
  }
}
