#ifndef ZU_TOOLS_AVIPROBE_REPORT_CHARTS_H_
#define ZU_TOOLS_AVIPROBE_REPORT_CHARTS_H_

#include <string>

#include "tools/aviprobe/text/json_line.h"

// The pictures of the page, from the series that series.h describes. Each returns "" when there is nothing to draw: the
// page says so in words. `key` is where the script finds the series in the facts: "0/bit_rate".

/// What stands where in the file; `findings` are marked by their offsets.
std::string ByteMapChart(const Json& byteMap, const Json& findings, const std::string& key);
/// What each track delivered when, against what its header declares.
std::string TimeLineChart(const Json& timeLine, const Json& findings, const std::string& key);

enum class EDraw { kLine, kSteps, kStems };

struct SLineChart {
  const char* pTitle;  ///< begins what a screen reader says
  EDraw draw = EDraw::kLine;
  bool bTime = true;  ///< false: along the file's bytes
  double nLeast = 0;  ///< the scale reaches at least so far, so that a trifle does not fill the picture
};
/// @param end  of the horizontal axis, milliseconds or bytes.
std::string LineChart(const Json& series, double end, const SLineChart& chart, const std::string& key);

/// Reads and bytes that each seek cost.
std::string SeekChart(const Json& seeks, double end, const std::string& key);

#endif  // ZU_TOOLS_AVIPROBE_REPORT_CHARTS_H_
