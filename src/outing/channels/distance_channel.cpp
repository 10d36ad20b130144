#include "outing/channels/distance_channel.h"

#include <algorithm>

#include <string>

#include "velmar/channel_key.h"
#include "velmar/common_channels.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

// Interpolated, over the whole channel.
constexpr int32_t kInterpolate = 2;
constexpr uint32_t kWholeRange = 0;

}  // namespace

KivResult FindCommonChannel(IKivDataFactory* channels, CommonChannelRole role, ComPtr<IKivChannel>* channel,
                            KivResult badKey) {
  if (!channels || !channel) return E_POINTER;
  *channel = nullptr;
  ComPtr<IKivUnknown> root;
  if (KivResult r = channels->GetRoot(root.Put()); Failed(r)) return r;
  auto velmar = root.As<IKivVelmar>();
  if (!velmar) return E_NOINTERFACE;
  ComPtr<IKivCommonChannels> common;
  if (KivResult r = velmar->GetCommonChannels(common.Put()); Failed(r)) return r;
  std::u16string text;
  if (KivResult r = GetCommonChannel(common.Get(), role, &text); Failed(r)) return r;
  CChannelKey key;
  if (!CChannelKey::Parse(text, &key)) return badKey;
  auto factory = QueryAs<IKivChannelFactory>(channels);
  if (!factory) return E_NOINTERFACE;
  // A factory that lists its names answers only for those; a selection's
  // would hand out a proxy with no channel behind it for any name.
  NameList listed;
  (void)channels->GetNames(&listed);
  auto usable = [&](const std::u16string& name) {
    return listed.empty() || std::find(listed.begin(), listed.end(), name) != listed.end();
  };
  // A channel recorded without its quantity is still the one of that name.
  KivResult r = E_INVALIDARG;
  for (const std::u16string& name : {key.text(), CChannelKey(key.name(), 0).text(), key.name()}) {
    if (!usable(name)) continue;
    r = factory->GetItem(name, channel->Put());
    if (Succeeded(r)) return r;
  }
  // Last, a channel of that name recorded under another quantity.
  for (const std::u16string& name : listed) {
    CChannelKey other;
    if (CChannelKey::Parse(name, &other) && other.name() == key.name()) return factory->GetItem(name, channel->Put());
  }
  return r;
}

KivResult FindDistanceChannel(IKivDataFactory* channels, ComPtr<IKivChannel>* channel) {
  return FindCommonChannel(channels, CommonChannelRole::kDistance, channel, KIV_E_BAD_DISTANCE_CHANNEL);
}

KivResult DistanceData(IKivChannel* channel, ComPtr<IKivChannelIterator2>* data) {
  if (!channel || !data) return E_POINTER;
  *data = nullptr;
  return channel->GetIterator(data->Put());
}

KivResult TimeToDistance(IKivChannelIterator* data, KivTime time, double* distance) {
  if (!data || !distance) return E_POINTER;
  KivResult r = data->GetValueAtTime(time, kInterpolate, kWholeRange, distance);
  return Failed(r) ? r : S_OK;
}

KivResult DistanceToTime(IKivChannelIterator* data, double distance, KivTime* time) {
  if (!data || !time) return E_POINTER;
  KivResult r = data->FindTimeOfValue(distance, kInterpolate, kWholeRange, time);
  return Failed(r) ? r : S_OK;
}

}  // namespace velmar
