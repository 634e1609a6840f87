#include "tools/aviprobe/report/series.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

using Units = std::vector<SPlayedUnit>;

constexpr size_t kGaps = 300;      // told at most
constexpr double kLeastGap = 500;  // ms; below it nobody notices
constexpr int64_t kSecond = 1000;

Json Rounded(const std::vector<SPoint>& points) {
  Json out = Json::array();
  for (const SPoint& point : points) out.push_back({std::llround(point.x), std::round(point.y * 100) / 100});
  return out;
}

Json Line(const STrackFacts& track, const std::vector<SPoint>& points) {
  return {{"name", TrackLabel(track)}, {"kind", TrackKind(*track.pHeader)}, {"points", Rounded(points)}};
}

std::vector<const STrackFacts*> PlayedTracks(const FileFacts& file) {
  std::vector<const STrackFacts*> tracks;
  for (const STrackFacts& track : file.Tracks()) {
    if (track.pPlayed && tracks.size() < kSeriesTracks) tracks.push_back(&track);
  }
  return tracks;
}

const STrackFacts* FirstVideo(const FileFacts& file) {
  for (const STrackFacts& track : file.Tracks()) {
    if (track.pPlayed && track.pHeader->IsVideo() && !track.pPlayed->units.empty()) return &track;
  }
  return nullptr;
}

/// The end of all time axes. A header that declares days for a file of minutes does not stretch them.
double EndOfTime(const FileFacts& file) {
  double there = 0, declared = 0;
  for (const STrackFacts& track : file.Tracks()) {
    there = std::max({there, static_cast<double>(track.present.nMs), static_cast<double>(track.DeliveredMs())});
    declared = std::max(declared, static_cast<double>(track.nDeclaredMs));
  }
  return there > 0 ? std::max(there, std::min(declared, 4 * there)) : 0;
}

std::vector<double> Times(const Units& units) {
  std::vector<double> times;
  times.reserve(units.size());
  for (const SPlayedUnit& unit : units) times.push_back(unit.nTimeMs);
  std::sort(times.begin(), times.end());
  return times;
}

/// What lies between two units so far apart that a viewer notices.
std::vector<SPoint> GapsBetween(const std::vector<double>& times) {
  std::vector<double> steps;
  for (size_t i = 1; i < times.size(); ++i) steps.push_back(times[i] - times[i - 1]);
  if (steps.empty()) return {};
  std::nth_element(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2), steps.end());
  const double usual = steps[steps.size() / 2];
  std::vector<SPoint> gaps;
  for (size_t i = 1; i < times.size(); ++i) {
    if (times[i] - times[i - 1] > std::max(kLeastGap, 4 * usual)) gaps.push_back({times[i - 1] + usual, times[i]});
  }
  return gaps;
}

Json TimeLane(const STrackFacts& track, double end) {
  const std::vector<double> times = Times(track.pPlayed->units);
  const auto delivered = static_cast<double>(track.DeliveredMs());
  const double declared = std::min(static_cast<double>(track.nDeclaredMs), end);
  std::vector<SPoint> gaps = GapsBetween(times);
  if (gaps.size() > kGaps) {  // the longest ones, in their order
    std::nth_element(gaps.begin(), gaps.begin() + kGaps, gaps.end(),
                     [](const SPoint& a, const SPoint& b) { return a.y - a.x > b.y - b.x; });
    gaps.resize(kGaps);
    std::sort(gaps.begin(), gaps.end(), [](const SPoint& a, const SPoint& b) { return a.x < b.x; });
  }
  Json spans = Json::array(), holes = Json::array();
  double from = times.empty() ? 0 : times.front();
  for (const SPoint& gap : gaps) {
    spans.push_back({std::llround(from), std::llround(gap.x)});
    holes.push_back({std::llround(gap.x), std::llround(gap.y)});
    from = gap.y;
  }
  if (!times.empty()) spans.push_back({std::llround(from), std::llround(std::max(delivered, from))});
  if (declared > delivered + kLeastGap) holes.push_back({std::llround(delivered), std::llround(declared)});
  return {{"name", TrackLabel(track)},
          {"kind", TrackKind(*track.pHeader)},
          {"declared_ms", track.nDeclaredMs},
          {"delivered", spans},
          {"gaps", holes}};
}

/// @param end  of what was delivered: the last part is seldom a whole one.
std::vector<SPoint> BitRate(const Units& units, int64_t step, double end) {
  std::vector<SPoint> points;
  for (const SPlayedUnit& unit : units) {
    const size_t at = unit.nTimeMs / static_cast<size_t>(step);
    if (at + 1 >= kSeriesPoints) continue;
    while (points.size() <= at) points.push_back({static_cast<double>(points.size()) * static_cast<double>(step), 0});
    points[at].y += unit.nBytes * 8.0 / static_cast<double>(step);  // bits per millisecond are kbit/s
  }
  if (points.empty()) return points;
  const double last = std::clamp(end - points.back().x, 1.0, static_cast<double>(step));
  points.back().y *= static_cast<double>(step) / last;
  points.push_back({points.back().x + last, points.back().y});
  return points;
}

/// The units of a track that were read from a known place, by it.
std::vector<SPoint> ByPosition(const Units& units) {
  std::vector<SPoint> points;
  for (const SPlayedUnit& unit : units) {
    if (unit.nPosition >= 0) points.push_back({static_cast<double>(unit.nPosition), static_cast<double>(unit.nTimeMs)});
  }
  std::stable_sort(points.begin(), points.end(), [](const SPoint& a, const SPoint& b) { return a.x < b.x; });
  return points;
}

