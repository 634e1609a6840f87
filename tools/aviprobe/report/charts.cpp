#include "tools/aviprobe/report/charts.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/aviprobe/report/html.h"
#include "tools/aviprobe/report/plot.h"

namespace {

constexpr double kLane = 24;    // height of a lane with the space to the next one
constexpr double kBar = 14;     // of what stands in it
constexpr size_t kLanes = 12;   // drawn at most; a file may declare any number of tracks
constexpr size_t kMarks = 200;  // findings marked at most
constexpr size_t kStems = 200;  // more of them would be one block

/// The classes that style.css has for tracks; all else is from this tool itself.
std::string Kind(const Json& record) {
  std::string kind = TextOf(record, "kind");
  for (const char* known : {"video", "audio", "text", "header", "index", "junk", "lost"}) {
    if (kind == known) return kind;
  }
  return "other";
}

bool IsRare(const Json& lane) {
  const std::string kind = Kind(lane);
  return kind != "video" && kind != "audio" && kind != "text";
}

size_t LanesOf(const Json& lanes) { return std::min(lanes.size(), kLanes); }

/// Equal values side by side become one box, so that a quiet file's picture is small.
/// @param isRare  of full height: a header of a few bytes in a film is what one looks for.
/// @param right  where the last share ends.
std::string ShareBoxes(const Json& shares, double middle, bool isRare, double right) {
  std::string path;
  const double width = right / static_cast<double>(std::max<size_t>(shares.size(), 1));
  for (size_t at = 0; at < shares.size();) {
    const int64_t share = shares[at].get<int64_t>();
    size_t end = at + 1;
    while (end < shares.size() && shares[end].get<int64_t>() == share) ++end;
    if (share > 0) {
      const double height = isRare ? kBar : std::max(3.0, kBar * static_cast<double>(share) / 100);
      path += fmt::format("M{:.1f} {:.1f}h{:.2f}v{:.1f}h-{:.2f}z", static_cast<double>(at) * width,
                          middle + kBar / 2 - height, std::max(2.5, static_cast<double>(end - at) * width), height,
                          std::max(2.5, static_cast<double>(end - at) * width));
    }
    at = end;
  }
  return path;
}

std::string Marks(const Plot& plot, const Json& findings, const char* where) {
  std::string out;
  size_t marks = 0;
  for (const Json& finding : findings) {
    if (!Has(finding, where) || !finding[where].is_number() || ++marks > kMarks) continue;
    const double at = NumberOf(finding, where);
    if (at < plot.Span().low || at > plot.Span().high) continue;
    const std::string severity = TextOf(finding, "severity");
    out += fmt::format(R"(<path class="flag {}" d="M{:.1f} 0V{}"><title>{}</title></path>)",
                       severity == "error" || severity == "warning" ? severity : "note", plot.X(at), plot.Height(),
                       EscapeHtml(TextOf(finding, "code")));
  }
  return out;
}

std::string Boxes(const Plot& plot, const Json& spans, double middle, double height) {
  std::string path;
  for (const Json& span : spans) {
    const double from = plot.X(span[0].get<double>()), to = plot.X(span[1].get<double>());
    path += fmt::format("M{:.2f} {:.1f}h{:.2f}v{:.1f}h-{:.2f}z", from, middle - height / 2, std::max(to - from, 1.0),
                        height, std::max(to - from, 1.0));
  }
  return path;
}

SRange ValueRange(const Json& lines, double least) {
  double low = 0, high = least;
  for (const Json& line : lines) {
    for (const Json& point : ListOf(line, "points")) {
      low = std::min(low, point[1].get<double>());
      high = std::max(high, point[1].get<double>());
    }
  }
  if (high - low <= 0) high = low + 1;
  const std::vector<double> ticks = Ticks({low, high}, 4);
  const double step = ticks.size() > 1 ? ticks[1] - ticks[0] : high - low;
  // A little below 0 is no reason for a whole step there.
  return {std::floor(low / step * 4) * step / 4, std::ceil(high / step) * step};
}

std::string Path(const Plot& plot, const Json& points, SRange range, EDraw draw) {
  std::string path;
  for (size_t i = 0; i < points.size(); ++i) {
    const double x = plot.X(points[i][0].get<double>()), y = plot.Y(points[i][1].get<double>(), range);
    switch (draw) {
      case EDraw::kLine:
        path += fmt::format("{}{:.1f} {:.1f}", i ? "L" : "M", x, y);
        break;
      case EDraw::kSteps:
        path += i ? fmt::format("H{:.1f}V{:.1f}", x, y) : fmt::format("M{:.1f} {:.1f}", x, y);
        break;
      case EDraw::kStems:
        path += fmt::format("M{:.1f} {:.1f}V{:.1f}", x, plot.Y(std::max(0.0, range.low), range), y);
        break;
    }
  }
  return path;
}

std::string Spoken(const Json& lines, const std::string& unit) {
  std::string text;
  for (const Json& line : lines) {
    const Json& points = ListOf(line, "points");
    if (points.empty()) continue;
    double low = points[0][1].get<double>(), high = low;
    for (const Json& point : points) {
      low = std::min(low, point[1].get<double>());
      high = std::max(high, point[1].get<double>());
    }
    text += fmt::format("; {} {} to {} {}", TextOf(line, "name"), Short(low), Short(high), unit);
  }
  return text;
}

}  // namespace

