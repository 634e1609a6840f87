#include "tools/aviprobe/report/plot.h"

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
    m_sBehind +=
        fmt::format(R"(<path class="{}" d="M{} {:.1f}H{}"/>)", tick == 0 ? "zero" : "grid", kPlotLeft, y, kPlotRight);
    m_sOutside += fmt::format(R"(<text class="tick end" x="{}" y="{:.1f}">{}</text>)", kPlotLeft - 8, y + 4, text);
  }
}

void Plot::LaneName(double middle, const std::string& name) {
  m_sOutside += fmt::format(R"(<text class="lane end" x="{}" y="{:.1f}">{}</text>)", kPlotLeft - 10,
                            kPlotTop + middle + 4, EscapeHtml(name));
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
    out += fmt::format(R"(<text class="name {}" x="{}" y="{:.1f}">{}</text>)", name.sStyle, kPlotRight + 8,
                       kPlotTop + y + 4, EscapeHtml(name.sName));
  }
  return out;
}

std::string Plot::PositionAxis() const {
  std::string out;
  const double bottom = kPlotTop + m_nHeight;
  const std::vector<double> ticks = m_Axis == EAxis::kTime ? TimeTicks(m_X, 8) : Ticks(m_X, 8);
  const double step = ticks.size() > 1 ? ticks[1] - ticks[0] : m_X.high - m_X.low;
  for (const double tick : ticks) {
    const double x = kPlotLeft + X(tick) / kPlotUnits * (kPlotRight - kPlotLeft);
    const std::string text = m_Axis == EAxis::kTime ? TickClock(tick, step) : tick == 0 ? "0" : ByteText(tick);
    out +=
        fmt::format(R"(<path class="mark" d="M{0:.1f} {1}v4"/><text class="tick mid" x="{0:.1f}" y="{2}">{3}</text>)",
                    x, bottom, bottom + 18, text);
  }
  return out;
}

std::string Plot::Svg() const {
  const double width = kPlotRight - kPlotLeft;
  return fmt::format(
      R"(<svg role="img" aria-label="{}" class="picture" viewBox="0 0 {} {}" data-axis="{}" data-series="{}" )"
      R"(data-low="{:.0f}" data-high="{:.0f}">{}<path class="base" d="M{} {}H{}"/><g class="axis">{}</g>{})"
      R"(<svg class="plot" x="{}" y="{}" width="{}" height="{}" viewBox="0 0 {} {}" preserveAspectRatio="none">{}</svg>{}</svg>)",
      EscapeHtml(m_sLabel), kPictureWidth, kPlotTop + m_nHeight + 26, m_Axis == EAxis::kTime ? "time" : "bytes",
      m_sSeries, m_X.low, m_X.high, m_sBehind, kPlotLeft, kPlotTop + m_nHeight, kPlotRight, PositionAxis(), m_sOutside,
      kPlotLeft, kPlotTop, width, m_nHeight, kPlotUnits, m_nHeight, m_sInside, Names());
}
