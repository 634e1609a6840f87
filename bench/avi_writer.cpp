#include "bench/avi_writer.h"

#include <stdexcept>

namespace {

constexpr uint32_t kKeyFrame = 0x10;
constexpr uint32_t kNotKeyFrame = 0x80000000u;
constexpr size_t kChunkHeader = 8, kListHeader = 12;

void PutLe32(Bytes& to, uint64_t value) {
  for (int shift = 0; shift < 32; shift += 8) to.push_back(static_cast<uint8_t>(value >> shift));
}

}  // namespace

AviWriter::AviWriter(const std::filesystem::path& path, std::vector<AviStream> streams, IndexKind index,
                     uint32_t microSecPerFrame, size_t indexChunks)
    : m_file(std::fopen(path.c_str(), "wb")),
      m_streams(std::move(streams)),
      m_index(index),
      m_microSecPerFrame(microSecPerFrame),
      m_indexChunks(indexChunks),
      m_pending(m_streams.size()),
      m_super(m_streams.size()) {
  if (!m_file) throw std::runtime_error("cannot write to " + path.string());
  std::setvbuf(m_file.get(), nullptr, _IOFBF, 1u << 20);
  BeginGroup("AVI ", HeaderList());
  m_layout.headerBytes = m_at;
}

std::string AviWriter::ChunkId(uint16_t stream) const {
  const char digits[] = {static_cast<char>('0' + stream / 10), static_cast<char>('0' + stream % 10)};
  return std::string(digits, 2) + (m_streams[stream].header.type == "vids" ? "dc" : "wb");
}

Bytes AviWriter::HeaderList() const {
  uint32_t frames = 0;
  Bytes lists;
  for (uint16_t s = 0, count = static_cast<uint16_t>(m_streams.size()); s < count; ++s) {
    const AviStream& stream = m_streams[s];
    if (stream.header.type == "vids") frames = stream.header.length;
    Bytes children = Join({::Chunk("strh", Strh(stream.header)), ::Chunk("strf", stream.format)});
    if (m_index == IndexKind::kOpenDml) {
      Bytes entries = m_super[s];
      const size_t used = entries.size() / 16;
      entries.resize(m_indexChunks * 16);
      Append(children, ::Chunk("indx", Join({Le16(4), Bytes{0, 0}, Le32(used), ChunkId(s), Bytes(12), entries})));
    }
    Append(lists, List("strl", children));
  }
  const MainHeader main{.microSecPerFrame = m_microSecPerFrame,
                        .totalFrames = frames,
                        .streams = static_cast<uint32_t>(m_streams.size()),
                        .width = 640,
                        .height = 480};
  if (m_index == IndexKind::kOpenDml) Append(lists, List("odml", ::Chunk("dmlh", Join({Le32(frames), Bytes(244)}))));
  return List("hdrl", Join({::Chunk("avih", Avih(main)), lists}));
}

void AviWriter::Write(std::span<const uint8_t> bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), m_file.get()) != bytes.size()) {
    throw std::runtime_error("cannot write: the disk is full or refuses");
  }
  m_at += bytes.size();
}

void AviWriter::WriteAt(uint64_t position, const Bytes& bytes) {
  const uint64_t end = m_at;
  if (fseeko(m_file.get(), static_cast<off_t>(position), SEEK_SET) != 0) throw std::runtime_error("cannot seek");
  Write(bytes);
  if (fseeko(m_file.get(), static_cast<off_t>(end), SEEK_SET) != 0) throw std::runtime_error("cannot seek");
  m_at = end;
}

void AviWriter::BeginGroup(const std::string& type, const Bytes& header) {
  m_group = m_at;
  Write(Join({Riff(type, Bytes()), header}));
  m_movi = m_at;
  Write(List("movi", Bytes()));
}

void AviWriter::EndGroup() {
  ChunkIndexes();
  WriteAt(m_movi + 4, Le32(m_at - m_movi - kChunkHeader));
  if (m_index == IndexKind::kLegacy) LegacyIndex();
  WriteAt(m_group + 4, Le32(m_at - m_group - kChunkHeader));
}

void AviWriter::Chunk(uint16_t stream, std::span<const uint8_t> data, bool key) {
  Write(Join({ChunkId(stream), Le32(data.size())}));
  m_layout.chunks.push_back({m_at, static_cast<uint32_t>(data.size()), stream, key});
  Write(data);
  if (data.size() % 2 != 0) Write(Bytes(1));
  StreamHeader& header = m_streams[stream].header;
  header.length += header.sampleSize == 0 ? 1 : static_cast<uint32_t>(data.size()) / header.sampleSize;
}

void AviWriter::ChunkIndexes() {
  if (m_index != IndexKind::kOpenDml) return;
  for (uint16_t s = 0, count = static_cast<uint16_t>(m_streams.size()); s < count; ++s) {
    Bytes entries;
    uint64_t base = 0;
    for (size_t i = m_pending[s]; i < m_layout.chunks.size(); ++i) {
      const ChunkRef& chunk = m_layout.chunks[i];
      if (chunk.stream != s) continue;
      if (entries.empty()) base = chunk.offset - kChunkHeader;
      PutLe32(entries, chunk.offset - base);
      PutLe32(entries, chunk.size | (chunk.key ? 0 : kNotKeyFrame));
    }
    m_pending[s] = m_layout.chunks.size();
    if (entries.empty()) continue;
    const std::string id = ChunkId(s);
    const Bytes index =
        ::Chunk("ix" + id.substr(0, 2),
                Join({Le16(2), Bytes{0, 1}, Le32(entries.size() / 8), id, Le64(base), Le32(0), entries}));
    Append(m_super[s], Join({Le64(m_at), Le32(index.size()), Le32(entries.size() / 8)}));
    m_layout.indexes.push_back({m_at, index.size()});
    m_layout.indexed.push_back(s);
    Write(index);
  }
}

void AviWriter::NextRiff() {
  EndGroup();
  BeginGroup("AVIX", {});
}

void AviWriter::LegacyIndex() {
  constexpr size_t kBlock = 4096;  // entries written at once
  Write(Join({"idx1", Le32(m_layout.chunks.size() * 16)}));
  m_layout.indexes.push_back({m_at, m_layout.chunks.size() * 16});
  Bytes block;
  for (const ChunkRef& chunk : m_layout.chunks) {
    Append(block, ChunkId(chunk.stream));
    PutLe32(block, chunk.key ? kKeyFrame : 0);
    PutLe32(block, chunk.offset - kChunkHeader - (m_movi + kChunkHeader));
    PutLe32(block, chunk.size);
    if (block.size() < kBlock * 16) continue;
    Write(block);
    block.clear();
  }
  Write(block);
}

AviLayout AviWriter::Finish() {
  EndGroup();
  for (const Bytes& entries : m_super) {
    if (entries.size() > m_indexChunks * 16) throw std::runtime_error("more index chunks than announced");
  }
  WriteAt(kListHeader, HeaderList());
  m_layout.fileBytes = m_at;
  if (std::fflush(m_file.get()) != 0) throw std::runtime_error("cannot write: the disk is full or refuses");
  m_file.reset();
  return std::move(m_layout);
}
