#include "lap_traces.h"

#include "channel_samples.h"
#include "host_error.h"
#include "item_wait.h"
#include "output.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

ComPtr<IKivDataFactory> SelectionChannels(const LoadedOuting& outing) {
  UseSessionRoot(outing);  // the common channels and the units hang on the root
  auto channels = QueryAs<IKivDataFactory>(outing.selection());
  if (!channels) Fail(outing.file(), "this outing has no channels");
  return channels;
}

KivLapTrace ReadTrace(const LoadedOuting& outing, const std::u16string& listed, const LapRow& lap, bool byDistance) {
  // Both channels' data in first, so that the library's read answers at once.
  (void)ReadChannelBlocks(outing, listed);
  if (byDistance) (void)ReadChannelBlocks(outing, RequireDistanceChannel(outing));
  ComPtr<IKivDataFactory> channels = SelectionChannels(outing);
  KivLapTrace trace;
  const KivResult r = ReadWhenReady(outing.session(), outing.outing(), outing.file(), [&] {
    return KivReadLapTrace(channels.Get(), listed, lap.start, lap.end, byDistance, &trace);
  });
  if (Failed(r)) outing.FailItem("cannot read over " + Utf8(lap.name) + " channel", listed, r);
  if (trace.times.empty()) outing.FailItem("no samples in " + Utf8(lap.name) + " of channel", listed, S_FALSE);
  return trace;
}

}  // namespace

std::u16string RequireDistanceChannel(const LoadedOuting& outing) {
  ComPtr<IKivDataFactory> channels = SelectionChannels(outing);
  ComPtr<IKivChannel> channel;
  std::u16string lookedFor;
  std::u16string name;
  // A selection hands out a proxy for any name; only a listed one has data.
  if (Succeeded(KivFindLapDistanceChannel(channels.Get(), &channel, &lookedFor)) && channel) {
    (void)channel->GetName(&name);
    const NameList listed = outing.ChannelNames();
    if (std::find(listed.begin(), listed.end(), name) != listed.end()) return name;
  }
  Fail(outing.file(), "no distance channel (looked for the common channels " + Utf8(lookedFor) + ")");
}

LapChannel ReadLapChannel(const LoadedOuting& outing, const std::u16string& name, const LapRow& lap, bool byDistance) {
  LapChannel read;
  read.name = name;
  const std::u16string listed = outing.ChannelListName(name);
  (void)outing.Channel(listed);  // a missing channel is named before anything is read
  read.trace = ReadTrace(outing, listed, lap, byDistance);
  read.unit = FindChannelUnit(outing.session().root(), listed, false);
  FromBaseUnit(read.unit, read.trace.values);
  return read;
}

KivLapTrace ReadLapDistance(const LoadedOuting& outing, const LapRow& lap) {
  return ReadTrace(outing, RequireDistanceChannel(outing), lap, true);
}

std::string LapLegend(const LapRow& lap) {
  std::string time = LapTime(lap);
  if (time.size() > 1 && time[0] == '0' && time[1] != ':' && time[1] != '.') time.erase(0, 1);
  return Utf8(lap.name) + "  " + time;
}

}  // namespace velmar::cli