std::vector<SPoint> Swapped(std::vector<SPoint> points) {
  for (SPoint& point : points) std::swap(point.x, point.y);
  std::stable_sort(points.begin(), points.end(), [](const SPoint& a, const SPoint& b) { return a.x < b.x; });
  return points;
}

/// The y of the last point at or before x; null before the first one.
const SPoint* LastAt(const std::vector<SPoint>& points, double x) {
  const auto after =
      std::upper_bound(points.begin(), points.end(), x, [](double at, const SPoint& point) { return at < point.x; });
  return after == points.begin() ? nullptr : &*std::prev(after);
}

/// How far sound is ahead when the picture of each time is reached in the file.
std::vector<SPoint> Drift(const std::vector<SPoint>& video, const std::vector<SPoint>& audio) {
  std::vector<SPoint> points;
  for (const SPoint& picture : video) {
    if (const SPoint* sound = LastAt(audio, picture.x)) points.push_back({picture.y, sound->y - picture.y});
  }
  std::stable_sort(points.begin(), points.end(), [](const SPoint& a, const SPoint& b) { return a.x < b.x; });
  return points;
}

/// Kilobytes from the picture of the same time to each piece of sound, by where the sound stands.
std::vector<SPoint> Distance(const std::vector<SPoint>& video, const std::vector<SPoint>& audio) {
  const std::vector<SPoint> byTime = Swapped(video);
  std::vector<SPoint> points;
  for (const SPoint& sound : audio) {
    if (const SPoint* picture = LastAt(byTime, sound.y)) points.push_back({sound.x, (sound.x - picture->y) / 1000});
  }
  return points;
}

/// Times of the key frames, by the frames' own bytes where these tell, else by the index.
std::vector<double> KeyTimes(const FileFacts& file, const STrackFacts& video) {
  std::vector<double> times;
  const auto known = [](const SPlayedUnit& unit) { return unit.bKeyKnown; };
  const Units& units = video.pPlayed->units;
  if (std::any_of(units.begin(), units.end(), known)) {
    for (const SPlayedUnit& unit : units) {
      if (unit.bKeyKnown && unit.bKey) times.push_back(unit.nTimeMs);
    }
  } else {
    for (const SIndexRef& entry : file.Entries()) {
      if (!entry.bKey || entry.nStream != video.nTrack) continue;
      if (const std::optional<uint32_t> ms = file.MsAt(entry.nPosition)) times.push_back(*ms);
    }
  }
  std::sort(times.begin(), times.end());
  return times;
}

Json KeyIntervals(const FileFacts& file) {
  Json lines = Json::array();
  if (const STrackFacts* video = FirstVideo(file)) {
    std::vector<double> times = KeyTimes(file, *video);
    std::vector<SPoint> points;
    if (!times.empty()) times.push_back(std::max(times.back(), static_cast<double>(video->DeliveredMs())));
    for (size_t i = 1; i < times.size(); ++i) points.push_back({times[i - 1], (times[i] - times[i - 1]) / kSecond});
    lines.push_back(Line(*video, Thinned(points)));
  }
  return {{"unit", "s"}, {"lines", lines}};
}

}  // namespace

std::vector<SPoint> Thinned(std::vector<SPoint> points) {
  if (points.size() <= kSeriesPoints) return points;
  constexpr size_t kParts = kSeriesPoints / 2;
  const auto byValue = [](const SPoint& a, const SPoint& b) { return a.y < b.y; };
  std::vector<SPoint> out;
  for (size_t part = 0; part < kParts; ++part) {
    const auto from = points.begin() + static_cast<std::ptrdiff_t>(part * points.size() / kParts);
    const auto end = points.begin() + static_cast<std::ptrdiff_t>((part + 1) * points.size() / kParts);
    const auto [low, high] = std::minmax_element(from, end, byValue);
    out.push_back(*std::min(low, high));
    if (low != high) out.push_back(*std::max(low, high));
  }
  return out;
}

const char* TrackKind(const SStreamHeader& header) {
  if (header.IsVideo()) return "video";
  if (header.IsAudio()) return "audio";
  return header.kind == FourCC("txts") ? "text" : "other";
}

std::string TrackLabel(const STrackFacts& track) {
  return fmt::format("{} {}", TrackKind(*track.pHeader), track.nTrack);
}

void AddPlaybackSeries(const FileFacts& file, Json* series) {
  const double end = EndOfTime(file);
  const auto step = static_cast<int64_t>(std::ceil(std::max(end, 1.0) / kSecond / (kSeriesPoints - 2))) * kSecond;
  Json lanes = Json::array(), rates = Json::array(), drifts = Json::array(), distances = Json::array();
  const STrackFacts* video = FirstVideo(file);
  const std::vector<SPoint> pictures = video ? ByPosition(video->pPlayed->units) : std::vector<SPoint>();
  for (const STrackFacts* track : PlayedTracks(file)) {
    const Units& units = track->pPlayed->units;
    lanes.push_back(TimeLane(*track, end));
    rates.push_back(Line(*track, BitRate(units, step, static_cast<double>(track->DeliveredMs()))));
    if (!track->pHeader->IsAudio() || pictures.empty()) continue;
    const std::vector<SPoint> sounds = ByPosition(units);
    drifts.push_back(Line(*track, Thinned(Drift(pictures, sounds))));
    distances.push_back(Line(*track, Thinned(Distance(pictures, sounds))));
  }
  (*series)["time_line"] = {{"end_ms", std::llround(end)}, {"lanes", lanes}};
  (*series)["bit_rate"] = {{"unit", "kbit/s"}, {"step_ms", step}, {"lines", rates}};
  (*series)["drift"] = {{"unit", "ms"}, {"lines", drifts}};
  (*series)["interleave"] = {{"unit", "kB"}, {"lines", distances}};
  (*series)["key_intervals"] = KeyIntervals(file);
}
