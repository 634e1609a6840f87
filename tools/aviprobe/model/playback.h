#ifndef ZU_TOOLS_AVIPROBE_MODEL_PLAYBACK_H_
#define ZU_TOOLS_AVIPROBE_MODEL_PLAYBACK_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/text/times.h"

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
  TrackInfo info{};                ///< a copy; its pointers are null
  std::vector<SPlayedUnit> units;  ///< when they were asked for
  uint64_t nUnits = 0;
  uint32_t nFirstMs = 0, nLastMs = 0;  ///< of the first and the last unit
  uint64_t nBytes = 0;
  uint64_t nHash = 0;        ///< of the units' hashes, see AddUnitHash
  uint64_t nEmptyReads = 0;  ///< successes without bytes
  uint32_t nGrown = 0;       ///< bytes to which the buffer had to grow for it; 0: kUsualBuffer, or the given, sufficed
  uint64_t nTooLarge = 0;    ///< bytes of the unit above the given buffer that ended it; 0: none
  Ending ending = Ending::kEndOfTrack;
  int nStatus = 0;  ///< the library's last
};

struct SPlayback {
  bool bOpened = false;
  int nOpenStatus = 0;
  std::string sRefusal;  ///< why not, for people; starts with the file's name
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
      onStage{};  ///< "opening", "playing track 1 at 00:00:12", for who watches from outside
  std::function<void(double share)> onDone{};  ///< 0 to 1, by the times that go by
  std::function<void(const MediaFile& file)> onOpened{};
  /// A track has ended; `units` are complete.
  std::function<void(const STrackPlayback& track, const SPullResult& result)> onTrack{};
};

/// The hash of a track is this of all its units' hashes, from kHashStart, so that a moved boundary shows.
uint64_t AddUnitHash(uint64_t unitHash, uint64_t hash);

/// The tracks in the order in which they are played: video, audio, text. @throw HostError when `only` does not play.
std::vector<uint32_t> PlayedTracks(const MediaFile& file, const std::optional<uint32_t>& only);

/// Opens a file and plays each track that the library plays, one after the other, as `packets` has always done.
/// @throw HostError when the file cannot be read at all; a file that the library refuses is `bOpened` false.
SPlayback Play(const Host& host, const std::string& path, const SPlayOptions& options = {});

#endif  // ZU_TOOLS_AVIPROBE_MODEL_PLAYBACK_H_
