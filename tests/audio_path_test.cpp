// Sound on its way to the host, whatever the codec.
#include "plugin/audio_path.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/elementary.h"
#include "tests/support/heap_watch.h"
#include "tests/support/log_capture.h"

namespace {

Bytes Stream(const Bytes& header, size_t frameSize) {
  Bytes all;
  for (uint32_t n = 0; n < 5; ++n) Append(all, Frame(header, frameSize, n));
  return all;
}
const Bytes kMp3 = Stream({0xFF, 0xFB, 0x90, 0}, 417), kAc3 = Stream({0x0B, 0x77, 0x80, 0x80, 0x08, 0x40}, 256);
const AudioFormat kMp3Format = Coded(0x55, 44100, 16000), kAc3Format = Coded(0x2000, 48000, 8000),
                  kPcmFormat = {.rate = 8000, .bytesPerSecond = 32000}, kAacFormat = Coded(0xFF, 48000, 8000);
const struct {
  const char* name;
  AviFile file;
  bool buffered;  // from call to call
} kMovies[] = {
    {"MPEG audio, frames", AudioFile(kMp3Format, Cut(kMp3, 417)), true},
    {"MPEG audio, cut small", AudioFile(kMp3Format, Cut(kMp3, 100)), true},
    {"MPEG audio, nothing behind a frame", AudioFile(kMp3Format, {Join({Head(kMp3, 417), Bytes(500)}), kMp3}), true},
    {"AC-3, frames", AudioFile(kAc3Format, Cut(kAc3, 256)), true},
    {"AC-3 behind junk", AudioFile(kAc3Format, {Bytes(3), Bytes(40), Head(kAc3, 400), kAc3}), true},
    {"PCM, blocks", AudioFile(kPcmFormat, Cut(Frame({}, 6400, 1), 1600)), true},
    {"PCM, cut small", AudioFile(kPcmFormat, Cut(Frame({}, 6400, 1), 900)), true},
    {"PCM, cut large", AudioFile({}, Cut(Frame({}, 60000, 1), 20000)), true},
    {"AAC", AudioFile(kAacFormat, {Bytes(3, 1), Bytes(3, 2)}), false},
};

struct Answers {
  std::vector<Bytes> units;
  std::vector<int> failures;  // other statuses than 0 and the end
};
Answers Pull(const Host& host) {
  Answers answers;
  for (int ends = 0; ends < 2 && answers.failures.size() < 9;) {  // a block that is held comes behind the first end
    const Unit unit = host.Audio();
    EXPECT_EQ(unit.data.empty(), unit.status != 0);
    ends += unit == End();
    if (unit == End()) continue;
    if (unit.status == 0) {
      answers.units.push_back(unit.data);
    } else {
      answers.failures.push_back(unit.status);
    }
  }
  return answers;
}

TEST(AudioPath, AFailedReadIsToldOnceAndCostsTheLastFrameAtMost) {
  const LogCapture silence("0");
  for (const auto& movie : kMovies) {
    Host whole(movie.file);
    whole.faulty.Arm(kNoFault);
    const std::vector<Bytes> all = Pull(whole).units;
    for (size_t n = 0; n < whole.faulty.Reads(); ++n) {
      SCOPED_TRACE(testing::Message() << movie.name << ", read " << n);
      Host host(movie.file);
      host.faulty.Arm(OnRead(n, {.status = -5}));
      Answers answers = Pull(host);
      EXPECT_EQ(answers.failures, std::vector{AVI_IO_ERROR});
      // A call that failed half way has taken chunks whose frames then wait for one more chunk.
      if (answers.units.size() + 1 == all.size()) answers.units.push_back(all.back());
      EXPECT_EQ(answers.units, all);
    }
  }
}

TEST(AudioPath, WithoutItsBufferATrackAnswersSoEachTime) {
  const LogCapture silence("0");
  for (const auto& movie : kMovies) {
    SCOPED_TRACE(movie.name);
    HeapWatch::Fail(HeapWatch::kNever, HeapWatch::kNever);
    Host(movie.file).Audio();
    const long asked = HeapWatch::StopFailing();
    int without = 0;
    for (long n = 1; n < asked; ++n) {  // the first is the parser itself
      HeapWatch::Fail(n, n);
      Host host(movie.file, {.open = {}});
      const Unit first = host.Audio();
      HeapWatch::StopFailing();
      if (first.status != AVI_OUT_OF_MEMORY) continue;
      ++without;
      EXPECT_EQ(host.Audio(), Unit("", 0, AVI_OUT_OF_MEMORY));
    }
    EXPECT_EQ(without, movie.buffered);
  }
}

TEST(AudioPath, TheStatusesThatEndATrackAreThree) {
  for (const int status : {-1004, -1007, -1009}) EXPECT_TRUE(IsFatal(status)) << status;
  for (const int status : {0, 11, -11, -1011, INT32_MIN}) EXPECT_FALSE(IsFatal(status)) << status;
}

TEST(AudioPath, AChunkFillsTheRoomThatIsLeftOfAMebibyteAndALargerOneEndsTheTrack) {
  const LogCapture silence("0");
  const Bytes pcm = Frame({}, 20000, 1), none(3);
  const struct {
    const char* name;
    AudioFormat format;
    Bytes first, second, unit;
  } kRows[] = {
      {"MPEG audio", kMp3Format, Head(kMp3, 500), Bytes(kMp3.begin() + 500, kMp3.end()), Head(kMp3, 417)},
      {"MPEG audio, searched", kMp3Format, none, kMp3, Head(kMp3, 417)},
      {"AC-3", kAc3Format, Head(kAc3, 500), Bytes(kAc3.begin() + 500, kAc3.end()), Head(kAc3, 256)},
      {"AC-3, searched", kAc3Format, none, kAc3, Head(kAc3, 256)},
      {"PCM", {}, pcm, pcm, Head(pcm, 16384)},
  };
  for (const auto& row : kRows) {
    for (const size_t beyond : {0u, 1u}) {
      SCOPED_TRACE(testing::Message() << row.name << ", " << beyond << " too many");
      Bytes second = row.second;
      second.resize((1u << 20) - row.first.size() + beyond);
      const Unit unit = Host(AudioFile(row.format, {row.first, second})).Audio(2u << 20);
      EXPECT_EQ(unit.status, beyond ? AVI_END_OF_STREAM : 0);
      EXPECT_EQ(unit.data, beyond ? Bytes() : row.unit);
    }
  }
}

}  // namespace