std::string ByteMapChart(const Json& byteMap, const Json& findings, const std::string& key) {
  const Json& lanes = ListOf(byteMap, "lanes");
  const size_t count = LanesOf(lanes);
  if (count == 0) return {};
  std::string spoken = "What stands where in the file, by position: ";
  for (size_t i = 0; i < count; ++i) {
    spoken += fmt::format("{}{} {}", i ? ", " : "", TextOf(lanes[i], "name"), ByteText(NumberOf(lanes[i], "bytes")));
  }
  const double size = std::max(1.0, NumberOf(byteMap, "size")), missing = NumberOf(byteMap, "missing_bytes");
  if (missing > 0) spoken += fmt::format(", missing behind the end {}", ByteText(missing));
  // What is missing takes at most as much room as what is there: a broken size may announce anything.
  const double end = size + std::min(missing, size);
  Plot plot(spoken, key, EAxis::kBytes, {0, end}, static_cast<double>(count + (missing > 0)) * kLane);
  plot.Inside(Marks(plot, findings, "offset"));
  for (size_t i = 0; i < count; ++i) {
    const double middle = (static_cast<double>(i) + .5) * kLane;
    plot.LaneName(middle, TextOf(lanes[i], "name"));
    plot.LineName(middle, ByteText(NumberOf(lanes[i], "bytes")), "quiet");
    plot.Inside(fmt::format(R"(<path class="fill {}" d="{}"/>)", Kind(lanes[i]),
                            ShareBoxes(ListOf(lanes[i], "shares"), middle, IsRare(lanes[i]), plot.X(size))));
  }
  if (missing > 0) {
    const double middle = (static_cast<double>(count) + .5) * kLane;
    plot.LaneName(middle, "missing");
    plot.LineName(middle, ByteText(missing), "damage");
    plot.Inside(fmt::format(R"(<path class="gap" d="{}"/>)",
                            Boxes(plot, Json::array({Json::array({size, end})}), middle, kBar)));
  }
  return plot.Svg();
}

/// "no gaps", "2 gaps, no end": what was not delivered at the end is no gap.
std::string GapsText(const Json& lane) {
  const Json& gaps = ListOf(lane, "gaps");
  const Json& delivered = ListOf(lane, "delivered");
  const bool noEnd = !gaps.empty() && (delivered.empty() || gaps.back()[0] >= delivered.back()[1]);
  const size_t count = gaps.size() - (noEnd ? 1 : 0);
  if (count == 0) return noEnd ? "no end" : "no gaps";
  return fmt::format("{} gap{}{}", count, count == 1 ? "" : "s", noEnd ? ", no end" : "");
}

