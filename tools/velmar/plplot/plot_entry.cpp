// The module's one entry: a page per picture, drawn and put in place.
#include "lap_figure.h"
#include "plot_drawing.h"
#include "plot_page.h"
#include "track_figure.h"

namespace velmar::cli {
namespace {

class PlplotDrawing final : public PlotDrawing {
 public:
  void DrawLaps(const std::string& out, int width, int height, const LapFigure& figure) override {
    PlotPage page(out, width, height);
    DrawLapFigure(figure);
    page.Commit();
  }
  void DrawTrack(const std::string& out, int width, int height, const TrackFigure& figure) override {
    PlotPage page(out, width, height);
    DrawTrackFigure(figure);
    page.Commit();
  }
};

}  // namespace
}  // namespace velmar::cli

extern "C" __attribute__((visibility("default"))) velmar::cli::PlotDrawing* VelmarPlotDrawing() {
  static velmar::cli::PlplotDrawing drawing;
  return &drawing;
}
