#include "tests/support/complexity.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <utility>

#include "tests/support/elementary.h"
#include "tests/support/heap_watch.h"

int MeteredSource::GetSize(int64_t* length) {
  const size_t n = m_asked++;
  *length = m_feed.streaming ? 0 : n < m_feed.seen.size() ? m_feed.seen[n] : static_cast<int64_t>(Size());
  return 0;
}

int MeteredSource::ReadAt(int64_t offset, void* buffer, uint64_t* length) {
  const uint64_t wanted = std::exchange(*length, 0);
  if (++reads > (size_t{9} << 18) + 64 * Size() || offset < 0) return AVI_IO_ERROR;
  const uint64_t at = static_cast<uint64_t>(offset);
  if (at + wanted > static_cast<uint64_t>(m_feed.blockedFrom)) return AVI_SOURCE_WOULD_BLOCK;
  uint8_t* const out = static_cast<uint8_t*>(buffer);
  if (at < Size()) std::memcpy(out, m_feed.bytes.data() + at, *length = std::min<uint64_t>(wanted, Size() - at));
  for (; !m_feed.endless.empty() && *length < wanted; ++*length) {
    out[*length] = m_feed.endless[(at + *length - Size()) % m_feed.endless.size()];
  }
  bytes += *length;
  return *length == 0 && wanted != 0 ? AVI_END_OF_STREAM : 0;
}

Meter::Meter(Feed feed) : m_source(std::move(feed)), m_heapBefore(HeapWatch::StartPeak()), m_parser(createParser()) {}

Meter::~Meter() {
  m_parser->Close();
  destroyParser(m_parser);
}

Cost Meter::Measure(const std::function<Unit()>& call) {
  m_source.reads = m_source.bytes = 0;
  const size_t lines = LogCapture::Written();
  HeapWatch::StartPeak();
  const std::clock_t began = std::clock();
  const Unit unit = call();
  Cost cost{.status = unit.status, .length = unit.data.size(), .timeMs = unit.timeMs};
  cost.cpuMs = 1000.0 * static_cast<double>(std::clock() - began) / CLOCKS_PER_SEC;
  cost.reads = m_source.reads;
  cost.bytes = m_source.bytes;
  cost.lines = LogCapture::Written() - lines;
  cost.heap = static_cast<size_t>(HeapWatch::Peak() - m_heapBefore);
  cost.largest = HeapWatch::Largest();
  cost.copied = HeapWatch::Copied();
  return cost;
}

Cost Meter::Open() {
  return Measure([&] { return Unit("", 0, m_parser->Open(&m_source)); });
}

Cost Meter::Get(uint32_t kind, unsigned long room) {
  return Measure([&] { return Pull(m_parser, kind, room); });
}

std::vector<std::pair<std::string, Cost>> Meter::Session() {
  std::vector<std::pair<std::string, Cost>> costs = {{"Open", Open()}};
  unsigned char config[64];
  unsigned long length = 0;
  costs.emplace_back("config",
                     Measure([&] { return Unit("", 0, m_parser->GetVideoConfig(config, &length, sizeof config)); }));
  for (const auto& [name, kind] : {std::pair("video", AVI_TRACK_VIDEO), std::pair("audio", AVI_TRACK_AUDIO)}) {
    costs.emplace_back(std::string("first ") + name, Get(kind));
    costs.emplace_back(std::string("next ") + name, Get(kind));
    costs.emplace_back("seek",
                       Measure([&, k = kind] { return Unit("", 0, m_parser->Seek(1, static_cast<int>(k), 0)); }));
    costs.emplace_back(std::string("sought ") + name, Get(kind));
  }
  return costs;
}

Bytes Repeat(const Bytes& unit, size_t times) {
  Bytes all;
  all.reserve(unit.size() * times);
  for (size_t i = 0; i < times; ++i) all.insert(all.end(), unit.begin(), unit.end());
  return all;
}

Bytes Movie(const std::vector<Bytes>& streams, const Data& rest, std::optional<uint32_t> declared) {
  Bytes header = Chunk("avih", Avih({.streams = static_cast<uint32_t>(streams.size())}));
  for (const Bytes& stream : streams) Append(header, List("strl", stream));
  return Riff("AVI ", Join({List("hdrl", header), rest}), declared);
}

