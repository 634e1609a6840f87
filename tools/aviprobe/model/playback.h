#ifndef ZU_TOOLS_AVIPROBE_MODEL_PLAYBACK_H_
#define ZU_TOOLS_AVIPROBE_MODEL_PLAYBACK_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/host/host.h"

// What the library hands to a player, through the real interface.

/// One delivered unit, without its bytes.
struct SPlayedUnit {
  uint64_t nHash = 0;
  int64_t nPosition = -1;  ///< in the file, of the read that brought its last bytes; -1: none was made for it
  uint32_t nTimeMs = 0;
  uint32_t nBytes = 0;
  uint32_t nReads = 0;  ///< source reads of the call
  bool bKey = false;    ///< as its own bytes or, where the codec does not let one tell, the index say
  bool bKeyKnown = false;
};

/// One track, played from its start to where the library ended it.
struct STrackPlayback {
  uint32_t nTrack = 0;
  TrackInfo info{};  ///< a copy; its pointers are null
  std::vector<SPlayedUnit> units;
  uint64_t nBytes = 0;
  uint64_t nHash = 0;        ///< of the units' hashes
  uint64_t nEmptyReads = 0;  ///< successes without bytes
  uint32_t nGrown = 0;       ///< bytes to which the buffer had to grow for it; 0: it sufficed
  Ending ending = Ending::kEndOfTrack;
  int nStatus = 0;  ///< the library's last
};

struct SPlayback {
  bool bOpened = false;
  int nOpenStatus = 0;
  unsigned long nDurationMs = 0;
  uint32_t nTracks = 0;                 ///< as the library counts
  std::vector<STrackPlayback> tracks;   ///< those that it plays: video, then audio, then text
  uint64_t nReads = 0, nBytesRead = 0;  ///< of the source, all in all
};

struct SPlayOptions {
  std::optional<uint32_t> nTrack;  ///< only this one
  bool bHash = true;
  bool bUnits = true;  ///< keep the units, not their sums alone
  std::function<void(uint32_t track, const SUnit& unit, const SPlayedUnit& played)> onUnit{};  ///< sees the bytes, too
  std::function<void(const std::string& stage)>
      onStage{};  ///< "opening", "playing track 1", for who watches from outside
};

/// Opens a file and plays each track that the library plays, one after the other, as `packets` has always done.
/// @throw HostError when the file cannot be read at all; a file that the library refuses is `bOpened` false.
SPlayback Play(const Host& host, const std::string& path, const SPlayOptions& options = {});

/// "00:01:30.500" of milliseconds.
std::string ClockText(uint64_t ms);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_PLAYBACK_H_
