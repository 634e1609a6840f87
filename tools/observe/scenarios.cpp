#include "tools/observe/scenarios.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "tools/observe/recorder.h"

namespace {

constexpr unsigned long kLargeBlock = 1u << 20;
constexpr unsigned long kTail = 64;  // bytes that are looked at behind those delivered, and behind the host's block

/// From read `first` on, so many reads go wrong.
struct Fault {
  size_t first = 0, count = SIZE_MAX;
  int status = 0;              // if negative, the result; nothing is delivered
  uint64_t most = UINT64_MAX;  // bytes delivered
  uint64_t divide = 1;         // delivers this part of what is asked, rounded up
  uint64_t claim = 0;          // says that it delivered so many bytes more than asked
};

enum class Length { kFile, kUnknown, kOneLess, kHalf, kMore };

struct SourceKind {
  std::string name;
  bool streaming = false;
  Length length = Length::kFile;
  int statusAtEnd = AVI_END_OF_STREAM;
  Fault fault = {.count = 0};
};

class Source final : public IDataSource {
 public:
  Source(const SourceKind& kind, const Bytes& bytes) : m_kind(kind), m_bytes(bytes) {}

  int Prepare() override { return Event("Prepare"), 0; }
  int Reserved3() override { return Event("Reserved3"), 0; }
  int Reserved6() override { return Event("Reserved6"), 0; }
  int Reserved8() override { return Event("Reserved8"), 0; }
  int SetPosition(int64_t offset, int origin) override {
    return Event("SetPosition %lld %d", static_cast<long long>(offset), origin), 0;
  }
  int IsStreaming() override { return Event("IsStreaming"), m_kind.streaming; }
  int GetSize(int64_t* length) override {
    const int64_t size = static_cast<int64_t>(m_bytes.size());
    const int64_t lengths[] = {size, 0, size - 1, size / 2, size + 100000};
    *length = lengths[static_cast<size_t>(m_kind.length)];
    return Event("GetSize"), 0;
  }
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override {
    const uint64_t asked = *length;
    const int status = Deliver(offset, static_cast<uint8_t*>(buffer), length);
    ++g_outcome->reads;
    Event("ReadAt %lld asked %llu: %d delivered %llu", static_cast<long long>(offset),
          static_cast<unsigned long long>(asked), status, static_cast<unsigned long long>(*length));
    return status;
  }

 private:
  int Deliver(int64_t offset, uint8_t* buffer, uint64_t* length) const {
    const Fault& fault = m_kind.fault;
    const bool faulty = g_outcome->reads >= fault.first && g_outcome->reads - fault.first < fault.count;
    if (faulty && fault.status < 0) return fault.status;
    const uint64_t asked = *length;
    const uint64_t left = m_bytes.size() - std::min<uint64_t>(m_bytes.size(), static_cast<uint64_t>(offset));
    *length = std::min(asked, left);
    if (faulty) *length = std::min({*length, fault.most, asked / fault.divide + (asked % fault.divide != 0)});
    if (*length) std::memcpy(buffer, m_bytes.data() + offset, *length);
    if (faulty && fault.claim) {
      std::memset(buffer + *length, 0xEE, asked - *length);  // so that nothing undefined is taken for the file
      *length = asked + fault.claim;
    }
    return *length == 0 && asked != 0 ? m_kind.statusAtEnd : 0;
  }

