// velmar dump FILE CHANNEL... [--from S] [--to S]: the samples of the named
// channels, a time column then one column per channel.
#include <iostream>
#include <memory>

#include "commands.h"
#include "host_error.h"
#include "output.h"
#include "sample_table.h"
#include "channel_samples.h"
#include "channel_unit.h"
#include "loaded_outing.h"
#include "velmar/filter.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct DumpOptions {
  std::string file;
  std::vector<std::string> channels;
  std::optional<double> from;
  std::optional<double> to;
  bool json = false;
  bool baseUnits = false;
  std::optional<double> offset;
};

// The selection keeps a value offset per channel and its proxy reads through
// the offset filter. The library's offset is in the base unit; the user's
// is in the unit shown.
void SetValueOffset(const LoadedOuting& outing, const std::u16string& name, double offset, bool baseUnits) {
  UseSessionRoot(outing);  // before the channel is made, so it finds its unit
  ComPtr<IKivChannel> channel = outing.Channel(name);
  const ChannelUnit unit = FindChannelUnit(outing.session().root(), outing.ChannelListName(name), baseUnits);
  const double base = BaseUnitOffset(unit, offset);
  auto proxy = QueryAs<IKivChannelProxy>(channel.Get());
  if (!proxy) Fail(outing.file(), "channel \"" + WideToUtf8(name) + "\" takes no value offset");
  if (KivResult r = proxy->SetValueOffset(base); Failed(r)) outing.FailItem("cannot offset channel", name, r);
}

TimeWindow Window(const DumpOptions& options) {
  TimeWindow window;
  if (options.from) window.from = TicksOfSeconds(*options.from);
  if (options.to) window.to = TicksOfSeconds(*options.to);
  if (window.from > window.to) Fail(options.file, "--from is after --to");
  return window;
}

void WriteJsonDump(const std::string& file, const std::vector<ChannelSamples>& samples,
                   const std::vector<TimedValues>& columns) {
  Json list = Json::array();
  for (size_t c = 0; c < columns.size(); ++c) {
    Json times = Json::array();
    Json values = Json::array();
    for (size_t i = 0; i < columns[c].times.size(); ++i) {
      times.push_back(Seconds(columns[c].times[i]));
      values.push_back(JsonNumber(columns[c].values[i]));
    }
    list.push_back(Json{{"name", Utf8(samples[c].name)},
                        {"unit", Utf8(samples[c].unit.text)},
                        {"times", std::move(times)},
                        {"values", std::move(values)}});
  }
  WriteJson(std::cout, Json{{"file", file}, {"channels", list}});
}

// Rows go out through one buffer, a write per megabyte.
void WriteTsvDump(const std::vector<ChannelSamples>& samples, const std::vector<TimedValues>& columns) {
  std::vector<std::string> header{"time"};
  for (const ChannelSamples& channel : samples) header.push_back(Utf8(channel.name));
  WriteTsvRow(std::cout, header);
  constexpr size_t kFlushAt = size_t{1} << 20;
  std::string buffer;
  buffer.reserve(kFlushAt + 4096);
  ForEachRow(columns, [&](KivTime time, const std::vector<std::optional<double>>& cells) {
    AppendSeconds(buffer, time);
    for (const std::optional<double>& cell : cells) {
      buffer += '\t';
      AppendValue(buffer, cell);
    }
    buffer += '\n';
    if (buffer.size() >= kFlushAt) {
      std::cout.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
      buffer.clear();
    }
  });
  std::cout.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
}

void Run(const DumpOptions& options, const CommandContext& context) {
  const TimeWindow window = Window(options);
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  std::vector<ChannelSamples> samples;
  std::vector<TimedValues> columns;
  for (const std::string& name : options.channels) {
    if (options.offset) SetValueOffset(outing, Utf8ToWide(name), *options.offset, options.baseUnits);
    samples.push_back(ReadChannelSamples(outing, Utf8ToWide(name), !options.baseUnits));
    columns.push_back(SamplesInWindow(samples.back(), window));
  }
  WriteDump(options.file, options.json, samples, columns);
}

}  // namespace

void WriteDump(const std::string& file, bool json, const std::vector<ChannelSamples>& samples,
               const std::vector<TimedValues>& columns) {
  if (json) {
    WriteJsonDump(file, samples, columns);
  } else {
    WriteTsvDump(samples, columns);
  }
}

void AddDumpCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<DumpOptions>();
  CLI::App* command = app.add_subcommand("dump", "Write channel samples: time, then one column per channel");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("CHANNEL", options->channels, "Channel names")->required();
  command->add_option("--from", options->from, "First time, in seconds (inclusive)");
  command->add_option("--to", options->to, "Last time, in seconds (inclusive)");
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  command->add_flag("--base-units", options->baseUnits, "Values in each quantity's base unit");
  command->add_option("--offset", options->offset,
                      "Add this to every value, read through the selection's offset filter (in the unit shown)");
  command->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
