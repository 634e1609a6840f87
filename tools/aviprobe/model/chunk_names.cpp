#include "tools/aviprobe/model/chunk_names.h"

#include <algorithm>
#include <iterator>

namespace {

// Where a chunk may stand.
constexpr unsigned kInFile = 1, kInRiff = 2, kInHeader = 4, kInStream = 8, kInOdml = 16, kInMovi = 32;
constexpr unsigned kInLists = kInRiff | kInHeader | kInStream | kInOdml | kInMovi;

struct SPlaces {
  FourCC name;
  unsigned nPlaces;
};

constexpr SPlaces kChunks[] = {
    {"avih", kInHeader},
    {"strh", kInStream},
    {"strf", kInStream},
    {"strd", kInStream},
    {"strn", kInStream},
    {"indx", kInStream},
    {"vprp", kInHeader | kInStream},
    {"dmlh", kInOdml},
    {"idx1", kInRiff},
    {"IDIT", kInLists},
    {"ISMP", kInLists},
    {"DISP", kInLists},
    {"_PMX", kInLists},
    {"ID3 ", kInLists},
    {"id3 ", kInLists},
    {"bext", kInLists},
    {"JUNK", kInFile | kInLists},
    {"junk", kInFile | kInLists},
    {"PAD ", kInFile | kInLists},
};
constexpr SPlaces kLists[] = {
    {"AVI ", kInFile}, {"AVIX", kInFile},   {"hdrl", kInRiff},
    {"movi", kInRiff}, {"strl", kInHeader}, {"odml", kInRiff | kInHeader},
    {"rec ", kInMovi}, {"INFO", kInLists},
};
struct SPlace {
  FourCC type;
  unsigned nPlace;
};
constexpr SPlace kParents[] = {
    {"AVI ", kInRiff}, {"AVIX", kInRiff}, {"hdrl", kInHeader}, {"strl", kInStream},
    {"odml", kInOdml}, {"movi", kInMovi}, {"rec ", kInMovi},
};
constexpr FourCC kSuffixes[] = {"__dc", "__db", "__wb", "__tx", "__pc"};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

template <size_t N>
const SPlaces* Find(const SPlaces (&table)[N], const FourCC& name) {
  const auto* found =
      std::find_if(std::begin(table), std::end(table), [&](const SPlaces& s) { return s.name == name; });
  return found == std::end(table) ? nullptr : found;
}

bool IsChunkIndexId(const FourCC& id) {
  return id.chars[0] == 'i' && id.chars[1] == 'x' && IsDigit(id.chars[2]) && IsDigit(id.chars[3]);
}

/// Places of a chunk, 0 when no AVI file has it.
unsigned PlacesOf(const FourCC& id, const FourCC* type) {
  if (IsListId(id)) {
    const bool riff = id == FourCC("RIFF");
    if (!type) return riff ? kInFile : kInLists;
    if (const SPlaces* list = Find(kLists, *type)) return list->nPlaces;
    return riff ? 0 : kInLists;  // writers keep notes of their own in lists
  }
  if (IsDataId(id) || IsChunkIndexId(id)) return kInMovi;
  const SPlaces* chunk = Find(kChunks, id);
  return chunk ? chunk->nPlaces : 0;
}

}  // namespace

bool IsPrintableId(const FourCC& id) {
  return std::all_of(id.chars.begin(), id.chars.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

bool IsListId(const FourCC& id) { return id == FourCC("RIFF") || id == FourCC("LIST"); }

bool IsFormType(const FourCC& type) { return Find(kLists, type) != nullptr; }

bool IsDataId(const FourCC& id) { return IsDigit(id.chars[0]) && IsDigit(id.chars[1]) && IsPrintableId(id); }

int16_t StreamOfId(const FourCC& id) {
  const size_t at = IsChunkIndexId(id) ? 2 : 0;
  if (!IsDigit(id.chars[at]) || !IsDigit(id.chars[at + 1])) return kNoStream;
  return static_cast<int16_t>((id.chars[at] - '0') * 10 + (id.chars[at + 1] - '0'));
}

EPlace PlaceOf(const FourCC& id, const FourCC* type, const FourCC* parent) {
  unsigned place = kInFile;
  if (parent) {
    const auto* known =
        std::find_if(std::begin(kParents), std::end(kParents), [&](const SPlace& p) { return p.type == *parent; });
    if (known == std::end(kParents)) return EPlace::kFits;  // whatever a list of notes may hold
    place = known->nPlace;
  }
  const unsigned places = PlacesOf(id, type);
  return places == 0 ? EPlace::kUnknown : places & place ? EPlace::kFits : EPlace::kMisplaced;
}

bool IsLandmark(const FourCC& id) {
  if (IsListId(id) || IsChunkIndexId(id)) return true;
  if (!IsDataId(id)) return Find(kChunks, id) != nullptr;
  return std::any_of(std::begin(kSuffixes), std::end(kSuffixes), [&](const FourCC& suffix) {
    return std::equal(suffix.chars.begin() + 2, suffix.chars.end(), id.chars.begin() + 2);
  });
}