  const SourceKind& m_kind;
  const Bytes& m_bytes;
};

constexpr unsigned long kTimes[] = {0, 39, 500, 1234, 2600, 100000, 0xFFFFFFFF};
constexpr uint32_t kKinds[] = {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT};

/// A parser and what a host may do with it. Each call is an event with everything that it stored.
class Host {
 public:
  Host(const SourceKind& kind, const Factory& factory, const Bytes& file, const Bytes& other)
      : m_source(kind, file),
        m_other(kind, other),
        m_factory(factory),
        m_parser(factory.create()),
        m_block(kLargeBlock + kTail, kFill) {}
  ~Host() { m_factory.destroy(m_parser); }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  void Open() { Tell("Open", m_parser->Open(&m_source)); }
  void OpenOther() { Tell("Open of another file", m_parser->Open(&m_other)); }
  void Close() { Tell("Close", m_parser->Close()); }
  void SelectAudio(int track) { Tell("SelectAudioTrack", m_parser->SelectAudioTrack(track), track); }
  void SelectText(int track) { Tell("SelectTextTrack", m_parser->SelectTextTrack(track), track); }
  void NextKeyFrame(unsigned long ms) {
    Tell("GetNextVideoKeyFrameTime", m_parser->GetNextVideoKeyFrameTime(ms), static_cast<long>(ms));
  }
  void Seek(unsigned long ms, uint32_t kind, int mode) {
    Tell("Seek", m_parser->Seek(ms, static_cast<int>(kind), mode), static_cast<long>(ms), static_cast<int>(kind), mode);
  }
  int Tracks() { return m_parser->GetTrackCount(); }

  void Describe() {
    unsigned long ms = kStale;
    const int status = m_parser->GetDurationMs(&ms);
    Tell("GetDurationMs", status, static_cast<long>(ms));
    const int tracks = Tracks();
    Tell("GetTrackCount", tracks);
    for (int i = 0; i < std::max(tracks, 1); ++i) DescribeTrack(static_cast<unsigned long>(i));
  }

  void Configure() {
    for (const long cap : {-1L, 0L, 10L, 600L, 65536L}) {  // -1: no block at all
      for (const bool video : {true, false}) Configure(video, cap < 0 ? nullptr : m_block.data(), std::max(cap, 0L));
    }
  }

  /// @return whether the track goes on.
  bool Pull(uint32_t kind, unsigned long room, bool keyOnly = false) {
    uint8_t* const block = m_block.data();
    std::memset(block + room, kFill, kTail);
    unsigned long len = kStale, ms = kStale;
    const int status = kind == AVI_TRACK_VIDEO   ? m_parser->GetVideoData(block, &len, &ms, room, keyOnly)
                       : kind == AVI_TRACK_AUDIO ? m_parser->GetAudioData(block, &len, &ms, room)
                                                 : m_parser->GetTextData(block, &len, &ms, room);
    const unsigned long size = status == 0 && len <= room ? len : 0;
    Tell("Pull", status, kind, static_cast<long>(room), keyOnly);
    Result(len, ms, size, room);
    m_delivered = size != 0;
    return status == 0;
  }

  /// All kinds in turn, each until it has ended twice, has been empty often, or has been called `most` times.
  void Drain(unsigned long room, int most, bool keyOnly = false) {
    constexpr int kMostEmpty = 40;
    int ends[3] = {}, empty[3] = {};
    for (int i = 0; i < most; ++i) {
      for (size_t kind = 0; kind < 3; ++kind) {
        if (ends[kind] == 2 || empty[kind] == kMostEmpty) continue;
        if (!Pull(kKinds[kind], room, keyOnly)) ++ends[kind];
        empty[kind] = m_delivered ? 0 : empty[kind] + 1;
      }
    }
  }

  void Others() {
    Tell("SetConfig", m_parser->SetConfig());
    Tell("Notify", m_parser->Notify(1, 2));
    Event("name %s", m_parser->getName());
    Event("others %d%d%d%d", m_parser->GetMetaInfo() != nullptr, m_parser->getExtraInterface() != nullptr,
          m_parser->GetMetaData("", nullptr, 0) != nullptr, m_parser->ParseIndexData(1));
    Tell("OpenEx", m_parser->OpenEx(nullptr, 0), m_parser->GetParameter(0, nullptr, 0));
  }

 private:
  static constexpr uint8_t kFill = 0xA5;
  static constexpr unsigned long kStale = 0x555555550000004D;  // shows what is not stored, or only in half

  template <typename Status>
  static void Tell(const char* call, Status status, long a = 0, long b = 0, long c = 0) {
    ++g_outcome->calls;
    Event("%s(%ld, %ld, %ld) = %ld", call, a, b, c, static_cast<long>(status));
  }

