#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/host.h"
#include "tests/support/log_capture.h"

// Every sample, with each of its reads in turn failing in each way. A media process has to survive all of them, and
// what it is given then is compared, unit by unit and to the last status, with what the undisturbed file gives.

namespace {

constexpr int kPatience = 3;  // calls in a row that give nothing

struct Track {
  Units units;                // those with bytes
  std::vector<int> failures;  // other statuses than 0 and the end
  int last = 0;               // status of the last call
  bool operator==(const Track&) const = default;
};

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
  Track track;
  for (int misses = 0; misses < kPatience && track.units.size() < 4000;) {
    Unit unit = Pull(parser, kind);
    track.last = unit.status;
    if (unit.status == AVI_END_OF_STREAM) break;
    if (unit.status != 0) track.failures.push_back(unit.status);
    misses = unit.data.empty() ? misses + 1 : 0;
    if (!unit.data.empty()) track.units.push_back(std::move(unit));
  }
  EXPECT_LT(track.units.size(), 4000u);
  return track;
}

std::vector<Bytes> Data(const Units& units) {
  std::vector<Bytes> data;
  for (const Unit& unit : units) data.push_back(unit.data);
  return data;
}
bool BeginsAs(const Bytes& part, const Bytes& whole) { return part == Head(whole, part.size()); }
bool BeginsAs(const Units& part, const Units& whole) {
  return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}
/// The same number of units, one of which is shorter.
bool IsOneCutShort(const Units& cut, const Units& whole) {
  if (cut.size() != whole.size()) return false;
  const auto at = std::mismatch(cut.begin(), cut.end(), whole.begin());
  return at.first != cut.end() && BeginsAs(at.first->data, at.second->data) &&
         std::equal(at.first + 1, cut.end(), at.second + 1);
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
    EXPECT_GT(m_whole.video.units.size() + m_whole.audio.units.size(), 25u);
    EXPECT_GT(m_reads, m_openReads + 25);
    EXPECT_EQ(m_whole.video.failures, std::vector<int>());
    EXPECT_EQ(m_whole.audio.failures, std::vector<int>());
    EXPECT_TRUE(m_whole.video.last == AVI_END_OF_STREAM || m_whole.audio.last == AVI_END_OF_STREAM);
  }
  bool Indexed() const { return GetParam().stem() != "no-index"; }
  Outcome PlayWith(const Fault& fault) const {
    Outcome outcome = PlayFile(m_file, fault);
    // The most that a fault may cost: reads are repeated, never without end.
    EXPECT_LT(outcome.reads, 40 * m_reads + 20000) << fault.first;
    if (outcome.open != 0) {
      EXPECT_EQ(outcome.video, Track()) << fault.first;
      EXPECT_EQ(outcome.audio, Track()) << fault.first;
    }
    return outcome;
  }

  LogCapture m_silence{"0"};
  AviFile m_file;
  size_t m_openReads;
  Outcome m_whole;
  size_t m_reads;
};

// With an index nothing is lost: every unit comes, in its place, at its time. Without one a scan takes the status of a
// search for the position of the next chunk: what came until then is as it was, and the track ends.
TEST_P(FaultSweep, AReadThatFailsOnceIsToldOnceAndRepeated) {
  for (const int status : {AVI_SOURCE_WOULD_BLOCK, AVI_IO_ERROR, AVI_END_OF_STREAM, -5}) {
    for (size_t n = m_openReads; n < m_reads; ++n) {
      SCOPED_TRACE(testing::Message() << status << " at read " << n);
      const Outcome outcome = PlayWith(OnRead(n, {.status = status}));
      const auto expectTheSame = [&](const Track& track, const Track& whole, bool times) {
        EXPECT_EQ(track.last, whole.last);
        if (!Indexed() && track.failures.empty()) {
          EXPECT_TRUE(BeginsAs(track.units, whole.units));
        } else if (times) {
          EXPECT_EQ(track.units, whole.units);
        } else {
          EXPECT_EQ(Data(track.units), Data(whole.units));
        }
      };
      expectTheSame(outcome.video, m_whole.video, true);
      // The bit rate that an E-AC-3 frame told serves the next read, be it a failing one: a time by the format follows.
      expectTheSame(outcome.audio, m_whole.audio, GetParam().stem() != "eac3");
      EXPECT_TRUE(outcome.video.units == m_whole.video.units || outcome.audio == m_whole.audio) << "both differ";

      std::vector<int> failures = outcome.video.failures;
      failures.insert(failures.end(), outcome.audio.failures.begin(), outcome.audio.failures.end());
      const bool searching = !Indexed() && failures.empty();
      EXPECT_EQ(failures,
                status == AVI_SOURCE_WOULD_BLOCK || searching ? std::vector<int>() : std::vector{AVI_IO_ERROR});
      if (HasFailure()) return;
    }
  }
}

