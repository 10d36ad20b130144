// velmar delta FILE --lap N --ref M [--ref-file FILE2]: how far lap N is
// behind lap M (of the same outing, or of FILE2) along the lap, in seconds,
// on a grid of metres over the reference lap. Negative is ahead; the last
// line is the difference of the two lap times.
#include <iostream>
#include <memory>

#include "commands.h"
#include "host_error.h"
#include "lap_traces.h"
#include "output.h"

namespace velmar::cli {
namespace {

struct DeltaOptions {
  std::string file;
  int lap = 0;
  int ref = 0;
  std::string refFile;
  double step = 5.0;
  bool json = false;
};

Json LapJson(const std::string& file, const LapRow& lap) {
  return Json{{"file", file}, {"name", Utf8(lap.name)}, {"time", LapTime(lap)}, {"seconds", Seconds(lap.end - lap.start)}};
}

void Run(const DeltaOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  std::unique_ptr<LoadedOuting> other;
  if (!options.refFile.empty()) other = std::make_unique<LoadedOuting>(session, options.refFile);
  LoadedOuting& refOuting = other ? *other : outing;
  const LapRow lap = FindLap(outing, options.lap);
  const LapRow ref = FindLap(refOuting, options.ref);
  KivTimeDelta delta;
  if (KivResult r = KivComputeTimeDelta(ReadLapDistance(outing, lap), ReadLapDistance(refOuting, ref), options.step, &delta);
      Failed(r)) {
    Fail(options.file, "cannot compare " + Utf8(lap.name) + " with " + Utf8(ref.name) + ": a lap covers no distance", r);
  }
  if (options.json) {
    Json values = Json::array();
    for (double seconds : delta.seconds) values.push_back(JsonNumber(seconds));
    WriteJson(std::cout, Json{{"lap", LapJson(options.file, lap)},
                              {"reference", LapJson(refOuting.file(), ref)},
                              {"step", options.step},
                              {"distances", delta.distances},
                              {"delta", std::move(values)}});
    return;
  }
  WriteTsvRow(std::cout, {"distance", "delta"});
  for (size_t i = 0; i < delta.distances.size(); ++i) {
    WriteTsvRow(std::cout, {FormatValue(delta.distances[i]), FormatValue(delta.seconds[i])});
  }
}

}  // namespace

void AddDeltaCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<DeltaOptions>();
  CLI::App* command = app.add_subcommand("delta", "Time delta of one lap against another along the lap");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("--lap", options->lap, "Number of the lap to compare")->required();
  command->add_option("--ref", options->ref, "Number of the reference lap")->required();
  command->add_option("--ref-file", options->refFile, "Data set of the reference lap (default: FILE)");
  command->add_option("--step", options->step, "Metres between points")->check(CLI::PositiveNumber);
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
