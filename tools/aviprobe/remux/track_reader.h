#ifndef ZU_TOOLS_AVIPROBE_REMUX_TRACK_READER_H_
#define ZU_TOOLS_AVIPROBE_REMUX_TRACK_READER_H_

#include <optional>
#include <set>
#include <string>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/remux/av.h"
#include "tools/aviprobe/remux/remux.h"

/// Pulls one track of a file unit by unit, through a parser of its own, so that tracks can take turns. That parser is
/// never asked for the configuration of a decoder: the library then delivers as it does for `packets`.
class TrackReader {
 public:
  TrackReader(const Host& host, const std::string& path, uint32_t track);

  const TrackInfo& Info() const { return m_File.Track(m_Facts.nTrack); }
  /// The next unit with its time in milliseconds as `pts`; null behind the last one. Counts it in Facts().
  AvPacket Next();
  SRemuxedTrack& Facts() { return m_Facts; }

 private:
  const Host& m_Host;
  MediaFile m_File;
  SRemuxedTrack m_Facts;
  bool m_bEnded = false;
};

/// Which pictures a decoder can begin with: by their bytes; where those do not tell, by the index; without one, only
/// the first.
class KeyTeller {
 public:
  KeyTeller(const Host& host, const std::string& path, uint32_t track);
  /// @param position  where the library read it, -1: unknown.
  bool IsKey(const TrackInfo& info, std::span<const uint8_t> unit, int64_t position);

 private:
  void ReadIndex();

  const Host& m_Host;
  std::string m_sPath;
  uint32_t m_nTrack;
  bool m_bFirst = true;
  std::optional<std::set<int64_t>> m_Keys;  // positions, when the index was asked for
};

#endif  // ZU_TOOLS_AVIPROBE_REMUX_TRACK_READER_H_
