#ifndef ZU_TOOLS_AVIPROBE_MODEL_LAYOUT_H_
#define ZU_TOOLS_AVIPROBE_MODEL_LAYOUT_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/aviprobe/model/file_map.h"

// How the streams of a file lie beside each other, and what a player needs that reads it straight through. Only video
// and sound count: subtitles carry times of their own. Works on the chunks' positions and the streams' clocks alone.

/// One stream during one bucket of the movie's time.
struct SBucketTrack {
  uint64_t nChunks = 0;  ///< that begin to play in it
  uint64_t nBytes = 0;   ///< of them
  /// Where the stream is, in milliseconds, when the file has been read up to SBucket::nReadTo.
  double dReadMs = 0;
};

/// A stretch of the movie's time.
struct SBucket {
  int64_t nReadTo = 0;      ///< offset in the file up to which one has to have read to play the bucket to its end
  int64_t nReadBytes = 0;   ///< of the file to be read beyond what the buckets before it needed
  int64_t nApart = 0;       ///< greatest distance in bytes of what plays at one moment of it
  uint64_t nHeldBytes = 0;  ///< see SLayout::nBufferBytes; of this bucket
  std::vector<SBucketTrack> tracks;  ///< as SLayout::streams
};

/// The place where something is at its greatest.
struct SLayoutPeak {
  double dValue = 0;    ///< bytes or milliseconds
  double dMs = 0;       ///< of the movie
  int64_t nOffset = 0;  ///< in the file, of the later one of two chunks
};

struct SLayout {
  double dBucketMs = 0;
  std::vector<int16_t> streams;   ///< those looked at
  std::vector<int16_t> timeless;  ///< video and sound whose header tells no time
  std::vector<double> durations;  ///< of the streams looked at, in milliseconds
  std::vector<SBucket> buckets;
  SLayoutPeak apartBytes;  ///< of the chunks that play at one moment
  SLayoutPeak apartMs;     ///< of the streams' times at one place of the file

  // A player that reads straight through never waits when it has read the first bucket before it starts, reads each
  // bucket while the one before it plays, and drops what it has played.
  int64_t nPrerollBytes = 0;  ///< to read before it starts, from the first chunk on
  double dReadRate = 0;       ///< bytes per second that it reads at the most
  double dReadRateMs = 0;     ///< when that is
  uint64_t nBufferBytes = 0;  ///< of data that it holds at the most
  double dBufferMs = 0;       ///< when that is
};

constexpr size_t kMostBuckets = 1000000;

/// @param bucketMs  length of a bucket, above 0. @return none when the movie has more than kMostBuckets of them.
std::optional<SLayout> LayOut(const SFileMap& map, double bucketMs);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_LAYOUT_H_
