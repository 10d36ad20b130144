// velmar align FILE FILE... [--json]: the outings in one task, one data
// selection each, put on one clock by the global time finder. For each file,
// its "Global Time" region and its shift against the reference outing (the
// one whose clock read least at its anchor). A file without a usable clock
// keeps its own span, unshifted, with a note.
#include <iostream>
#include <memory>

#include "channel_samples.h"
#include "commands.h"
#include "host_error.h"
#include "loaded_outing.h"
#include "output.h"
#include "velmar/channel_key.h"
#include "velmar/classes.h"
#include "velmar/text.h"
#include "velmar/time_regions.h"

namespace velmar::cli {
namespace {

struct AlignOptions {
  std::vector<std::string> files;
  bool json = false;
};

struct Aligned {
  KivTime start = 0;
  KivTime end = 0;
  KivTime shift = 0;
  bool clock = false;
  friend bool operator==(const Aligned&, const Aligned&) = default;
};

constexpr int kRounds = 6;

bool HasClock(const LoadedOuting& outing) {
  for (const std::u16string& name : outing.ChannelNames()) {
    if (ChannelDisplayName(name) == u"Global Time") return true;
  }
  return false;
}

// Each finder's region, read until a round changes nothing: a finder that
// finds an earlier reference makes the others start again.
std::vector<Aligned> Align(HostSession& session, const std::vector<std::unique_ptr<LoadedOuting>>& outings,
                           const std::vector<ComPtr<IKivTimeRegionFinder>>& finders) {
  std::vector<Aligned> result(outings.size()), previous;
  for (int round = 0; round < kRounds && result != previous; ++round) {
    previous = result;
    for (size_t i = 0; i < finders.size(); ++i) {
      ComPtr<IKivTimeRegions> regions;
      int32_t count = 0;
      if (Failed(finders[i]->GetRegions(regions.Put())) || Failed(regions->GetCount(&count)) || count < 1) continue;
      (void)regions->GetStart(1, &result[i].start);
      (void)regions->GetEnd(1, &result[i].end);
      KivTime outingStart = 0;
      (void)outings[i]->LapMarkers()->GetOutingStart(&outingStart);
      result[i].shift = result[i].start - outingStart;
    }
    if (!session.Settle("aligning")) Fail("velmar align", "timed out while reading the clocks");
  }
  return result;
}

void Run(const AlignOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  std::vector<std::unique_ptr<LoadedOuting>> outings;
  std::vector<ComPtr<IKivTimeRegionFinder>> finders;
  for (const std::string& file : options.files) {
    outings.push_back(std::make_unique<LoadedOuting>(session, file));
    (void)outings.back()->LapMarkers();
    UseSessionRoot(*outings.back());
    ComPtr<IKivTimeRegionFinder> finder;
    if (KivResult r = KivCreateInstance(CLSID_KivGlobalTimeFinder, &finder); Failed(r))
      Fail("velmar align", "the global time finder cannot be made", r);
    if (KivResult r = finder->SetOuting(outings.back()->outing()); Failed(r))
      Fail(file, "the outing is in no data selection of a task", r);
    finders.push_back(finder);
  }
  std::vector<Aligned> aligned = Align(session, outings, finders);
  for (size_t i = 0; i < outings.size(); ++i) {
    aligned[i].clock = HasClock(*outings[i]);
    if (!aligned[i].clock) std::cerr << options.files[i] << ": no usable clock channel; not aligned\n";
  }
  for (auto& finder : finders) (void)finder->SetOuting(nullptr);
  if (options.json) {
    Json list = Json::array();
    for (size_t i = 0; i < outings.size(); ++i) {
      list.push_back(Json{{"file", options.files[i]},
                          {"start_ticks", aligned[i].start},
                          {"end_ticks", aligned[i].end},
                          {"shift_ticks", aligned[i].shift}});
    }
    WriteJson(std::cout, Json{{"outings", list}});
    return;
  }
  WriteTsvRow(std::cout, {"file", "start", "end", "shift"});
  for (size_t i = 0; i < outings.size(); ++i) {
    WriteTsvRow(std::cout, {options.files[i], SevenDecimals(aligned[i].start), SevenDecimals(aligned[i].end),
                            SevenDecimals(aligned[i].shift)});
  }
}

}  // namespace

void AddAlignCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<AlignOptions>();
  CLI::App* command = app.add_subcommand("align", "Put outings recorded at once on one clock (global time)");
  command->add_option("FILE", options->files, "Data sets (.txt or .trn)")->required();
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
