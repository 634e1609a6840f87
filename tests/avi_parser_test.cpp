// The library as a host meets it: loaded by name, called through the numbers of its slots.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "tests/support/elementary.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"
#include "tests/support/sources.h"
#include "zu_parser_avi/sample_index.h"

namespace {

template <typename T>
T* Symbol(const char* name) {
  static void* const library = dlopen(ZU_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  if (!library) throw std::runtime_error(dlerror());
  void* const symbol = dlsym(library, name);
  if (!symbol) throw std::runtime_error(dlerror());
  return reinterpret_cast<T*>(symbol);
}

IParser* Create() { return Symbol<IParser*()>("createParser")(); }
void Destroy(IParser* parser) { Symbol<void(IParser*)>("destroyParser")(parser); }
const HostOptions kPlugin = {.create = Create, .destroy = Destroy};

// A host that knows no more of IParser than the order of its operations. The argument types decide the call, so they
// have to be exact.
template <typename Result, typename... Args>
#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
Result
Slot(IParser* parser, size_t number, Args... args) {
  void** table;
  std::memcpy(&table, static_cast<void*>(parser), sizeof table);
  return reinterpret_cast<Result (*)(IParser*, Args...)>(table[number])(parser, args...);
}

template <typename T>
T At(const void* record, size_t offset) {
  T value;
  std::memcpy(&value, static_cast<const char*>(record) + offset, sizeof value);
  return value;
}

enum Streams : int { kText, kVideo, kAudio };

AviFile Movie() {
  const VideoFormat xvid{.fourcc = "XVID", .width = 640, .height = 352, .extra = {'V', 'O', 'L'}};
  const AudioFormat aac{
      .tag = 0xFF, .rate = 48000, .bytesPerSecond = 16000, .blockAlign = 1024, .bits = 0, .extra = {0x11, 0x90}};
  AviBuilder builder;
  builder.Video({.fourcc = "DXSB"}).Video(xvid, {.scale = 1001, .rate = 24000, .length = 4});
  builder.Audio(aac, StreamHeader{.scale = 1024, .rate = 48000});
  builder.Chunk(kVideo, "I0").Chunk(kAudio, "a0").Chunk(kText, "[t0]").Chunk(kVideo, "P1", false);
  builder.Chunk(kAudio, "a1").Chunk(kVideo, "I2").Chunk(kVideo, "P3", false);
  return builder.OldIndex().Build();
}

TEST(AviParser, EverySlotOfTheParserAnswersAtItsNumber) {
  LogCapture log;
  MemorySource source(Movie());
  IParser* const parser = Create();
  EXPECT_STREQ(Slot<const char*>(parser, 24), "AVIParser");
  EXPECT_EQ(Slot<int>(parser, 4), 0);
  ASSERT_EQ(Slot<int>(parser, 2, static_cast<IDataSource*>(&source)), 0);
  EXPECT_EQ(source.calls, "PS");

  EXPECT_EQ(Slot<int>(parser, 4), 3);
  unsigned long ms = ~0ul, len = ~0ul;
  EXPECT_EQ(Slot<int>(parser, 5, &ms), 0);
  EXPECT_EQ(ms, 166u);  // 4 frames of 1001 / 24000 s
  const auto text = Slot<const void*>(parser, 6, static_cast<unsigned long>(kText));
  EXPECT_EQ(At<uint32_t>(text, 0), 3u);
  EXPECT_EQ(At<uint32_t>(text, 4), 100u);

  unsigned char buf[64] = {};
  const unsigned long size = sizeof buf;
  len = 0;
  EXPECT_EQ(Slot<int>(parser, 8, &buf[0], &len, 1ul), INT32_MIN);
  EXPECT_EQ(len, 2u);
  EXPECT_EQ(Slot<int>(parser, 8, &buf[0], &len, 2ul), 0);
  EXPECT_EQ(Bytes(buf, buf + len), (Bytes{0x11, 0x90}));
  EXPECT_EQ(Slot<int>(parser, 10, &buf[0], &len, size), 0);
  EXPECT_EQ(std::string(buf, buf + len), "VOL");

  const auto pull = [&](size_t slot, auto... keyOnly) {
    len = ms = 77;
    const int status = Slot<int>(parser, slot, &buf[0], &len, &ms, size, keyOnly...);
    return Unit(Bytes(buf, buf + len), static_cast<uint32_t>(ms), status);
  };
  EXPECT_EQ(pull(9), Unit("a0", 0));
  EXPECT_EQ(pull(9), Unit("a1", 21));
  EXPECT_EQ(pull(9), End());
  EXPECT_EQ(pull(11, false), Unit("I0", 0));
  EXPECT_EQ(pull(11, true), Unit("I2", 83));
  EXPECT_EQ(pull(11, false), Unit("P3", 125));
  EXPECT_EQ(pull(26), Unit("[t0]", 77));  // a text sample's time is the host's own
  EXPECT_EQ(pull(26), End());

  EXPECT_EQ(Slot<unsigned int>(parser, 22, 42ul), 83u);
  EXPECT_EQ(Slot<int>(parser, 12, 90ul, 1, 0), 0);
  EXPECT_EQ(pull(11, false), Unit("I2", 83));
  EXPECT_EQ(Slot<int>(parser, 12, 0ul, 2, 0), 0);
  EXPECT_EQ(pull(9), Unit("a0", 0));

  // These four all return 0: only the two that select a track complain of a stream of another kind.
  log.Clear();
  EXPECT_EQ(Slot<int>(parser, 13), 0);
  EXPECT_EQ(Slot<int>(parser, 16, static_cast<unsigned short>(1), 2ul), 0);
  EXPECT_EQ(log.Lines().size(), 0u);
  EXPECT_EQ(Slot<int>(parser, 14, int{kVideo}), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "aviparser", "Should not be HERE! set Default audio track"));
  EXPECT_EQ(Slot<int>(parser, 15, int{kVideo}), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "aviparser", "Should not be HERE! set Default Text track"));

