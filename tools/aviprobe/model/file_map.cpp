#include "tools/aviprobe/model/file_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/model/chunk_walk.h"
#include "tools/aviprobe/model/header_map.h"
#include "tools/aviprobe/model/index_map.h"
#include "tools/aviprobe/model/wrong_sizes.h"

namespace {

struct SMarkWords {
  const char* pName;
  const char* pText;  ///< takes the bytes
};

SMarkWords WordsOf(EMark mark) {
  switch (mark) {
    case EMark::kPastList:
      return {"past_list", "runs {} bytes past the end of its list"};
    case EMark::kPastFile:
      return {"past_file", "runs {} bytes past the end of the file"};
    case EMark::kEmpty:
      return {"empty", "size 0"};
    case EMark::kBadId:
      return {"bad_id", "FourCC not printable"};
    case EMark::kUnknownId:
      return {"unknown_id", "no chunk that an AVI file has"};
    case EMark::kMisplacedId:
      return {"misplaced_id", "does not belong in this list"};
    case EMark::kNoType:
      return {"no_type", "no room for its form type"};
    case EMark::kNoPad:
      return {"no_pad", "no pad byte"};
    case EMark::kTooDeep:
      return {"too_deep", "lists nested too deep to go on"};
    case EMark::kWrongSize:
      return {"wrong_size", "its size is wrong: what follows begins where {} bytes would end"};
    case EMark::kHidesData:
      return {"hides_data", "holds data, and is no movi list"};
  }
  return {"", ""};
}

bool IsAviRiff(const SChunk& chunk) {
  return chunk.bList && chunk.id == FourCC("RIFF") && chunk.type == FourCC("AVI ");
}

std::optional<uint32_t> FindJoined(const SFileMap& map) {
  if (!map.IsAvi()) return std::nullopt;
  for (size_t i = 1; i < map.chunks.size(); ++i) {
    if (map.chunks[i].nDepth == 0 && IsAviRiff(map.chunks[i])) return static_cast<uint32_t>(i);
  }
  return std::nullopt;
}

/// Marks lists that stand where those of data do and have another name.
void MarkHiding(SFileMap* map) {
  std::optional<uint32_t> newest;
  for (const SChunk& chunk : map->chunks) {
    if (chunk.nParent < 0 || !IsDataId(chunk.id) || !IsLandmark(chunk.id)) continue;
    const auto parent = static_cast<uint32_t>(chunk.nParent);
    SChunk& list = map->chunks[parent];
    if (list.nDepth != 1 || IsFormType(list.type) || newest == parent) continue;
    newest = parent;
    list.bMarked = true;
    map->marks.push_back({parent, {EMark::kHidesData}});
  }
  std::stable_sort(map->marks.begin(), map->marks.end(),
                   [](const SMarked& a, const SMarked& b) { return a.nChunk < b.nChunk; });
}

}  // namespace

SFileMap MapFile(FileSource& source, const std::string& path, const SMapOptions& options) {
  SFileMap map;
  map.sPath = path;
  map.nSize = source.Size();
  std::vector<SSuspect> suspects = WalkChunks(source, options, &map);
  MarkHiding(&map);
  map.joined = FindJoined(map);
  ReadHeaders(source, &map);
  ReadIndexes(source, options.bEntries, &map);
  SettleSizes(std::move(suspects), &map);
  return map;
}

bool SFileMap::IsAvi() const { return !chunks.empty() && chunks[0].nOffset == 0 && IsAviRiff(chunks[0]); }

const SChunk* SFileMap::ChunkAt(int64_t offset) const {
  const auto found = std::lower_bound(chunks.begin(), chunks.end(), offset,
                                      [](const SChunk& chunk, int64_t at) { return chunk.nOffset < at; });
  return found != chunks.end() && found->nOffset == offset ? &*found : nullptr;
}

std::vector<SMark> SFileMap::MarksOf(size_t chunk) const {
  std::vector<SMark> found;
  auto next = std::lower_bound(marks.begin(), marks.end(), chunk,
                               [](const SMarked& marked, size_t number) { return marked.nChunk < number; });
  for (; next != marks.end() && next->nChunk == chunk; ++next) found.push_back(next->mark);
  return found;
}

int64_t SFileMap::PresentBytes(const SChunk& chunk) const {
  return std::clamp<int64_t>(nSize - chunk.DataOffset(), 0, std::max<int64_t>(chunk.End() - chunk.DataOffset(), 0));
}

const char* MarkName(EMark mark) { return WordsOf(mark).pName; }

std::string MarkText(const SMark& mark) { return fmt::format(fmt::runtime(WordsOf(mark.mark).pText), mark.nBytes); }
