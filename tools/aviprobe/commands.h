#ifndef ZU_TOOLS_AVIPROBE_COMMANDS_H_
#define ZU_TOOLS_AVIPROBE_COMMANDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/host.h"

// Every command prints on stdout and returns the exit code of the tool: 0, or 1 when something was wrong with a file,
// which it has reported by then.

/// What the file holds, track by track. A file that does not open keeps none of the others from being shown.
int RunInfo(const Host& host, const std::vector<std::string>& files);

struct SPacketsOptions {
  std::string sFile;
  std::optional<uint32_t> nTrack;  ///< only this track
  bool bHash = false;
  bool bSummary = false;  ///< a line per track instead of one per unit
};
/// Every unit that the library delivers, and totals.
int RunPackets(const Host& host, const SPacketsOptions& options);

struct SSeekOptions {
  std::string sFile;
  unsigned long nAtMs = 0;
  int nMode = 0;                   ///< see IParser::Seek
  std::string sKind = "video";     ///< "video" or "audio"
  std::optional<uint32_t> nTrack;  ///< empty: the first one of that kind
};
/// Where a seek lands: the next unit after it.
int RunSeek(const Host& host, const SSeekOptions& options);

struct SExtractOptions {
  std::string sFile;
  std::optional<uint32_t> nTrack;  ///< only this track, to `sOutput`; empty: every played one, into `sFolder`
  std::string sOutput;             ///< "-": stdout
  std::string sFolder;
};
/// The elementary streams as the decoders get them.
int RunExtract(const Host& host, const SExtractOptions& options);

// These two do not go through the library: they show what no host can ask for.

struct SIndexOptions {
  std::string sFile;
  std::optional<uint32_t> nTrack;  ///< only this track
};
/// The index as the library's own classes find it.
int RunIndex(const SHostOptions& host, const SIndexOptions& options);

struct STreeOptions {
  std::string sFile;
  bool bSkipData = false;  ///< leave out data chunks that are not damaged
};
/// Every chunk of a file, whether the library can open it or not.
int RunTree(const SHostOptions& host, const STreeOptions& options);

#endif  // ZU_TOOLS_AVIPROBE_COMMANDS_H_
