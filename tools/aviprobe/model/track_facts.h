#ifndef ZU_TOOLS_AVIPROBE_MODEL_TRACK_FACTS_H_
#define ZU_TOOLS_AVIPROBE_MODEL_TRACK_FACTS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/playback.h"

// What a file has of each track, in four tellings that should agree: its header's, its index's, its chunks' and the
// library's.

/// How much of a track. Chunks of sound may hold many units.
struct SAmount {
  uint64_t nChunks = 0;  ///< chunks or index entries
  uint64_t nBytes = 0;
  uint64_t nUnits = 0;  ///< as the stream's header counts: frames, or blocks of sound
  uint64_t nMs = 0;     ///< by the stream's header
};

struct STrackFacts {
  int nTrack = 0;
  const SStreamHeader* pHeader = nullptr;
  std::vector<uint32_t> chunks{};  ///< in SFileMap::chunks
  std::vector<uint64_t> before{};  ///< bytes of the chunks before each of them
  uint64_t nEmpty = 0;             ///< chunks without bytes
  uint64_t nDeclaredUnits = 0, nDeclaredMs = 0;
  std::vector<std::string> indexKinds{};  ///< "idx1", "OpenDML"
  SAmount indexed{};                      ///< in the index that counts, see FileFacts::Entries
  SAmount present{};                      ///< chunks that begin in the file
  const STrackPlayback* pPlayed = nullptr;

  /// Whether the header counts chunks; blocks of sound otherwise.
  bool CountsChunks() const;
  uint64_t UnitsOf(uint64_t chunkCount, uint64_t bytes) const;
  /// Milliseconds of so much of it; 0 when scale or rate are 0.
  uint64_t MsOf(uint64_t chunkCount, uint64_t bytes) const;
  /// When its chunk of this number, up to chunks.size(), begins.
  uint64_t MsBefore(size_t chunk) const;
  /// What the library delivered, to the end of the last unit. By its own clock.
  uint64_t DeliveredMs() const;
};

class FileFacts {
 public:
  /// @param playback  null: nothing was played.
  FileFacts(const SFileMap& map, const SPlayback* playback);

  const std::vector<STrackFacts>& Tracks() const { return m_Tracks; }
  /// The track by which a file is timed: the first video, else the first audio track; null without both.
  const STrackFacts* Main() const { return m_nMain < 0 ? nullptr : &m_Tracks[static_cast<size_t>(m_nMain)]; }
  /// When what stands at this offset matters; none in front of the data and behind them, in an index among them, and
  /// without a main track.
  std::optional<uint32_t> MsOfData(int64_t offset) const;
  /// When the chunks behind this offset are played; none in front of the data, and without a main track.
  std::optional<uint32_t> MsAt(int64_t offset) const;
  /// The index that players use: that of OpenDML when it is whole, else "idx1".
  const std::vector<SIndexRef>& Entries() const { return *m_pEntries; }
  /// The OpenDML index has a part that is missing or unreadable; all of it is worth nothing then.
  bool IsOdmlBroken() const { return m_bOdmlBroken; }
  /// Whether a walk by the sizes, which is what is left without an index, comes to picture or sound.
  bool PlaysUnindexed() const;
  /// What the file should play: the header's word if it has one, else what is there.
  uint64_t ExpectedMs() const;
  /// What it plays.
  uint64_t DeliveredMs() const;

 private:
  void FindMain();

  std::vector<STrackFacts> m_Tracks{};
  int m_nMain = -1;
  const SFileMap& m_Map;
  int64_t m_nDataAt = 0, m_nDataEnd = 0;
  std::vector<int64_t> m_Offsets{};  // of the main track's chunks
  const std::vector<SIndexRef>* m_pEntries;
  bool m_bOdmlBroken;
};

/// Whether a slot of a super index names an index that is not there. Spare ones are all 0.
bool IsBroken(const SSuperSlot& slot);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_TRACK_FACTS_H_