  void Result(unsigned long len, unsigned long ms, unsigned long size, unsigned long room) {
    uint8_t* const block = m_block.data();
    const bool within = std::all_of(block + room, block + room + kTail, [](uint8_t byte) { return byte == kFill; });
    const unsigned long behind = std::min(kTail, room - size);
    Event(" len %lx time %lx data %016llx behind %016llx %s", len, ms,
          static_cast<unsigned long long>(Fnv(block, size)), static_cast<unsigned long long>(Fnv(block + size, behind)),
          within ? "within" : "BEYOND THE BLOCK");
    std::memset(block, kFill, size + behind);
  }

  void Configure(bool video, uint8_t* to, long cap) {
    const unsigned long room = static_cast<unsigned long>(cap);
    std::memset(m_block.data() + room, kFill, kTail);
    unsigned long len = kStale;
    const int status = video ? m_parser->GetVideoConfig(to, &len, room) : m_parser->GetAudioConfig(to, &len, room);
    Tell("Configure", status, video, cap, to != nullptr);
    Result(len, 0, status == 0 && len <= room ? len : 0, room);
  }

  void DescribeTrack(unsigned long track) {
    const TrackInfo* record = m_parser->GetTrackInfo(track);
    Tell("GetTrackInfo", record != nullptr, static_cast<long>(track));
    if (!record) return;
    TrackInfo info = *record;
    if (info.nTrackType == AVI_TRACK_AUDIO && info.audio.pExtraData) {
      Event(" extra %016llx", static_cast<unsigned long long>(Fnv(info.audio.pExtraData, info.audio.nExtraSize)));
      info.audio.pExtraData = nullptr;
    } else if (info.nTrackType == AVI_TRACK_TEXT && info.text.pSubtitleName) {
      Event(" subtitle %s", info.text.pSubtitleName);
      info.text.pSubtitleName = nullptr;
    }
    char text[2 * sizeof info + 1];
    for (size_t i = 0; i < sizeof info; ++i) {
      std::snprintf(text + 2 * i, 3, "%02x", reinterpret_cast<const uint8_t*>(&info)[i]);
    }
    Event(" record %s", text);
  }

  Source m_source, m_other;
  Factory m_factory;
  IParser* m_parser;
  Bytes m_block;
  bool m_delivered = false;  // the last Pull
};

void Begin(Host& host) {
  host.Open();
  host.Describe();
  host.Configure();
}

void PullSome(Host& host, int rounds, unsigned long room = kLargeBlock) {
  for (int i = 0; i < rounds; ++i) {
    for (const uint32_t kind : kKinds) host.Pull(kind, room);
  }
}

void Drain(Host& host, unsigned long room, bool keyOnly = false) {
  Begin(host);
  host.Drain(room, 4000, keyOnly);
  host.Describe();  // what reading has changed
  host.Close();
}

void MixedBlocks(Host& host) {
  host.Open();
  for (int i = 0; i < 40; ++i) {
    for (const unsigned long room : {0ul, 1ul, 7ul, 100ul, 417ul, 4096ul, 65536ul}) PullSome(host, 1, room);
  }
  host.Close();
}

void Seeks(Host& host) {
  host.Open();
  for (const unsigned long ms : kTimes) {
    for (const uint32_t kind : kKinds) {
      for (int mode = 0; mode < (kind == AVI_TRACK_VIDEO ? 4 : 2); ++mode) {
        host.Seek(ms, kind, mode);
        PullSome(host, 2);
        if (mode == 0) host.Pull(AVI_TRACK_VIDEO, kLargeBlock, true);
      }
    }
    host.NextKeyFrame(ms);
  }
  host.Configure();
  host.Close();
}

void Selections(Host& host) {
  Begin(host);
  for (int track = -1; track <= std::min(host.Tracks(), 12); ++track) {
    host.SelectAudio(track);
    host.Configure();
    PullSome(host, 8);
    host.SelectText(track);
    PullSome(host, 4);
    host.Seek(700, AVI_TRACK_AUDIO, 0);
    PullSome(host, 4, 3000);
  }
  host.Describe();
  host.Close();
}

void Reopened(Host& host) {
  Begin(host);
  PullSome(host, 12);
  Begin(host);
  PullSome(host, 12);
  host.SelectAudio(2);
  host.OpenOther();
  host.Describe();
  host.Configure();
  host.Drain(kLargeBlock, 60);
  host.Seek(500, AVI_TRACK_VIDEO, 0);
  PullSome(host, 4);
  host.Close();
}

void Everything(Host& host) {
  host.Describe();
  host.Configure();
  PullSome(host, 2);
  host.Seek(500, AVI_TRACK_VIDEO, 0);
  host.Seek(500, AVI_TRACK_AUDIO, 0);
  host.SelectAudio(1);
  host.SelectText(1);
  host.NextKeyFrame(500);
  host.Others();
}

void OutOfOrder(Host& host) {
  Everything(host);
  Begin(host);
  PullSome(host, 4);
  host.Close();
  Everything(host);
  host.Close();
  host.Open();
  Everything(host);
}

void Brief(Host& host) {
  Begin(host);
  host.Drain(kLargeBlock, 300);
  for (const uint32_t kind : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO}) {
    host.Seek(600, kind, 0);
    PullSome(host, 8);
  }
  host.Close();
}

