#include "tests/support/avi_builder.h"

#include <algorithm>
#include <stdexcept>

namespace {

Bytes LittleEndian(uint64_t value, size_t count) {
  Bytes bytes;
  for (size_t i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
  return bytes;
}

// A list of entries as indx and ix## chunks hold it. `base` fills 8 bytes, reserved words in a super index.
Bytes NewIndex(const std::string& chunkId, const std::string& indexedId, size_t entryBytes, const Bytes& types,
               uint64_t base, const Bytes& entries) {
  return Chunk(chunkId, Join({Le16(entryBytes / 4), types, Le32(entries.size() / entryBytes), indexedId, Le64(base),
                              Le32(0), entries}));
}

}  // namespace

Bytes Le16(uint64_t value) { return LittleEndian(value, 2); }
Bytes Le32(uint64_t value) { return LittleEndian(value, 4); }
Bytes Le64(uint64_t value) { return LittleEndian(value, 8); }

void Append(Bytes& to, const Data& more) { to.insert(to.end(), more.bytes.begin(), more.bytes.end()); }

Bytes Join(std::initializer_list<Data> parts) {
  Bytes all;
  for (const Data& part : parts) Append(all, part);
  return all;
}

Bytes Head(const Bytes& bytes, size_t count) {
  return Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(std::min(count, bytes.size())));
}

Bytes Chunk(const std::string& id, const Data& payload, std::optional<uint32_t> declared) {
  const size_t size = payload.bytes.size();
  return Join({id, Le32(declared ? *declared : size), payload, Bytes(size % 2)});
}
Bytes List(const std::string& type, const Data& children, std::optional<uint32_t> declared) {
  return Chunk("LIST", Join({type, children}), declared);
}
Bytes Riff(const std::string& type, const Data& children, std::optional<uint32_t> declared) {
  return Chunk("RIFF", Join({type, children}), declared);
}

Bytes Avih(const MainHeader& header) {
  return Join({Le32(header.microSecPerFrame), Bytes(12), Le32(header.totalFrames), Le32(0),
               Le32(header.streams.value_or(0)), Le32(0), Le32(header.width), Le32(header.height), Bytes(16)});
}
Bytes Strh(const StreamHeader& header) {
  return Join({header.type, header.handler, Bytes(12), Le32(header.scale), Le32(header.rate), Le32(0),
               Le32(header.length), Le32(header.bufferSize), Le32(0), Le32(header.sampleSize), Bytes(8)});
}
Bytes Strf(const VideoFormat& format) {
  return Join({Le32(40 + format.extra.size()), Le32(format.width), Le32(format.height), Le16(1), Le16(24),
               format.fourcc, Bytes(20), format.extra});
}
Bytes Strf(const AudioFormat& format) {
  return Join({Le16(format.tag), Le16(format.channels), Le32(format.rate), Le32(format.bytesPerSecond),
               Le16(format.blockAlign), Le16(format.bits), Le16(format.extra.size()), format.extra});
}

size_t AviFile::Find(const std::string& id, size_t nth) const {
  auto at = std::search(bytes.begin(), bytes.end(), id.begin(), id.end());
  for (; nth > 0 && at != bytes.end(); --nth) at = std::search(at + 1, bytes.end(), id.begin(), id.end());
  if (at == bytes.end()) throw std::out_of_range("not in the file: " + id);
  return static_cast<size_t>(at - bytes.begin());
}

AviFile& AviFile::Put(size_t at, const Data& data) {
  if (at + data.bytes.size() > bytes.size()) throw std::out_of_range("beyond the end of the file");
  std::copy(data.bytes.begin(), data.bytes.end(), bytes.begin() + static_cast<ptrdiff_t>(at));
  return *this;
}

struct AviBuilder::Movi {
  struct Indexed {
    uint64_t header;
    size_t size;
    bool key;
  };
  uint64_t At() const { return start + bytes.size(); }

  AviFile& file;
  Supers& supers;
  Offsets offsets;
  uint64_t start = 0;  // position in the file of the first of `bytes`, behind the list's type
  Bytes bytes = {};
  Bytes oldIndex = {};
  std::vector<size_t> open = {};                             // rec lists in `bytes`
  std::map<std::string, std::vector<Indexed>> pending = {};  // by chunk id, for its next chunk index
};

AviBuilder& AviBuilder::Main(const MainHeader& header) {
  m_main = header;
  return *this;
}

AviBuilder& AviBuilder::Video(const VideoFormat& format, StreamHeader header) {
  header.type = "vids";
  return Stream(header, Strf(format));
}

AviBuilder& AviBuilder::Audio(const AudioFormat& format, std::optional<StreamHeader> header) {
  if (!header) header = {.scale = format.blockAlign, .rate = format.bytesPerSecond, .sampleSize = format.blockAlign};
  header->type = "auds";
  return Stream(*header, Strf(format));
}

AviBuilder& AviBuilder::Stream(const StreamHeader& header, const Data& format) {
  return RawStream(Join({::Chunk("strh", Strh(header)), ::Chunk("strf", format)}), header.type == "vids"   ? "dc"
                                                                                   : header.type == "auds" ? "wb"
                                                                                                           : "tx");
}

AviBuilder& AviBuilder::RawStream(const Data& children, const std::string& suffix) {
  m_streams.push_back({children.bytes, suffix});
  return *this;
}

AviBuilder& AviBuilder::Raw(Bytes& to, const Data& raw) {
  Append(to, raw);
  return *this;
}

