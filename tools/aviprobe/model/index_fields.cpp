#include "tools/aviprobe/model/index_fields.h"

#include <fmt/format.h>

#include "tools/aviprobe/model/little_endian.h"
#include "tools/aviprobe/text/names.h"

namespace {

constexpr int kEntriesShown = 8;
constexpr size_t kLegacyBytes = 16, kSuperBytes = 16;

/// What begins at a position that an index names.
std::string Target(const SFileMap& map, int64_t position) {
  const SChunk* chunk = map.ChunkAt(position);
  if (!chunk) return fmt::format("no chunk begins at {}", position);
  return fmt::format("{} at {}", Printable((chunk->bList ? chunk->type : chunk->id).Text()), position);
}

void ReadSuperEntries(const SFileMap& map, FieldReader* reader) {
  for (int i = 0; i < kEntriesShown && reader->Left() >= kSuperBytes; ++i) {
    const auto raw = reader->Take(fmt::format("aIndex[{}]", i), kSuperBytes);
    const uint64_t offset = Le64At(raw, 0);
    reader->Shows(fmt::format("qwOffset {}, dwSize {}, dwDuration {}", offset, Le32At(raw, 8), Le32At(raw, 12)));
    reader->Means(Target(map, static_cast<int64_t>(offset)));
  }
}

void ReadChunkEntries(const SFileMap& map, uint64_t base, size_t entryBytes, FieldReader* reader) {
  for (int i = 0; i < kEntriesShown && reader->Left() >= entryBytes; ++i) {
    const auto raw = reader->Take(fmt::format("aIndex[{}]", i), entryBytes);
    const uint32_t offset = Le32At(raw, 0), size = Le32At(raw, 4);
    uint64_t position = 0;
    (void)__builtin_add_overflow(base, uint64_t{offset}, &position);
    (void)__builtin_sub_overflow(position, uint64_t{kChunkHeaderBytes}, &position);
    reader->Shows(fmt::format("dwOffset {}, dwSize 0x{:08x}", offset, size));
    reader->Means(fmt::format("{}, {} bytes{}", Target(map, static_cast<int64_t>(position)), size & 0x7FFFFFFF,
                              size & 0x80000000 ? "" : ", key frame"));
  }
}

}  // namespace

void ReadOdmlFields(const SFileMap& map, FieldReader* reader) {
  const uint64_t longs = reader->Number("wLongsPerEntry", 2);
  if (reader->Number("bIndexSubType", 1) == 1) reader->Means("two fields a frame");
  const uint64_t type = reader->Number("bIndexType", 1);
  reader->Means(type == 0 ? "index of indexes" : type == 1 ? "index of chunks" : "");
  const uint64_t entries = reader->Number("nEntriesInUse", 4);
  reader->Code("dwChunkId");
  const uint64_t base = type == 1 ? reader->Number("qwBaseOffset", 8) : 0;
  reader->Raw("dwReserved", type == 1 ? 4 : 12);
  if (entries == 0) return;
  if (type == 0) ReadSuperEntries(map, reader);
  if (type == 1 && (longs == 2 || longs == 3)) ReadChunkEntries(map, base, 4 * longs, reader);
}

void ReadLegacyFields(const SFileMap& map, FieldReader* reader) {
  for (int i = 0; i < kEntriesShown && reader->Left() >= kLegacyBytes; ++i) {
    const auto raw = reader->Take(fmt::format("aIndex[{}]", i), kLegacyBytes);
    const uint32_t flags = Le32At(raw, 4), offset = Le32At(raw, 8);
    reader->Shows(fmt::format("ckid {}, dwFlags 0x{:08x}, dwChunkOffset {}, dwChunkLength {}",
                              Printable(FourCC(raw.data()).Text()), flags, offset, Le32At(raw, 12)));
    reader->Means(Target(map, map.nIdx1Base + offset) + (flags & 0x10 ? ", key frame" : ""));
  }
}
