#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_INFO_FACTS_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_INFO_FACTS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/measure.h"
#include "tools/aviprobe/text/json_line.h"

// What `info` knows of a file before it prints any of it.

/// What the library delivered of a track.
struct SDelivered {
  uint64_t nUnits = 0, nBytes = 0, nEmptyReads = 0;
  unsigned long nFirstMs = 0, nLastMs = 0;  ///< of its units; 0 without
  SPullResult result{};
};

struct SInfoTrack {
  uint32_t nTrack = 0;
  TrackInfo info{};                      ///< a copy; its pointers are null
  std::string sCodec;                    ///< the library's name
  std::optional<std::string> sTextName;  ///< of a text track, as the file has it
  bool bPlayed = false;                  ///< by the library
  bool bSeekable = false;
  uint32_t nIndexEntries = 0;              ///< in the index that the library plays by
  unsigned long nConfig = 0;               ///< bytes of configuration
  std::vector<uint8_t> config;             ///< empty when they exceed the buffer
  const SStreamHeader* pHeader = nullptr;  ///< in SInfo::map; null when the tool's walk found none
  SStreamMeasure present{};
  std::optional<SKeyFrames> keys;       ///< of video in a file with an index
  std::optional<SDelivered> delivered;  ///< when it was played

  bool IsVideo() const { return info.nTrackType == AVI_TRACK_VIDEO; }
  bool IsAudio() const { return info.nTrackType == AVI_TRACK_AUDIO; }
  /// The library narrows this sound to 16 bits.
  bool IsNarrowed() const { return info.nCodecId == AVI_CODEC_PCM && IsAudio() && info.audio.nBitsPerSample == 24; }
};

struct SInfo {
  std::string sPath;
  SFileMap map;
  unsigned long nDurationMs = 0;  ///< as the library says
  std::string sIndexKind;         ///< which one the library plays by, as CoreView has it
  uint64_t nIndexEntries = 0;     ///< in that
  bool bSeekable = false;         ///< the library says that the file has an index
  std::vector<SInfoTrack> tracks;

  bool IsIndexed() const { return bSeekable && nIndexEntries > 0; }
  bool HasOpenDml() const { return !map.chunkIndexes.empty() || !map.superSlots.empty(); }
  /// The length of the longest of the tracks by the chunks that are present; none without a clock.
  std::optional<double> PresentMs() const;
};

/// @param play  play all tracks too. @throw HostError when the file does not open.
SInfo GatherInfo(const Host& host, const std::string& path, bool play, Progress& progress);

void PrintInfoText(const SInfo& info);
void PrintInfoBrief(const SInfo& info);
void PrintInfoJson(const SInfo& info);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_INFO_FACTS_H_
