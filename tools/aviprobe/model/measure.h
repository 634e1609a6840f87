#ifndef ZU_TOOLS_AVIPROBE_MODEL_MEASURE_H_
#define ZU_TOOLS_AVIPROBE_MODEL_MEASURE_H_

#include <cstdint>
#include <optional>
#include <span>

#include "tools/aviprobe/model/file_map.h"

// What a walk over the chunks tells of a stream without playing it, to set beside what its header declares.

/// Turns chunks and bytes of a stream into the movie's time, as its header counts: a frame of video, or a chunk of
/// sound whose sample size is 0, lasts scale/rate seconds; other sound goes by its bytes.
class StreamClock {
 public:
  explicit StreamClock(const SStreamHeader& header);

  /// Whether the header tells any time at all.
  bool Runs() const { return m_dMsPerChunk > 0 || m_dMsPerByte > 0; }
  /// Milliseconds from the start of the stream to what follows that much data; 0 when the clock does not run.
  double Ms(uint64_t chunks, uint64_t bytes) const {
    return m_dMsPerChunk * static_cast<double>(chunks) + m_dMsPerByte * static_cast<double>(bytes);
  }

 private:
  double m_dMsPerChunk = 0, m_dMsPerByte = 0;  // one of them at most
};

/// Whether a chunk is a unit of its stream: a data chunk, and not one that changes the palette between two frames.
bool IsUnit(const SChunk& chunk);

/// The chunks of one stream.
struct SStreamMeasure {
  uint64_t nChunks = 0;
  uint64_t nEmpty = 0;        ///< of them without bytes
  uint64_t nBytes = 0;        ///< that are in the file
  std::optional<double> dMs;  ///< milliseconds that they last; none when the stream's clock does not run

  /// Bits per second; none when they last no time.
  std::optional<double> BitRate() const;
};
/// @return one for each of the map's streams.
std::vector<SStreamMeasure> MeasureStreams(const SFileMap& map);

/// The distances between the key frames of a stream, by an index.
struct SKeyFrames {
  uint64_t nEntries = 0;  ///< of the stream, palette changes aside
  uint64_t nKeys = 0;
  // From one key frame to the next, in frames; 0 with less than two of them.
  uint64_t nShortest = 0, nLongest = 0;
  double dAverage = 0;
};
SKeyFrames MeasureKeyFrames(std::span<const SIndexRef> entries, int16_t stream);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_MEASURE_H_
