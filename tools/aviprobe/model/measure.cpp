#include "tools/aviprobe/model/measure.h"

#include <algorithm>

namespace {

bool IsPalette(FourCC id) { return id.Text().substr(2) == "pc"; }

}  // namespace

StreamClock::StreamClock(const SStreamHeader& header) {
  const bool timed = header.nScale > 0 && header.nRate > 0;
  const double msPerSample = timed ? 1000.0 * header.nScale / header.nRate : 0;
  if (!header.IsAudio() || (timed && header.nSampleSize == 0)) {
    m_dMsPerChunk = msPerSample;
  } else if (timed) {
    m_dMsPerByte = msPerSample / header.nSampleSize;
  } else if (header.AvgBytesPerSec() > 0) {
    m_dMsPerByte = 1000.0 / header.AvgBytesPerSec();
  }
}

bool IsUnit(const SChunk& chunk) { return chunk.bData && chunk.nStream >= 0 && !IsPalette(chunk.id); }

std::optional<double> SStreamMeasure::BitRate() const {
  if (!dMs || *dMs <= 0) return std::nullopt;
  return static_cast<double>(nBytes) * 8000 / *dMs;
}

std::vector<SStreamMeasure> MeasureStreams(const SFileMap& map) {
  std::vector<SStreamMeasure> streams(map.streams.size());
  for (const SChunk& chunk : std::span(map.chunks).first(map.OwnChunks())) {
    if (!IsUnit(chunk) || static_cast<size_t>(chunk.nStream) >= streams.size()) continue;
    SStreamMeasure& stream = streams[static_cast<size_t>(chunk.nStream)];
    ++stream.nChunks;
    if (chunk.nSize == 0) ++stream.nEmpty;
    stream.nBytes += static_cast<uint64_t>(map.PresentBytes(chunk));
  }
  for (size_t i = 0; i < streams.size(); ++i) {
    const StreamClock clock(map.streams[i]);
    if (clock.Runs()) streams[i].dMs = clock.Ms(streams[i].nChunks, streams[i].nBytes);
  }
  return streams;
}

SKeyFrames MeasureKeyFrames(std::span<const SIndexRef> entries, int16_t stream) {
  SKeyFrames keys;
  uint64_t last = 0, first = 0;
  for (const SIndexRef& entry : entries) {
    if (entry.nStream != stream || IsPalette(entry.id)) continue;
    const uint64_t frame = keys.nEntries++;
    if (!entry.bKey) continue;
    if (keys.nKeys++ == 0) {
      first = frame;
    } else {
      const uint64_t distance = frame - last;
      keys.nShortest = keys.nKeys == 2 ? distance : std::min(keys.nShortest, distance);
      keys.nLongest = std::max(keys.nLongest, distance);
    }
    last = frame;
  }
  if (keys.nKeys > 1) keys.dAverage = static_cast<double>(last - first) / static_cast<double>(keys.nKeys - 1);
  return keys;
}
