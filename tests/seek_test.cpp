// Where the streams stand after a seek.
#include <array>
#include <cstring>

#include "tests/support/container.h"

namespace {

/// Entries of one byte that tells their position; key frames at `keys`.
void AddFrames(AviBuilder& builder, unsigned stream, uint8_t count, const Bytes& keys) {
  for (uint8_t i = 0; i < count; ++i) {
    builder.Chunk(stream, Bytes{i}, std::find(keys.begin(), keys.end(), i) != keys.end());
  }
}
Unit Frame(uint8_t i, uint32_t ms) { return Unit(Bytes{i}, ms); }

TEST(Seek, VideoGoesToTheKeyFrameThatTheModeAsksFor) {
  const Bytes keys = {0, 4, 10, 14}, third = {0, 2};
  const std::tuple<uint8_t, Bytes, uint32_t, int, uint8_t> kCases[] = {
      {20, keys, 399, 0, 0},   {20, keys, 400, 0, 4},   {20, keys, 999, 0, 4},   {20, keys, 99999, 0, 14},
      {20, keys, 401, 1, 4},   {20, keys, 500, 1, 10},  {20, keys, 1100, 1, 14}, {19, keys, 1100, 1, 10},
      {19, keys, 1400, 1, 14}, {20, keys, 1500, 1, 14}, {20, keys, 500, 4, 10},  {20, keys, 500, -1, 10},
      {20, keys, 700, 2, 4},   {20, keys, 701, 2, 10},  {20, keys, 600, 3, 4},   {19, keys, 1399, 2, 10},
      {20, keys, 1399, 2, 14}, {20, keys, 0, 1, 0},     {20, {7}, 300, 0, 0},    {20, {7}, 300, 1, 7},
      {4, third, 100, 1, 0},   {6, third, 100, 1, 0},   {8, third, 100, 1, 2},   {20, {}, 1200, 2, 0}};
  for (const auto& [count, keyFrames, ms, mode, frame] : kCases) {
    AviBuilder builder;
    AddFrames(builder.Video({}, {.rate = 10}), 0, count, keyFrames);
    Container movie(builder.OldIndex().Build());
    EXPECT_EQ(movie->SetStartTime(ms, nullptr, 0, AVI_TRACK_VIDEO, mode), 0);
    EXPECT_EQ(movie.Video(0), Frame(frame, frame * 100u)) << ms << " mode " << mode;
  }
}

TEST(Seek, EachKindMovesByItselfAndLaterVideosFollowTheFirst) {
  AviBuilder builder;
  builder.Video({}, {.rate = 10}).Video({.fourcc = "DXSB"}, {.rate = 10}).Video({}, {.rate = 20});
  AddFrames(builder.Audio({.bytesPerSecond = 10, .blockAlign = 1}), 0, 30, {0, 6, 12});
  AddFrames(builder, 1, 30, {0, 7, 14});
  AddFrames(builder, 2, 60, {0, 8, 10, 22});
  AddFrames(builder, 3, 11, {});
  Container movie(builder.OldIndex().Build());
  const auto next = [&] { return Units{movie.Video(0), movie.Video(1), movie.Video(2), movie.Audio(3)}; };
  // Time, kind, the time reached, and where the streams stand then. At last the sound is over, and with it everything.
  const std::array<uint8_t, 7> kCases[] = {
      {110, 1, 50, 6, 0, 10, 0}, {70, 2, 70, 7, 1, 11, 7}, {90, 3, 90, 8, 2, 12, 8}, {0, 1, 0, 0, 3, 0, 9},
      {0, 2, 0, 1, 4, 1, 0},     {110, 0, 0, 6, 0, 0, 0},  {110, 4, 110, 0, 0, 0, 0}};
  for (const auto& [ms, kind, at, a, b, c, d] : kCases) {
    uint32_t reached = 9;
    kind % 4 ? movie->SetStartTime(ms * 10, &reached, 1, kind, 0) : movie->SetStartTime(ms * 10, &reached, kind / 4);
    EXPECT_EQ(reached, at * 10u);
    const Units units = {Frame(a, a * 100u), Frame(b, b * 100u), Frame(c, c * 50u), Frame(d, d * 100u)};
    EXPECT_EQ(next(), kind < 4 ? units : Units(4, NoMore()));
  }
  for (const auto& [ms, key] : {std::pair(0u, 0u), {400, 400}, {449, 400}, {450, 500}, {1150, 700}, {9000, 0}}) {
    EXPECT_EQ(movie->getNextKeyFrameTime(ms), key);
  }
}

/// Entry, bytes before it and chunk counter.
using Cursor = std::tuple<uint64_t, uint64_t, uint64_t>;
Cursor At(Container& movie, int stream) {
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
  Container movie(builder.OldIndex().Build());
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
    kMpeg{{.tag = 0x50, .bytesPerSecond = 148}, kSized, {113, 1, 1, 99}};            // and of 3

TEST(Seek, AudioGoesByPositionsBlocksOrBytes) {
  const std::tuple<Sound, uint32_t, Cursor> kCases[] = {
      {kFrames, 60, {2, 0, 2}},   {kFrames, 9999, {4, 0, 4}},    {kAc3Vbr, 250, {2, 0, 2}},
      {kBlocks, 400, {3, 30, 4}}, {kBlocks, 599, {4, 60, 5}},    {kBlocks, 5000, {5, 61, 50}},
      {kBlocks, 99, {0, 0, 0}},   {kUnaligned, 300, {3, 30, 3}}, {kPcm, 499, {0, 0, 0}},
      {kPcm, 999, {2, 20, 0}},    {kPcm, 1000, {3, 40, 0}},      {kPcm, 2000, {4, 60, 0}},
      {kMp3, 1000, {2, 146, 2}},  {kMp3, 9000, {3, 147, 3}},     {kMpeg, 1000, {2, 114, 0}},
      {kAc3, 300, {2, 35, 2}},    {kAc3, 5000, {4, 52, 4}},      {kGrowing, 1, {0, 0, 0}},
      {kAac, 250, {2, 0, 0}},     {kAac, 0xFFFFFFFF, {3, 0, 0}}};
  for (const auto& [sound, ms, cursor] : kCases) {
    EXPECT_EQ(Sought(sound, sound, ms, false), std::pair(cursor, cursor)) << std::get<0>(sound).tag << " " << ms;
  }
}

TEST(Seek, AllStreamsAtOnceShareOneSumOfBytes) {
  const std::tuple<Sound, Sound, uint32_t, Cursor, Cursor> kCases[] = {
      {kPcm, kPcm, 1000, {3, 40, 0}, {0, 40, 0}}, {kPcm, kBlocks, 500, {2, 20, 0}, {4, 80, 5}},
      {kPcm, kAac, 500, {2, 20, 0}, {3, 0, 0}},   {kLong, kFrames, 60, {1, 1, 0}, {2, 1, 2}},
      {kBlocks, kPcm, 100, {5, 0, 1}, {4, 0, 0}}, {kFrames, kPcm, 131, {5, 0, 5}, {4, 0, 0}}};  // the end of all
  for (const auto& [first, second, ms, one, two] : kCases) {
    EXPECT_EQ(Sought(first, second, ms, true), std::pair(one, two)) << ms;
  }
}

TEST(Seek, ALongIndexGivesWhatAStraightWalkGives) {
  constexpr uint32_t kEntries = 2000000;
  std::vector<uint32_t> raw;
  for (uint32_t i = 0; i < kEntries; ++i)
    raw.insert(raw.end(), {0x62773030, 0x10, 4, static_cast<uint32_t>((i * 2654435761ull & 0xFFFFFFFFu) >> 22)});
  Bytes index(raw.size() * 4);
  std::memcpy(index.data(), raw.data(), index.size());
  enum Rule { kBytes, kBlockCount, kAc3Count };
  for (const Rule rule : {kBytes, kBlockCount, kAc3Count}) {
    AviBuilder builder;
    builder.Audio({.tag = rule == kAc3Count ? 0x2000u : 1u, .blockAlign = 100},
                  StreamHeader{.rate = 1000, .sampleSize = rule == kBlockCount ? 0u : 4u});
    Container movie(builder.Chunk(0, "x").AfterMovi(Chunk("idx1", index)).Build());
    uint64_t bytes = 0, blocks = 0, i = 0;
    for (uint32_t ms = 1 << 14; ms < 250u << 20; ms += 1 << 14) {  // exact in single precision
      for (; i < kEntries; bytes += raw[4 * i + 3], blocks += (raw[4 * i + 3] + 99) / 100, ++i) {
        if (rule == kBytes ? bytes + raw[4 * i + 3] > 4ull * ms : blocks >= ms + (rule == kAc3Count)) break;
      }
      const uint64_t next = i < kEntries ? raw[4 * i + 3] : 0;
      movie->SetStartTime(ms, nullptr, 0, AVI_TRACK_AUDIO, 0);
      ASSERT_EQ(At(movie, 0), rule == kBytes        ? Cursor(i, bytes, 0)
                              : rule == kBlockCount ? Cursor(i, bytes, ms)
                                                    : Cursor(i - 1, bytes - next, i - 1));
    }
  }
}

}  // namespace
