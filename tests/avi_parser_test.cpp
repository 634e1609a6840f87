// The library as a host meets it: loaded by name, called through the numbers of its slots.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

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

TEST(AviParser, DestroyingNothingDoesNothing) { Destroy(nullptr); }

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

TEST(AviParser, OpensAgainUntilItIsClosed) {
  Host host(AviBuilder().Audio({.tag = 0x55}).Chunk(0, Bytes(4)).Build());
  MemorySource empty(AviBuilder().Build());
  MemorySource second(AviBuilder().Video().Audio({.tag = 0xFF}).Chunk(1, "sound").Build());
  EXPECT_EQ(host->Open(nullptr), -1);
  EXPECT_EQ(host->Open(&second), 0);
  EXPECT_EQ(host->GetTrackCount(), 2);
  EXPECT_EQ(host.Audio(), Unit("sound", 0));
  EXPECT_EQ(host->Open(&empty), 0);
  EXPECT_EQ(host->GetTrackCount(), 0);
  EXPECT_EQ(host->GetTrackInfo(0), nullptr);
  host->Close();
  EXPECT_EQ(host->Open(&second), -1);
}

// The host's decoder lives on across an open without a close: a configuration it has taken is not sent again.
TEST(AviParser, OnlyTheTakenVideoConfigurationOutlivesASecondOpen) {
  const Bytes sets = Join({"\0\0\0\1\x67S\0\0\0\1\x68P"}), idr = Join({"\0\0\0\1\x65I"});
  AviBuilder builder;
  builder.Video({.fourcc = "H264", .extra = sets}, {.length = 3}).Video({.fourcc = "DXSB"}).Video({.fourcc = "DXSB"});
  builder.Audio({.tag = 0xFF}).Audio({.rate = 8000, .bytesPerSecond = 32000});
  builder.Chunk(0, Join({sets, idr}), false).Chunk(0, idr).Chunk(0, idr);
  builder.Chunk(1, "[one]").Chunk(2, "[two]").Chunk(3, "aac");
  const AviFile movie = builder.Chunk(4, Bytes(8000, 7)).OldIndex().Build();
  const auto expectTheBeginning = [&](const Host& host, const Bytes& picture) {
    unsigned long ms = 0;
    host->GetDurationMs(&ms);
    EXPECT_EQ(ms, 120u);
    EXPECT_EQ(host->GetTrackCount(), 5);
    EXPECT_EQ(host.Video(), Unit(picture, 40));  // the first one that is marked as a key frame
    EXPECT_EQ(host.Video(), Unit(picture, 80));
    EXPECT_EQ(host.Text(), Unit("[one]", 0));
    EXPECT_EQ(host.Audio(), Unit("aac", 0));
    host->SelectTextTrack(2);
    host->SelectAudioTrack(4);
    EXPECT_EQ(host.Audio(), Unit(Bytes(1600, 7), 0));
  };
  for (const bool taken : {false, true}) {
    SCOPED_TRACE(taken);
    Host host(movie);
    unsigned char config[64];
    unsigned long length = 0;
    if (taken) host->GetVideoConfig(config, &length, sizeof config);
    expectTheBeginning(host, taken ? idr : Join({sets, idr}));
    EXPECT_EQ(host->Open(&host.faulty), 0);
    expectTheBeginning(host, taken ? idr : Join({sets, idr}));
  }
}

TEST(AviParser, AClosedOrUnopenedOneAnswersNothing) {
  MemorySource source(Movie());
  const DebugLevelGuard guard;
  IParser* const parser = createParser();
  for (const bool opened : {false, true}) {
    SCOPED_TRACE(opened);
    if (opened) {
      EXPECT_EQ(parser->Open(&source), 0);
      EXPECT_EQ(parser->Close(), 0);
      EXPECT_EQ(parser->Close(), 0);
    }
    LogCapture log;
    const size_t reads = source.reads.size();
    unsigned long ms = 7, len = 7, none = 0;
    EXPECT_EQ(parser->SelectAudioTrack(9), 0);
    EXPECT_EQ(parser->SelectTextTrack(9), 0);
    EXPECT_EQ(parser->Seek(0, 2, 0), 0);
    EXPECT_EQ(parser->Seek(9, 1, 0), 0);
    EXPECT_EQ(parser->GetTrackCount(), 0);
    EXPECT_EQ(parser->GetDurationMs(&ms), 0);
    EXPECT_EQ(ms, 0u);
    EXPECT_EQ(parser->GetVideoConfig(nullptr, &none, 0), 0);
    EXPECT_EQ(none, 0u);
    EXPECT_EQ(parser->GetAudioConfig(nullptr, &len, 0), INT32_MIN);
    EXPECT_EQ(len, 0u);
    EXPECT_EQ(parser->GetNextVideoKeyFrameTime(0), 0u);
    EXPECT_EQ(parser->GetTrackInfo(0), nullptr);
    for (uint32_t kind : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT}) {
      EXPECT_EQ(Pull(parser, kind), Unit("", 0)) << kind;
    }
    EXPECT_EQ(log.Take("aviparser"),
              "E Should not be HERE! set Default audio track|E Should not be HERE! set Default Text track|"
              "E mTrackInfos cleared|E Error Case|");
    EXPECT_EQ(source.reads.size(), reads);
  }
  destroyParser(parser);
}

}  // namespace
