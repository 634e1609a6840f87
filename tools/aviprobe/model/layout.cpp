#include "tools/aviprobe/model/layout.h"

#include <algorithm>
#include <limits>

#include "tools/aviprobe/model/measure.h"

namespace {

/// A chunk that plays at a time.
struct SUnitPlace {
  int64_t nOffset = 0, nEnd = 0;
  double dStartMs = 0, dEndMs = 0;
  uint64_t nBytes = 0;
  size_t nSlot = 0;  ///< of its stream in SLayout::streams
};

/// The streams that count, and their units in the order of the file.
class Units {
 public:
  Units(const SFileMap& file, SLayout* layout) {
    std::vector<SCursor> cursors;
    for (const SStreamHeader& header : file.streams) cursors.push_back({StreamClock(header)});
    const auto cursorOf = [&](const SChunk& chunk) -> SCursor* {
      if (!IsUnit(chunk) || static_cast<size_t>(chunk.nStream) >= cursors.size()) return nullptr;
      const SStreamHeader& header = file.streams[static_cast<size_t>(chunk.nStream)];
      return header.IsVideo() || header.IsAudio() ? &cursors[static_cast<size_t>(chunk.nStream)] : nullptr;
    };
    for (const SChunk& chunk : file.chunks) {
      if (SCursor* cursor = cursorOf(chunk)) cursor->bFound = true;
    }
    for (size_t i = 0; i < cursors.size(); ++i) {
      if (!cursors[i].bFound) continue;
      std::vector<int16_t>& streams = cursors[i].clock.Runs() ? layout->streams : layout->timeless;
      cursors[i].nSlot = streams.size();
      streams.push_back(static_cast<int16_t>(i));
    }
    layout->durations.resize(layout->streams.size());
    for (const SChunk& chunk : file.chunks) {
      SCursor* const cursor = cursorOf(chunk);
      if (!cursor || !cursor->clock.Runs()) continue;
      all.push_back(cursor->Next(chunk, static_cast<uint64_t>(file.PresentBytes(chunk))));
      layout->durations[cursor->nSlot] = all.back().dEndMs;
    }
  }

  std::vector<SUnitPlace> all;

 private:
  struct SCursor {
    StreamClock clock;
    bool bFound = false;
    size_t nSlot = 0;
    uint64_t nChunks = 0, nBytes = 0;

