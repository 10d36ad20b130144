#include "lap_figure.h"

#include <plplot.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmar::cli {
namespace {

// Page fractions of the panel area: room on the left for the value labels,
// below for the x axis, above for the title and the legend row. PLplot
// sizes text by the page, so the bands are counted in character heights.
constexpr double kLeft = 0.06, kRight = 0.985;

struct Layout {
  Layout() {
    PLFLT defaultHeight = 0, height = 0, left = 0, right = 0, bottomEdge = 0, topEdge = 0;
    plgchr(&defaultHeight, &height);
    plgspa(&left, &right, &bottomEdge, &topEdge);
    const double line = height / std::max(topEdge - bottomEdge, 1.0);  // one character height
    end = 1.0 - 0.8 * line;
    title = end - 2.4 * line;
    legend = title - 2.0 * line;
    top = legend - 2.2 * line;
    bottom = 4.4 * line;
    gap = 2.2 * line;
  }
  double end, title, legend, top, bottom, gap;
};

struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  void Add(double v) {
    if (!std::isfinite(v)) return;
    low = std::min(low, v);
    high = std::max(high, v);
  }
  // A little air above and below; a flat or empty range opens to one unit.
  Range Padded() const {
    if (!(low <= high)) return {-1, 1};
    if (high - low < 1e-12) return {low - 1, high + 1};
    const double air = (high - low) * 0.06;
    return {low - air, high + air};
  }
};

// One polyline per run of finite points, so a NaN is a gap.
void DrawLine(const FigureLine& line) {
  plcol0(line.colour);
  std::vector<PLFLT> xs, ys;
  auto flush = [&] {
    if (xs.size() > 1) plline(static_cast<PLINT>(xs.size()), xs.data(), ys.data());
    xs.clear();
    ys.clear();
  };
  for (size_t i = 0; i < std::min(line.x.size(), line.y.size()); ++i) {
    if (!std::isfinite(line.y[i])) {
      flush();
      continue;
    }
    xs.push_back(line.x[i]);
    ys.push_back(line.y[i]);
  }
  flush();
}

void DrawPanel(const FigurePanel& panel, const Range& x, double bottom, double top, bool lowest) {
  Range y;
  for (const FigureLine& line : panel.lines) std::for_each(line.y.begin(), line.y.end(), [&](double v) { y.Add(v); });
  if (panel.zeroLine) y.Add(0);
  const Range shown = y.Padded();
  plvpor(kLeft, kRight, bottom, top);
  plwind(x.low, x.high, shown.low, shown.high);
  plcol0(kGridColour);
  plwidth(0.6);
  plbox("g", 0, 0, "g", 0, 0);
  if (panel.zeroLine) pljoin(x.low, 0, x.high, 0);
  plwidth(1.4);
  for (const FigureLine& line : panel.lines) DrawLine(line);
  plcol0(kInkColour);
  plwidth(0.8);
  plbox(lowest ? "bcnst" : "bcst", 0, 0, "bcnstv", 0, 0);
  plmtex("t", 0.7, 0.0, 0.0, PlotText(panel.label).c_str());
}

// One row above the panels: a stroke of each lap's colour and its text, each
// entry as wide as its text.
void DrawLegend(const LapFigure& figure, const Layout& layout) {
  plvpor(kLeft, kRight, layout.legend, layout.title);
  plwind(0, 1, 0, 1);
  PLFLT left = 0, right = 0, bottom = 0, top = 0;
  plgspa(&left, &right, &bottom, &top);  // the page in millimetres
  const double perMillimetre = 1.0 / ((kRight - kLeft) * (right - left));
  PLFLT defaultHeight = 0, height = 0;
  plgchr(&defaultHeight, &height);  // millimetres; a sans glyph is about 0.6 of it wide
  double x = 0;
  for (size_t i = 0; i < figure.legend.size(); ++i) {
    const std::string text = PlotText(figure.legend[i]);
    plcol0(LapColour(i));
    plwidth(3.0);
    pljoin(x, 0.5, x + 0.03, 0.5);
    plcol0(kInkColour);
    plptex(x + 0.037, 0.5, 1, 0, 0.0, text.c_str());
    x += 0.037 + static_cast<double>(text.size()) * height * 0.6 * perMillimetre + 0.04;
  }
  plwidth(1.0);
}

}  // namespace

void DrawLapFigure(const LapFigure& figure) {
  Range x;
  for (const FigurePanel& panel : figure.panels) {
    for (const FigureLine& line : panel.lines) std::for_each(line.x.begin(), line.x.end(), [&](double v) { x.Add(v); });
  }
  if (!(x.low < x.high)) x = {0, 1};
  plschr(0, 0.7);
  const Layout layout;
  const size_t count = std::max<size_t>(figure.panels.size(), 1);
  const double height =
      (layout.top - layout.bottom - layout.gap * static_cast<double>(count - 1)) / static_cast<double>(count);
  for (size_t i = 0; i < figure.panels.size(); ++i) {
    const double top = layout.top - static_cast<double>(i) * (height + layout.gap);
    DrawPanel(figure.panels[i], x, top - height, top, i + 1 == figure.panels.size());
  }
  DrawLegend(figure, layout);
  plcol0(kInkColour);
  plvpor(kLeft, kRight, layout.bottom, layout.top);
  plwind(0, 1, 0, 1);
  plmtex("b", 3.3, 0.5, 0.5, PlotText(figure.xLabel).c_str());
  plvpor(kLeft, kRight, layout.title, layout.end);
  plwind(0, 1, 0, 1);
  plschr(0, 0.9);
  plptex(0, 0.5, 1, 0, 0.0, PlotText(figure.title).c_str());
}

}  // namespace velmar::cli
