// What decoders are told before the first unit.
#include <array>

#include "tests/support/container.h"

namespace {

/// As many bytes as the host has room for, the full length, and the status.
using Config = std::tuple<Bytes, unsigned long, int>;
const Config kEmpty{{}, 0, 0};
constexpr auto kAudio = &IParser::GetAudioConfig, kVideo = &IParser::GetVideoConfig;

template <typename Op>
Config Ask(const Host& host, Op op, unsigned long room = 40) {
  Bytes buffer(room + 1, 0xA5);
  unsigned long length = 99;
  const int status = (host.parser.operator->()->*op)(buffer.data(), &length, room);
  EXPECT_EQ(buffer.back(), 0xA5);
  return {Head(buffer, std::min(room, length)), length, status};
}

TEST(CodecConfig, AudioIsTheFormatsTailOrAllOfIt) {
  // Tag, size of the format; from where on it is told, size of that, status.
  const std::array<int, 5> kCases[] = {{0x02, 20, 0, 20, 0},        {0x10, 18, 0, 18, 0}, {0x11, 20, 0, 20, 0},
                                       {0x12, 20, 0, 20, 0},        {0xFF, 20, 18, 2, 0}, {0xFF, 19, 18, 1, 0},
                                       {0xFF, 18, 18, 0, 0},        {0x06, 20, 18, 2, 0}, {0x55, 20, 20, 0, INT32_MIN},
                                       {0x50, 20, 20, 0, INT32_MIN}};
  for (const auto& [tag, size, from, told, status] : kCases) {
    const AudioFormat format{.tag = static_cast<uint32_t>(tag), .extra = Bytes(static_cast<size_t>(size - 18), 7)};
    Host host(AviBuilder().Video().Audio(format).Build());
    const Bytes strf = Strf(format), config(strf.begin() + from, strf.end());
    EXPECT_EQ(Ask(host, kAudio), Config(config, told, status)) << tag;
    if (told == 0) continue;
    EXPECT_EQ(Ask(host, kAudio, config.size()), Config(config, told, status));
    EXPECT_EQ(Ask(host, kAudio, config.size() - 1), Config(Head(config, config.size() - 1), told, INT32_MIN));
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
  EXPECT_EQ(std::get<1>(Ask(OneFrame("", {.fourcc = "none"}), kVideo)), 99u);  // left alone
  for (const char* fourcc : {"XVID", "FMP4", "DX50", "DIVX", "MP4V", "DXMF"}) {
    EXPECT_EQ(Ask(OneFrame(frame, {.fourcc = fourcc}), kVideo), Config(vol, 11, 0));
  }
  EXPECT_EQ(Ask(OneFrame(frame, {.fourcc = "DIV3"}), kVideo), kEmpty);
  EXPECT_EQ(Ask(OneFrame(frame), kVideo, 6), Config(Head(vol, 6), 11, 0));
  EXPECT_EQ(Ask(OneFrame(frame, {}, false), kVideo), kEmpty);
  EXPECT_EQ(Ask(OneFrame(Join({"\0\0\1\xB6", vol})), kVideo), Config(Join({"\0\0\1\xB6", vol}), 15, 0));
  for (const size_t size : {0u, 3u, 9u}) EXPECT_EQ(Ask(OneFrame(Head(vol, size)), kVideo), kEmpty);
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
  const std::pair<Data, Config> kCases[] = {{"\x10\x60", five},        {"\x10\x62", five},       {"\x90\x60", five},
                                            {"\x90\x62", kEmpty},      {"\x16\x60", five},       {"\x16\x00", one},
                                            {"\x10\0\x0C\0", sixteen}, {"\x10\0\x06\0", kEmpty}, {"\x10\0\x0C", kEmpty},
                                            {"\x50\x60", kEmpty},      {"\xD0\x60", kEmpty},     {"", kEmpty}};
  for (const auto& [header, config] : kCases) {
    EXPECT_EQ(Ask(OneFrame(Join({"\0\0\1\xB3\0\0\1\xB6", header})), kVideo), config) << header.bytes.size();
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
  for (const unsigned long room : {11u, 12u}) {  // twelve bytes take the configuration
    Host told = host(both, true, sets);
    EXPECT_EQ(Ask(told, kVideo, room), Config(Head(sets, room), 12, 0));
    EXPECT_EQ((Units{told.Video(), told.Video()}), (Units{Unit(both, 0), Unit(room < 12 ? both : idr, 40)}));
  }
  const auto carried = [&](Host movie) { return Join({DrainVideo(movie.parser).units.back().data}).size() - 6; };
  EXPECT_EQ(carried(host(Head(both, 17))), 17u);  // an IDR slice of nothing
  EXPECT_EQ(carried(host(Bytes(1200, 0xCC))), 1000u);
  EXPECT_EQ(carried(host("no key frame", false)), 20u);  // up to the next slice: the size counts with its flag
}

}  // namespace
