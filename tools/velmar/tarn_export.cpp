#include "tarn_export.h"

#include <cstdio>

#include "channel_samples.h"
#include "host_error.h"
#include "outing_items.h"
#include "sources/tarn/tarn_outing_reader.h"

namespace velmar::cli {
namespace {

TarnDataSetBlock ExportBlock(SampleBlock block) {
  TarnDataSetBlock out;
  out.continuous = block.continuous;
  out.firstTime = block.times.empty() ? block.start : block.times.front();
  // Two samples make a periodic block too; a period of 0 cannot be stored.
  if (block.periodic && block.interval > 0) {
    out.period = block.interval;
  } else {
    out.times = std::move(block.times);
  }
  out.values = std::move(block.values);
  return out;
}

TarnDataSetChannel ExportChannel(ChannelSamples samples) {
  TarnDataSetChannel channel;
  channel.name = samples.name;
  channel.quantity = samples.unit.quantity;
  channel.unit = kBaseUnit;
  if (samples.unit.quantity == kQuantityDimensionless) channel.userType = samples.unit.text;
  for (SampleBlock& block : samples.blocks) {
    if (block.values.empty()) continue;
    channel.blocks.push_back(ExportBlock(std::move(block)));
  }
  return channel;
}

// Items a source cannot hand out yet are left out, with a warning: the
// channels are still worth converting.
template <class Rows>
Rows ReadOrWarn(Rows (*read)(const LoadedOuting&), const LoadedOuting& outing) {
  try {
    return read(outing);
  } catch (const HostError& error) {
    std::fprintf(stderr, "velmar: warning: %s; left out\n", error.what());
    return {};
  }
}

}  // namespace

TarnDataSet ExportForTarn(const LoadedOuting& outing) {
  TarnDataSet data;
  for (const Property& property : outing.Information()) data.details[property.name] = property.value;
  for (const std::u16string& name : outing.ChannelNames()) {
    // A periodic block goes by its start and interval: its times are not made.
    TarnDataSetChannel channel = ExportChannel(ReadChannelSamples(outing, name, false));
    // The store keeps no channel without samples.
    if (!channel.blocks.empty()) data.channels.push_back(std::move(channel));
  }
  for (const EventRow& row : ReadOrWarn(&ReadEvents, outing)) {
    TarnDataSetEvent& event = data.events.emplace_back();
    event.time = row.time;
    event.name = row.set;
    event.source = row.source;
    event.message = row.message;
    event.kind = row.category;
  }
  for (const ConstantRow& row : ReadOrWarn(&ReadConstants, outing)) {
    if (!row.value) continue;
    TarnDataSetConstant& constant = data.constants.emplace_back();
    constant.name = row.name;
    constant.value = *row.value;
    constant.unit = row.unit;
  }
  TarnLapMarkersFromOuting(outing.outing(), [&] { return outing.session().Settle(outing.file()); }, &data);
  return data;
}

}  // namespace velmar::cli