// What came until then is as it was. A track that is not at its end answers with the failure from then on, or with
// nothing while the source blocks; without an index it may be over.
TEST_P(FaultSweep, ASourceThatStopsForGoodCutsTheTracksAndChangesNothing) {
  for (const int status : {AVI_IO_ERROR, AVI_SOURCE_WOULD_BLOCK, AVI_END_OF_STREAM}) {
    const bool blocks = status == AVI_SOURCE_WOULD_BLOCK;
    for (size_t n = 0; n < m_reads; ++n) {
      SCOPED_TRACE(testing::Message() << status << " from read " << n);
      const Outcome outcome = PlayWith({.first = n, .status = status});
      if (n < m_openReads) continue;  // the file may open as another one: without its index, or with fewer streams
      const auto expectCut = [&](const Track& track, const Track& whole) {
        if (track == whole) return;
        EXPECT_TRUE(BeginsAs(track.units, whole.units));
        const bool over = !Indexed() && track.last == AVI_END_OF_STREAM;
        EXPECT_EQ(track.last, over ? AVI_END_OF_STREAM : blocks ? 0 : AVI_IO_ERROR);
        EXPECT_EQ(track.failures, over || blocks ? std::vector<int>() : std::vector<int>(kPatience, AVI_IO_ERROR));
        EXPECT_TRUE(!Indexed() || track.units.size() < whole.units.size());
      };
      expectCut(outcome.video, m_whole.video);
      expectCut(outcome.audio, m_whole.audio);
      EXPECT_TRUE(!Indexed() || outcome.video != m_whole.video || outcome.audio != m_whole.audio);
      if (HasFailure()) return;
    }
  }
}

TEST_P(FaultSweep, AFalseCountChangesNothing) {
  for (size_t n = 0; n < m_reads; ++n) {
    const Outcome outcome = PlayWith(OnRead(n, {.claim = 1000}));
    ASSERT_EQ(outcome.video, m_whole.video) << n;
    ASSERT_EQ(outcome.audio, m_whole.audio) << n;
  }
}

// A short read is taken for the whole chunk: one track has less, to its usual end, and nobody is told.
TEST_P(FaultSweep, AShortReadCostsOneChunkOfOneTrackAtMost) {
  for (const Fault& fault : {Fault{.most = 1}, Fault{.divide = 2}}) {
    for (size_t n = 0; n < m_reads; ++n) {
      SCOPED_TRACE(testing::Message() << fault.most << ", " << fault.divide << " at read " << n);
      const Outcome outcome = PlayWith(OnRead(n, fault));
      // The first ten reads of MPEG-2 decide whether pictures are joined.
      if (n < m_openReads + (GetParam().stem() == "mpeg2-mp2" ? 10 : 0)) continue;
      for (const auto track : {&Outcome::video, &Outcome::audio}) {
        EXPECT_EQ((outcome.*track).last, (m_whole.*track).last);
        EXPECT_EQ((outcome.*track).failures, std::vector<int>());
      }
      EXPECT_TRUE(outcome.video == m_whole.video || outcome.audio == m_whole.audio) << "both differ";
      if (outcome.video != m_whole.video) {
        EXPECT_TRUE(IsOneCutShort(outcome.video.units, m_whole.video.units) ||
                    (!Indexed() && BeginsAs(outcome.video.units, m_whole.video.units)));
      }
      EXPECT_LE(outcome.audio.units.size(), m_whole.audio.units.size());
      if (HasFailure()) return;
    }
    PlayWith(fault);
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, FaultSweep, testing::ValuesIn(Samples()), [](const auto& sample) {
  std::string name = sample.param.stem().string();
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
  return name;
});

}  // namespace
