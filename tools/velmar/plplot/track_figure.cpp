#include "track_figure.h"

#include <plplot.h>

#include <algorithm>
#include <cmath>

#include "plot_page.h"

namespace velmar::cli {
namespace {

// Slow blue through green and yellow to fast red: the order engineers read speed in.
void UseSpeedColours() {
  PLFLT at[] = {0.0, 0.35, 0.65, 1.0};
  PLFLT r[] = {0.15, 0.2, 0.98, 0.85};
  PLFLT g[] = {0.3, 0.7, 0.85, 0.1};
  PLFLT b[] = {0.85, 0.3, 0.2, 0.1};
  plscmap1n(256);
  plscmap1l(1, 4, at, r, g, b, nullptr);
}

std::pair<double, double> ValueRange(const std::vector<double>& values) {
  double low = INFINITY, high = -INFINITY;
  for (double v : values) {
    if (!std::isfinite(v)) continue;
    low = std::min(low, v);
    high = std::max(high, v);
  }
  if (!(low < high)) return {std::isfinite(low) ? low - 1 : 0, std::isfinite(low) ? low + 1 : 1};
  return {low, high};
}

void DrawTrace(const TrackFigure& figure, double low, double high) {
  plwidth(4.0);
  for (size_t i = 1; i < figure.x.size(); ++i) {
    const double v = figure.value[i];
    if (!std::isfinite(v)) continue;
    plcol1(std::clamp((v - low) / (high - low), 0.0, 1.0));
    pljoin(figure.x[i - 1], figure.y[i - 1], figure.x[i], figure.y[i]);
  }
  plwidth(1.0);
}

// A label reads away from the map's right edge, so it stays on the page; the
// start's reads against the way the car went, clear of the arrowhead.
void DrawLabels(const TrackFigure& figure, double west, double east) {
  plcol0(kInkColour);
  plschr(0, 0.6);
  for (const TrackLabel& label : figure.labels) {
    if (label.point >= figure.x.size()) continue;
    PLFLT x = figure.x[label.point], y = figure.y[label.point];
    plpoin(1, &x, &y, 17);
    const size_t ahead = std::min<size_t>(20, figure.x.size() - 1);
    const bool leftward = label.point == 0 ? figure.x[ahead] > figure.x[0] : x > west + (east - west) * 0.75;
    const std::string text = leftward ? label.text + "  " : "  " + label.text;
    plptex(x, y, 1, 0, leftward ? 1.0 : 0.0, PlotText(text).c_str());
  }
}

// An arrowhead a little past the start, pointing the way the car went.
void DrawDirection(const TrackFigure& figure, double size) {
  size_t ahead = 1;
  while (ahead + 1 < figure.x.size() && std::hypot(figure.x[ahead] - figure.x[0], figure.y[ahead] - figure.y[0]) < 3 * size) ++ahead;
  if (ahead >= figure.x.size()) return;
  const double dx = figure.x[ahead] - figure.x[0], dy = figure.y[ahead] - figure.y[0];
  const double length = std::hypot(dx, dy);
  if (length <= 0) return;
  const double ux = dx / length, uy = dy / length;
  const double tipX = figure.x[ahead], tipY = figure.y[ahead];
  PLFLT xs[] = {tipX, tipX - size * (2 * ux - uy), tipX - size * (2 * ux + uy)};
  PLFLT ys[] = {tipY, tipY - size * (2 * uy + ux), tipY - size * (2 * uy - ux)};
  plcol0(kInkColour);
  plfill(3, xs, ys);
}

void DrawColourBar(const std::string& label, double low, double high) {
  PLFLT width = 0, height = 0;
  PLINT labelOptions[] = {PL_COLORBAR_LABEL_RIGHT};
  std::string text = PlotText(label);
  const char* labels[] = {text.c_str()};
  const char* axis[] = {"bcvtm"};
  PLFLT ticks[] = {0.0};
  PLINT subticks[] = {0};
  PLINT counts[] = {2};
  PLFLT values[] = {low, high};
  const PLFLT* valueRows[] = {values};
  plschr(0, 0.7);
  plcolorbar(&width, &height, PL_COLORBAR_GRADIENT, PL_POSITION_RIGHT | PL_POSITION_OUTSIDE, 0.03, 0.0, 0.03, 0.8,
             kPaperColour, kInkColour, 1, 0.0, 0.0, 0, 0, 1, labelOptions, labels, 1, axis, ticks, subticks, counts,
             valueRows);
}

}  // namespace

void DrawTrackFigure(const TrackFigure& figure) {
  UseSpeedColours();
  double west = INFINITY, east = -INFINITY, south = INFINITY, north = -INFINITY;
  for (size_t i = 0; i < figure.x.size(); ++i) {
    west = std::min(west, figure.x[i]);
    east = std::max(east, figure.x[i]);
    south = std::min(south, figure.y[i]);
    north = std::max(north, figure.y[i]);
  }
  const double air = std::max({east - west, north - south, 1.0}) * 0.05;
  west -= air, east += air, south -= air, north += air;
  // The largest viewport in the space left of the colour bar with one metre
  // the same length both ways.
  plvpas(0.08, 0.82, 0.08, 0.9, (north - south) / (east - west));
  plwind(west, east, south, north);
  plcol0(kGridColour);
  plbox("g", 0, 0, "g", 0, 0);
  const auto [low, high] = ValueRange(figure.value);
  DrawTrace(figure, low, high);
  plcol0(kInkColour);
  plschr(0, 0.7);
  plbox("bcnst", 0, 0, "bcnstv", 0, 0);
  pllab("East of the centre [m]", "North of the centre [m]", "");
  DrawLabels(figure, west, east);
  DrawDirection(figure, std::max(east - west, north - south) * 0.012);
  DrawColourBar(figure.colourLabel, low, high);
  plvpor(0.08, 0.82, 0.92, 0.98);
  plwind(0, 1, 0, 1);
  plschr(0, 0.9);
  plptex(0, 0.5, 1, 0, 0.0, PlotText(figure.title).c_str());
}

}  // namespace velmar::cli
