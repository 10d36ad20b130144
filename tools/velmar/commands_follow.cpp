// velmar follow ADDRESS: follows live telemetry as a host does and prints,
// once a second, the caption, the connection, the time range, the newest
// value of each listed channel and any new lap; ends after --for seconds,
// or when interrupted.
#include <algorithm>
#include <csignal>
#include <iostream>
#include <memory>
#include <sstream>

#include "commands.h"
#include "host_error.h"
#include "output.h"
#include "velmar/channel_key.h"
#include "velmar/client_thread.h"
#include "velmar/realtime_follow.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct FollowOptions {
  std::string address;
  double seconds = 10.0;
  std::string channels;
  bool json = false;
};

volatile std::sig_atomic_t stopAsked = 0;
void AskStop(int) { stopAsked = 1; }

// The listed names of the channels asked for: as listed ("[3]Speed") or by
// the name a user sees ("Speed"); a name no channel has stays as it is.
std::vector<std::u16string> ListedNames(const std::string& list, const std::vector<std::u16string>& listed) {
  std::vector<std::u16string> names;
  std::stringstream in(list);
  for (std::string name; std::getline(in, name, ',');) {
    if (name.empty()) continue;
    const std::u16string wide = Utf8ToWide(name);
    const auto found = std::find_if(listed.begin(), listed.end(), [&](const std::u16string& l) {
      return l == wide || ChannelDisplayName(l) == wide;
    });
    names.push_back(found == listed.end() ? wide : *found);
  }
  return names;
}

// One report: the state now and the laps that came since the last one.
void Report(KivLiveFollower& live, const std::vector<std::u16string>& channels, size_t* lapsShown, double at,
            bool json) {
  Json line = {{"at", at}, {"caption", Utf8(live.Caption())}, {"state", live.ConnectionState()},
               {"connected", live.IsConnected()}};
  KivTime start = 0, end = 0;
  const bool ranged = Succeeded(live.TimeRange(&start, &end));
  line["start"] = ranged ? Json(Seconds(start)) : Json();
  line["end"] = ranged ? Json(Seconds(end)) : Json();
  Json values = Json::object();
  for (const auto& channel : channels) {
    KivTime time = 0;
    double value = 0;
    values[Utf8(ChannelDisplayName(channel))] = live.LatestValue(channel, &time, &value) == S_OK ? JsonNumber(value) : Json();
  }
  line["values"] = values;
  std::vector<KivTime> laps;
  Json newLaps = Json::array();
  if (Succeeded(live.LapTimes(&laps))) {
    for (; *lapsShown < laps.size(); ++*lapsShown) newLaps.push_back({{"lap", *lapsShown + 1}, {"time", Seconds(laps[*lapsShown])}});
  }
  line["newLaps"] = newLaps;
  if (json) {
    std::cout << line.dump() << std::endl;
    return;
  }
  std::vector<std::string> fields = {FormatValue(at), line["caption"], "state " + std::to_string(live.ConnectionState()),
                                     live.IsConnected() ? "connected" : "not connected",
                                     ranged ? FormatSeconds(start) + "-" + FormatSeconds(end) : "no data"};
  for (const auto& [name, value] : values.items()) {
    fields.push_back(name + "=" + (value.is_null() ? std::string("-") : FormatValue(value.get<double>())));
  }
  for (const auto& lap : newLaps) {
    fields.push_back("lap " + std::to_string(lap["lap"].get<size_t>()) + " at " +
                     FormatValue(lap["time"].get<double>()));
  }
  WriteTsvRow(std::cout, fields);
  std::cout.flush();
}

void Run(const FollowOptions& options) {
  std::unique_ptr<KivLiveFollower> live;
  if (Failed(KivLiveFollower::Open(Utf8ToWide(options.address), &live))) {
    Fail(options.address, "not a real-time address (rt://host:port/name) or host list");
  }
  std::signal(SIGINT, AskStop);
  std::signal(SIGTERM, AskStop);
  const KivClientThread client = KivClientThread::Current();
  std::vector<std::u16string> channels;
  size_t lapsShown = 0;
  for (int second = 0; second < options.seconds && !stopAsked; ++second) {
    if (channels.empty()) {  // the first question connects; a reset may bring the channels later
      live->Caption();
      const std::vector<std::u16string> listed = live->ChannelNames();
      channels = options.channels.empty() ? std::vector<std::u16string>(listed.begin(), listed.begin() + std::min<size_t>(listed.size(), 4))
                                          : ListedNames(options.channels, listed);
    }
    client.RunUntil([] { return stopAsked != 0; }, std::chrono::milliseconds(1000));
    Report(*live, channels, &lapsShown, second + 1, options.json);
  }
}

}  // namespace

void AddFollowCommand(CLI::App& app, const CommandContext&) {
  auto options = std::make_shared<FollowOptions>();
  CLI::App* command = app.add_subcommand("follow", "Follow live telemetry, printing its state once a second");
  command->add_option("ADDRESS", options->address, "rt://host:port/name, or a host list")->required();
  command->add_option("--for", options->seconds, "Seconds to follow")->check(CLI::PositiveNumber);
  command->add_option("--channels", options->channels, "Channels to show, by name, comma-separated (default: the first four)");
  command->add_flag("--json", options->json, "One JSON object a line");
  command->callback([options] { Run(*options); });
}

}  // namespace velmar::cli
