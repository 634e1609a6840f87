// What decoders are told before the first unit.
#include <gtest/gtest.h>

#include <tuple>

#include "tests/support/host.h"

namespace {

/// As many bytes as the host has room for, the full length, and the status.
using Config = std::tuple<Bytes, unsigned long, int>;
const Config kEmpty{{}, 0, 0};
constexpr auto kAudio = &IParser::GetAudioConfig, kVideo = &IParser::GetVideoConfig;

template <typename Op>
Config Ask(const Host& host, Op op, unsigned long room = 40) {
  Bytes buffer(room + 1, 0xA5);
  unsigned long length = 99;
  const int status = (host.parser->*op)(buffer.data(), &length, room);
  EXPECT_EQ(buffer.back(), 0xA5);
  return {Head(buffer, std::min(room, length)), length, status};
}

TEST(CodecConfig, AudioIsTheFormatsTailOrAllOfIt) {
  const struct {
    uint32_t tag;
    size_t size;          // of the format
    ptrdiff_t from = 18;  // where what is told begins
    int status = 0;
  } kRows[] = {{.tag = 0x02, .size = 20, .from = 0},
               {.tag = 0x10, .size = 18, .from = 0},
               {.tag = 0x12, .size = 20, .from = 0},
               {.tag = 0xFF, .size = 20},
               {.tag = 0xFF, .size = 19},
               {.tag = 0xFF, .size = 18},
               {.tag = 0x06, .size = 20},
               {.tag = 0x55, .size = 20, .from = 20, .status = INT32_MIN},
               {.tag = 0x50, .size = 20, .from = 20, .status = INT32_MIN}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << "tag " << row.tag << ", " << row.size << " bytes");
    const AudioFormat format{.tag = row.tag, .extra = Bytes(row.size - 18, 7)};
    Host host(AviBuilder().Audio(format).Build());
    const Bytes strf = Strf(format), config(strf.begin() + row.from, strf.end());
    EXPECT_EQ(Ask(host, kAudio), Config(config, config.size(), row.status));
    if (config.empty()) continue;
    EXPECT_EQ(Ask(host, kAudio, config.size()), Config(config, config.size(), row.status));
    EXPECT_EQ(Ask(host, kAudio, config.size() - 1), Config(Head(config, config.size() - 1), config.size(), INT32_MIN));
  }
}

Host OneFrame(const Data& frame, const VideoFormat& format = {}, bool indexed = true) {
  AviBuilder builder;
  builder.Video(format).Audio().Chunk(0, frame).Chunk(1, "sound");
  return Host(indexed ? builder.OldIndex().Build() : builder.Build());
}

TEST(CodecConfig, VideoIsTheFormatsTailOrWhatTheFirstFrameHasBeforeItsPicture) {
  const Bytes vol = Join({"\0\0\1\xB0\xF5\0\0\1\x20\x08\xD4"}), frame = Join({vol, "\0\0\1\xB6\x10\x60"});
  EXPECT_EQ(Ask(OneFrame(frame, {.extra = {7, 8, 9}}), kVideo), Config({7, 8, 9}, 3, 0));
  EXPECT_EQ(Ask(OneFrame(frame, {.extra = {7, 8, 9}}), kVideo, 2), Config({7, 8}, 3, 0));
  EXPECT_EQ(Ask(OneFrame("", {.fourcc = "WMV3", .extra = {7}}), kVideo), Config({7}, 1, 0));
  EXPECT_EQ(Ask(OneFrame("", {.fourcc = "none"}), kVideo), Config(Bytes(40, 0xA5), 99, 0));  // left alone
  for (const char* fourcc : {"XVID", "FMP4", "DX50", "DIVX", "MP4V", "DXMF"}) {
    EXPECT_EQ(Ask(OneFrame(frame, {.fourcc = fourcc}), kVideo), Config(vol, 11, 0)) << fourcc;
  }
  EXPECT_EQ(Ask(OneFrame(frame, {.fourcc = "DIV3"}), kVideo), kEmpty);
  EXPECT_EQ(Ask(OneFrame(frame), kVideo, 6), Config(Head(vol, 6), 11, 0));
  EXPECT_EQ(Ask(OneFrame(frame, {}, false), kVideo), kEmpty);
  EXPECT_EQ(Ask(OneFrame(Join({"\0\0\1\xB6", vol})), kVideo), Config(Join({"\0\0\1\xB6", vol}), 15, 0));
  for (const size_t size : {0u, 3u, 9u}) EXPECT_EQ(Ask(OneFrame(Head(vol, size)), kVideo), kEmpty) << size;
  EXPECT_EQ(Ask(OneFrame(Head(vol, 10)), kVideo), Config(Head(vol, 10), 10, 0));
  Host failing = OneFrame(frame);
  failing.faulty.Arm({.status = -5});
  EXPECT_EQ(Ask(failing, kVideo), kEmpty);
}

