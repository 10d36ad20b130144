// velmar laps FILE: the outing's laps as the lap finder cuts them from its
// lap markers, with each lap's time; the fastest lap (as the outing's
// information names it) is marked, and the laps that begin at the first
// movement or end past the last marker are flagged out and in laps.
#include <iostream>
#include <memory>

#include "circuit_map_file.h"
#include "commands.h"
#include "host_error.h"
#include "lap_list.h"
#include "loaded_outing.h"
#include "output.h"

namespace velmar::cli {
namespace {

struct LapsOptions {
  std::string file;
  std::string map;
  bool json = false;
};

void Run(const LapsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  if (!options.map.empty()) UseCircuitMap(session, options.map);
  LoadedOuting outing(session, options.file);
  const std::vector<LapRow> rows = ReadLaps(outing);
  if (options.json) {
    Json list = Json::array();
    for (const LapRow& row : rows) {
      list.push_back(Json{{"name", Utf8(row.name)},
                          {"start", Seconds(row.start)},
                          {"end", Seconds(row.end)},
                          {"time", LapTime(row)},
                          {"auxiliary", row.auxiliary},
                          {"fastest", row.fastest},
                          {"out_lap", row.outLap},
                          {"in_lap", row.inLap}});
    }
    WriteJson(std::cout, Json{{"file", options.file}, {"laps", list}});
    return;
  }
  WriteTsvRow(std::cout, {"lap", "start", "end", "time", "flags"});
  for (const LapRow& row : rows) {
    std::string flags = row.fastest ? "fastest" : "";
    for (const auto& [set, word] : {std::pair{row.outLap, "out"}, {row.inLap, "in"}, {row.auxiliary, "auxiliary"}}) {
      if (set) flags += (flags.empty() ? "" : ",") + std::string(word);
    }
    WriteTsvRow(std::cout, {Utf8(row.name), FormatSeconds(row.start), FormatSeconds(row.end), LapTime(row), flags});
  }
}

}  // namespace

void AddLapsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<LapsOptions>();
  CLI::App* command = app.add_subcommand("laps", "List the laps with their times");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("--map", options->map, "Circuit map (JSON) whose lap time predicts a live outing's lap");
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