Bytes AudioStream(uint32_t tag) {
  return Join({Chunk("strh", Strh({.type = "auds", .rate = 16000, .sampleSize = 1})),
               Chunk("strf", Strf(Coded(tag, 44100, 16000)))});
}

Bytes VideoStream(const std::string& fourcc) {
  return Join({Chunk("strh", Strh({})), Chunk("strf", Strf(VideoFormat{.fourcc = fourcc}))});
}

Bytes OldIndexed(const Data& movi, const Data& entries) { return Join({List("movi", movi), Chunk("idx1", entries)}); }
Bytes OldEntry(const std::string& id, size_t offset, size_t size) {
  return Join({id, Le32(0x10), Le32(offset), Le32(size)});
}
Bytes OneRegion(const Bytes& stream, const std::string& id, const Bytes& region, size_t entries) {
  return Movie({stream}, OldIndexed(Chunk(id, region), Repeat(OldEntry(id, 4, region.size()), entries)));
}
Bytes NewIndexOf(uint8_t type, uint32_t count, const Data& entries) {
  return Join({Le16(type ? 2 : 4), Bytes{0, type}, Le32(count), "00dc", Bytes(12), entries});
}

namespace {

constexpr uint32_t kMp3 = 0x55, kAc3 = 0x2000;
constexpr uint32_t kGigabytes = 0xF0000000;
constexpr size_t kMostChunk = 1u << 20;
// Headers that are refused: of 48 kHz in a track of 44.1, and of a bsid that does not exist. The zeros are no header.
const Bytes kWrongRate = {0xFF, 0xFB, 0x94, 0, 0, 0, 0, 0}, kWrongBsid = {0x0B, 0x77, 0, 0, 0, 0x48, 0, 0};

Feed SmallChunks(uint32_t tag, const Bytes& payload, size_t bytes) {
  const Bytes chunk = Chunk("00wb", payload);
  const size_t count = bytes / (chunk.size() + 16);
  Bytes entries;
  for (size_t i = 0; i < count; ++i) Append(entries, OldEntry("00wb", 4 + i * chunk.size(), payload.size()));
  return {Movie({AudioStream(tag)}, OldIndexed(Repeat(chunk, count), entries))};
}

/// Half of the file is chunks that together are as large as a buffer, the other half entries that name all of them.
Feed OverlappingEntries(const Bytes& stream, const std::string& id, const Bytes& unit, size_t bytes) {
  const Bytes region = Repeat(unit, std::min(kMostChunk, bytes / 2) / unit.size());
  return {OneRegion(stream, id, region, (bytes - region.size()) / 16)};
}

/// Index chunks of `each` entries, and a super index that names each of them `times` times.
Feed IndexChunks(size_t count, uint32_t each, size_t times) {
  const Bytes index = Chunk("ix00", NewIndexOf(1, each, Repeat(Join({Le32(0), Le32(1)}), each)));
  const auto file = [&](size_t movi) {
    Bytes supers;
    supers.reserve(count * times * 16);
    for (size_t i = 0; i < count * times; ++i) {
      Append(supers, Join({Le64(movi + i / times * index.size()), Le32(index.size()), Le32(each)}));
    }
    const Bytes super = NewIndexOf(0, static_cast<uint32_t>(count * times), supers);
    return Movie({Join({VideoStream("XVID"), Chunk("indx", super)})}, List("movi", Repeat(index, count)));
  };
  const Bytes first = file(0);
  return {file(first.size() - index.size() * count)};
}

/// Groups or chunks on a source that may never end.
Feed Stream(const Bytes& front, const Bytes& unit, size_t bytes) {
  if (bytes == 0) return {.bytes = front, .endless = unit, .streaming = true};
  return {.bytes = Join({front, Repeat(unit, bytes / unit.size())}), .streaming = true};
}

Feed ClaimedGigabytes(size_t bytes) {
  // An OpenDML index, which breaks, and a legacy one, both said to have hundreds of millions of entries.
  const Bytes stream = Join({VideoStream("XVID"), Chunk("indx", NewIndexOf(0, 4u << 20, Le64(~0u)))});
  const Bytes index = Chunk("idx1", Repeat(OldEntry("00dc", 4, 4), bytes / 16), kGigabytes);
  return {.bytes = Movie({stream}, Join({List("movi", Chunk("00dc", "data")), index}), kGigabytes), .streaming = true};
}

Feed Growing(size_t bytes) {
  Feed feed = SmallChunks(kMp3, kWrongRate, bytes);
  feed.seen = {static_cast<int64_t>(feed.bytes.size() / 2)};
  return feed;
}

/// Chunks of another stream in front of the first one sought, which never comes.
Feed LongSearch(const Bytes& last, size_t bytes) {
  return {Movie({AudioStream(kMp3)}, List("movi", Join({Repeat(Chunk("01wb", "x"), bytes / 10), last})))};
}
Feed BlockedSearch(size_t bytes) {
  Feed feed = LongSearch({}, bytes);
  feed.blockedFrom = static_cast<int64_t>(feed.bytes.size()) - 1;
  return feed;
}

Feed ManyStreams(size_t bytes) {
  // As few bytes per stream as make it an AC-3 track, 999 chunks in front of none, and an index read in 50 passes.
  const Bytes stream = Join({Chunk("strh", Strh({.type = "auds"})), Chunk("strf", Le16(kAc3))});
  return {Movie(std::vector<Bytes>(100, stream),
                OldIndexed(Repeat(Chunk("tiny", ""), 1000), Repeat(OldEntry("00wb", 4, 0), bytes / 16)))};
}

const Bytes kEmptyList = Join({"LIST", Le32(0)}), kEmptyChunk = Join({"JUNK", Le32(0)});
const Bytes kSecondGroup = Riff("AVI ", ""), kTiny = Chunk("tiny", "x");

}  // namespace

