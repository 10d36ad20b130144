#include "writeback/channel_writer.h"

#include <algorithm>
#include <memory>

#include "export/export_grid.h"
#include "velmar/channel_key.h"
#include "velmar/property_factories.h"
#include "velmar/velmar.h"

namespace velmar {

namespace {

// The checks that need no channel, in the order a caller meets them.
KivResult CheckCall(CChannelWriterCache& cache, const WriteChannelsRequest& request) {
  if (!request.names) return E_FAIL;
  if (request.names->empty()) return E_INVALIDARG;
  if (request.resampled) {
    if (!cache.SupportsResampling()) return E_NOTIMPL;
    if (!ExportPeriodInLimits(request.period)) return E_INVALIDARG;
  } else if (!cache.SupportsNativeRate()) {
    return E_NOTIMPL;
  }
  const bool stored = std::any_of(request.names->begin(), request.names->end(),
                                  [&](const std::u16string& name) { return cache.HasStoredChannel(name); });
  return stored ? KIV_E_CHANNEL_EXISTS : S_OK;
}

// The names the destination takes; a warning for the rest.
NameList WithinLimit(CChannelWriterCache& cache, const NameList& names) {
  const uint32_t limit = cache.GetChannelLimit();
  if (limit == 0 || names.size() <= limit) return names;
  NameList kept(names.begin(), names.begin() + limit);
  cache.PostWriterMessage(kWriterWarning, ChannelLimitWarning(NameList(names.begin() + limit, names.end()), limit));
  return kept;
}

ComPtr<IKivChannelPropertyFactory> PropertyDatabase(IKivUnknown* context, IKivDataFactory* channels) {
  if (auto given = QueryAs<IKivChannelPropertyFactory>(context)) return given;
  ComPtr<IKivUnknown> root;
  ComPtr<IKivChannelPropertyFactory> properties;
  if (!channels || Failed(channels->GetRoot(root.Put())) || !root) return nullptr;
  auto velmar = root.As<IKivVelmar>();
  if (!velmar || Failed(velmar->GetChannelPropertyFactory(properties.Put()))) return nullptr;
  return properties;
}

double NumberOf(const PropertyList& properties, std::u16string_view name) {
  for (const Property& p : properties) {
    if (p.name == name) return p.value.ToDouble().value_or(0.0);
  }
  return 0.0;
}

void CopyProperties(const PropertyList& properties, std::map<std::u16string, Variant>* into) {
  for (const Property& p : properties) {
    if (p.name != u"Filter") (*into)[p.name] = p.value;
  }
}

// The database's key of a plain name: the name as given when the database
// has it, else the first key of that name with any quantity (a channel
// listed by plain name is keyed by its recorded quantity).
CChannelKey PropertyKey(IKivChannelPropertyFactory* database, const CChannelKey& key) {
  KivBool has = KIV_TRUE;
  if (key.id() != 0 || Failed(database->HasKey(key.name(), 0, &has)) || has != KIV_FALSE) return key;
  uint32_t count = 0;
  (void)database->GetKeyCount(&count);
  for (uint32_t index = 1; index <= count; ++index) {
    std::u16string name;
    int32_t quantity = 0;
    if (Succeeded(database->GetKey(index, &name, &quantity)) && name == key.name()) return CChannelKey(name, quantity);
  }
  return key;
}

}  // namespace

KivResult ExportScalingOf(const std::u16string& name, IKivUnknown* context, IKivDataFactory* channels,
                          ExportScaling* scaling) {
  *scaling = {};
  ComPtr<IKivChannelPropertyFactory> database = PropertyDatabase(context, channels);
  if (!database) return S_OK;
  CChannelKey key;
  if (!CChannelKey::Parse(name, &key)) key = CChannelKey(name, 0);
  key = PropertyKey(database.Get(), key);
  ComPtr<IKivPropertySet> set;
  if (Failed(database->GetPropertySet(key.name(), static_cast<int32_t>(key.id()), set.Put())) || !set ||
      Failed(set->GetProperties(&scaling->properties))) {
    return E_FAIL;
  }
  // A database keyed by quantity may leave it out of the set; writers read it there.
  if (NumberOf(scaling->properties, u"Quantity") == 0.0 && key.id() != 0) {
    std::erase_if(scaling->properties, [](const Property& p) { return p.name == u"Quantity"; });
    scaling->properties.push_back({u"Quantity", Variant::I32(static_cast<int32_t>(key.id()))});
  }
  const auto quantity = static_cast<QuantityId>(NumberOf(scaling->properties, u"Quantity"));
  if (quantity == kQuantityDimensionless) return S_OK;
  const auto unit = static_cast<UnitId>(NumberOf(scaling->properties, u"Unit"));
  if (Failed(CreateUnitsComponent(&scaling->converter)) ||
      Failed(scaling->converter->GetFactor(quantity, kBaseUnit, unit, &scaling->factor)) ||
      Failed(scaling->converter->GetOffset(quantity, kBaseUnit, unit, &scaling->offset))) {
    return E_FAIL;
  }
  return S_OK;
}

KivResult CChannelWriterCache::GetExportScaling(const std::u16string& /*name*/, IKivUnknown* /*context*/,
                                                ExportScaling* scaling) {
  *scaling = {};
  return S_OK;
}

std::u16string ChannelLimitWarning(const NameList& dropped, uint32_t limit) {
  std::u16string text = u"The following channels cannot be exported:\n";
  for (const std::u16string& name : dropped) text += u"\t" + name + u"\n";
  const std::string count = std::to_string(limit);
  return text + u"\t" + std::u16string(count.begin(), count.end()) + u" channel limit reached";
}

KivResult WriteChannels(CChannelWriterCache& cache, const WriteChannelsRequest& request) {
  if (const KivResult r = CheckCall(cache, request); r != S_OK) return r;
  const NameList names = WithinLimit(cache, *request.names);
  ComPtr<CWriteBackChannelStateMachineBase> step = cache.NewChannelStep();
  if (!step) return E_FAIL;
  KivResult result = S_OK;
  for (const std::u16string& name : names) {
    ComPtr<IKivChannel> channel;
    if (Failed(cache.GetExportChannel(name, &channel)) || !channel) break;
    if (name.size() >= kMaxChannelKeyText) return E_INVALIDARG;
    ExportScaling scaling;
    if (Failed(cache.GetExportScaling(name, request.context, &scaling))) continue;
    auto item = std::make_unique<CExportChannel>(name, request.start, request.end, channel.Get(), scaling.factor,
                                                 scaling.offset, cache.ExportBase(), request.resampled ? request.period : 0,
                                                 std::move(scaling.converter));
    if (item->state() == CExportItem::kNothing) {
      cache.PostWriterMessage(kWriterNote, u"No data found for channel " + ChannelDisplayName(name));
      result = S_FALSE;
      continue;
    }
    CopyProperties(scaling.properties, &item->properties);
    step->AddItem(std::move(item));
  }
  if (step->itemCount() == 0) {
    cache.PostWriterMessage(kWriterNote, u"No data found for any of the selected channels");
    return KIV_E_NO_CHANNEL_DATA;
  }
  const KivResult queued = cache.AddWriteBackStep(step);
  return Failed(queued) ? queued : result;
}

}  // namespace velmar