    SUnitPlace Next(const SChunk& chunk, uint64_t bytes) {
      SUnitPlace unit{chunk.nOffset, chunk.DataOffset() + static_cast<int64_t>(bytes)};
      unit.dStartMs = clock.Ms(nChunks, nBytes);
      unit.dEndMs = clock.Ms(++nChunks, nBytes += bytes);
      unit.nBytes = bytes;
      unit.nSlot = nSlot;
      return unit;
    }
  };
};

void Raise(SLayoutPeak* peak, double value, double ms, int64_t offset) {
  if (value > peak->dValue) *peak = {value, ms, offset};
}

size_t BucketOf(const SUnitPlace& unit, const SLayout& layout) {
  // The same frame rate written in other numbers shall not move a frame from the edge of a bucket to the one before.
  constexpr double kRounding = 1e-6;
  return static_cast<size_t>((unit.dStartMs + kRounding) / layout.dBucketMs);
}

/// What each bucket has, and up to where the file is needed for it.
void FillBuckets(const std::vector<SUnitPlace>& units, SLayout* layout) {
  for (const SUnitPlace& unit : units) {
    SBucket& bucket = layout->buckets[BucketOf(unit, *layout)];
    SBucketTrack& track = bucket.tracks[unit.nSlot];
    ++track.nChunks;
    track.nBytes += unit.nBytes;
    bucket.nReadTo = std::max(bucket.nReadTo, unit.nEnd);
  }
  int64_t before = std::numeric_limits<int64_t>::max();
  for (const SUnitPlace& unit : units) before = std::min(before, unit.nOffset);
  for (SBucket& bucket : layout->buckets) {
    bucket.nReadTo = std::max(bucket.nReadTo, before);
    bucket.nReadBytes = bucket.nReadTo - before;
    before = bucket.nReadTo;
  }
}

/// Where each stream is at the place up to which each bucket needs the file.
void FillTimes(const std::vector<SUnitPlace>& units, SLayout* layout) {
  std::vector<double> times(layout->streams.size(), 0);
  size_t next = 0;
  for (SBucket& bucket : layout->buckets) {
    for (; next < units.size() && units[next].nEnd <= bucket.nReadTo; ++next) {
      times[units[next].nSlot] = units[next].dEndMs;
    }
    for (size_t slot = 0; slot < times.size(); ++slot) bucket.tracks[slot].dReadMs = times[slot];
  }
}

/// How far apart in the file the chunks are that play at one moment.
void FillApart(std::vector<SUnitPlace> units, SLayout* layout) {
  std::stable_sort(units.begin(), units.end(),
                   [](const SUnitPlace& a, const SUnitPlace& b) { return a.dStartMs < b.dStartMs; });
  std::vector<const SUnitPlace*> playing(layout->streams.size(), nullptr);
  for (size_t i = 0; i < units.size(); ++i) {
    const SUnitPlace& unit = units[i];
    if (unit.nBytes > 0) playing[unit.nSlot] = &unit;
    if (i + 1 < units.size() && units[i + 1].dStartMs <= unit.dStartMs) continue;  // more begin at this moment
    int64_t low = std::numeric_limits<int64_t>::max(), high = 0;
    for (size_t slot = 0; slot < playing.size(); ++slot) {
      if (!playing[slot] || layout->durations[slot] <= unit.dStartMs) continue;
      low = std::min(low, playing[slot]->nOffset);
      high = std::max(high, playing[slot]->nOffset);
    }
    if (low >= high) continue;
    SBucket& bucket = layout->buckets[BucketOf(unit, *layout)];
    bucket.nApart = std::max(bucket.nApart, high - low);
    Raise(&layout->apartBytes, static_cast<double>(high - low), unit.dStartMs, high);
  }
}

/// How far a chunk is ahead of what another stream still waits for at that place of the file.
void FindApartMs(const std::vector<SUnitPlace>& units, SLayout* layout) {
  std::vector<double> times(layout->streams.size(), 0);
  for (const SUnitPlace& unit : units) {
    for (size_t slot = 0; slot < times.size(); ++slot) {
      const bool over = times[slot] >= layout->durations[slot];
      if (slot != unit.nSlot && !over) {
        Raise(&layout->apartMs, unit.dStartMs - times[slot], unit.dStartMs, unit.nOffset);
      }
    }
    times[unit.nSlot] = unit.dEndMs;
  }
}

/// What a player holds while a bucket plays and the next one is being read.
void FillHeld(const std::vector<SUnitPlace>& units, SLayout* layout) {
  std::vector<SBucket>& buckets = layout->buckets;
  std::vector<int64_t> change(buckets.size() + 1, 0);
  for (const SUnitPlace& unit : units) {
    const auto read = std::lower_bound(buckets.begin(), buckets.end(), unit.nEnd,
                                       [](const SBucket& bucket, int64_t end) { return bucket.nReadTo < end; });
    const auto first = static_cast<size_t>(read - buckets.begin());
    change[first ? first - 1 : 0] += static_cast<int64_t>(unit.nBytes);
    change[BucketOf(unit, *layout) + 1] -= static_cast<int64_t>(unit.nBytes);
  }
  int64_t held = 0;
  for (size_t i = 0; i < buckets.size(); ++i) {
    held += change[i];
    buckets[i].nHeldBytes = static_cast<uint64_t>(held);
  }
}

void SumUp(SLayout* layout) {
  layout->nPrerollBytes = layout->buckets.front().nReadBytes;
  for (size_t i = 0; i < layout->buckets.size(); ++i) {
    const SBucket& bucket = layout->buckets[i];
    const double ms = static_cast<double>(i) * layout->dBucketMs;
    if (bucket.nHeldBytes > layout->nBufferBytes) {
      layout->nBufferBytes = bucket.nHeldBytes;
      layout->dBufferMs = ms;
    }
    const double rate = static_cast<double>(bucket.nReadBytes) * 1000 / layout->dBucketMs;
    if (i > 0 && rate > layout->dReadRate) {
      layout->dReadRate = rate;
      layout->dReadRateMs = ms - layout->dBucketMs;
    }
  }
}

}  // namespace

std::optional<SLayout> LayOut(const SFileMap& map, double bucketMs) {
  SLayout layout;
  layout.dBucketMs = bucketMs;
  const Units units(map, &layout);
  if (units.all.empty()) return layout;
  double last = 0;
  for (const SUnitPlace& unit : units.all) last = std::max(last, unit.dStartMs);
  if (last / bucketMs >= static_cast<double>(kMostBuckets) - 1) return std::nullopt;
  SBucket empty;
  empty.tracks.resize(layout.streams.size());
  layout.buckets.resize(BucketOf({.dStartMs = last}, layout) + 1, empty);
  FillBuckets(units.all, &layout);
  FillTimes(units.all, &layout);
  FillApart(units.all, &layout);
  FindApartMs(units.all, &layout);
  FillHeld(units.all, &layout);
  SumUp(&layout);
  return layout;
}
