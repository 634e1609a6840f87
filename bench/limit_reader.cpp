#include "bench/limit_reader.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace {

constexpr size_t kBlock = 10000;  // entries of idx1 read at once
constexpr size_t kOldEntry = 16, kNewEntry = 8;
constexpr size_t kNewHeader = 32;  // of an ix## chunk, to its first entry
constexpr uint32_t kKeyFrame = 0x10, kNotKeyFrame = 0x80000000u;

template <typename T>
T Load(const uint8_t* at) {  // of a little-endian machine, which this is a benchmark for
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

}  // namespace

LimitReader::LimitReader(IDataSource& source, const AviLayout& layout) : m_source(source), m_layout(layout) {
  for (const ChunkRef& chunk : layout.chunks) {
    if (chunk.stream >= m_entries.size()) m_entries.resize(chunk.stream + 1u);
    ++m_entries[chunk.stream];
  }
}

void LimitReader::Fetch(uint64_t offset, uint64_t size, void* to) {
  uint64_t length = size;
  if (m_source.ReadAt(static_cast<int64_t>(offset), to, &length) < 0 || length != size) {
    throw std::runtime_error("a read of the limit reader failed");
  }
}

void LimitReader::Drain() {
  for (const ChunkRef& chunk : m_layout.chunks) Read(chunk);
}

LimitReader::Tables LimitReader::MakeTables() const {
  Tables made;
  for (const size_t entries : m_entries) {
    made.tables.push_back(std::make_unique_for_overwrite<Record[]>(entries));
    made.ends.push_back(made.tables.back().get());
  }
  return made;
}

void LimitReader::Open() {
  Fetch(0, m_layout.headerBytes, UnitBuffer().data());
  Tables tables = MakeTables();
  if (m_layout.indexed.empty()) {
    ReadLegacy(tables.ends);
  } else {
    ReadChunkIndexes(tables.ends);
  }
}

void LimitReader::OpenWith(const std::vector<FileRange>& reads) {
  Tables tables = MakeTables();
  const FileRange& index = m_layout.indexes.front();
  for (const FileRange& read : reads) {
    Fetch(read.offset, read.size, UnitBuffer().data());
    if (read.offset >= index.offset && read.offset + read.size <= index.offset + index.size) {
      TakeLegacy(read.size, tables.ends);
    }
  }
}

void LimitReader::TakeLegacy(uint64_t size, std::vector<Record*>& ends) const {
  const uint64_t base = m_layout.headerBytes - 4;
  for (const uint8_t* entry = UnitBuffer().data(); entry < UnitBuffer().data() + size; entry += kOldEntry) {
    const size_t stream = (entry[0] - size_t{'0'}) * 10 + (entry[1] - size_t{'0'});
    const uint32_t flag = Load<uint32_t>(entry + 4) & kKeyFrame ? 0 : kNotKeyFrame;
    *ends[stream]++ = {base + 8 + Load<uint32_t>(entry + 8), Load<uint32_t>(entry + 12) | flag, 0};
  }
}

void LimitReader::ReadLegacy(std::vector<Record*>& ends) {
  for (const FileRange& index : m_layout.indexes) {
    for (uint64_t at = 0; at < index.size; at += kBlock * kOldEntry) {
      const uint64_t size = std::min<uint64_t>(index.size - at, kBlock * kOldEntry);
      Fetch(index.offset + at, size, UnitBuffer().data());
      TakeLegacy(size, ends);
    }
  }
}

void LimitReader::ReadChunkIndexes(std::vector<Record*>& ends) {
  for (size_t i = 0; i < m_layout.indexes.size(); ++i) {
    const FileRange& index = m_layout.indexes[i];
    Fetch(index.offset, index.size, UnitBuffer().data());
    const uint64_t base = Load<uint64_t>(UnitBuffer().data() + 20);
    Record*& end = ends[m_layout.indexed[i]];
    for (const uint8_t* entry = UnitBuffer().data() + kNewHeader; entry < UnitBuffer().data() + index.size;
         entry += kNewEntry) {
      *end++ = {base + Load<uint32_t>(entry), Load<uint32_t>(entry + 4), 0};
    }
  }
}
