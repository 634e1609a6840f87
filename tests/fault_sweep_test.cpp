#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/host.h"
#include "tests/support/log_capture.h"

// Every sample, with each of its reads in turn failing in each way. A media process has to survive all of them, and
// what it is given afterwards has to be what is in the file.

namespace {

using Track = std::vector<Bytes>;

std::vector<std::filesystem::path> Samples() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(ZU_SAMPLES_DIR)) {
    if (entry.path().extension() == ".avi") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// Pulls one kind until it ends, going on after errors as a patient host does: a few times.
Track Play(IParser* parser, uint32_t kind) {
  constexpr int kPatience = 3;
  Track units;
  int misses = 0;
  for (int calls = 0; calls < 4000 && misses < kPatience; ++calls) {
    Unit unit = Pull(parser, kind);
    if (unit.status == AVI_END_OF_STREAM) break;
    if (unit.status != 0 || unit.data.empty()) {
      ++misses;
    } else {
      misses = 0;
      units.push_back(std::move(unit.data));
    }
  }
  EXPECT_LT(units.size(), 4000u);
  return units;
}

struct Outcome {
  int open;
  Track video, audio;
  size_t reads;
};

Outcome PlayFile(const AviFile& file, const Fault& fault = kNoFault) {
  Host host(file, {.open = {}, .fault = fault});
  Outcome outcome{host.opened, Play(host.parser, AVI_TRACK_VIDEO), Play(host.parser, AVI_TRACK_AUDIO), 0};
  outcome.reads = host.faulty.Reads();
  return outcome;
}

class FaultSweep : public testing::TestWithParam<std::filesystem::path> {
 protected:
  FaultSweep()
      : m_file(LoadSample(GetParam())),
        m_openReads(Host(m_file).source.reads.size()),
        m_whole(PlayFile(m_file)),
        m_reads(m_whole.reads) {
    EXPECT_GT(m_whole.video.size() + m_whole.audio.size(), 25u);
    EXPECT_GT(m_reads, m_openReads + 25);
  }
  bool Indexed() const { return GetParam().stem() != "no-index"; }
  Outcome PlayWith(const Fault& fault) const {
    Outcome outcome = PlayFile(m_file, fault);
    // The most that a fault may cost: reads are repeated, never without end.
    EXPECT_LT(outcome.reads, 40 * m_reads + 20000) << fault.first;
    return outcome;
  }

  LogCapture m_silence{"0"};
  AviFile m_file;
  size_t m_openReads;
  Outcome m_whole;
  size_t m_reads;
};

/// Every unit of `got` is one of `whole`, in their order: some may be missing, none is made up, changed or repeated.
void ExpectPartOf(const Track& got, const Track& whole, const std::string& what) {
  auto at = whole.begin();
  for (const Bytes& unit : got) {
    at = std::find(at, whole.end(), unit);
    ASSERT_NE(at, whole.end()) << what << ": a unit of " << unit.size() << " bytes that is not in the file";
    ++at;
  }
}

TEST_P(FaultSweep, AReadThatWouldBlockOnceCostsNothing) {
  if (!Indexed()) GTEST_SKIP() << "a scan takes the status for a position, and ends";
  for (size_t n = m_openReads; n < m_reads; ++n) {
    const Outcome outcome = PlayWith(OnRead(n, {.status = AVI_SOURCE_WOULD_BLOCK}));
    ASSERT_EQ(outcome.video, m_whole.video) << n;
    ASSERT_EQ(outcome.audio, m_whole.audio) << n;
  }
}

TEST_P(FaultSweep, AFailedReadMakesUpNoBytes) {
  for (const int status : {AVI_IO_ERROR, AVI_END_OF_STREAM, -5}) {
    for (size_t n = 0; n < m_reads; ++n) {
      const Outcome outcome = PlayWith(OnRead(n, {.status = status}));
      const std::string what = std::to_string(status) + " at read " + std::to_string(n);
      if (outcome.open != 0) {
        ASSERT_EQ(outcome.video, Track()) << what;
        ASSERT_EQ(outcome.audio, Track()) << what;
      }
      if (n < m_openReads) continue;  // the file may open as another one: without its index, or with fewer streams
      ExpectPartOf(outcome.video, m_whole.video, what);
      ExpectPartOf(outcome.audio, m_whole.audio, what);
    }
  }
}

TEST_P(FaultSweep, ASourceThatStopsForGoodEndsEverything) {
  for (const int status : {AVI_IO_ERROR, AVI_SOURCE_WOULD_BLOCK, AVI_END_OF_STREAM}) {
    for (size_t n = 0; n < m_reads; ++n) PlayWith({.first = n, .status = status});
  }
}

TEST_P(FaultSweep, ShortReadsAndFalseCountsAreSurvived) {
  for (size_t n = 0; n < m_reads; ++n) {
    PlayWith(OnRead(n, {.most = 1}));
    PlayWith(OnRead(n, {.divide = 2}));
    PlayWith(OnRead(n, {.claim = 1000}));
  }
  PlayWith({.most = 1});
  PlayWith({.divide = 2});
}

INSTANTIATE_TEST_SUITE_P(Samples, FaultSweep, testing::ValuesIn(Samples()), [](const auto& sample) {
  std::string name = sample.param.stem().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
  return name;
});

}  // namespace