  EXPECT_EQ(Slot<int>(parser, 23), 0);
  EXPECT_EQ(Slot<int>(parser, 4), 0);
  EXPECT_STREQ(Slot<const char*>(parser, 24), "AVIParser");
  Slot<void>(parser, 1);  // deletes
}

TEST(AviParser, TheOtherSlotsAnswerNothing) {
  Host host(Movie(), kPlugin);
  IParser* const parser = host.parser;
  const size_t reads = host.source.reads.size();
  void* const none = nullptr;
  char text[4] = "abc";
  unsigned long n = 77;
  IDataSource* const other = &host.source;

  EXPECT_EQ(Slot<int>(parser, 3, other, none), 0);
  EXPECT_EQ(Slot<void*>(parser, 7), nullptr);
  EXPECT_EQ(Slot<char*>(parser, 17, "title", &text[0], 4ul), nullptr);
  EXPECT_EQ(Slot<char*>(parser, 18, 1, none, &n), nullptr);
  EXPECT_EQ(Slot<char*>(parser, 19, 1, &text[0], &n), nullptr);
  EXPECT_EQ(Slot<int>(parser, 21, 5ull), 0);
  EXPECT_EQ(Slot<void*>(parser, 25), nullptr);
  EXPECT_EQ(Slot<int>(parser, 27, none, &n, &n, 4ul, 0ul), 0);
  EXPECT_EQ(Slot<unsigned long>(parser, 28), 0u);
  EXPECT_EQ(Slot<long>(parser, 29, 1ul, none, 4ull), 0);
  EXPECT_EQ(Slot<long>(parser, 30, 1ul, none, 4ull), 0);
  EXPECT_EQ(Slot<int>(parser, 31, other, 1), 0);
  EXPECT_EQ(Slot<int>(parser, 32, 5ul, 1, 0, 0, 0ull, 0), 0);
  EXPECT_EQ(n, 77u);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(host.source.reads.size(), reads);

  EXPECT_EQ(Slot<void*>(parser, 20, &n), nullptr);
  EXPECT_EQ(n, 0u);
  EXPECT_EQ(Slot<void*>(parser, 20, none), nullptr);
}

