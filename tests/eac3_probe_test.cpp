#include <gtest/gtest.h>

#include "tests/support/elementary.h"
#include "tests/support/log_capture.h"

namespace {

TEST(Eac3Probe, TheFirstChunkTellsEac3FromAc3) {
  const AudioFormat format = Coded(0x2000, 48000, 8000);
  const Bytes ac3 = {0x0B, 0x77, 0x80, 0x80, 0x08, 0x40}, eac3 = {0x0B, 0x77, 0x01, 0x80, 0x00, 0x80};
  const auto codecOf = [&](const Bytes& chunk) {
    return Host(AviBuilder().Audio().Audio(format).Chunk(0, ac3).Chunk(1, chunk).Chunk(1, eac3).Build())
        ->GetTrackInfo(1)
        ->nCodecId;
  };
  const auto at = [](size_t stray, const Data& header, size_t behind = 9) {
    return Join({Frame({}, stray, 1000), header, Frame({}, behind, 1000)});
  };
  LogCapture log;
  EXPECT_EQ(codecOf(Frame(ac3, 256, 0)), 203u);
  for (size_t stray : {0u, 4u, 10u, 11u, 12u}) EXPECT_EQ(codecOf(at(stray, eac3)), 204u) << stray;
  EXPECT_EQ(codecOf(at(20, "\x77\x0B\0\0\0\x80")), 204u);
  EXPECT_EQ(codecOf(at(20, "\x0B\x77\0\0\x80\x78")), 203u);
  EXPECT_EQ(codecOf({}), 204u);  // the first chunk that holds something
  EXPECT_EQ(log.Count("CheckIsEAC3: can not find syncword - [1651978544][60]"), 0u);
  EXPECT_EQ(codecOf(at(2, eac3, 52)), 203u);  // between what is compared and what is searched
  EXPECT_EQ(log.Count("CheckIsEAC3: can not find syncword - [1651978544][60]"), 1u);
  EXPECT_EQ(log.Count("MapTrackInfos: checking EAC3 logic fail - but processing as AC3 [-2147483648]"), 1u);
}

}  // namespace
