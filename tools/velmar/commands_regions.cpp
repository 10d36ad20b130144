// velmar regions FILE --finder lap|segment|outing [--map MAP.json] [--json]:
// the time regions one finder cuts from the outing, one line per region
// ("name  start  end  auxiliary", seconds with seven decimals), or JSON
// with the finder's default and last complete region (indexes from 1).
#include <cinttypes>
#include <cstdio>
#include <iostream>
#include <memory>

#include "channel_samples.h"
#include "circuit_map_file.h"
#include "commands.h"
#include "host_error.h"
#include "loaded_outing.h"
#include "output.h"
#include "region_list.h"

namespace velmar::cli {
namespace {

struct RegionsOptions {
  std::string file;
  std::string finder;
  std::string map;
  bool json = false;
};

void Run(const RegionsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  if (!options.map.empty()) UseCircuitMap(session, options.map);
  LoadedOuting outing(session, options.file);
  const FinderResult result = ReadRegions(outing, options.finder);
  if (options.json) {
    Json list = Json::array();
    for (const RegionRow& row : result.rows) {
      list.push_back(Json{{"name", Utf8(row.name)},
                          {"start_ticks", row.start},
                          {"end_ticks", row.end},
                          {"auxiliary", row.auxiliary}});
    }
    WriteJson(std::cout, Json{{"finder", options.finder},
                              {"default", result.defaultRegion},
                              {"last_complete", result.lastComplete},
                              {"regions", list}});
    return;
  }
  for (const RegionRow& row : result.rows) {
    WriteTsvRow(std::cout, {Utf8(row.name), SevenDecimals(row.start), SevenDecimals(row.end),
                            row.auxiliary ? "true" : "false"});
  }
}

}  // namespace

void AddRegionsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<RegionsOptions>();
  CLI::App* command = app.add_subcommand("regions", "List the time regions a finder cuts from the outing");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("--finder", options->finder, "lap, segment or outing")
      ->required()
      ->check(CLI::IsMember({"lap", "segment", "outing"}));
  command->add_option("--map", options->map, "Circuit map (JSON) to cut segments by");
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
