// Where the streams stand after a seek.
#include <algorithm>

#include "tests/support/core_file.h"

namespace {

/// Entries of one byte that tells their position; key frames at `keys`.
void AddFrames(AviBuilder& builder, unsigned stream, uint8_t count, const Bytes& keys) {
  for (uint8_t i = 0; i < count; ++i) {
    builder.Chunk(stream, Bytes{i}, std::find(keys.begin(), keys.end(), i) != keys.end());
  }
}
Unit Frame(uint8_t i, uint32_t ms) { return Unit(Bytes{i}, ms); }

TEST(Seek, VideoGoesToTheKeyFrameThatTheModeAsksFor) {
  const auto landed = [](uint8_t count, const Bytes& keys, uint32_t ms, int mode) {
    AviBuilder builder;
    AddFrames(builder.Video({}, {.rate = 10}), 0, count, keys);
    CoreFile movie(builder.OldIndex().Build());
    EXPECT_EQ(movie->SetStartTime(ms, nullptr, 0, AVI_TRACK_VIDEO, mode), 0);
    return movie.Video(0);
  };
  const Bytes keys = {0, 4, 10, 14};
  const struct {
    uint32_t ms;
    int mode;
    uint8_t frame;  // of 20
  } kRows[] = {
      {.ms = 399, .mode = 0, .frame = 0},    {.ms = 400, .mode = 0, .frame = 4},   {.ms = 999, .mode = 0, .frame = 4},
      {.ms = 99999, .mode = 0, .frame = 14}, {.ms = 0, .mode = 1, .frame = 0},     {.ms = 401, .mode = 1, .frame = 4},
      {.ms = 500, .mode = 1, .frame = 10},   {.ms = 1100, .mode = 1, .frame = 14}, {.ms = 500, .mode = 4, .frame = 10},
      {.ms = 1500, .mode = 1, .frame = 14},  {.ms = 500, .mode = -1, .frame = 10}, {.ms = 700, .mode = 2, .frame = 4},
      {.ms = 701, .mode = 2, .frame = 10},   {.ms = 1399, .mode = 2, .frame = 14}, {.ms = 600, .mode = 3, .frame = 4}};
  for (const auto& row : kRows) {
    EXPECT_EQ(landed(20, keys, row.ms, row.mode), Frame(row.frame, row.frame * 100u)) << row.ms << " mode " << row.mode;
  }
  EXPECT_EQ(landed(20, {7}, 300, 0), Frame(0, 0));
  EXPECT_EQ(landed(20, {7}, 300, 1), Frame(7, 700));
  EXPECT_EQ(landed(20, {}, 1200, 2), Frame(0, 0));
  // The last five frames are no forward target.
  EXPECT_EQ(landed(19, keys, 1100, 1), Frame(10, 1000));
  EXPECT_EQ(landed(19, keys, 1399, 2), Frame(10, 1000));
  EXPECT_EQ(landed(19, keys, 1400, 1), Frame(14, 1400));
  EXPECT_EQ(landed(4, {0, 2}, 100, 1), Frame(0, 0));
  EXPECT_EQ(landed(6, {0, 2}, 100, 1), Frame(0, 0));
  EXPECT_EQ(landed(8, {0, 2}, 100, 1), Frame(2, 200));
}

TEST(Seek, EachKindMovesByItselfAndLaterVideosFollowTheFirst) {
  AviBuilder builder;
  builder.Video({}, {.rate = 10}).Video({.fourcc = "DXSB"}, {.rate = 10}).Video({}, {.rate = 20});
  AddFrames(builder.Audio({.bytesPerSecond = 10, .blockAlign = 1}), 0, 30, {0, 6, 12});
  AddFrames(builder, 1, 30, {0, 7, 14});
  AddFrames(builder, 2, 60, {0, 8, 10, 22});
  AddFrames(builder, 3, 11, {});
  CoreFile movie(builder.OldIndex().Build());
  const auto next = [&] { return Units{movie.Video(0), movie.Video(1), movie.Video(2), movie.Audio(3)}; };
  const Units over(4, NoMore());
  const auto at = [](uint8_t first, uint8_t text, uint8_t later, uint8_t sound) {
    return Units{Frame(first, first * 100u), Frame(text, text * 100u), Frame(later, later * 50u),
                 Frame(sound, sound * 100u)};
  };
  const struct {
    uint32_t ms;
    int kind;
    uint32_t reached;
    Units units;  // of each stream then
  } kRows[] = {{.ms = 1100, .kind = 1, .reached = 500, .units = at(6, 0, 10, 0)},
               {.ms = 700, .kind = 2, .reached = 700, .units = at(7, 1, 11, 7)},
               {.ms = 900, .kind = 3, .reached = 900, .units = at(8, 2, 12, 8)},
               {.ms = 0, .kind = 1, .reached = 0, .units = at(0, 3, 0, 9)},
               {.ms = 0, .kind = 2, .reached = 0, .units = at(1, 4, 1, 0)}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << "kind " << row.kind << " to " << row.ms);
    uint32_t reached = 9;
    movie->SetStartTime(row.ms, &reached, 1, row.kind, 0);
    EXPECT_EQ(reached, row.reached);
    EXPECT_EQ(next(), row.units);
  }
  uint32_t reached = 9;
  movie->SetStartTime(1100, &reached, 0);
  EXPECT_EQ(reached, 0u);
  EXPECT_EQ(next(), at(6, 0, 0, 0));
  movie->SetStartTime(1100, &reached, 1);  // the sound is over, and with it everything
  EXPECT_EQ(reached, 1100u);
  EXPECT_EQ(next(), over);

