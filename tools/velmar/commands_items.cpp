// velmar events FILE, velmar constants FILE and velmar blobs FILE: the
// outing's events in time order, its constants with their values and units,
// and its blobs with their types and sizes.
#include <iostream>
#include <memory>

#include "commands.h"
#include "edit_commands.h"
#include "event_edit.h"
#include "outing_items.h"
#include "output.h"

namespace velmar::cli {
namespace {

struct ItemsOptions {
  std::string file;
  bool json = false;
};

void RunEvents(const ItemsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  const std::vector<EventRow> rows = ReadEvents(outing);
  if (options.json) {
    Json list = Json::array();
    for (const EventRow& row : rows) {
      list.push_back(Json{{"time", Seconds(row.time)},
                          {"name", Utf8(row.set)},
                          {"category", row.category},
                          {"source", Utf8(row.source)},
                          {"message", Utf8(row.message)}});
    }
    WriteJson(std::cout, Json{{"file", options.file}, {"events", list}});
    return;
  }
  WriteTsvRow(std::cout, {"time", "name", "category", "source", "message"});
  for (const EventRow& row : rows) {
    WriteTsvRow(std::cout, {FormatSeconds(row.time), Utf8(row.set), std::to_string(row.category), Utf8(row.source),
                            Utf8(row.message)});
  }
}

void RunConstants(const ItemsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  const std::vector<ConstantRow> rows = ReadConstants(outing);
  if (options.json) {
    Json list = Json::array();
    for (const ConstantRow& row : rows) {
      list.push_back(Json{{"name", Utf8(row.name)}, {"value", JsonNumber(row.value)}, {"unit", Utf8(row.unit)}});
    }
    WriteJson(std::cout, Json{{"file", options.file}, {"constants", list}});
    return;
  }
  WriteTsvRow(std::cout, {"name", "value", "unit"});
  for (const ConstantRow& row : rows) WriteTsvRow(std::cout, {Utf8(row.name), FormatValue(row.value), Utf8(row.unit)});
}

void RunBlobs(const ItemsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, options.file);
  const std::vector<BlobRow> rows = ReadBlobs(outing);
  if (options.json) {
    Json list = Json::array();
    for (const BlobRow& row : rows) {
      list.push_back(Json{{"name", Utf8(row.name)}, {"type", Utf8(row.type)}, {"bytes", row.bytes.size()}});
    }
    WriteJson(std::cout, Json{{"file", options.file}, {"blobs", list}});
    return;
  }
  WriteTsvRow(std::cout, {"name", "type", "bytes"});
  for (const BlobRow& row : rows) {
    WriteTsvRow(std::cout, {Utf8(row.name), Utf8(row.type), std::to_string(row.bytes.size())});
  }
}

CLI::App* AddFileCommand(CLI::App& app, const char* name, const char* description, ItemsOptions& options) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_option("FILE", options.file, "Data set (.txt or .trn)")->required();
  command->add_flag("--json", options.json, "Write JSON instead of tab-separated lines");
  return command;
}

}  // namespace

void AddEventsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<ItemsOptions>();
  auto removal = std::make_shared<EventRemoval>();
  CLI::App* command = AddFileCommand(app, "events", "List the events in time order", *options);
  CLI::App* remove = command->add_subcommand("remove", "Remove an event added in analysis (.trn, .txt)");
  remove->add_option("--name", removal->name, "Name of the event set")->required();
  remove->add_option("--time", removal->seconds, "Time of the event, in seconds")->required();
  remove->callback([options, removal, &context] { RemoveEvent(options->file, *removal, context); });
  command->callback([options, remove, &context] {
    if (!remove->parsed()) RunEvents(*options, context);
  });
}

void AddBlobsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<ItemsOptions>();
  CLI::App* command = AddFileCommand(app, "blobs", "List the blobs with their types and sizes in bytes", *options);
  AddBlobEdits(*command, options->file, context);
  command->callback([options, command, &context] {
    if (command->get_subcommands().empty()) RunBlobs(*options, context);
  });
}

void AddConstantsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<ItemsOptions>();
  CLI::App* command = AddFileCommand(app, "constants", "List the constants with their values and units", *options);
  AddConstantEdits(*command, options->file, context);
  command->callback([options, command, &context] {
    if (command->get_subcommands().empty()) RunConstants(*options, context);
  });
}

}  // namespace velmar::cli
