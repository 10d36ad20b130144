// KivProjectTrack (velmar/lap_compare.h): latitude and longitude to metres
// on a plane touching the earth at the trace's centre. Over a circuit of a
// few kilometres the equirectangular error is far below a GPS receiver's.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "velmar/lap_compare.h"

namespace velmar {
namespace {

constexpr double kEarthRadius = 6371008.8;  // metres, the mean radius

struct Bounds {
  double low = INFINITY;
  double high = -INFINITY;
  void Add(double v) {
    low = std::min(low, v);
    high = std::max(high, v);
  }
  double Centre() const { return (low + high) / 2; }
};

}  // namespace

KivResult KivProjectTrack(std::span<const double> latitudes, std::span<const double> longitudes,
                          KivTrackPoints* points) {
  if (!points) return E_POINTER;
  *points = {};
  if (latitudes.size() != longitudes.size()) return E_INVALIDARG;
  Bounds north, east;
  std::vector<double> unwrapped;  // longitudes taken the short way round from the first
  for (size_t i = 0; i < latitudes.size(); ++i) {
    if (std::isnan(latitudes[i]) || std::isnan(longitudes[i])) continue;
    if (std::fabs(latitudes[i]) > std::numbers::pi / 2) {
      *points = {};
      return E_INVALIDARG;
    }
    const double first = unwrapped.empty() ? longitudes[i] : unwrapped.front();
    unwrapped.push_back(first + std::remainder(longitudes[i] - first, 2 * std::numbers::pi));
    north.Add(latitudes[i]);
    east.Add(unwrapped.back());
    points->source.push_back(i);
  }
  const double scale = std::cos(north.Centre());
  for (size_t k = 0; k < unwrapped.size(); ++k) {
    points->x.push_back(kEarthRadius * (unwrapped[k] - east.Centre()) * scale);
    points->y.push_back(kEarthRadius * (latitudes[points->source[k]] - north.Centre()));
  }
  return S_OK;
}

}  // namespace velmar