TEST(AviParser, RecordsLieInMemoryAsTheHostReadsThem) {
  Host host(Movie(), kPlugin);
  const TrackInfo* const first = host->GetTrackInfo(0);
  ASSERT_NE(first, nullptr);

  const void* const video = first + 1;
  Bytes expected = Join({Le32(1), Le32(126), Le32(640), Le32(352), Le32(0), Le32(23), Le32(1), Bytes(164)});
  EXPECT_EQ(Bytes(static_cast<const uint8_t*>(video), static_cast<const uint8_t*>(video) + 192), expected);

  const void* const audio = first + 2;
  const auto extra = At<const uint8_t*>(audio, 40);
  ASSERT_NE(extra, nullptr);
  EXPECT_EQ(Bytes(extra, extra + 2), (Bytes{0x11, 0x90}));
  expected = Join({Le32(2), Le32(201), Le32(2), Le32(48000), Le32(0), Le32(128000), Bytes(8), Le16(1024), Le16(2),
                   Bytes(4), Le64(reinterpret_cast<uintptr_t>(extra)), Bytes(16), Le32(1), Bytes(124)});
  EXPECT_EQ(Bytes(static_cast<const uint8_t*>(audio), static_cast<const uint8_t*>(audio) + 192), expected);
}

TEST(AviParser, EachParserSetsTheLogLevelAnew) {
  const struct {
    LogCapture::Level property;
    int level;
  } kRows[] = {{.property = "7", .level = 7},
               {.property = {}, .level = 1},
               {.property = "0", .level = 0},
               {.property = "15", .level = 15},
               {.property = "verbose", .level = 0}};
  int& level = *Symbol<int>("debug_level");
  const DebugLevelGuard guard(level);
  for (const auto& row : kRows) {
    const LogCapture log(row.property);
    Destroy(Create());
    EXPECT_EQ(level, row.level) << row.property.value_or("not set");
  }
}

TEST(AviParser, LevelZeroIsSilentWhereLevelOneComplains) {
  AviFile file = Movie();
  file.Put(file.Find("avih") + 8 + 24, Le32(7));  // more streams than there are
  const HostOptions refused = {.open = -1, .create = Create, .destroy = Destroy};
  std::vector<ReadCall> reads;
  {
    LogCapture log;
    reads = Host(file, refused).source.reads;
    EXPECT_TRUE(log.Has(ANDROID_LOG_WARN, "AVIFileParser",
                        "Parse: the number of stream(3) doesn't match dwStreams(7) in avih"));
  }
  LogCapture log("0");
  EXPECT_EQ(Host(file, refused).source.reads, reads);
  EXPECT_EQ(log.Lines(), std::vector<LogLine>());
}

TEST(AviParser, ItsHelpersAreFoundByTheirLinkNames) {
  const auto bits = Symbol<unsigned int(char*, unsigned int*, unsigned int)>("_Z8readBitsPcPjj");
  char bytes[] = {'\x12', '\x34', '\x56', '\x78', '\x7A'};
  unsigned int pos = 4;
  EXPECT_EQ(bits(bytes, &pos, 12), 0x234u);
  EXPECT_EQ(pos, 16u);
  pos = 4;
  EXPECT_EQ(bits(bytes, &pos, 40), 0x23456787u);  // as many as fit
  EXPECT_EQ(pos, 36u);

  const auto match = Symbol<void(int, SIndex*, long, unsigned int, unsigned int)>("_Z12matching_idxiP6SIndexljj");
  SIndexEntry entries[4] = {};
  SIndex index = {1, entries, 50, 0};
  match(2, &index, 0x100000000, 0xFFFFFFFF, 0x80000064);
  EXPECT_EQ(index.dwIdxNum, 1u);
  EXPECT_EQ(entries[3].qwOffset, 0x1FFFFFFFFu);
  EXPECT_EQ(entries[3].dwSize, 0x80000064u);
  EXPECT_EQ(index.dwMaxChunkSize, 100u);
}

// What a host can see of a parser, of which it pulls `calls` units of each kind.
struct Seen {
  int tracks;
  unsigned long ms;
  std::string kinds;
  Units units;
};
Seen Look(IParser* parser, int calls) {
  Seen seen{parser->GetTrackCount(), 99, "", {}};
  parser->GetDurationMs(&seen.ms);
  for (int i = 0; i < seen.tracks; ++i) {
    const TrackInfo* const record = parser->GetTrackInfo(static_cast<unsigned long>(i));
    seen.kinds += std::to_string(record->nTrackType) + "/" + std::to_string(record->nCodecId) + " ";
  }
  for (const uint32_t kind : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT}) {
    for (int i = 0; i < calls; ++i) seen.units.push_back(Pull(parser, kind));
  }
  return seen;
}

