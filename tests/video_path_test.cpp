// Video as the host pulls it.
#include <gtest/gtest.h>

#include "tests/support/host.h"

namespace {

/// 25 frames a second, key frames but for those that begin with '-', which is left out.
AviFile Movie(const std::string& fourcc, const std::vector<Data>& frames, bool openDml = false) {
  AviBuilder builder;
  builder.Video({.fourcc = fourcc});
  for (const Data& frame : frames) {
    const bool delta = !frame.bytes.empty() && frame.bytes[0] == '-';
    builder.Chunk(0, Bytes(frame.bytes.begin() + delta, frame.bytes.end()), !delta);
  }
  return openDml ? builder.ChunkIndex(0).Build() : builder.OldIndex().Build();
}
Units All(const AviFile& file) { return Host(file).Rest(AVI_TRACK_VIDEO); }

TEST(VideoPath, H264LengthsBecomeStartCodes) {
  const Bytes x(260, 'x'), y(261, 'y');
  LogCapture log;
  EXPECT_EQ(All(Movie("h264", {"\0\0\0\2ab\0\0\0\3cde", "\0\0\0\2ab\0\0\0", "\0\0\0\2ab\0\0\0\5", "\0\0\0\1\0\0\0\2",
                               "\0\0\0\6ab", "\0\0\0\7ab", "\xFF\xFF\xFF\xFFz", "abc", Join({"\0\0\1\4", x}),
                               Join({"\0\0\1\4", y}), "\0\0\0\2ab\0\0\0\0"})),
            (Units{Unit("\0\0\0\1ab\0\0\0\1cde", 0), Unit("\0\0\0\1ab\0\0\0", 40), Unit("\0\0\0\1ab\0\0\0\5", 80),
                   Unit("\0\0\0\1\0\0\0\2", 120), Unit("\0\0\0\1ab", 160), Unit("\0\0\0\7ab", 200),
                   Unit("\xFF\xFF\xFF\xFFz", 240), Unit("abc", 280), Unit(Join({"\0\0\0\1", x}), 320),
                   Unit(Join({"\0\0\1\4", y}), 360)}));
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "AVIFileParser", "CheckAVCStartCode error, piRead=10"));
}

TEST(VideoPath, ADamagedVolHeaderIsCutOff) {
  const Bytes vop = {0, 0, 1, 0xB6, 0x10}, bad = Join({"\0\0\1\x20\x80", vop}), good = Join({"\0\0\1\x20\x7F", vop});
  const Bytes at29 = Join({Bytes(29, 'x'), bad}), at30 = Join({Bytes(30, 'x'), bad});
  EXPECT_EQ(
      All(Movie("DX50", {bad, good, at29, at30, Head(bad, 9), Head(bad, 4), Join({"-", bad})})),
      (Units{Unit(vop, 0), Unit(good, 40), Unit(vop, 80), Unit(at30, 120), Unit(Head(bad, 4), 200), Unit(bad, 240)}));
  for (const char* fourcc : {"DIVX", "DXMF"}) EXPECT_EQ(All(Movie(fourcc, {bad})), Units{Unit(vop, 0)}) << fourcc;
  EXPECT_EQ(All(Movie("XVID", {bad})), Units{Unit(bad, 0)});
  EXPECT_EQ(All(Movie("DX50", {bad}, true)), Units{Unit(bad, 0)});
}

TEST(VideoPath, TheFirstFrameHasToBeAnIntraPicture) {
  const auto h263 = [](const Data& tail) {
    return All(Movie("H263", {Join({"\0\0", tail}), "-P", "", "\0\0"})).front();
  };
  const std::vector<Data> intra = {
      "\x80\2\x08", "\x84\2\x1A", "\x80\2", "\x80\2\x1E\x80\xFF\xE3", "\x80\2\x1C\x0F\xFF\xFF", "\x80\2\x1C\x10\0"};
  for (const Data& tail : intra) {
    EXPECT_EQ(h263(tail), Unit(Join({"\0\0", tail}), 0)) << testing::PrintToString(tail.bytes);
  }
  LogCapture log;
  for (const Data& tail : {Data("\x83\2\x1A"), Data("\x80\2\x1E\x80\xFF\x04"), Data("\x80\2\x1C\x10\0\0")}) {
    EXPECT_EQ(h263(tail), Unit("\0\0", 120)) << testing::PrintToString(tail.bytes);
  }
  for (const char* kind : {"[PTYPE]", "[PLUSPTYPE]", "[PLUSPTYPE with OPPTYPE]"}) {
    EXPECT_EQ(log.Count(kind + std::string("H263 StartCode and NOT Iframe")), 1u) << kind;
  }
  EXPECT_EQ(All(Movie("THEO", {"\x40", "\x3F", "\x40"})), (Units{Unit("\x3F", 40), Unit("\x40", 80)}));
  EXPECT_EQ(log.Count("[GetFirstVideoData] this block is not I-frame, first 1byte is 40"), 1u);
}

