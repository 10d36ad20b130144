// velmar trackmap FILE [--lap N] [--channel Speed] -o OUT: one lap drawn from
// the GPS channels the common channels name, coloured by a channel, with
// the circuit map's segments named where they begin when --map gives one.
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <numbers>

#include "circuit_map_file.h"
#include "commands.h"
#include "host_error.h"
#include "lap_traces.h"
#include "output.h"
#include "plot_drawing.h"
#include "region_list.h"
#include "track_figure.h"
#include "velmar/channel_key.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct TrackmapOptions {
  std::string file;
  std::optional<int> lap;
  std::string channel = "Speed";
  std::string map;
  std::string out;
  int width = 1100;
  int height = 1000;
};

// The lap asked for, else the fastest, else the first.
LapRow ChooseLap(LoadedOuting& outing, std::optional<int> number) {
  if (number) return FindLap(outing, *number);
  std::optional<LapRow> first;
  for (const LapRow& row : ReadLaps(outing)) {
    if (row.auxiliary) continue;
    if (row.fastest) return row;
    if (!first) first = row;
  }
  if (!first) Fail(outing.file(), "no laps");
  return *first;
}

// `trace`'s values at `times` (rising), linear between its entries; NaN outside.
std::vector<double> ValuesAt(const KivLapTrace& trace, const std::vector<KivTime>& times) {
  std::vector<double> out(times.size(), NAN);
  size_t i = 0;
  for (size_t k = 0; k < times.size(); ++k) {
    while (i < trace.times.size() && trace.times[i] < times[k]) ++i;
    if (i == trace.times.size()) break;
    if (trace.times[i] == times[k]) {
      out[k] = trace.values[i];
    } else if (i > 0) {
      const double f = static_cast<double>(times[k] - trace.times[i - 1]) /
                       static_cast<double>(trace.times[i] - trace.times[i - 1]);
      out[k] = trace.values[i - 1] + (trace.values[i] - trace.values[i - 1]) * f;
    }
  }
  return out;
}

// A position channel in radians: recorded in degrees unless it says otherwise.
std::vector<double> Radians(const LapChannel& channel, const std::vector<KivTime>& times) {
  std::vector<double> values = ValuesAt(channel.trace, times);
  if (channel.unit.text != u"rad") {
    for (double& v : values) v *= std::numbers::pi / 180.0;
  }
  return values;
}

std::pair<std::u16string, std::u16string> RequireGpsChannels(const LoadedOuting& outing) {
  ComPtr<IKivChannel> latitude, longitude;
  std::u16string lookedFor, latitudeName, longitudeName;
  auto channels = QueryAs<IKivDataFactory>(outing.selection());
  if (channels && Succeeded(KivFindTrackChannels(channels.Get(), &latitude, &longitude, &lookedFor))) {
    (void)latitude->GetName(&latitudeName);
    (void)longitude->GetName(&longitudeName);
    const NameList listed = outing.ChannelNames();
    auto has = [&](const std::u16string& n) { return std::find(listed.begin(), listed.end(), n) != listed.end(); };
    if (has(latitudeName) && has(longitudeName)) return {latitudeName, longitudeName};
  }
  Fail(outing.file(), "no GPS channels (looked for the common channels " + Utf8(lookedFor) + ")");
}

// The segments that begin inside the lap, labelled at the first point at or after their start.
std::vector<TrackLabel> SegmentLabels(LoadedOuting& outing, const LapRow& lap, const std::vector<KivTime>& times,
                                      const std::vector<size_t>& kept) {
  std::vector<TrackLabel> labels;
  for (const RegionRow& segment : ReadRegions(outing, "segment").rows) {
    if (segment.auxiliary || segment.start < lap.start || segment.start > lap.end) continue;
    const KivTime at = segment.start - lap.start;
    const auto point = std::find_if(kept.begin(), kept.end(), [&](size_t source) { return times[source] >= at; });
    // The finder names a segment "Turn 1 : Lap 3"; the map shows one lap.
    const std::string name = Utf8(segment.name);
    if (point != kept.end()) labels.push_back({static_cast<size_t>(point - kept.begin()), name.substr(0, name.find(" : "))});
  }
  return labels;
}

void Run(const TrackmapOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  if (!options.map.empty()) UseCircuitMap(session, options.map);
  LoadedOuting outing(session, options.file);
  const LapRow lap = ChooseLap(outing, options.lap);
  const auto [latitudeName, longitudeName] = RequireGpsChannels(outing);
  const LapChannel latitude = ReadLapChannel(outing, latitudeName, lap, false);
  const LapChannel longitude = ReadLapChannel(outing, longitudeName, lap, false);
  const LapChannel colour = ReadLapChannel(outing, Utf8ToWide(options.channel), lap, false);
  const std::vector<KivTime>& times = latitude.trace.times;
  KivTrackPoints points;
  if (Failed(KivProjectTrack(Radians(latitude, times), Radians(longitude, times), &points)) || points.x.size() < 2) {
    Fail(options.file, "the GPS channels hold no usable position over " + Utf8(lap.name));
  }
  TrackFigure figure;
  figure.title = "Track map, " + std::filesystem::path(options.file).filename().string() + ", " + LapLegend(lap);
  const std::string name = Utf8(ChannelDisplayName(colour.name));
  figure.colourLabel = colour.unit.text.empty() ? name : name + " [" + Utf8(colour.unit.text) + "]";
  figure.x = std::move(points.x);
  figure.y = std::move(points.y);
  const std::vector<double> values = ValuesAt(colour.trace, times);
  for (size_t source : points.source) figure.value.push_back(values[source]);
  if (!options.map.empty()) figure.labels = SegmentLabels(outing, lap, times, points.source);
  // The start, with the segment that begins there when there is one.
  if (!figure.labels.empty() && figure.labels.front().point == 0) {
    figure.labels.front().text = "Start, " + figure.labels.front().text;
  } else {
    figure.labels.insert(figure.labels.begin(), {0, "Start"});
  }
  LoadPlotDrawing(options.out).DrawTrack(options.out, options.width, options.height, figure);
  std::cout << options.out << "\n";
}

}  // namespace

void AddTrackmapCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<TrackmapOptions>();
  CLI::App* command = app.add_subcommand("trackmap", "Draw a lap from its GPS channels, coloured by a channel");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("--lap", options->lap, "Lap number (default: the fastest)");
  command->add_option("--channel", options->channel, "Channel that colours the trace");
  command->add_option("--map", options->map, "Circuit map (JSON) whose segments are named on the map");
  command->add_option("-o,--output", options->out, "Picture to write: .png, .svg or .pdf")->required();
  command->add_option("--width", options->width, "Width in pixels")->check(CLI::Range(100, 20000));
  command->add_option("--height", options->height, "Height in pixels")->check(CLI::Range(100, 20000));
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
