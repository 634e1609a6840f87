#ifndef ZU_TOOLS_AVIPROBE_REPORT_PLOT_H_
#define ZU_TOOLS_AVIPROBE_REPORT_PLOT_H_

#include <string>
#include <vector>

// The frame that all charts share: a picture as wide as the page gives, in which the plot stands as a picture of its
// own, stretched across. Places across the frame are percentages, so that text keeps its size; names and values stand
// outside, in the margins that style.css leaves. The script zooms by moving the window of the inner picture.

enum class EAxis { kTime, kBytes };

constexpr double kPlotTop = 10;
constexpr double kPlotUnits = 1000;  ///< width of the inner picture in its own units

struct SRange {
  double low = 0, high = 1;
};

/// Round values inside a range, about `count` of them.
std::vector<double> Ticks(SRange range, int count);
/// The same for milliseconds: whole seconds, minutes, hours.
std::vector<double> TimeTicks(SRange range, int count);

/// A chart's frame. What is added to `inside` stretches with the plot; `outside` does not.
class Plot {
 public:
  /// @param series  what the script looks up for the value under the pointer.
  Plot(std::string label, std::string series, EAxis axis, SRange x, double height)
      : m_sLabel(std::move(label)), m_sSeries(std::move(series)), m_Axis(axis), m_X(x), m_nHeight(height) {}

  double X(double value) const;  ///< inside
  double Y(double value, SRange range) const;
  double Height() const { return m_nHeight; }
  SRange Span() const { return m_X; }

  /// Value lines; the topmost has the unit.
  void ValueAxis(SRange range, const std::string& unit);
  /// A lane's name on the left.
  void LaneName(double middle, const std::string& name);
  /// A line's name on the right. Names that would overlap are moved apart.
  void LineName(double y, const std::string& name, const std::string& style);
  void Inside(const std::string& svg) { m_sInside += svg; }

  std::string Svg() const;

 private:
  struct SName {
    double y;
    std::string sName, sStyle;
  };
  std::string PositionAxis() const;
  std::string Names() const;

  std::string m_sLabel, m_sSeries;
  EAxis m_Axis;
  SRange m_X;
  double m_nHeight;
  std::string m_sInside, m_sBehind, m_sOutside;
  std::vector<SName> m_aNames;
};

/// "1:30", "0:00.5", "1:02:00", as short as the step between ticks allows.
std::string TickClock(double ms, double step);

#endif  // ZU_TOOLS_AVIPROBE_REPORT_PLOT_H_