TEST(VideoPath, ABFrameNextToTheFirstFrameIsDropped) {
  const Bytes i = {0, 0, 1, 0xB6, 0x10}, p = {'-', 0, 0, 1, 0xB6, 0x50}, b = {'-', 'b', 0, 0, 1, 0xB6, 0x90};
  const auto seen = [](const std::string& fourcc, const std::vector<Data>& frames) {
    Host host(Movie(fourcc, frames));
    std::string times;
    for (int again = 0; again < 2; ++again, host->Seek(0, AVI_TRACK_VIDEO, 0)) {
      for (const Unit& unit : host.Rest(AVI_TRACK_VIDEO)) times += std::to_string(unit.timeMs / 40) + ' ';
    }
    return times;
  };
  for (const char* fourcc : {"FMP4", "MP4V", "DIVX", "DX50", "DXMF", "XVID"}) {
    EXPECT_EQ(seen(fourcc, {i, b, b, p}), "0 2 3 0 2 3 ") << fourcc;
  }
  EXPECT_EQ(seen("XVID", {i, p, b}), "0 1 2 0 1 2 ");
  EXPECT_EQ(seen("XVID", {i, "", b}), "0 2 0 2 ");  // only the read that directly follows is looked at
  EXPECT_EQ(seen("XVID", {i, Head(b, 6)}), "0 1 0 1 ");
  EXPECT_EQ(seen("DIV3", {i, b}), "0 1 0 1 ");
}

TEST(VideoPath, EmptyReadsAreRepeatedSoManyTimes) {
  std::vector<Data> frames(34, "");
  frames[11] = "one", frames[33] = "two";
  LogCapture log;
  Host host(Movie("XVID", frames));
  EXPECT_EQ((Units{host.Video(), host.Video(), host.Video(), host.Video(), host.Video(), host.Video()}),
            (Units{Unit("", 400), Unit("one", 440), Unit("", 1280), Unit("two", 1320), End(), End()}));
  const std::string text[] = {"initial Video data length is zero [it is to escape error case]",
                              "Video data length is zero max_buf_size:1048576, *pBufLen:0"};
  EXPECT_EQ(log.Count("[avi_parser_get_video_data] " + text[0]), 10u);
  EXPECT_EQ(log.Count("[avi_parser_get_video_data] " + text[1]), 20u);
}

TEST(VideoPath, KeyFramesFailuresAndNoVideo) {
  Host keys(Movie("XVID", {"-P0", "I1", "-P2", "-P3", "I4", "-P5"}));
  EXPECT_EQ((Units{keys.Video(), keys.Video(), keys.Video(9, true), keys.Video(9, true), keys.Video(9, true)}),
            (Units{Unit("I1", 40), Unit("P2", 80), Unit("I4", 160), Unit("P5", 200), End()}));  // no key frame is left
  Host host(Movie("XVID", {"I0", "-P1"}));
  const auto next = [&](const Fault& fault) { return host.faulty.Arm(fault), host.Video(); };
  EXPECT_EQ((Units{next({.status = -5}), next({.last = 9, .status = -11}), next({.status = -11})}),
            (Units{Unit("", 0, -1004), Unit("I0", 0), Unit("", 40)}));
  EXPECT_EQ(host.faulty.Reads(), 21u);
  EXPECT_EQ((Units{next({.status = -5}), next({.last = 9, .status = -11}), next({})}),
            (Units{Unit("", 40, -1004), Unit("P1", 40), End()}));
  EXPECT_EQ(Host(AviBuilder().Audio().Chunk(0, "sound").OldIndex().Build()).Video(), Unit("", 0));
}

}  // namespace
