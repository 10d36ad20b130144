// velmar markers FILE add|shift|remove|reset: edits the lap markers of a
// `.trn` data set through one transaction, and reports its messages. The
// exit status is not 0 when the transaction reported a failure.
#include <iostream>
#include <memory>
#include <optional>

#include "commands.h"
#include "edit_transaction.h"
#include "host_error.h"
#include "loaded_outing.h"
#include "output.h"
#include "velmar/lap_markers.h"
#include "velmar/transaction.h"

namespace velmar::cli {
namespace {

struct MarkersOptions {
  std::string file;
  std::string action;
  std::optional<double> seconds;
  std::optional<double> metres;
  double shift = 0.0;
  uint32_t index = 0;
};

// Queues the one edit the options name.
KivResult QueueEdit(IKivLapMarkerWriter* writer, const MarkersOptions& options) {
  if (options.action == "add") {
    return options.seconds ? writer->AddLapMarkerAtTime(static_cast<KivTime>(*options.seconds * kTicksPerSecond))
                           : writer->AddLapMarkerAtDistance(*options.metres);
  }
  if (options.action == "shift") return writer->ShiftLapMarkers(options.shift);
  if (options.action == "remove") return writer->RemoveLapMarker(options.index);
  return writer->ResetLapMarkers();
}

void Run(const MarkersOptions& options, const CommandContext& context) {
  if (options.action == "add" && options.seconds.has_value() == options.metres.has_value()) {
    Fail(options.file, "markers add takes one of --time and --distance");
  }
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  auto writer = QueryAs<IKivLapMarkerWriter>(outing.outing());
  if (!writer) Fail(options.file, "the lap markers of this data set cannot be edited");
  (void)outing.LapMarkers();  // the edits check against the markers read
  // The distance channel is found through the root's common channels.
  if (auto channels = QueryAs<IKivChannelFactory>(outing.outing())) (void)channels->SetRoot(session.root());

  RunEditTransaction(outing, options.action, [&] { return QueueEdit(writer.Get(), options); });
  std::cout << options.file << ": lap markers " << options.action << " done\n";
}

}  // namespace

void AddMarkersCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<MarkersOptions>();
  CLI::App* command = app.add_subcommand("markers", "Edit the lap markers of a .trn data set");
  command->add_option("FILE", options->file, "Data set (.trn)")->required();
  command->require_subcommand(1);

  CLI::App* add = command->add_subcommand("add", "Add a lap marker");
  auto* time = add->add_option("--time", options->seconds, "At this time, in seconds");
  add->add_option("--distance", options->metres, "Where the distance channel reaches this, in metres")
      ->excludes(time);
  CLI::App* shift = command->add_subcommand("shift", "Move every line crossing along the lap");
  shift->add_option("METRES", options->shift, "Distance to move by (negative: back)")->required();
  CLI::App* remove = command->add_subcommand("remove", "Remove a lap marker");
  remove->add_option("N", options->index, "Marker number, from 1")->required();
  command->add_subcommand("reset", "Back to the recorded lap markers");

  for (CLI::App* sub : command->get_subcommands({})) {
    sub->callback([options, sub, &context] {
      options->action = sub->get_name();
      Run(*options, context);
    });
  }
}

}  // namespace velmar::cli
