// The lap overlay: stacked panels sharing one x axis (distance or time from
// the lap's start), each lap in its own colour in every panel, a legend row
// of the laps and their times above, and with a delta the time delta panel
// on top. Drawn on an open PlotPage by the PLplot
// module (plplot/); the command line reaches it through plot_drawing.h.
#pragma once

#include <string>
#include <vector>

#include "plot_page.h"

namespace velmar::cli {

struct FigureLine {
  std::vector<double> x;
  std::vector<double> y;  // NaN leaves a gap
  int colour = kFirstLapColour;
};

struct FigurePanel {
  std::string label;  // "Speed [km/h]"
  std::vector<FigureLine> lines;
  bool zeroLine = false;  // a rule at y = 0 (the delta panel)
};

struct LapFigure {
  std::string title;
  std::string xLabel;               // "Distance [m]"
  std::vector<std::string> legend;  // one per lap, in lap order
  std::vector<FigurePanel> panels;  // top to bottom
};

void DrawLapFigure(const LapFigure& figure);

}  // namespace velmar::cli
