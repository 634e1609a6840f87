#ifndef ZU_TOOLS_AVIPROBE_MODEL_WRONG_SIZES_H_
#define ZU_TOOLS_AVIPROBE_MODEL_WRONG_SIZES_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/aviprobe/model/file_map.h"

/// A chunk whose size may be wrong: what should follow it was found elsewhere.
struct SSuspect {
  uint32_t nChunk;
  int64_t nRight;                ///< size with which what was found follows it
  bool bSure = false;            ///< what was found lies inside the chunk
  std::optional<size_t> nGap{};  ///< in SFileMap::leftOver: what was skipped between the two
};

/// Decides which suspects are marked, in a map with its indexes. Behind a chunk there may as well be bytes that are
/// lost: its size is wrong where an index says so too, or where one flipped bit makes it right.
void SettleSizes(std::vector<SSuspect> suspects, SFileMap* map);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_WRONG_SIZES_H_
