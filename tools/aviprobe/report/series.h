#ifndef ZU_TOOLS_AVIPROBE_REPORT_SERIES_H_
#define ZU_TOOLS_AVIPROBE_REPORT_SERIES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/track_facts.h"
#include "tools/aviprobe/text/json_line.h"

// What the page draws, as JSON that is bounded whatever the file's length: at most kSeriesPoints points a line and
// kSeriesTracks tracks. A line series is {"unit", "lines": [{"name", "kind", "points": [[x, y], ...]}]}, its x
// milliseconds, of "interleave" the position in the file; points are in the order of x.

constexpr size_t kSeriesPoints = 1000;
constexpr size_t kSeriesTracks = 8;

struct SPoint {
  double x = 0, y = 0;
};

/// Thins points out: of each part of the axis the lowest and the highest stay, so that no peak is lost.
std::vector<SPoint> Thinned(std::vector<SPoint> points);

/// {"size", "missing_bytes": behind the end, "lanes": [{"name", "kind", "bytes", "shares": percent of the bytes in each
/// of equal parts of the file}]}.
Json ByteMapSeries(const SFileMap& map);

/// The series by name that a playback gives: time_line, bit_rate, drift, interleave, key_intervals.
void AddPlaybackSeries(const FileFacts& file, Json* series);

/// "video 0".
std::string TrackLabel(const STrackFacts& track);
const char* TrackKind(const SStreamHeader& header);

#endif  // ZU_TOOLS_AVIPROBE_REPORT_SERIES_H_