std::vector<SourceKind> FaultySources() {
  std::vector<SourceKind> kinds;
  const auto add = [&](const std::string& name, const Fault& fault) {
    kinds.push_back({.name = name, .fault = fault});
  };
  for (const size_t first : {size_t{0}, size_t{40}}) {
    add("short@" + std::to_string(first), {.first = first, .most = 7});
    add("half@" + std::to_string(first), {.first = first, .divide = 2});
    add("lie@" + std::to_string(first), {.first = first, .claim = 1});
  }
  add("lie-much", {.first = 20, .claim = UINT32_MAX});
  for (const size_t first : {3u, 10u, 25u, 60u, 150u}) {
    for (const size_t count : {size_t{1}, size_t{4}, SIZE_MAX}) {
      const std::string at = std::to_string(first) + (count == 1 ? "" : count == 4 ? "+3" : "+");
      if (count != SIZE_MAX) {
        add("block@" + at, {.first = first, .count = count, .status = AVI_SOURCE_WOULD_BLOCK});
        if (count == 4) continue;
      }
      for (const int status : {AVI_IO_ERROR, AVI_END_OF_STREAM, -5}) {
        add("fail" + std::to_string(status) + "@" + at, {.first = first, .count = count, .status = status});
      }
    }
  }
  return kinds;
}

}  // namespace

std::vector<Scenario> Scenarios() {
  std::vector<Scenario> all;
  const auto add = [&](const SourceKind& source, const std::string& host, void (*play)(Host&)) {
    all.push_back({source.name + "/" + host, [=](const Factory& factory, const Bytes& file, const Bytes& other) {
                     Host player(source, factory, file, other);
                     play(player);
                   }});
  };
  const SourceKind streaming = {.name = "streaming", .streaming = true, .length = Length::kUnknown};
  for (const SourceKind& source : {SourceKind{.name = "whole"}, streaming}) {
    add(source, "drain", [](Host& host) { Drain(host, kLargeBlock); });
    add(source, "drain-small", [](Host& host) { Drain(host, 700); });
    add(source, "drain-keys", [](Host& host) { Drain(host, kLargeBlock, true); });
    add(source, "mixed-blocks", MixedBlocks);
    add(source, "seeks", Seeks);
    add(source, "selections", Selections);
    add(source, "reopened", Reopened);
    add(source, "out-of-order", OutOfOrder);
  }
  for (const SourceKind& source : {SourceKind{.name = "streaming-sized", .streaming = true},
                                   SourceKind{.name = "one-less", .length = Length::kOneLess},
                                   SourceKind{.name = "half-length", .length = Length::kHalf},
                                   SourceKind{.name = "more-length", .length = Length::kMore, .statusAtEnd = 0}}) {
    add(source, "drain", [](Host& host) { Drain(host, kLargeBlock); });
    add(source, "seeks", Seeks);
  }
  SourceKind zero = streaming;
  zero.name = "streaming-0-at-end";
  zero.statusAtEnd = 0;
  add(zero, "brief", Brief);
  for (const SourceKind& source : FaultySources()) add(source, "brief", Brief);
  return all;
}
