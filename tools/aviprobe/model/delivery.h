#ifndef ZU_TOOLS_AVIPROBE_MODEL_DELIVERY_H_
#define ZU_TOOLS_AVIPROBE_MODEL_DELIVERY_H_

#include <cstdint>
#include <optional>
#include <string>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/track_facts.h"

// Whether what the library ended well is all that the file has: a damaged index looks like the end of a track.

/// What came of a track.
struct STrackDelivery {
  uint32_t nTrack = 0;
  uint32_t nType = 0, nCodecId = 0;
  uint64_t nUnits = 0, nBytes = 0;
};

/// What of a track is in the file and did not come: "30 of 60 pictures", "900 of 2000 ms of sound"; empty when that is
/// no more than a picture or half a second, as ends of files cost. Of text nothing is known.
std::string Missing(const SFileMap& map, const FileFacts& facts, const STrackDelivery& delivery);
/// Why, as far as there is something to do about it, as the end of a sentence; may be empty.
std::string WhyMissing(const SFileMap& map, const FileFacts& facts, const SHostOptions& options);

/// What stands in a file. It is read when first asked for: in a long file the walk would hold up the first units.
class Presence {
 public:
  Presence(const Host& host, const std::string& path) : m_Host(host), m_sPath(path) {}

  const SFileMap& Map();
  /// Says on stderr what of a track did not come. @return whether it is something.
  bool ComplainOfMissing(const STrackDelivery& delivery);
  /// How long a track's chunks last; 0 when nothing tells.
  uint64_t Ms(uint32_t track);

 private:
  const FileFacts& Facts();

  const Host& m_Host;
  std::string m_sPath;
  std::optional<SFileMap> m_Map{};
  std::optional<FileFacts> m_Facts{};
};

/// For a file that the library opened without a track to play: says that there is none. @return the exit code.
/// @throw HostError when it is no AVI file at all.
int NothingToPlay(const std::string& path);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_DELIVERY_H_
