#include "sources/tarn/tarn_outing_reader.h"

#include <algorithm>

#include "velmar/blobs.h"
#include "velmar/channel_key.h"
#include "velmar/channel.h"
#include "velmar/constants.h"
#include "velmar/data_factory.h"
#include "velmar/events.h"
#include "velmar/lap_markers.h"
#include "velmar/property_factories.h"
#include "velmar/property_set.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

// Calls `read` until it stops answering `pending`, waiting in between.
template <class Read>
[[nodiscard]] KivResult WhenReady(Read&& read, const TarnWaitForData& wait, KivResult pending = KIV_E_PENDING) {
  KivResult r = read();
  for (int tries = 0; r == pending && tries < 3 && wait && wait(); ++tries) r = read();
  return r;
}

// The names of a factory once its list is in.
template <class Factory>
NameList NamesOf(IKivOuting* outing, const TarnWaitForData& wait) {
  ComPtr<Factory> factory = QueryAs<Factory>(outing);
  NameList names;
  if (!factory || Failed(factory->GetNames(&names))) return {};
  if (names.empty() && wait && wait()) (void)factory->GetNames(&names);  // a list read on this first demand
  return names;
}

void ReadDetails(IKivOuting* outing, const TarnWaitForData& wait, TarnDataSet* data) {
  ComPtr<IKivPropertySet> info;
  if (WhenReady([&] { return outing->GetOutingInformation(info.Put()); }, wait, S_FALSE) != S_OK || !info) return;
  PropertyList properties;
  if (Failed(info->GetProperties(&properties))) return;
  for (Property& p : properties) data->details.emplace(std::move(p.name), std::move(p.value));
}

// One block as the store takes it; false for a block with no samples.
bool ReadBlock(IKivDataBlock& block, TarnDataSetBlock* out) {
  KivBool periodic = 0, continuous = 0;
  if (Failed(block.GetValues(&out->values)) || out->values.empty()) return false;
  (void)block.GetContinuous(&continuous);
  out->continuous = FromKivBool(continuous);
  if (Succeeded(block.GetPeriodic(&periodic)) && FromKivBool(periodic) &&
      Succeeded(block.GetInterval(&out->period)) && out->period > 0) {
    return Succeeded(block.GetStartTime(&out->firstTime));
  }
  out->period = 0;
  if (Failed(block.GetTimes(&out->times)) || out->times.size() != out->values.size()) return false;
  out->firstTime = out->times.front();
  return true;
}

// What the root's channel property database holds for a channel listed by
// plain name (a text column's header named its unit): its quantity, or for a
// unit the units component does not know, the unit's text as the user type.
// Nothing when the factory has no root or the database no such channel.
void UnitFromDatabase(IKivChannelFactory& factory, TarnDataSetChannel* channel) {
  ComPtr<IKivUnknown> root;
  ComPtr<IKivChannelPropertyFactory> properties;
  auto velmar = Succeeded(factory.GetRoot(root.Put())) ? root.As<IKivVelmar>() : nullptr;
  if (!velmar || Failed(velmar->GetChannelPropertyFactory(properties.Put())) || !properties) return;
  uint32_t count = 0;
  (void)properties->GetKeyCount(&count);
  for (uint32_t index = 1; index <= count; ++index) {
    std::u16string keyName;
    int32_t quantity = 0;
    if (Failed(properties->GetKey(index, &keyName, &quantity)) || keyName != channel->name) continue;
    if (quantity > 0) {
      channel->quantity = static_cast<QuantityId>(quantity);
      return;
    }
    ComPtr<IKivPropertySet> set;
    Variant userType;
    if (Succeeded(properties->GetPropertySet(keyName, quantity, set.Put())) && set &&
        Succeeded(set->GetProperty(u"User type", &userType)) && userType.AsText())
      channel->userType = *userType.AsText();
  }
}

// E_FAIL when the factory hands out no channel at all: no data selection
// holds the outing. A channel that can't be read is left out.
KivResult ReadChannel(IKivChannelFactory& factory, const std::u16string& name, const TarnWaitForData& wait,
                      TarnDataSet* data) {
  ComPtr<IKivChannel> channel;
  if (const KivResult r = factory.GetItem(name, channel.Put()); Failed(r) || !channel) return r == E_FAIL ? r : S_OK;
  ComPtr<IKivChannelIterator2> iterator;
  if (WhenReady([&] { return channel->GetIterator(iterator.Put()); }, wait) != S_OK || !iterator) return S_OK;
  TarnDataSetChannel out;
  CChannelKey key;
  if (CChannelKey::Parse(name, &key)) {
    out.name = key.name();
    out.quantity = static_cast<QuantityId>(key.id());
  } else {
    out.name = name;
  }
  if (out.quantity == kQuantityDimensionless) UnitFromDatabase(factory, &out);
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  if (Succeeded(iterator->GetDataBlocks(blocks.Put())) && blocks && Succeeded(blocks->GetCount(&count))) {
    for (uint32_t i = 1; i <= count; ++i) {
      ComPtr<IKivDataBlock> block;
      TarnDataSetBlock read;
      if (Succeeded(blocks->GetBlock(i, block.Put())) && block && ReadBlock(*block, &read))
        out.blocks.push_back(std::move(read));
    }
  }
  data->channels.push_back(std::move(out));
  return S_OK;
}