const std::vector<ComplexityFile>& ComplexityFiles() {
  static const std::vector<ComplexityFile> kFiles = {
      {"MP3, small chunks, wrong rate", [](size_t n) { return SmallChunks(kMp3, kWrongRate, n); }},
      {"MP3, entries over one region",
       [](size_t n) { return OverlappingEntries(AudioStream(kMp3), "00wb", kWrongRate, n); }},
      {"AC-3, small chunks, no header", [](size_t n) { return SmallChunks(kAc3, kWrongBsid, n); }},
      {"AC-3, entries over one region",
       [](size_t n) { return OverlappingEntries(AudioStream(kAc3), "00wb", kWrongBsid, n); }},
      {"OpenDML, index chunks of one entry", [](size_t n) { return IndexChunks(n / 56, 1, 1); }},
      {"OpenDML, one table named repeatedly",
       [](size_t n) { return IndexChunks(1, static_cast<uint32_t>(n / 16), n / 32); }},
      {"tiny unknown chunks", [](size_t n) { return Feed{Riff("AVI ", Repeat(kTiny, n / 10))}; }},
      {"a search behind each empty chunk",
       [](size_t n) {
         return Feed{Riff("AVI ", Repeat(Join({kEmptyChunk, Bytes(900, 'z')}), n / 908))};
       }},
      {"no index, chunks of a byte",
       [](size_t n) { return Feed{Movie({AudioStream(kMp3)}, List("movi", Repeat(Chunk("00wb", "x"), n / 10)))}; }},
      {"no index, empty chunks", [](size_t n) { return LongSearch(Repeat(Chunk("00wb", ""), n / 16), n / 2); }},
      {"no index, blocked at the end", BlockedSearch, ComplexityFile::kBlocks},
      {"empty lists, streamed", [](size_t n) { return Stream({}, kEmptyList, n); }},
      {"empty chunks, streamed", [](size_t n) { return Stream({}, kEmptyChunk, n); }},
      {"second main groups, streamed", [](size_t n) { return Stream(Movie({}, ""), kSecondGroup, n); }},
      {"gigabytes claimed, streamed", ClaimedGigabytes},
      {"growing", Growing},
      {"100 AC-3 streams", ManyStreams},
      {"split MPEG-2 without a picture",
       [](size_t n) { return OverlappingEntries(VideoStream("mpg2"), "00dc", Bytes(8, 'z'), n); },
       ComplexityFile::kSplitVideo},
      {"H.264, lengths of zero", [](size_t n) { return OverlappingEntries(VideoStream("H264"), "00dc", Bytes(8), n); }},
  };
  return kFiles;
}
