#include <fmt/format.h>

#include "tools/aviprobe/host/host.h"
#include "tools/aviprobe/model/findings.h"

// The chunks of one stream by themselves.

namespace {

// A few empty chunks are usual: a capture repeats a picture so, and writers of sound fill up a start that is late.
constexpr uint64_t kEmptyShare = 20;  // 1/20
constexpr uint64_t kEmptyAtLeast = 10;

void CheckEmpty(const STrackFacts& track, Findings* findings) {
  if (track.nEmpty < kEmptyAtLeast || track.nEmpty < track.chunks.size() / kEmptyShare) return;
  STally empty;
  for (const uint32_t number : track.chunks) {
    const SChunk& chunk = findings->Map().chunks[number];
    if (chunk.nSize == 0) empty.Hit(chunk.nOffset);
  }
  findings->Add("empty-chunks", empty, track.nTrack,
                fmt::format("{} of {} have no bytes: the {} {}", empty.nCount, CountText(track.chunks.size(), "chunk"),
                            TrackText(track), track.pHeader->IsAudio() ? "has holes" : "stands still there"),
                "aviprobe packets FILE lists what is left of it");
}

void CheckSizes(const STrackFacts& track, Findings* findings) {
  const uint32_t suggested = track.pHeader->nSuggestedBufferSize;
  STally large, small;
  uint32_t largest = 0;
  for (const uint32_t number : track.chunks) {
    const SChunk& chunk = findings->Map().chunks[number];
    // What runs past the end of the file is not that large, but damaged.
    if (chunk.End() > findings->Map().nSize) continue;
    if (chunk.nSize > kUsualBuffer) {
      large.Hit(chunk.nOffset);
    } else if (suggested > 0 && chunk.nSize > suggested) {
      small.Hit(chunk.nOffset);
    } else {
      continue;
    }
    largest = std::max(largest, chunk.nSize);
  }
  findings->Add(
      "chunk-over-buffer", large, track.nTrack,
      fmt::format("the largest has {} bytes: a player with a buffer of {} ends the {} at {}", largest, kUsualBuffer,
                  TrackText(track), large.nCount ? ClockText(findings->Facts().MsAt(large.nFirst).value_or(0)) : ""),
      "give the player a larger buffer, or encode with smaller frames");
  findings->Add("buffer-size-small", small, track.nTrack,
                fmt::format("the largest has {} bytes, the header suggests a buffer of {}: a player that believes it "
                            "stops there",
                            largest, suggested),
                kAdviceRemux);
}

}  // namespace

void CheckStreams(Findings* findings) {
  for (const STrackFacts& track : findings->Facts().Tracks()) {
    CheckEmpty(track, findings);
    CheckSizes(track, findings);
  }
}
