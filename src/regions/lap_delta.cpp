#include "regions/lap_delta.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmar {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<double> SecondsOf(std::span<const KivTime> times) {
  std::vector<double> seconds(times.size());
  std::transform(times.begin(), times.end(), seconds.begin(), [](KivTime t) { return static_cast<double>(t) / 1e7; });
  return seconds;
}

bool Usable(const KivLapTrace& trace) {
  return !trace.distances.empty() && trace.distances.size() == trace.values.size() &&
         trace.distances.size() == trace.times.size();
}

}  // namespace

std::vector<double> ValuesAtDistances(std::span<const double> distances, std::span<const double> ys,
                                      std::span<const double> at) {
  std::vector<double> out(at.size(), kNaN);
  const size_t n = std::min(distances.size(), ys.size());
  if (n == 0) return out;
  size_t i = 0;  // the first point at or past the distance asked for
  for (size_t k = 0; k < at.size(); ++k) {
    const double d = at[k];
    if (!(d >= distances[0] && d <= distances[n - 1])) continue;
    while (distances[i] < d) ++i;  // stops at n - 1 at the latest: d is at most the last distance
    if (distances[i] == d || i == 0) {
      out[k] = ys[i];
      continue;
    }
    const double f = (d - distances[i - 1]) / (distances[i] - distances[i - 1]);
    out[k] = ys[i - 1] + (ys[i] - ys[i - 1]) * f;
  }
  return out;
}

double KivLapLength(const KivLapTrace& trace) { return trace.distances.empty() ? 0.0 : trace.distances.back(); }

std::vector<double> KivDistanceGrid(double length, double step) {
  std::vector<double> grid;
  if (!(step > 0) || !std::isfinite(length)) return grid;
  // A last regular point closer to the end than a millionth of a step would
  // only repeat the end.
  for (size_t i = 0; static_cast<double>(i) * step < length - step * 1e-6; ++i) grid.push_back(static_cast<double>(i) * step);
  grid.push_back(std::max(length, 0.0));
  return grid;
}

KivResult KivResampleOnDistance(const KivLapTrace& trace, std::span<const double> grid, std::vector<double>* values) {
  if (!values) return E_POINTER;
  values->clear();
  if (!Usable(trace) || !std::is_sorted(grid.begin(), grid.end())) return E_INVALIDARG;
  *values = ValuesAtDistances(trace.distances, trace.values, grid);
  return S_OK;
}

KivResult KivComputeTimeDelta(const KivLapTrace& lap, const KivLapTrace& reference, double step,
                              KivTimeDelta* delta) {
  if (!delta) return E_POINTER;
  *delta = {};
  const double lapLength = KivLapLength(lap);
  const double referenceLength = KivLapLength(reference);
  if (!(step > 0) || !Usable(lap) || !Usable(reference) || !(lapLength > 0) || !(referenceLength > 0)) {
    return E_INVALIDARG;
  }
  delta->distances = KivDistanceGrid(referenceLength, step);
  // The lap's own distances for the grid: stretched to its length, the last
  // one exactly its end.
  std::vector<double> onLap(delta->distances.size());
  const double stretch = lapLength / referenceLength;
  std::transform(delta->distances.begin(), delta->distances.end(), onLap.begin(),
                 [&](double d) { return std::min(d * stretch, lapLength); });
  onLap.back() = lapLength;
  const std::vector<double> lapTimes = ValuesAtDistances(lap.distances, SecondsOf(lap.times), onLap);
  const std::vector<double> referenceTimes =
      ValuesAtDistances(reference.distances, SecondsOf(reference.times), delta->distances);
  delta->seconds.resize(lapTimes.size());
  std::transform(lapTimes.begin(), lapTimes.end(), referenceTimes.begin(), delta->seconds.begin(), std::minus<>());
  return S_OK;
}

}  // namespace velmar
