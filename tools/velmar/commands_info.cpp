// velmar info FILE: what the outing says about itself, its type, its time
// range and how many items it holds.
#include <algorithm>
#include <iostream>
#include <memory>

#include <cstdio>

#include "channel_samples.h"
#include "host_error.h"
#include "commands.h"
#include "edit_commands.h"
#include "outing_items.h"
#include "output.h"
#include "velmar/caption.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct InfoOptions {
  std::string file;
  std::string captionFormat;  // empty: the outing's own caption
  bool json = false;
};

// The caption in the format asked for, or the outing's own.
std::string CaptionOf(const InfoOptions& options, const LoadedOuting& outing) {
  if (options.captionFormat.empty()) return Utf8(outing.Caption());
  std::u16string caption;
  (void)KivFormatOutingCaption(outing.outing(), Utf8ToWide(options.captionFormat), outing.session().root(), &caption);
  return Utf8(caption);
}

// A property's value as the listing shows it: a time in seconds.
std::string ValueText(const Variant& value) {
  if (const std::optional<KivTime> time = value.AsTime()) return FormatSeconds(*time);
  return Utf8(value.ToText());
}

const char* TypeName(uint32_t type) {
  switch (static_cast<OutingType>(type)) {
    case OutingType::kEmpty: return "empty";
    case OutingType::kTarn: return "native store";
    case OutingType::kMatFile: return "MAT-file";
    case OutingType::kText: return "text";
    case OutingType::kRealTime: return "real-time";
    case OutingType::kSpreadsheet: return "spreadsheet";
  }
  return "unknown";
}

struct OutingCounts {
  size_t channels = 0;
  size_t samples = 0;
  size_t eventSets = 0;
  std::optional<size_t> events;
  size_t constants = 0;
  std::optional<KivTime> start;
  std::optional<KivTime> end;
};

OutingCounts Count(const LoadedOuting& outing) {
  OutingCounts counts;
  const NameList channels = outing.ChannelNames();
  counts.channels = channels.size();
  for (const std::u16string& name : channels) {
    const SampleSummary summary = Summarize(ReadChannelSamples(outing, name));
    counts.samples += summary.count;
    if (summary.start) counts.start = counts.start ? std::min(*counts.start, *summary.start) : *summary.start;
    if (summary.end) counts.end = counts.end ? std::max(*counts.end, *summary.end) : *summary.end;
  }
  counts.eventSets = outing.EventSetNames().size();
  // A source that cannot hand out its events yet still has the rest to tell.
  try {
    counts.events = ReadEvents(outing).size();
  } catch (const HostError& error) {
    std::fprintf(stderr, "velmar: warning: %s\n", error.what());
    counts.events.reset();
  }
  counts.constants = outing.ConstantNames().size();
  return counts;
}

Json TimeJson(std::optional<KivTime> time) {
  return time ? Json(Seconds(*time)) : Json(nullptr);
}

void WriteJsonInfo(const InfoOptions& options, const LoadedOuting& outing, const OutingCounts& counts) {
  Json information = Json::object();
  for (const Property& property : outing.Information()) {
    information[Utf8(property.name)] = ValueText(property.value);
  }
  Json duration = nullptr;
  if (counts.start && counts.end) duration = Seconds(*counts.end - *counts.start);
  WriteJson(std::cout, Json{{"file", options.file},
                            {"type", outing.Type()},
                            {"type_name", TypeName(outing.Type())},
                            {"outing_id", Utf8(outing.OutingId())},
                            {"caption", CaptionOf(options, outing)},
                            {"start", TimeJson(counts.start)},
                            {"end", TimeJson(counts.end)},
                            {"duration", duration},
                            {"channels", counts.channels},
                            {"samples", counts.samples},
                            {"event_sets", counts.eventSets},
                            {"events", counts.events ? Json(*counts.events) : Json(nullptr)},
                            {"constants", counts.constants},
                            {"information", information}});
}

void WriteTsvInfo(const InfoOptions& options, const LoadedOuting& outing, const OutingCounts& counts) {
  auto row = [](const std::string& key, const std::string& value) { WriteTsvRow(std::cout, {key, value}); };
  row("file", options.file);
  row("type", std::to_string(outing.Type()) + " (" + TypeName(outing.Type()) + ")");
  row("outing_id", Utf8(outing.OutingId()));
  row("caption", CaptionOf(options, outing));
  row("start", counts.start ? FormatSeconds(*counts.start) : "");
  row("end", counts.end ? FormatSeconds(*counts.end) : "");
  row("duration", counts.start && counts.end ? FormatSeconds(*counts.end - *counts.start) : "");
  row("channels", std::to_string(counts.channels));
  row("samples", std::to_string(counts.samples));
  row("event_sets", std::to_string(counts.eventSets));
  row("events", counts.events ? std::to_string(*counts.events) : "");
  row("constants", std::to_string(counts.constants));
  for (const Property& property : outing.Information()) {
    row("information." + Utf8(property.name), ValueText(property.value));
  }
}

void Run(const InfoOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  const OutingCounts counts = Count(outing);
  if (options.json) {
    WriteJsonInfo(options, outing, counts);
  } else {
    WriteTsvInfo(options, outing, counts);
  }
}

}  // namespace

void AddInfoCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<InfoOptions>();
  CLI::App* command = app.add_subcommand("info", "Show the outing's information, type, time range and counts");
  command->add_option("FILE", options->file, "Data set (.txt or .trn)")->required();
  command->add_option("--caption-format", options->captionFormat,
                      "Caption format, e.g. \"%driver% %track% %fasttime%\" (default: the outing's caption)");
  command->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  AddInformationEdits(*command, options->file, context);
  command->callback([options, command, &context] {
    if (command->get_subcommands().empty()) Run(*options, context);
  });
}

}  // namespace velmar::cli