TEST(AviParser, ASecondOpenLeavesNothingOfTheFirst) {
  const auto frames = [](const Bytes& header, size_t size) {
    Bytes all;
    for (uint32_t n = 0; n < 9; ++n) Append(all, Frame(header, size, n));
    return all;
  };
  const Bytes mp3 = frames({0xFF, 0xFB, 0x90, 0}, 417), ac3 = frames({0x0B, 0x77, 0x80, 0x80, 0x08, 0x40}, 256);
  const AudioFormat mp3Format = Coded(0x55, 44100, 16000), ac3Format = Coded(0x2000, 48000, 8000);
  std::vector<Bytes> shortened = Cut(mp3, 417), shortenedAc3 = Cut(ac3, 256);  // by a byte that the cutting would miss
  shortened[0].pop_back(), shortenedAc3[0].pop_back();
  const Bytes picture = Join({Bytes{0, 0, 1, 0, 0, 0x08}, "picture"}),
              other = Join({Bytes{0, 0, 1, 0, 0, 0x10}, "other"});
  AviBuilder late;  // more empty chunks than the first call reads
  late.Audio(Coded(0xFF, 8000, 999)).OldIndex();
  for (int i = 0; i < 15; ++i) late.Chunk(0, "");
  const std::pair<const char*, AviFile> files[] = {
      {"no streams", AviBuilder().Build()},
      {"MP3, frames", AudioFile(mp3Format, shortened)},
      {"MP3, cut", AudioFile(mp3Format, Cut(mp3, 500))},
      {"MP3, variable", AudioFile(Coded(0x55, 44100, 0), Cut(mp3, 417), StreamHeader{.scale = 1152, .rate = 44100})},
      {"AC-3, frames", AudioFile(ac3Format, shortenedAc3)},
      {"AC-3, cut", AudioFile(ac3Format, Cut(ac3, 300))},
      {"PCM", AudioFile({.rate = 8000, .bytesPerSecond = 32000}, Cut(Frame({}, 16000, 1), 8000))},
      {"tracks", AviBuilder()
                     .Audio(mp3Format)
                     .Audio(Coded(0xFF, 8000, 999))
                     .Video({"DXSB"})
                     .Video({"DXSB"})
                     .Video({}, {.length = 5})
                     .Chunk(4, "P", false)
                     .Chunk(4, "I")
                     .Chunk(2, "[one]")
                     .Chunk(3, "[two]")
                     .Chunk(1, "aac")
                     .OldIndex()
                     .Build()},
      {"pictures", AviBuilder()
                       .Video({"MPG2"}, {.length = 7})
                       .Chunk(0, other)
                       .Chunk(0, other)
                       .Chunk(0, picture)
                       .OldIndex()
                       .Build()},
      {"split", AviBuilder()
                    .Video({"MPG2"})
                    .Chunk(0, Join({"x", picture}))
                    .Chunk(0, picture)
                    .Chunk(0, other)
                    .Chunk(0, other)
                    .OldIndex()
                    .Build()},
      {"late", late.Chunk(0, "aac").Build()},
      {"scanned", AviBuilder().Video().Audio(Coded(0xFF, 8000, 999)).Chunk(0, "I").Chunk(1, "a").Build()},
  };
  const LogCapture silence("0");
  for (const auto& [name, file] : files) {
    const Seen fresh = Look(Host(file).parser, 9);
    for (const auto& [before, first] : files) {
      SCOPED_TRACE(testing::Message() << name << " after " << before);
      MemorySource source(file);
      Host host(first);
      host->SelectAudioTrack(1), host->SelectTextTrack(3);
      Look(host.parser, 2);
      EXPECT_EQ(host->Open(&source), 0);
      const Seen seen = Look(host.parser, 9);
      EXPECT_EQ(seen.tracks, fresh.tracks);
      EXPECT_EQ(seen.ms, fresh.ms);
      EXPECT_EQ(seen.kinds, fresh.kinds);
      EXPECT_EQ(seen.units, fresh.units);
    }
  }
}

