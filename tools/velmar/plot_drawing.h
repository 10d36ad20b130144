// The pictures (plot, trackmap) are drawn by the PLplot module,
// libvelmar_plplot.so (built from plplot/), loaded the first time a picture
// is asked for: PLplot, cairo and pango stay out of every other command.
//
// Client thread only.
#pragma once

#include <string>

#include "lap_figure.h"
#include "track_figure.h"

namespace velmar::cli {

class PlotDrawing {
 public:
  // Draws the figure on a page of `out` (sizes in pixels, or points for
  // .svg and .pdf) and puts the file in place. Throws HostError naming `out`.
  virtual void DrawLaps(const std::string& out, int width, int height, const LapFigure& figure) = 0;
  virtual void DrawTrack(const std::string& out, int width, int height, const TrackFigure& figure) = 0;

 protected:
  ~PlotDrawing() = default;
};

inline constexpr char kPlotModule[] = "libvelmar_plplot.so";
inline constexpr char kPlotEntry[] = "VelmarPlotDrawing";
using PlotDrawingEntry = PlotDrawing* (*)();

// The module's drawing, loaded on the first call. Throws HostError naming
// `out` when the module does not load.
PlotDrawing& LoadPlotDrawing(const std::string& out);

}  // namespace velmar::cli