  const struct {
    uint32_t ms, key;
  } kKeys[] = {{.ms = 0, .key = 0},     {.ms = 400, .key = 400},  {.ms = 449, .key = 400},
               {.ms = 450, .key = 500}, {.ms = 1150, .key = 700}, {.ms = 9000, .key = 0}};
  for (const auto& row : kKeys) EXPECT_EQ(movie->getNextKeyFrameTime(row.ms), row.key) << row.ms;
}

/// Entry, bytes before it and chunk counter.
using Cursor = std::tuple<uint64_t, uint64_t, uint64_t>;
Cursor At(CoreFile& movie, int stream) {
  const SAVIStream* const record = movie->GetStream(stream);
  return {record->dwCurrIdx, record->dwTotalBytes, record->dwChunkCount};
}
/// With sizes of chunks.
using Sound = std::tuple<AudioFormat, StreamHeader, Bytes>;
/// Where two sounds stand after a seek, of all streams at once or of the sounds.
std::pair<Cursor, Cursor> Sought(const Sound& first, const Sound& second, uint32_t ms, bool all) {
  AviBuilder builder;
  builder.Audio(std::get<0>(first), std::get<1>(first)).Audio(std::get<0>(second), std::get<1>(second));
  for (const uint8_t size : std::get<2>(first)) builder.Chunk(0, Bytes(size));
  for (const uint8_t size : std::get<2>(second)) builder.Chunk(1, Bytes(size));
  CoreFile movie(builder.OldIndex().Build());
  all ? movie->SetStartTime(ms, nullptr, 0) : movie->SetStartTime(ms, nullptr, 0, AVI_TRACK_AUDIO, 0);
  return {At(movie, 0), At(movie, 1)};
}

const StreamHeader kSized{.rate = 10, .sampleSize = 4}, kUnsized{.rate = 10};  // tenths of a second
const Sound kLong{{}, {.rate = 100, .sampleSize = 1}, {1, 99}}, kPcm{{}, kSized, {20, 0, 20, 20}},
    kBlocks{{.blockAlign = 10}, kUnsized, {10, 15, 5, 30, 1}},
    kUnaligned{{.blockAlign = 0}, kUnsized, {10, 15, 5, 30, 1}}, kAac{{.tag = 0x1601}, kSized, {9, 8, 7}},
    kAc3{{.tag = 0x2000, .blockAlign = 10}, kSized, {10, 20, 10, 5, 7}},
    kGrowing{{.tag = 0x2000, .blockAlign = 10}, kSized, {10, 90}},
    kAc3Vbr{{.tag = 0x2000, .bytesPerSecond = 0}, kSized, {10, 20, 10, 5, 7}},
    kFrames{{.tag = 0x2001}, {.scale = 1152, .rate = 44100}, {9, 8, 7, 6, 5}},       // 38.28 a second
    kMp3{{.tag = 0x55, .rate = 22050, .bytesPerSecond = 148}, kSized, {145, 1, 1}},  // frames of 3.866 bytes
    kMp3At44{
        {.tag = 0x55, .rate = 44100, .bytesPerSecond = 148}, kSized, {113, 1, 1, 99}},  // the same 38 times a second
    kMpeg{{.tag = 0x50, .bytesPerSecond = 148}, kSized, {113, 1, 1, 99}};               // and of 3

