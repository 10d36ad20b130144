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
#include "velmar/classes.h"
#include "velmar/class_registry.h"
#include "velmar/time_regions.h"

namespace velmar::cli {
namespace {

struct RegionsOptions {
  std::string file;
  std::string finder;
  std::string map;
  bool json = false;
};

struct RegionRow {
  std::u16string name;
  KivTime start = 0;
  KivTime end = 0;
  bool auxiliary = false;
};

struct FinderResult {
  int32_t defaultRegion = 0;
  int32_t lastComplete = 0;
  std::vector<RegionRow> rows;
};

// Counts the finder's changes, so that a read that a data arrival made
// stale is read again.
class ChangeCounter final : public CTimeRegionFinderNotificationsReceiver {
 public:
  explicit ChangeCounter(IKivTimeRegionFinder* finder) : finder_(finder) {
    sink_->SetReceiver(this);
    (void)sink_->Connect(finder);
  }
  ~ChangeCounter() override {
    sink_->SetReceiver(nullptr);
    sink_->Disconnect(finder_);
  }
  void OnRegionsChanged() override { ++count; }
  int count = 0;

 private:
  IKivTimeRegionFinder* finder_;
  ComPtr<CTimeRegionFinderNotificationsSink<>> sink_ = MakeKiv<CTimeRegionFinderNotificationsSink<>>();
};

Guid FinderClass(const std::string& kind) {
  if (kind == "lap") return CLSID_KivLapFinder;
  if (kind == "segment") return CLSID_KivSegmentFinder;
  return CLSID_KivOutingFinder;
}

std::vector<RegionRow> ReadRows(IKivTimeRegions* regions) {
  int32_t count = 0;
  (void)regions->GetCount(&count);
  std::vector<RegionRow> rows;
  for (int32_t i = 1; i <= count; ++i) {
    RegionRow row;
    KivBool auxiliary = KIV_FALSE;
    (void)regions->GetName(i, i, &row.name);
    (void)regions->GetStart(i, &row.start);
    (void)regions->GetEnd(i, &row.end);
    (void)regions->GetAuxiliary(i, &auxiliary);
    row.auxiliary = auxiliary != KIV_FALSE;
    rows.push_back(std::move(row));
  }
  return rows;
}

// Reads until a read holds: data that arrives for a read throws its regions away.
FinderResult ReadFinder(LoadedOuting& outing, IKivTimeRegionFinder3* finder) {
  if (Failed(finder->SetOuting(outing.outing()))) Fail(outing.file(), "the finder cannot follow this outing");
  ChangeCounter changes(finder);
  constexpr int kMaxReads = 8;
  FinderResult result;
  for (int attempt = 0; attempt < kMaxReads; ++attempt) {
    ComPtr<IKivTimeRegions> regions;
    if (Failed(finder->GetRegions(regions.Put()))) Fail(outing.file(), "cannot find the regions");
    const int seen = changes.count;
    result.rows = ReadRows(regions.Get());
    (void)finder->GetDefaultRegion(&result.defaultRegion);
    (void)finder->GetLastCompleteRegion(&result.lastComplete);
    if (!outing.session().Settle(outing.file())) Fail(outing.file(), "timed out while finding the regions");
    if (changes.count == seen) return result;
  }
  return result;
}

void Run(const RegionsOptions& options, const CommandContext& context) {
  const Guid clsid = FinderClass(options.finder);
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  if (!options.map.empty()) UseCircuitMap(session, options.map);
  LoadedOuting outing(session, options.file);
  (void)outing.LapMarkers();
  UseSessionRoot(outing);
  ComPtr<IKivTimeRegionFinder3> finder;
  if (KivResult r = KivCreateInstance(clsid, IKivTimeRegionFinder3::iid, finder.PutVoid()); Failed(r)) {
    Fail("velmar regions", "the " + options.finder + " finder cannot be made", r);
  }
  const FinderResult result = ReadFinder(outing, finder.Get());
  (void)finder->SetOuting(nullptr);
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
