#ifndef ZU_TOOLS_AVIPROBE_REMUX_REMUX_H_
#define ZU_TOOLS_AVIPROBE_REMUX_REMUX_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/host/isolation.h"

// A copy of what the library delivers. With libavformat; a tool built without it has remux_absent.cpp instead.

bool RemuxIsBuiltIn();

enum class EContainer { kAvi, kMatroska };

struct SRemuxJob {
  std::string sInput;
  std::string sOutput;
  std::string sTemporary;  ///< beside the output, which gets its name at success; whoever made the job removes it
  EContainer container = EContainer::kAvi;
  bool bForce = false;  ///< replace an output
};

struct SRemuxedTrack {
  uint32_t nTrack = 0;  ///< of the input
  uint32_t nType = 0, nCodecId = 0;
  uint64_t nUnits = 0, nBytes = 0;
  uint64_t nKeys = 0;    ///< pictures marked as key frames
  uint64_t nGaps = 0;    ///< frames of the input without a unit, kept as empty ones or as a gap in the times
  uint64_t nHash = 0;    ///< as AddUnitHash makes it, of the units as delivered
  SPullResult result{};  ///< how the track ended
  int64_t nDriftMs = 0;  ///< how much longer the copy's sound lasts than the delivered times tell; 0: unknown, too
  /// Whether the copy, played by the library, delivers these units again; none: it is no AVI file.
  std::optional<bool> bSame{};
};

struct SRemuxed {
  std::vector<SRemuxedTrack> tracks;  ///< in the order of the copy
  std::vector<std::string> notes;     ///< what the copy lacks or has otherwise, a line each
  std::vector<std::string> troubles;  ///< those of the notes that mean that the copy is not all that the file has
};

/// The input plays, but there can be no such copy.
struct CopyError : HostError {
  using HostError::HostError;
};

/// Copies one file. @throw CopyError; HostError when a file cannot be read or written, RefusedError when the library
/// does not want the input.
SRemuxed Remux(const Host& host, const SRemuxJob& job, Progress& progress);

#endif  // ZU_TOOLS_AVIPROBE_REMUX_REMUX_H_
