#include "tools/aviprobe/model/chunk_search.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/model/little_endian.h"

namespace {

constexpr size_t kScanBytes = 64u << 10, kPeekBytes = 64;
constexpr int64_t kTypeBytes = 4;

/// What a landmark begins with: few of the other bytes need a closer look.
constexpr auto kFirst = [] {
  std::array<bool, 256> first{};
  for (const char c : std::string_view("0123456789aLRisdvIDJjP_b")) first[static_cast<uint8_t>(c)] = true;
  return first;
}();

}  // namespace

bool ReadChunkHeader(BlockReader& reader, int64_t end, SChunk* chunk) {
  const auto raw = reader.At(chunk->nOffset, kChunkHeaderBytes + kTypeBytes);
  const int64_t there = std::min(static_cast<int64_t>(raw.size()), end - chunk->nOffset);
  if (there < kChunkHeaderBytes) return false;
  chunk->id = FourCC(raw.data());
  chunk->nSize = Le32At(raw, 4);
  if (!IsListId(chunk->id) || there < kChunkHeaderBytes + kTypeBytes) return true;
  const FourCC type(raw.data() + kChunkHeaderBytes);
  // A recording that broke off has lists of size 0, in front of all that it holds.
  chunk->bList = chunk->nSize >= kTypeBytes || (chunk->nSize == 0 && IsFormType(type));
  if (chunk->bList) chunk->type = type;
  return true;
}

ChunkSearch::ChunkSearch(FileSource& source) : m_Scanned(source, kScanBytes), m_Peeked(source, kPeekBytes) {}

std::optional<int64_t> ChunkSearch::Find(int64_t from, int64_t end) {
  if (end != m_nAskedEnd || from < m_nAskedFrom || from > m_nAnswer) {
    m_nAskedFrom = from;
    m_nAskedEnd = end;
    m_nAnswer = Scan(from, end);
  }
  return m_nAnswer < end ? std::optional(m_nAnswer) : std::nullopt;
}

/// @return `end` when there is none.
int64_t ChunkSearch::Scan(int64_t from, int64_t end) {
  constexpr int64_t kIdBytes = 4;
  constexpr int64_t kStep = kScanBytes / 2;
  for (int64_t at = from; at < end; at += kStep - kIdBytes + 1) {
    const auto bytes = m_Scanned.At(at, kStep);
    for (size_t i = 0; i + kIdBytes <= bytes.size(); ++i) {
      if (!kFirst[bytes[i]] || !IsLandmark(FourCC(bytes.data() + i))) continue;
      const int64_t here = at + static_cast<int64_t>(i);
      if (here < end && IsChunk(here, end)) return here;
    }
  }
  return end;
}

bool ChunkSearch::IsChunk(int64_t at, int64_t end) {
  SChunk chunk{.nOffset = at};
  if (!ReadChunkHeader(m_Peeked, end, &chunk)) return false;
  if (IsListId(chunk.id)) return IsListStart(chunk);
  const int64_t odd = chunk.nSize & 1;
  if (chunk.End() > end) return false;
  return chunk.End() + odd >= end || IsLandmarkAt(chunk.End() + odd) || (odd && IsLandmarkAt(chunk.End()));
}

/// A list's size may be wrong where other sizes are, so its type and what it begins with have to do.
bool ChunkSearch::IsListStart(const SChunk& list) {
  if (!list.bList || !IsFormType(list.type)) return false;
  if (list.nSize == kTypeBytes) return IsLandmarkAt(list.End());
  SChunk first{.nOffset = list.DataOffset()};
  return ReadChunkHeader(m_Peeked, m_Peeked.Size(), &first) &&
         PlaceOf(first.id, first.bList ? &first.type : nullptr, &list.type) == EPlace::kFits && IsPrintableId(first.id);
}

bool ChunkSearch::IsLandmarkAt(int64_t at) {
  SChunk chunk{.nOffset = at};
  if (!ReadChunkHeader(m_Peeked, m_Peeked.Size(), &chunk) || !IsLandmark(chunk.id)) return false;
  return chunk.bList ? IsFormType(chunk.type) : chunk.End() <= m_Peeked.Size();
}