void ReadEventSet(IKivEventsFactory& factory, const std::u16string& name, const TarnWaitForData& wait,
                  TarnDataSet* data) {
  ComPtr<IKivEventSet> set;
  if (Failed(factory.GetItem(name, set.Put())) || !set) return;
  ComPtr<IKivEventsIterator> iterator;
  if (WhenReady([&] { return set->GetIterator(iterator.Put()); }, wait) != S_OK || !iterator) return;
  ComPtr<IKivEvents> events;
  uint32_t count = 0;
  if (Failed(iterator->GetEvents(events.Put())) || !events || Failed(events->GetCount(&count))) return;
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivEvent> event;
    if (Failed(events->GetEvent(static_cast<int32_t>(i), event.Put())) || !event) continue;
    TarnDataSetEvent out;
    out.name = name;
    uint32_t category = 0;
    std::vector<uint8_t> fixed;
    (void)event->GetTime(&out.time);
    (void)event->GetSource(&out.source);
    (void)event->GetMessage(&out.message);
    (void)event->GetCategory(&category);
    (void)event->GetData(&out.payload);
    (void)event->GetFixedData(&fixed);
    std::copy_n(fixed.begin(), std::min(fixed.size(), out.fixedData.size()), out.fixedData.begin());
    out.kind = std::min<uint32_t>(category, 1);
    data->events.push_back(std::move(out));
  }
}

void ReadConstant(IKivConstantFactory& factory, const std::u16string& name, const TarnWaitForData& wait,
                  TarnDataSet* data) {
  ComPtr<IKivConstant> constant;
  if (Failed(factory.GetItem(name, constant.Put())) || !constant) return;
  TarnDataSetConstant out;
  out.name = name;
  if (auto simple = QueryAs<IKivSimpleConstant>(constant.Get())) {
    (void)simple->GetUnit(&out.unit);
  } else if (auto sheet = QueryAs<IKivExcelConstant>(constant.Get())) {
    (void)sheet->GetUnit(&out.unit);
  }
  if (WhenReady([&] { return constant->GetValue(&out.value); }, wait) == S_OK) data->constants.push_back(out);
}

// A blob with its type and bytes (a status definitions blob travels so).
void ReadBlob(IKivBlobFactory& factory, const std::u16string& name, const TarnWaitForData& wait, TarnDataSet* data) {
  ComPtr<IKivBlob> blob;
  TarnDataSetBlob out;
  out.name = name;
  std::u16string type;
  if (Failed(factory.GetItem(name, blob.Put())) || !blob) return;
  if (WhenReady([&] { return blob->GetData(&out.bytes); }, wait, S_FALSE) != S_OK) return;
  if (blob->GetGuid(&type) != S_OK) return;
  const auto guid = Guid::Parse(type);
  if (!guid) return;
  out.type = *guid;
  data->blobs.push_back(std::move(out));
}

}  // namespace

KivResult TarnDataSetFromOuting(IKivOuting* outing, const TarnWaitForData& wait, TarnDataSet* data) {
  if (!outing || !data) return E_POINTER;
  *data = {};
  ReadDetails(outing, wait, data);
  TarnLapMarkersFromOuting(outing, wait, data);
  if (auto channels = QueryAs<IKivChannelFactory>(outing)) {
    for (const std::u16string& name : NamesOf<IKivChannelFactory>(outing, wait)) {
      if (KivResult r = ReadChannel(*channels, name, wait, data); Failed(r)) return r;
    }
  }
  if (auto events = QueryAs<IKivEventsFactory>(outing))
    for (const std::u16string& name : NamesOf<IKivEventsFactory>(outing, wait)) ReadEventSet(*events, name, wait, data);
  if (auto constants = QueryAs<IKivConstantFactory>(outing))
    for (const std::u16string& name : NamesOf<IKivConstantFactory>(outing, wait))
      ReadConstant(*constants, name, wait, data);
  if (auto blobs = QueryAs<IKivBlobFactory>(outing))
    for (const std::u16string& name : NamesOf<IKivBlobFactory>(outing, wait)) ReadBlob(*blobs, name, wait, data);
  return S_OK;
}

void TarnLapMarkersFromOuting(IKivOuting* outing, const TarnWaitForData& wait, TarnDataSet* data) {
  ComPtr<IKivLapMarkers> laps = QueryAs<IKivLapMarkers>(outing);
  KivTime start = 0, end = 0;
  if (!laps || WhenReady([&] { return laps->GetOutingStart(&start); }, wait, E_FAIL) != S_OK) return;
  if (laps->GetOutingEnd(&end) == S_OK) data->outingRange = std::pair{start, end};
  KivTime first = 0, last = 0;
  if (laps->GetFirstMovement(&first) == S_OK && laps->GetLastMovement(&last) == S_OK)
    data->movementRange = std::pair{first, last};
  uint32_t count = 0;
  double origin = 0.0;
  (void)laps->GetLapMarkerCount(&count);
  (void)laps->GetDistanceOrigin(&origin);
  for (uint32_t i = 1; i <= count; ++i) {
    TarnDataSetLapMarker marker;
    KivBool halt = 0;
    if (laps->GetLapMarkerTime(i, &marker.time) != S_OK) continue;
    marker.crossing = !(laps->IsCarHalt(i, &halt) == S_OK && FromKivBool(halt));
    marker.distanceOrigin = data->lapMarkers.empty() ? origin : 0.0;
    data->lapMarkers.push_back(marker);
  }
}

}  // namespace velmar