TEST(CodecConfig, AMissingVolHeaderIsMadeFromTheFirstPicture) {
  const auto vol = [](const Data& resolution, const Data& size = "\x0A\x04\x1E\x14") {
    return Config{Join({"\0\0\1\x20\0\xC4\x8D", resolution, size, "\x60"}), 15, 0};
  };
  const Config five = vol("\x08\0\xFD"), sixteen = vol("\x0F\xFF\xFD"), one = vol("\x08\0\x0D");
  // The type in two bits, 01, the increment, 11, then three zeros for I and four for B. P and S do not tell.
  const struct {
    Data picture;  // behind its start code
    Config config;
  } kRows[] = {{.picture = "\x10\x60", .config = five},        {.picture = "\x10\x62", .config = five},
               {.picture = "\x90\x60", .config = five},        {.picture = "\x90\x62", .config = kEmpty},
               {.picture = "\x16\x60", .config = five},        {.picture = "\x16\x00", .config = one},
               {.picture = "\x10\0\x0C\0", .config = sixteen}, {.picture = "\x10\0\x06\0", .config = kEmpty},
               {.picture = "\x10\0\x0C", .config = kEmpty},    {.picture = "\x50\x60", .config = kEmpty},
               {.picture = "\xD0\x60", .config = kEmpty},      {.picture = "", .config = kEmpty}};
  for (const auto& row : kRows) {
    EXPECT_EQ(Ask(OneFrame(Join({"\0\0\1\xB3\0\0\1\xB6", row.picture})), kVideo), row.config)
        << testing::PrintToString(row.picture.bytes);
  }
  const VideoFormat upsideDown{.width = 721, .height = 0xFFFFFF11};  // the low 13 bits: 721 and 7953
  EXPECT_EQ(Ask(OneFrame("\0\0\1\xB6\x10\x60", upsideDown), kVideo), vol("\x08\0\xFD", "\x16\x8F\xE2\x34"));
}

TEST(CodecConfig, H264PicturesCarryTheParameterSetsIfTheyFit) {
  const Bytes sets = Join({"\0\0\0\1\x67S\0\0\0\1\x68P"}), idr = Join({"\0\0\0\1\x65I"}), both = Join({sets, idr});
  const auto host = [&](const Data& first, bool key = true, const Bytes& extra = {}) {
    AviBuilder builder;
    builder.Video({.fourcc = "H264", .extra = extra}).Chunk(0, first, key).Chunk(0, idr).Chunk(0, "\0\0\0\1\x41P");
    return Host(builder.Chunk(0, idr).AfterMovi(Chunk("JUNK", Bytes(2000))).OldIndex().Build());
  };
  Host plain = host(both);
  EXPECT_EQ(Ask(plain, kVideo), kEmpty);  // nothing taken
  EXPECT_EQ((Units{plain.Video(), plain.Video(18), plain.Video(), plain.Video(17)}),
            (Units{Unit(both, 0), Unit(both, 40), Unit("\0\0\0\1\x41P", 80), Unit(idr, 120)}));
  const struct {
    bool buffer;
    unsigned long room;
    bool taken;
  } kQueries[] = {{.buffer = false, .room = 0, .taken = false},
                  {.buffer = false, .room = ~0ul, .taken = false},
                  {.buffer = true, .room = 0, .taken = false},
                  {.buffer = true, .room = 11, .taken = false},
                  {.buffer = true, .room = 12, .taken = true}};
  for (const auto& query : kQueries) {
    SCOPED_TRACE(testing::Message() << query.buffer << ", room for " << query.room);
    Host told = host(both, true, sets);
    Bytes buffer(12);
    unsigned long length = 0;
    EXPECT_EQ(told->GetVideoConfig(query.buffer ? buffer.data() : nullptr, &length, query.room), 0);
    EXPECT_EQ(length, 12u);
    EXPECT_EQ(buffer, Join({Head(sets, query.buffer ? query.room : 0), Bytes(12 - (query.buffer ? query.room : 0))}));
    EXPECT_EQ((Units{told.Video(), told.Video()}), (Units{Unit(both, 0), Unit(query.taken ? idr : both, 40)}));
  }
  const auto last = [](const Host& movie) { return movie.Rest(AVI_TRACK_VIDEO).back(); };
  const Bytes junk(1000, 0xCC);
  EXPECT_EQ(last(host(Head(both, 17))), Unit(Join({Head(both, 17), idr}), 120));  // an IDR slice of nothing
  EXPECT_EQ(last(host(Join({junk, junk}))), Unit(Join({junk, idr}), 120));
  // Up to the next slice: the size counts with its flag.
  EXPECT_EQ(last(host("no key frame", false)), Unit(Join({"no key frame00dc", Le32(6), idr}), 120));
}

}  // namespace