TEST(Seek, AudioGoesByPositionsBlocksOrBytes) {
  const struct {
    Sound sound;
    uint32_t ms;
    Cursor at;
  } kRows[] = {{.sound = kFrames, .ms = 60, .at = {2, 0, 2}},      {.sound = kFrames, .ms = 9999, .at = {4, 0, 4}},
               {.sound = kAc3Vbr, .ms = 250, .at = {2, 0, 2}},     {.sound = kUnaligned, .ms = 300, .at = {3, 30, 3}},
               {.sound = kBlocks, .ms = 99, .at = {0, 0, 0}},      {.sound = kBlocks, .ms = 400, .at = {3, 30, 4}},
               {.sound = kBlocks, .ms = 599, .at = {4, 60, 5}},    {.sound = kBlocks, .ms = 5000, .at = {5, 61, 50}},
               {.sound = kPcm, .ms = 499, .at = {0, 0, 0}},        {.sound = kPcm, .ms = 999, .at = {2, 20, 0}},
               {.sound = kPcm, .ms = 1000, .at = {3, 40, 0}},      {.sound = kPcm, .ms = 2000, .at = {4, 60, 0}},
               {.sound = kMp3, .ms = 1000, .at = {2, 146, 2}},     {.sound = kMp3, .ms = 9000, .at = {3, 147, 3}},
               {.sound = kMp3At44, .ms = 1000, .at = {3, 115, 3}}, {.sound = kMpeg, .ms = 1000, .at = {2, 114, 0}},
               {.sound = kGrowing, .ms = 1, .at = {0, 0, 0}},      {.sound = kAc3, .ms = 300, .at = {2, 35, 2}},
               {.sound = kAc3, .ms = 5000, .at = {4, 52, 4}},      {.sound = kAac, .ms = 250, .at = {2, 0, 0}},
               {.sound = kAac, .ms = 0xFFFFFFFF, .at = {3, 0, 0}}};
  for (const auto& row : kRows) {
    EXPECT_EQ(Sought(row.sound, row.sound, row.ms, false), std::pair(row.at, row.at))
        << "row " << &row - kRows << " to " << row.ms;
  }
}

TEST(Seek, AllStreamsAtOnceShareOneSumOfBytes) {
  const struct {
    const char* name;
    Sound first, second;
    uint32_t ms;
    Cursor one, two;
  } kRows[] = {
      {.name = "PCM twice", .first = kPcm, .second = kPcm, .ms = 1000, .one = {3, 40, 0}, .two = {0, 40, 0}},
      {.name = "PCM, blocks", .first = kPcm, .second = kBlocks, .ms = 500, .one = {2, 20, 0}, .two = {4, 80, 5}},
      {.name = "PCM, AAC", .first = kPcm, .second = kAac, .ms = 500, .one = {2, 20, 0}, .two = {3, 0, 0}},
      {.name = "PCM, frames", .first = kLong, .second = kFrames, .ms = 60, .one = {1, 1, 0}, .two = {2, 1, 2}},
      // To the end of all.
      {.name = "blocks, PCM", .first = kBlocks, .second = kPcm, .ms = 100, .one = {5, 0, 1}, .two = {4, 0, 0}},
      {.name = "frames, PCM", .first = kFrames, .second = kPcm, .ms = 131, .one = {5, 0, 5}, .two = {4, 0, 0}},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Sought(row.first, row.second, row.ms, true), std::pair(row.one, row.two)) << row.name;
  }
}

TEST(Seek, ALongIndexGivesWhatAStraightWalkGives) {
  constexpr size_t kEntries = 2048;  // sums are kept for every 256th and, here, for the end
  Bytes index;
  std::vector<uint32_t> sizes;
  for (size_t i = 0; i < kEntries; ++i) {
    sizes.push_back(static_cast<uint32_t>((i * 2654435761ull & 0xFFFFFFFFu) >> 22));
    Append(index, Join({"00wb", Le32(0x10), Le32(4), Le32(sizes.back())}));
  }
  enum Rule { kBytes, kBlockCount, kAc3Count };
  for (const Rule rule : {kBytes, kBlockCount, kAc3Count}) {
    AviBuilder builder;
    builder.Audio({.tag = rule == kAc3Count ? 0x2000u : 1u, .blockAlign = 100},
                  StreamHeader{.rate = 1000, .sampleSize = rule == kBlockCount ? 0u : 4u});
    CoreFile movie(builder.Chunk(0, "x").AfterMovi(Chunk("idx1", index)).Build());
    uint64_t bytes = 0, blocks = 0;
    size_t i = 0;
    for (uint32_t ms = 16; ms < 260000; ms += 16) {
      for (; i < kEntries; bytes += sizes[i], blocks += (sizes[i] + 99) / 100, ++i) {
        if (rule == kBytes ? bytes + sizes[i] > 4ull * ms : blocks >= ms + (rule == kAc3Count)) break;
      }
      const uint64_t next = i < kEntries ? sizes[i] : 0;
      movie->SetStartTime(ms, nullptr, 0, AVI_TRACK_AUDIO, 0);
      ASSERT_EQ(At(movie, 0), rule == kBytes        ? Cursor(i, bytes, 0)
                              : rule == kBlockCount ? Cursor(i, bytes, ms)
                                                    : Cursor(i - 1, bytes - next, i - 1))
          << ms << " ms by rule " << rule;
    }
  }
}

}  // namespace