AviBuilder& AviBuilder::Add(std::function<void(Movi&)> item) {
  m_groups.back().items.push_back(std::move(item));
  return *this;
}

std::string AviBuilder::ChunkId(unsigned stream, const std::string& suffix) const {
  const std::string digits = {static_cast<char>('0' + stream / 10), static_cast<char>('0' + stream % 10)};
  return digits + (!suffix.empty() ? suffix : stream < m_streams.size() ? m_streams[stream].suffix : "dc");
}

AviBuilder& AviBuilder::Chunk(unsigned stream, const Data& payload, bool key, const std::string& suffix) {
  const std::string id = ChunkId(stream, suffix);
  Add([=](Movi& movi) {
    const size_t size = payload.bytes.size();
    const uint64_t offset = movi.offsets == Offsets::kFromMovi ? movi.At() - (movi.start - 4)
                            : movi.offsets == Offsets::kToData ? movi.At() + 8
                                                               : movi.At();
    Append(movi.oldIndex, Join({id, Le32(key ? 0x10 : 0), Le32(offset), Le32(size)}));
    movi.pending[id].push_back({movi.At(), size, key});
  });
  return RawChunk(id, payload);
}

AviBuilder& AviBuilder::RawChunk(const std::string& id, const Data& payload) {
  Add([](Movi& movi) { movi.file.chunks.push_back(movi.At()); });
  return InMovi(::Chunk(id, payload));
}

AviBuilder& AviBuilder::InMovi(const Data& raw) {
  return Add([=](Movi& movi) { Append(movi.bytes, raw); });
}

AviBuilder& AviBuilder::Rec() {
  Add([](Movi& movi) { movi.open.push_back(movi.bytes.size()); });
  return InMovi(List("rec ", ""));
}

AviBuilder& AviBuilder::EndRec() {
  return Add([](Movi& movi) {
    const size_t at = movi.open.back();
    movi.open.pop_back();
    const Bytes size = Le32(movi.bytes.size() - at - 8);
    std::copy(size.begin(), size.end(), movi.bytes.begin() + static_cast<ptrdiff_t>(at + 4));
  });
}

AviBuilder& AviBuilder::ChunkIndex(unsigned stream, bool field) {
  const std::string id = ChunkId(stream);
  m_supers[id].push_back(Bytes(16));
  return Add([=](Movi& movi) {
    const std::vector<Movi::Indexed> chunks = std::exchange(movi.pending[id], {});
    const uint64_t base = chunks.empty() ? movi.start : chunks.front().header;
    Bytes entries;
    for (const auto& [header, size, key] : chunks) {
      Append(entries, Join({Le32(header + 8 - base), Le32(size | (key ? 0 : 0x80000000u)), Bytes(field ? 4 : 0)}));
    }
    const Bytes index = NewIndex("ix" + id.substr(0, 2), id, field ? 12 : 8, {field, 1}, base, entries);
    movi.supers[id].push_back(Join({Le64(movi.At()), Le32(index.size()), Le32(chunks.size())}));
    Append(movi.bytes, index);
  });
}

AviBuilder& AviBuilder::NextRiff(uint64_t at) {
  m_groups.push_back({at});
  return *this;
}

AviBuilder& AviBuilder::OldIndex(Offsets offsets) {
  m_offsets = offsets;
  return *this;
}

AviBuilder& AviBuilder::IndexEntry(const std::string& id, uint32_t flags, uint32_t offset, uint32_t size) {
  return Add([=](Movi& movi) { Append(movi.oldIndex, Join({id, Le32(flags), Le32(offset), Le32(size)})); });
}

Bytes AviBuilder::Header(const Supers& supers) const {
  MainHeader header = m_main;
  if (!header.streams) header.streams = static_cast<uint32_t>(m_streams.size());
  Bytes children = ::Chunk("avih", Avih(header));
  for (unsigned s = 0; s < m_streams.size(); ++s) {
    Bytes stream = m_streams[s].children;
    if (const auto super = supers.find(ChunkId(s)); super != supers.end()) {
      Bytes entries;
      for (const Bytes& entry : super->second) Append(entries, entry);
      Append(stream, NewIndex("indx", super->first, 16, {0, 0}, 0, entries));
    }
    Append(children, List("strl", stream));
  }
  return List("hdrl", Join({children, m_inHeader}));
}

AviFile AviBuilder::Layout(const Supers& known, Supers& found) const {
  AviFile file;
  Movi movi{file, found, m_offsets.value_or(Offsets::kFromMovi)};
  uint64_t start = 0;
  for (const Group& group : m_groups) {
    const bool first = &group == &m_groups.front();
    if (group.at) start = group.at;
    const Bytes head = Join({first ? Header(known) : Bytes(), group.before});
    movi.start = start + 12 + head.size() + 12;
    movi.bytes.clear();
    for (const auto& item : group.items) item(movi);
    if (first) file.movi = movi.start;
    const Bytes index = first && m_offsets ? ::Chunk("idx1", movi.oldIndex) : Bytes();
    const Bytes riff = Riff(first ? "AVI " : "AVIX", Join({head, List("movi", movi.bytes), group.after, index}));
    if (group.at) file.far.push_back({start, {}});
    Append(file.far.empty() ? file.bytes : file.far.back().second, riff);
    start += riff.size();
  }
  return file;
}

// Super indexes stand before what they point at. Their length does not depend on it, so a first pass finds the
// positions for the second.
AviFile AviBuilder::Build() const {
  Supers found, same;
  Layout(m_supers, found);
  return Layout(found, same);
}
