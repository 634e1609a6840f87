#include "tools/aviprobe/model/layout.h"

#include <gtest/gtest.h>

#include "tests/aviprobe/temp_file.h"
#include "tests/support/avi_builder.h"

namespace {

constexpr unsigned kFrames = 50;  // two seconds, each frame with its sound
constexpr unsigned kFrameMs = 40;
constexpr size_t kPicture = 300, kSound = 640;
constexpr int64_t kPictureChunk = kPicture + 8, kSoundChunk = kSound + 8, kPair = kPictureChunk + kSoundChunk;

AviBuilder Headers(uint32_t scale = 1) {
  AviBuilder film;
  film.Video({}, {.scale = scale, .rate = 25, .length = kFrames});
  film.Audio({.channels = 1, .rate = 8000, .bytesPerSecond = 16000, .blockAlign = 2});
  return film;
}
void Pictures(AviBuilder* film, unsigned count) {
  for (unsigned i = 0; i < count; ++i) film->Chunk(0, Bytes(kPicture));
}
void Sounds(AviBuilder* film, unsigned count) {
  for (unsigned i = 0; i < count; ++i) film->Chunk(1, Bytes(kSound));
}
void Pairs(AviBuilder* film, unsigned count) {
  for (unsigned i = 0; i < count; ++i) {
    Pictures(film, 1);
    Sounds(film, 1);
  }
}

void InTurn(AviBuilder* film) { Pairs(film, kFrames); }
void SoundBehindAll(AviBuilder* film) {
  Pictures(film, kFrames);
  Sounds(film, kFrames);
}
void SoundASecondAhead(AviBuilder* film) {
  Sounds(film, 25);
  Pairs(film, 25);
  Pictures(film, 25);
}

SFileMap MapOf(const AviBuilder& film) {
  const TempFile file(film.Build().bytes);
  FileSource source(file.Path(), false);
  return MapFile(source, file.Path());
}

struct SPlace {
  double dValue;
  double dMs;
  int64_t nOffset;  ///< from the first chunk on
};
struct SRow {
  const char* pName;
  void (*fill)(AviBuilder* film);
  SPlace apartBytes, apartMs;
  int64_t nPreroll;
  double dReadRate;
};

// All of the film is held while the first of its two seconds plays and the second one is being read.
constexpr uint64_t kAllData = kFrames * (kPicture + kSound);

TEST(Layout, TellsHowFarApartTheTracksLie) {
  const SRow rows[] = {
      {.pName = "in turn",
       .fill = InTurn,
       .apartBytes = {.dValue = kPictureChunk, .dMs = 0, .nOffset = kPictureChunk},
       .apartMs = {.dValue = 0, .dMs = 0, .nOffset = 0},
       .nPreroll = 25 * kPair,
       .dReadRate = 25 * kPair},
      {.pName = "sound behind all pictures",
       .fill = SoundBehindAll,
       .apartBytes = {.dValue = 50 * kPictureChunk + 49 * (kSoundChunk - kPictureChunk),
                      .dMs = 49 * kFrameMs,
                      .nOffset = 50 * kPictureChunk + 49 * kSoundChunk},
       .apartMs = {.dValue = 49 * kFrameMs, .dMs = 49 * kFrameMs, .nOffset = 49 * kPictureChunk},
       .nPreroll = 50 * kPictureChunk + 25 * kSoundChunk,
       .dReadRate = 25 * kSoundChunk},
      {.pName = "sound a second ahead",
       .fill = SoundASecondAhead,
       .apartBytes = {.dValue = 25 * kSoundChunk + 24 * kPictureChunk,
                      .dMs = 24 * kFrameMs,
                      .nOffset = 25 * kSoundChunk + 24 * kPair},
       .apartMs = {.dValue = 24 * kFrameMs, .dMs = 24 * kFrameMs, .nOffset = 24 * kSoundChunk},
       .nPreroll = 25 * kSoundChunk + 24 * kPair + kPictureChunk,
       .dReadRate = kSoundChunk + 25 * kPictureChunk},
  };
  for (const SRow& row : rows) {
    SCOPED_TRACE(row.pName);
    AviBuilder film = Headers();
    row.fill(&film);
    const auto first = static_cast<int64_t>(film.Build().movi);
    const std::optional<SLayout> layout = LayOut(MapOf(film), 1000);
    ASSERT_TRUE(layout.has_value());
    EXPECT_EQ(layout->buckets.size(), 2u);
    EXPECT_EQ(layout->apartBytes.dValue, row.apartBytes.dValue);
    EXPECT_EQ(layout->apartBytes.dMs, row.apartBytes.dMs);
    EXPECT_EQ(layout->apartBytes.nOffset, first + row.apartBytes.nOffset);
    EXPECT_EQ(layout->apartMs.dValue, row.apartMs.dValue);
    EXPECT_EQ(layout->apartMs.dMs, row.apartMs.dMs);
    EXPECT_EQ(layout->apartMs.nOffset, row.apartMs.dValue > 0 ? first + row.apartMs.nOffset : 0);
    EXPECT_EQ(layout->nPrerollBytes, row.nPreroll);
    EXPECT_EQ(layout->dReadRate, row.dReadRate);
    EXPECT_EQ(layout->nBufferBytes, kAllData);
  }
}

TEST(Layout, LeavesOutATrackWithoutTime) {
  AviBuilder film = Headers(0);
  InTurn(&film);
  const std::optional<SLayout> layout = LayOut(MapOf(film), 1000);
  ASSERT_TRUE(layout.has_value());
  EXPECT_EQ(layout->timeless, std::vector<int16_t>{0});
  EXPECT_EQ(layout->streams, std::vector<int16_t>{1});
  EXPECT_EQ(layout->apartBytes.dValue, 0);
}

TEST(Layout, HasNoMoreBucketsThanItMay) {
  AviBuilder film = Headers();
  InTurn(&film);
  EXPECT_FALSE(LayOut(MapOf(film), 0.001).has_value());
}

}  // namespace
