#include "tools/aviprobe/report/plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/aviprobe/report/html.h"

namespace {

std::vector<double> Multiples(SRange range, double step) {
  std::vector<double> out;
  for (double i = std::ceil(range.low / step - 1e-9); i * step <= range.high + step * 1e-6 && out.size() < 50; ++i) {
    out.push_back(i * step);
  }
  return out;
}

double Step(double width, int count) {
  const double raw = std::max(width, 1e-9) / count;
  const double power = std::pow(10, std::floor(std::log10(raw)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (raw <= factor * power * 1.001) return factor * power;
  }
  return 10 * power;
}

double TimeStep(double width, int count) {
  for (const double seconds : {.01, .02, .05,  .1,   .2,   .5,   1.,    2.,    5.,    10.,    15.,
                               30., 60., 120., 300., 600., 900., 1800., 3600., 7200., 18000., 36000.}) {
    if (width / (seconds * 1000) <= count) return seconds * 1000;
  }
  return Step(width, count);
}

}  // namespace

std::vector<double> Ticks(SRange range, int count) { return Multiples(range, Step(range.high - range.low, count)); }

std::vector<double> TimeTicks(SRange range, int count) {
  return Multiples(range, TimeStep(range.high - range.low, count));
}

std::string TickClock(double ms, double step) {
  const int64_t all = std::llround(ms);
  const int64_t hours = all / 3600000, minutes = all / 60000 % 60, seconds = all / 1000 % 60;
  std::string text =
      hours ? fmt::format("{}:{:02}:{:02}", hours, minutes, seconds) : fmt::format("{}:{:02}", minutes, seconds);
  if (step < 100) return text + fmt::format(".{:02}", all % 1000 / 10);
  return step < 1000 ? text + fmt::format(".{}", all % 1000 / 100) : text;
}

double Plot::X(double value) const {
  const double width = m_X.high - m_X.low;
  return width > 0 ? std::clamp((value - m_X.low) / width, 0.0, 1.0) * kPlotUnits : 0;
}

double Plot::Y(double value, SRange range) const {
  const double height = range.high - range.low;
  return height > 0 ? (1 - std::clamp((value - range.low) / height, 0.0, 1.0)) * m_nHeight : m_nHeight;
}

void Plot::ValueAxis(SRange range, const std::string& unit) {
  const std::vector<double> ticks = Ticks(range, 4);
  for (const double tick : ticks) {
    const std::string text = tick == ticks.back() ? Short(tick) + " " + EscapeHtml(unit) : Short(tick);
    const double y = kPlotTop + Y(tick, range);
    if (tick > range.low)
      m_sBehind +=
          fmt::format(R"(<line class="{}" x2="100%" y1="{:.1f}" y2="{:.1f}"/>)", tick == 0 ? "zero" : "grid", y, y);
    m_sOutside += fmt::format(R"(<text class="tick end" x="-8" y="{:.1f}">{}</text>)", y + 4, text);
  }
}

void Plot::LaneName(double middle, const std::string& name) {
  m_sOutside +=
      fmt::format(R"(<text class="lane end" x="-8" y="{:.1f}">{}</text>)", kPlotTop + middle + 4, EscapeHtml(name));
}

void Plot::LineName(double y, const std::string& name, const std::string& style) {
  m_aNames.push_back({y, name, style});
}

std::string Plot::Names() const {
  std::vector<SName> names = m_aNames;
  std::stable_sort(names.begin(), names.end(), [](const SName& a, const SName& b) { return a.y < b.y; });
  std::string out;
  double next = 0;
  for (const SName& name : names) {
    const double y = std::max(name.y, next);
    next = y + 15;
    out += fmt::format(R"(<text class="name {}" x="100%" dx="8" y="{:.1f}">{}</text>)", name.sStyle, kPlotTop + y + 4,
                       EscapeHtml(name.sName));
  }
  return out;
}

std::string Plot::PositionAxis() const {
  std::string out;
  const double bottom = kPlotTop + m_nHeight;
  const std::vector<double> ticks = m_Axis == EAxis::kTime ? TimeTicks(m_X, 8) : Ticks(m_X, 8);
  const double step = ticks.size() > 1 ? ticks[1] - ticks[0] : m_X.high - m_X.low;
  // On a narrow page only every so many of the values have room.
  const size_t stride = (ticks.size() + 3) / 4;
  for (size_t i = 0; i < ticks.size(); ++i) {
    const double tick = ticks[i], x = X(tick) / kPlotUnits * 100;
    const std::string text = m_Axis == EAxis::kTime ? TickClock(tick, step) : tick == 0 ? "0" : ByteText(tick);
    out += fmt::format(
        R"(<line class="mark" x1="{0:.2f}%" x2="{0:.2f}%" y1="{1}" y2="{2}"/><text class="tick mid{3}" x="{0:.2f}%" y="{4}">{5}</text>)",
        x, bottom, bottom + 4, i % stride ? " minor" : "", bottom + 18, text);
  }
  return out;
}

std::string Plot::Svg() const {
  return fmt::format(
      R"(<svg role="img" aria-label="{0}" class="picture" height="{1}" data-axis="{2}" data-series="{3}" )"
      R"(data-low="{4:.0f}" data-high="{5:.0f}">{6}<line class="base" x2="100%" y1="{7}" y2="{7}"/><g class="axis">{8}</g>{9})"
      R"(<svg class="plot" y="{10}" width="100%" height="{11}" viewBox="0 0 {12} {11}" preserveAspectRatio="none">{13}</svg>{14}</svg>)",
      EscapeHtml(m_sLabel), kPlotTop + m_nHeight + 26, m_Axis == EAxis::kTime ? "time" : "bytes", m_sSeries, m_X.low,
      m_X.high, m_sBehind, kPlotTop + m_nHeight, PositionAxis(), m_sOutside, kPlotTop, m_nHeight, kPlotUnits, m_sInside,
      Names());
}