std::string TimeLineChart(const Json& timeLine, const Json& findings, const std::string& key) {
  const Json& lanes = ListOf(timeLine, "lanes");
  const size_t count = LanesOf(lanes);
  const double end = NumberOf(timeLine, "end_ms");
  if (count == 0 || end <= 0) return {};
  std::string spoken = "What was delivered when: ";
  for (size_t i = 0; i < count; ++i) {
    spoken += fmt::format("{}{} with {}", i ? ", " : "", TextOf(lanes[i], "name"), GapsText(lanes[i]));
  }
  Plot plot(spoken, key, EAxis::kTime, {0, end}, static_cast<double>(count) * kLane);
  plot.Inside(Marks(plot, findings, "time_ms"));
  for (size_t i = 0; i < count; ++i) {
    const Json& lane = lanes[i];
    const double middle = (static_cast<double>(i) + .5) * kLane;
    plot.LaneName(middle, TextOf(lane, "name"));
    const double declared = NumberOf(lane, "declared_ms");
    if (declared > 0)
      plot.Inside(fmt::format(R"(<path class="extent" d="M0 {0}H{1:.1f}"/>)", middle, plot.X(declared)));
    plot.Inside(fmt::format(R"(<path class="fill {}" d="{}"/>)", Kind(lane),
                            Boxes(plot, ListOf(lane, "delivered"), middle, kBar)));
    plot.Inside(fmt::format(R"(<path class="gap" d="{}"/>)", Boxes(plot, ListOf(lane, "gaps"), middle, kBar)));
    plot.LineName(middle, GapsText(lane), ListOf(lane, "gaps").empty() ? "quiet" : "damage");
  }
  return plot.Svg();
}

std::string LineChart(const Json& series, double end, const SLineChart& chart, const std::string& key) {
  const Json& lines = ListOf(series, "lines");
  const size_t count = LanesOf(lines);
  size_t points = 0;
  for (const Json& line : lines) points += ListOf(line, "points").size();
  if (points == 0 || end <= 0) return {};
  const std::string unit = TextOf(series, "unit");
  const SRange range = ValueRange(lines, chart.nLeast);
  Plot plot(chart.pTitle + Spoken(lines, unit), key, chart.bTime ? EAxis::kTime : EAxis::kBytes, {0, end}, 150);
  plot.ValueAxis(range, unit);
  const EDraw draw = chart.draw == EDraw::kStems && points > kStems ? EDraw::kSteps : chart.draw;
  for (size_t i = 0; i < count; ++i) {
    const Json& linePoints = ListOf(lines[i], "points");
    if (linePoints.empty()) continue;
    plot.Inside(fmt::format(R"(<path class="line {}{}" d="{}"/>)", draw == EDraw::kStems ? "thick " : "",
                            Kind(lines[i]), Path(plot, linePoints, range, draw)));
    // One row of stems is what the heading says already.
    if (chart.draw == EDraw::kStems && count == 1) continue;
    plot.LineName(plot.Y(linePoints.back()[1].get<double>(), range), TextOf(lines[i], "name"), Kind(lines[i]));
  }
  return plot.Svg();
}

std::string SeekChart(const Json& seeks, double end, const std::string& key) {
  const Json& lines = ListOf(seeks, "lines");
  if (lines.empty() || ListOf(lines[0], "points").empty()) return {};
  const SRange range = ValueRange(Json::array({lines[0]}), 0);
  Plot plot("Bytes read for each seek" + Spoken(lines, ""), key, EAxis::kTime, {0, end}, 150);
  plot.ValueAxis(range, TextOf(seeks, "unit"));
  plot.Inside(
      fmt::format(R"(<path class="line thick video" d="{}"/>)", Path(plot, lines[0]["points"], range, EDraw::kStems)));
  return plot.Svg();
}
