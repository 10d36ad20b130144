// velmar channels FILE: one line per channel with its unit, sample count,
// rate and range of values.
#include <iostream>
#include <memory>

#include "channel_samples.h"
#include "commands.h"
#include "output.h"
#include "velmar/channel_key.h"

namespace velmar::cli {
namespace {

struct ChannelsOptions {
  std::string file;
  bool json = false;
  bool baseUnits = false;
};

std::optional<double> RateHz(const SampleSummary& summary) {
  if (!summary.interval) return std::nullopt;
  return static_cast<double>(kTicksPerSecond) / static_cast<double>(*summary.interval);
}

Json ChannelJson(const std::u16string& name, const ChannelUnit& unit, const SampleSummary& summary) {
  const std::optional<double> rate = RateHz(summary);
  return Json{{"name", Utf8(name)},
              {"unit", Utf8(unit.text)},
              {"samples", summary.count},
              {"rate_hz", JsonNumber(rate)},
              {"aperiodic", summary.count > 0 && !rate},
              {"min", JsonNumber(summary.minimum)},
              {"max", JsonNumber(summary.maximum)}};
}

std::vector<std::string> ChannelRow(const std::u16string& name, const ChannelUnit& unit,
                                    const SampleSummary& summary) {
  const std::optional<double> rate = RateHz(summary);
  return {Utf8(name),
          Utf8(unit.text),
          std::to_string(summary.count),
          rate ? FormatValue(rate) : (summary.count > 0 ? "aperiodic" : ""),
          FormatValue(summary.minimum),
          FormatValue(summary.maximum)};
}

void Run(const ChannelsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  Json list = Json::array();
  if (!options.json) WriteTsvRow(std::cout, {"name", "unit", "samples", "rate", "min", "max"});
  for (const std::u16string& name : outing.ChannelNames()) {
    const std::u16string shown = ChannelDisplayName(name);
    UseSessionRoot(outing);
    (void)outing.Channel(name);  // made first, so its property is in the database
    const ChannelUnit unit = FindChannelUnit(outing.session().root(), name, options.baseUnits);
    // Read in place: the samples are not copied.
    const SampleSummary summary = SummarizeBlocks(outing, name, unit);
    if (options.json) {
      list.push_back(ChannelJson(shown, unit, summary));
    } else {
      WriteTsvRow(std::cout, ChannelRow(shown, unit, summary));
    }
  }
  if (options.json) WriteJson(std::cout, Json{{"file", options.file}, {"channels", list}});
}

}  // namespace

void AddChannelsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<ChannelsOptions>();
  CLI::App* command = app.add_subcommand("channels", "List the channels: unit, samples, rate, min and max");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  command->add_flag("--base-units", options->baseUnits, "Show each quantity in its base unit");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
