#include "plot_drawing.h"

#include "host_error.h"
#include "velmar/runtime_module.h"

namespace velmar::cli {

PlotDrawing& LoadPlotDrawing(const std::string& out) {
  void* entry = nullptr;
  std::string why;
  if (KivResult r = LoadRuntimeModuleEntry(kPlotModule, kPlotEntry, &entry, &why); Failed(r)) {
    Fail(out, "cannot draw pictures: " + why, r);
  }
  return *reinterpret_cast<PlotDrawingEntry>(entry)();
}

}  // namespace velmar::cli
