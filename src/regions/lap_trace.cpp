#include "regions/lap_trace.h"

#include <algorithm>
#include <cmath>

#include "outing/blocks/fast_iterator.h"
#include "outing/channels/distance_channel.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

// The samples of one block strictly between start and end, appended.
void AppendInsideTimes(IKivDataBlock* block, KivTime start, KivTime end, std::vector<KivTime>* times) {
  std::span<const KivTime> own;
  if (Failed(block->GetTimesReference(&own))) return;
  auto first = std::upper_bound(own.begin(), own.end(), start);
  auto last = std::lower_bound(first, own.end(), end);
  times->insert(times->end(), first, last);
}

KivResult ChannelData(IKivChannelFactory* factory, const std::u16string& name, ComPtr<IKivChannelIterator2>* data) {
  ComPtr<IKivChannel> channel;
  if (KivResult r = factory->GetItem(name, channel.Put()); Failed(r)) return r;
  if (!channel) return E_FAIL;
  return channel->GetIterator(data->Put());
}

// The role's text for a message, "" when the root does not give it.
std::u16string RoleText(IKivDataFactory* channels, CommonChannelRole role) {
  ComPtr<IKivUnknown> root;
  ComPtr<IKivCommonChannels> common;
  std::u16string text;
  if (Succeeded(channels->GetRoot(root.Put()))) {
    if (auto velmar = root.As<IKivVelmar>(); velmar && Succeeded(velmar->GetCommonChannels(common.Put()))) {
      (void)GetCommonChannel(common.Get(), role, &text);
    }
  }
  return text;
}

}  // namespace

std::vector<KivTime> LapSampleTimes(IKivChannelIterator* data, KivTime start, KivTime end) {
  std::vector<KivTime> times;
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  if (!data || Failed(data->GetDataBlocks(blocks.Put())) || !blocks || Failed(blocks->GetCount(&count))) return times;
  times.push_back(start);
  for (uint32_t index = 1; index <= count; ++index) {
    ComPtr<IKivDataBlock> block;
    KivTime first = 0, last = 0;
    if (Failed(blocks->GetBlock(index, block.Put())) || !block || Failed(block->GetStartTime(&first)) ||
        Failed(block->GetEndTime(&last)) || last <= start || first >= end) {
      continue;
    }
    AppendInsideTimes(block.Get(), start, end, &times);
  }
  if (end > start) times.push_back(end);
  return times;
}

void FillLapTrace(IKivChannelIterator* values, IKivChannelIterator* distances, const std::vector<KivTime>& times,
                  KivLapTrace* trace) {
  *trace = {};
  if (times.empty()) return;
  CFastIterator valueWalk, distanceWalk;
  valueWalk.Attach(values);
  distanceWalk.Attach(distances);
  double origin = 0, reached = 0;
  for (KivTime t : times) {
    double value = 0, distance = 0;
    if (valueWalk.GetValue(t, &value) != CFastIterator::kValue) continue;
    if (distances && distanceWalk.GetValue(t, &distance) != CFastIterator::kValue) continue;
    trace->times.push_back(t - times.front());
    trace->values.push_back(value);
    if (!distances) continue;
    if (trace->distances.empty()) origin = distance;
    // A distance that dips (noise, a wheel locking) holds the furthest point reached.
    reached = std::max(reached, distance - origin);
    trace->distances.push_back(reached);
  }
}

KivResult KivFindLapDistanceChannel(IKivDataFactory* channels, ComPtr<IKivChannel>* channel,
                                    std::u16string* lookedFor) {
  if (!channels || !channel) return E_POINTER;
  if (lookedFor) lookedFor->clear();
  KivResult r = E_FAIL;
  for (CommonChannelRole role : {CommonChannelRole::kCorrectedDistance, CommonChannelRole::kDistance}) {
    if (lookedFor) *lookedFor += (lookedFor->empty() ? u"" : u", ") + RoleText(channels, role);
    r = FindCommonChannel(channels, role, channel, KIV_E_BAD_DISTANCE_CHANNEL);
    if (Succeeded(r) && *channel) return S_OK;
  }
  return Failed(r) ? r : E_FAIL;
}

KivResult KivFindTrackChannels(IKivDataFactory* channels, ComPtr<IKivChannel>* latitude,
                               ComPtr<IKivChannel>* longitude, std::u16string* lookedFor) {
  if (!channels || !latitude || !longitude) return E_POINTER;
  if (lookedFor) *lookedFor = RoleText(channels, CommonChannelRole::kLatitude) + u", " +
                              RoleText(channels, CommonChannelRole::kLongitude);
  KivResult r = FindCommonChannel(channels, CommonChannelRole::kLatitude, latitude);
  if (Succeeded(r)) r = FindCommonChannel(channels, CommonChannelRole::kLongitude, longitude);
  if (Succeeded(r) && (!*latitude || !*longitude)) r = E_FAIL;
  return Failed(r) ? r : S_OK;
}

KivResult KivReadLapTrace(IKivDataFactory* channels, const std::u16string& name, KivTime start, KivTime end,
                          bool byDistance, KivLapTrace* trace) {
  if (!channels || !trace) return E_POINTER;
  *trace = {};
  if (start > end) return E_INVALIDARG;
  auto factory = QueryAs<IKivChannelFactory>(channels);
  if (!factory) return E_NOINTERFACE;
  ComPtr<IKivChannelIterator2> values, distances;
  // Both fetches start before either answer is awaited.
  const KivResult valueRead = ChannelData(factory.Get(), name, &values);
  KivResult distanceRead = S_OK;
  if (byDistance) {
    ComPtr<IKivChannel> distance;
    distanceRead = KivFindLapDistanceChannel(channels, &distance, nullptr);
    if (Succeeded(distanceRead)) distanceRead = distance->GetIterator(distances.Put());
  }
  for (KivResult r : {valueRead, distanceRead}) {
    if (Failed(r) && r != KIV_E_PENDING) return r;
  }
  if (valueRead == KIV_E_PENDING || distanceRead == KIV_E_PENDING) return KIV_E_PENDING;
  if (!values || (byDistance && !distances)) return E_FAIL;
  FillLapTrace(values.Get(), distances.Get(), LapSampleTimes(values.Get(), start, end), trace);
  return trace->times.empty() ? S_FALSE : S_OK;
}

}  // namespace velmar
