// The track map: a lap's GPS trace on a plane (metres east and north, the
// same scale both ways), each stretch coloured by a channel's value with a
// colour bar beside it, the start marked, and the circuit map's segments
// named where they begin. Drawn on an open PlotPage by the PLplot
// module (plplot/); the command line reaches it through plot_drawing.h.
#pragma once

#include <string>
#include <vector>

namespace velmar::cli {

struct TrackLabel {
  size_t point;  // index into the trace where the label goes
  std::string text;
};

struct TrackFigure {
  std::string title;
  std::string colourLabel;  // "Speed [km/h]"
  std::vector<double> x;    // metres east of the centre
  std::vector<double> y;    // metres north
  std::vector<double> value;
  std::vector<TrackLabel> labels;
};

void DrawTrackFigure(const TrackFigure& figure);

}  // namespace velmar::cli