// The host's decoder lives on across an open without a close: a configuration it has taken is not sent again.
TEST(AviParser, OnlyTheTakenVideoConfigurationOutlivesASecondOpen) {
  const Bytes sets = Join({"\0\0\0\1\x67S\0\0\0\1\x68P"}), idr = Join({"\0\0\0\1\x65I"});
  AviBuilder builder;
  builder.Video({.fourcc = "H264", .extra = sets}).Chunk(0, Join({sets, idr}), false).Chunk(0, idr).Chunk(0, idr);
  const AviFile movie = builder.OldIndex().Build();
  for (const bool taken : {false, true}) {
    SCOPED_TRACE(taken);
    const Bytes picture = taken ? idr : Join({sets, idr});
    Host host(movie);
    unsigned char config[64];
    unsigned long length = 0;
    if (taken) host->GetVideoConfig(config, &length, sizeof config);
    EXPECT_EQ(host.Video(), Unit(picture, 40));  // the first one that is marked as a key frame
    EXPECT_EQ(host->Open(&host.faulty), 0);
    EXPECT_EQ(host.Video(), Unit(picture, 40));
    EXPECT_EQ(host.Video(), Unit(picture, 80));
  }
}

long Told(const unsigned long* cell) { return static_cast<long>(*cell); }

// Calls that any parser survives, in whatever state, and what they answer without tracks and with those of Movie.
// What a host must not do stands in iparser.h.
const struct {
  const char* name;
  long (*call)(IParser* parser, unsigned char* buf, unsigned long* cell);
  long without, with;
} kSafeCalls[] = {
    {"Open nothing", [](auto p, auto, auto) -> long { return p->Open(nullptr); }, -1, -1},
    {"count", [](auto p, auto, auto) -> long { return p->GetTrackCount(); }, 0, 3},
    {"duration", [](auto p, auto, auto n) -> long { return p->GetDurationMs(n), Told(n); }, 0, 166},
    {"key frame", [](auto p, auto, auto) -> long { return p->GetNextVideoKeyFrameTime(42); }, 0, 83},
    {"key frame at the end of time", [](auto p, auto, auto) -> long { return p->GetNextVideoKeyFrameTime(~0ul); }, 0,
     0},
    {"no record", [](auto p, auto, auto) -> long { return p->GetTrackInfo(0) != nullptr; }, 0, 1},
    {"audio configuration into nothing", [](auto p, auto, auto n) -> long { return p->GetAudioConfig(nullptr, n, 0); },
     INT32_MIN, INT32_MIN},
    {"its size", [](auto p, auto buf, auto n) -> long { return p->GetAudioConfig(buf, n, 0), Told(n); }, 0, 2},
    {"size of the video's", [](auto p, auto, auto n) -> long { return p->GetVideoConfig(nullptr, n, ~0ul), Told(n); },
     0, 3},
    {"the same with room", [](auto p, auto buf, auto n) -> long { return p->GetVideoConfig(buf, n, ~0ul), Told(n); }, 0,
     3},
    {"video without room", [](auto p, auto buf, auto n) -> long { return p->GetVideoData(buf, n, n + 1, 0, false); }, 0,
     -1011},
    {"audio without room", [](auto p, auto buf, auto n) -> long { return p->GetAudioData(buf, n, n + 1, 0); }, 0,
     -1011},
    {"text without room", [](auto p, auto buf, auto n) -> long { return p->GetTextData(buf, n, n + 1, 0); }, 0, -1011},
    {"video", [](auto p, auto buf, auto n) -> long { return p->GetVideoData(buf, n, n + 1, ~0ul, true), Told(n); }, 0,
     2},
    {"audio", [](auto p, auto buf, auto n) -> long { return p->GetAudioData(buf, n, n + 1, ~0ul), Told(n); }, 0, 2},
    {"text", [](auto p, auto buf, auto n) -> long { return p->GetTextData(buf, n, n + 1, ~0ul), Told(n); }, 0, 4},
    {"audio track -1", [](auto p, auto, auto) -> long { return p->SelectAudioTrack(-1); }, 0, 0},
    {"audio track INT_MAX", [](auto p, auto, auto) -> long { return p->SelectAudioTrack(INT32_MAX); }, 0, 0},
    {"text track -1", [](auto p, auto, auto) -> long { return p->SelectTextTrack(-1); }, 0, 0},
    {"text track INT_MAX", [](auto p, auto, auto) -> long { return p->SelectTextTrack(INT32_MAX); }, 0, 0},
    {"a seek of no kind", [](auto p, auto, auto) -> long { return p->Seek(5, -1, -1); }, 0, 0},
    {"video to the end of time", [](auto p, auto, auto) -> long { return p->Seek(~0ul, 1, INT32_MAX); }, 0, 0},
    {"audio to the end of time", [](auto p, auto, auto) -> long { return p->Seek(~0ul, 2, INT32_MIN); }, 0, 0},
    {"audio there", [](auto p, auto buf, auto n) -> long { return p->GetAudioData(buf, n, n + 1, 64), Told(n); }, 0, 2},
    {"a notice", [](auto p, auto, auto) -> long { return p->Notify(0xFFFF, ~0ul) + p->SetConfig(); }, 0, 0},
};

