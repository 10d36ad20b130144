// velmar plot FILE CHANNEL... --laps N,M,... -o OUT: the laps overlaid, one
// panel per channel against distance (or time) from each lap's start; with
// --delta a time delta panel on top, against the first lap or the --ref lap
// of another outing. Everything is read before the page opens, so a bad
// lap or channel leaves no file.
#include <filesystem>
#include <iostream>
#include <memory>

#include "commands.h"
#include "host_error.h"
#include "lap_figure.h"
#include "plot_drawing.h"
#include "lap_traces.h"
#include "output.h"
#include "velmar/channel_key.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

// Metres between the points of the delta line: finer than a picture shows.
constexpr double kDeltaStep = 2.0;

struct PlotOptions {
  std::string file;
  std::vector<std::string> channels;
  std::vector<int> laps;
  std::string x = "distance";
  std::string ref;
  bool delta = false;
  std::string out;
  int width = 1400;
  int height = 1000;
};

// One lap to draw and the outing it is in.
struct ChosenLap {
  LoadedOuting* outing;
  LapRow lap;
};

std::pair<std::string, int> SplitRef(const std::string& ref) {
  const size_t colon = ref.rfind(':');
  int lap = 0;
  if (colon != std::string::npos && colon > 0) {
    try {
      size_t used = 0;
      lap = std::stoi(ref.substr(colon + 1), &used);
      if (used == ref.size() - colon - 1) return {ref.substr(0, colon), lap};
    } catch (const std::exception&) {
    }
  }
  Fail(ref, "--ref takes FILE:LAP, a lap number after the last colon");
}

std::string PanelLabel(const LapChannel& channel) {
  const std::string name = Utf8(ChannelDisplayName(channel.name));
  return channel.unit.text.empty() ? name : name + " [" + Utf8(channel.unit.text) + "]";
}

std::vector<double> TimesInSeconds(const KivLapTrace& trace) {
  std::vector<double> seconds;
  for (KivTime t : trace.times) seconds.push_back(Seconds(t));
  return seconds;
}

// "Lap 2", or "Lap 2 of other.txt" for a lap of another outing.
std::string LapName(const ChosenLap& c, const PlotOptions& options) {
  const std::string name = Utf8(c.lap.name);
  return c.outing->file() == options.file ? name : name + " of " + std::filesystem::path(c.outing->file()).filename().string();
}

FigurePanel DeltaPanel(const std::vector<ChosenLap>& chosen, const PlotOptions& options) {
  FigurePanel panel{"Time delta to " + LapName(chosen.front(), options) + " [s]: above zero is behind, below is ahead",
                    {}, true};
  const KivLapTrace reference = ReadLapDistance(*chosen.front().outing, chosen.front().lap);
  for (size_t i = 0; i < chosen.size(); ++i) {
    KivTimeDelta delta;
    if (Failed(KivComputeTimeDelta(ReadLapDistance(*chosen[i].outing, chosen[i].lap), reference, kDeltaStep, &delta))) {
      Fail(chosen[i].outing->file(), Utf8(chosen[i].lap.name) + " covers no distance");
    }
    panel.lines.push_back({std::move(delta.distances), std::move(delta.seconds), LapColour(i)});
  }
  return panel;
}

LapFigure MakeFigure(const PlotOptions& options, const std::vector<ChosenLap>& chosen) {
  const bool byDistance = options.x == "distance";
  LapFigure figure;
  figure.title = "Lap comparison, " + std::filesystem::path(options.file).filename().string() +
                 (options.ref.empty() ? "" : " (reference " + chosen.front().outing->file() + ")");
  figure.xLabel = byDistance ? "Distance from the lap's start [m]" : "Time from the lap's start [s]";
  for (const ChosenLap& c : chosen) figure.legend.push_back(LapLegend(c.lap));
  if (!options.ref.empty()) {
    figure.legend.front() += " (reference, " + std::filesystem::path(chosen.front().outing->file()).filename().string() + ")";
  }
  if (options.delta) figure.panels.push_back(DeltaPanel(chosen, options));
  for (const std::string& name : options.channels) {
    FigurePanel panel;
    for (size_t i = 0; i < chosen.size(); ++i) {
      LapChannel channel = ReadLapChannel(*chosen[i].outing, Utf8ToWide(name), chosen[i].lap, byDistance);
      panel.label = PanelLabel(channel);
      std::vector<double> x = byDistance ? std::move(channel.trace.distances) : TimesInSeconds(channel.trace);
      panel.lines.push_back({std::move(x), std::move(channel.trace.values), LapColour(i)});
    }
    figure.panels.push_back(std::move(panel));
  }
  return figure;
}

void Run(const PlotOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  std::unique_ptr<LoadedOuting> refOuting;
  std::vector<ChosenLap> chosen;
  if (!options.ref.empty()) {
    const auto [file, lap] = SplitRef(options.ref);
    refOuting = std::make_unique<LoadedOuting>(session, file);
    chosen.push_back({refOuting.get(), FindLap(*refOuting, lap)});
  }
  for (int lap : options.laps) chosen.push_back({&outing, FindLap(outing, lap)});
  if (options.delta || options.x == "distance") {
    for (const ChosenLap& c : chosen) (void)RequireDistanceChannel(*c.outing);
  }
  const LapFigure figure = MakeFigure(options, chosen);
  LoadPlotDrawing(options.out).DrawLaps(options.out, options.width, options.height, figure);
  std::cout << options.out << "\n";
}

}  // namespace

void AddPlotCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<PlotOptions>();
  CLI::App* command = app.add_subcommand("plot", "Draw laps overlaid, one panel per channel");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("CHANNEL", options->channels, "Channels, one panel each")->required();
  command->add_option("--laps", options->laps, "Lap numbers, comma-separated")->delimiter(',')->required();
  command->add_option("--x", options->x, "The x axis: distance or time from the lap's start")
      ->check(CLI::IsMember({"distance", "time"}));
  command->add_option("--ref", options->ref, "A lap of another outing to compare with, FILE:LAP");
  command->add_flag("--delta", options->delta, "A top panel with each lap's time delta along the lap");
  command->add_option("-o,--output", options->out, "Picture to write: .png, .svg or .pdf")->required();
  command->add_option("--width", options->width, "Width in pixels")->check(CLI::Range(100, 20000));
  command->add_option("--height", options->height, "Height in pixels")->check(CLI::Range(100, 20000));
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
