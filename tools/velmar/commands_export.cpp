// velmar export IN OUT: the chosen channels (and, with --events, the event
// sets) of one data set written into a new one, at their native rate or
// resampled onto one grid, in one transaction.
//
// The new data set is made through the outing factory's create path and
// selected in the session's task; the input's channel and event factories
// join that selection as sources, so the new outing's writers see the
// input's items as a host tool's worked-out channels would be seen.
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "commands.h"
#include "export_run.h"
#include "host_error.h"
#include "output.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct ExportCommandOptions {
  std::string in;
  std::string out;
  std::vector<std::string> channels;
  bool events = false;
  bool information = false;
  std::optional<double> from;
  std::optional<double> to;
  std::optional<double> rate;
  std::optional<double> periodMs;
};

// The grid's period in ticks; 0 for the native rate.
KivTime PeriodOf(const ExportCommandOptions& options) {
  if (options.rate) return static_cast<KivTime>(std::llround(kTicksPerSecond / *options.rate));
  if (options.periodMs) return static_cast<KivTime>(std::llround(*options.periodMs * 10'000.0));
  return 0;
}

void Run(const ExportCommandOptions& options, const CommandContext& context) {
  ExportRequest request;
  request.in = options.in;
  request.out = options.out;
  for (const std::string& name : options.channels) request.channels.push_back(Utf8ToWide(name));
  request.events = options.events;
  request.information = options.information;
  request.start = options.from ? TicksOfSeconds(*options.from) : kTimeMin;
  request.end = options.to ? TicksOfSeconds(*options.to) : kTimeMax;
  request.period = PeriodOf(options);
  const ExportCounts counts = RunExport(request, context);
  std::cout << options.out << ": " << counts.channels << " channels, " << counts.eventSets << " event sets\n";
}

}  // namespace

void AddExportCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<ExportCommandOptions>();
  CLI::App* command = app.add_subcommand("export", "Write channels and events of a data set into a new one");
  command->add_option("IN", options->in, "Data set to read (.txt or .trn)")->required();
  command->add_option("OUT", options->out, "New data set to write (.txt, .trn, .mat; .xlsx or .xls with --period or --rate)")->required();
  command->add_option("--channels", options->channels, "Channels to write (all when none named)")->delimiter(',');
  command->add_flag("--events", options->events, "Write the event sets too");
  command->add_flag("--info", options->information,
                    "Write the input's outing information too (driver, track, car, session, comments)");
  command->add_option("--from", options->from, "Start of the range, in seconds");
  command->add_option("--to", options->to, "End of the range, in seconds");
  auto* rate = command->add_option("--rate", options->rate, "Resample onto a grid of this many samples a second")
                   ->check(CLI::PositiveNumber);
  command->add_option("--period", options->periodMs, "Resample onto a grid of this period, in milliseconds")
      ->check(CLI::PositiveNumber)
      ->excludes(rate);
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