TEST(AviParser, WhatIsSafeIsSafeInEveryState) {
  Destroy(nullptr);
  MemorySource movie(Movie()), empty(AviBuilder().Build()), refused(Chunk("JUNK", "no movie"));
  MemorySource wave(Riff("WAVE", Join({Chunk("fmt ", Bytes(16)), Chunk("data", "sound")})));
  MemorySource stub(Head(Riff("AVI ", ""), 11));
  const struct {
    const char* name;
    std::vector<IDataSource*> opens;
    int closes;
    bool with;
  } kStates[] = {
      {.name = "new", .opens = {}, .closes = 0, .with = false},
      {.name = "refused", .opens = {&movie, &refused}, .closes = 0, .with = false},
      {.name = "without streams", .opens = {&movie, &empty}, .closes = 0, .with = false},
      {.name = "another RIFF form", .opens = {&movie, &wave}, .closes = 0, .with = false},
      {.name = "11 bytes", .opens = {&movie, &stub}, .closes = 0, .with = false},
      {.name = "opened", .opens = {&movie}, .closes = 0, .with = true},
      {.name = "opened after a refusal", .opens = {&refused, &movie}, .closes = 0, .with = true},
      {.name = "closed, never opened", .opens = {}, .closes = 1, .with = false},
      {.name = "closed", .opens = {&movie}, .closes = 1, .with = false},
      {.name = "closed twice", .opens = {&movie}, .closes = 2, .with = false},
  };
  for (const auto& state : kStates) {
    const LogCapture silence("0");
    IParser* const parser = Create();
    for (IDataSource* source : state.opens) EXPECT_EQ(parser->Open(source), source == &refused ? -1 : 0) << state.name;
    for (int i = 0; i < state.closes; ++i) EXPECT_EQ(parser->Close(), 0) << state.name;
    const size_t reads = movie.reads.size();
    for (const auto& safe : kSafeCalls) {
      SCOPED_TRACE(std::string(state.name) + ", " + safe.name);
      unsigned char buf[64];
      unsigned long cells[2] = {};
      EXPECT_EQ(safe.call(parser, buf, cells), state.with ? safe.with : safe.without);
    }
    EXPECT_EQ(movie.reads.size() > reads, state.with) << state.name;
    EXPECT_EQ(parser->Open(&movie), state.closes ? -1 : 0) << state.name;
    parser->Close();
    Destroy(parser);
  }
}

TEST(AviParser, WithoutTracksItComplainsOfFewCallsOnly) {
  LogCapture log;
  IParser* const parser = createParser();
  log.Clear();
  for (const auto& safe : kSafeCalls) {
    unsigned char buf[64];
    unsigned long cells[2] = {};
    safe.call(parser, buf, cells);
  }
  const std::string audio = "E Should not be HERE! set Default audio track|",
                    text = "E Should not be HERE! set Default Text track|", sound = "E Error Case|";
  EXPECT_EQ(log.Take("aviparser"), "E mTrackInfos cleared|" + sound + sound + audio + audio + text + text + sound);
  destroyParser(parser);
}

}  // namespace
