#include "config/property_import.h"

#include <algorithm>
#include <cmath>

#include "platform/store/store_factory.h"
#include "velmar/channel_key.h"
#include "velmar/tarn_store.h"
#include "velmar/units.h"

namespace velmar {

namespace {

constexpr KivResult kRetry = static_cast<KivResult>(0x80000008);
constexpr uint32_t kSampleTypes = 8;
constexpr int32_t kMostDecimalPlaces = 100;

// Hands each record of one of the store's lists to `each`.
template <class Reader, class Record, class Each>
KivResult ForEachRecord(IKivTarnStore* store, KivResult (Reader::*list)(uint32_t, IKivTarnRecords<Record>**),
                        Each each) {
  auto reader = QueryAs<Reader>(store);
  ComPtr<IKivTarnRecords<Record>> records;
  if (!reader) return E_NOINTERFACE;
  if (KivResult r = (reader.Get()->*list)(kDefaultWaitLimit, records.Put()); Failed(r)) return r;
  uint32_t count = 0;
  const Record* items = nullptr;
  if (KivResult r = records->GetRecords(&count, &items); Failed(r)) return r;
  for (uint32_t i = 0; i < count; ++i) each(items[i]);
  return S_OK;
}

// The store's lists, copied on "DAE_Thread"; the store goes there too.
class CPropertyImportJob final : public CJobItemEx {
 public:
  CPropertyImportJob(CStateMachineEx* owner, std::u16string path, bool channels, bool events)
      : CJobItemEx(owner), path_(std::move(path)), wantChannels_(channels), wantEvents_(events) {}

  std::vector<StoredChannelProperties> channels;
  std::vector<std::u16string> events;

 private:
  KivResult Run() override {
    ComPtr<IKivTarnStoreFactory> factory;
    ComPtr<IKivTarnStore> store;
    if (KivResult r = store::CreateTarnStoreFactory({}, &factory); Failed(r)) return r;
    if (KivResult r = factory->OpenFile(path_, IKivTarnStore::iid, store.PutVoid()); Failed(r)) return r;
    if (wantChannels_) {
      if (KivResult r = ReadChannels(store.Get()); Failed(r)) return r;
    }
    if (wantEvents_) return ReadEvents(store.Get());
    return S_OK;
  }

  KivResult ReadChannels(IKivTarnStore* store) {
    return ForEachRecord(store, &IKivTarnChannels::GetChannelList, [&](const TarnChannelDescription& d) {
      channels.push_back({d.tagName ? d.tagName : u"", d.userType ? d.userType : u"", d.displayMaximum,
                          d.displayMinimum, d.rangeHigh, d.rangeLow, static_cast<int32_t>(d.decimalPlaces),
                          d.quantityId, d.unitId, d.colour, d.sampleType, d.autoscale != 0});
    });
  }

  KivResult ReadEvents(IKivTarnStore* store) {
    return ForEachRecord(store, &IKivTarnEvents::GetEventNames,
                         [&](const TarnEventName& e) { events.emplace_back(e.name ? e.name : u""); });
  }

  std::u16string path_;
  bool wantChannels_;
  bool wantEvents_;
};

double ToUnit(IKivUnitTable* units, int32_t quantity, uint32_t unit, double base) {
  double converted = base;
  if (!units || Failed(units->ConvertValue(quantity, kBaseUnit, unit, base, &converted))) return base;
  return converted;
}

// The record's nine properties, or nothing when it fails a check.
std::optional<PropertyList> ChannelSettings(const StoredChannelProperties& c, int32_t quantity, IKivUnitTable* units) {
  if (c.colour >= 0x1000000 || !std::isfinite(c.displayMaximum) || !std::isfinite(c.displayMinimum) ||
      c.sampleType >= kSampleTypes) {
    return std::nullopt;
  }
  const int32_t places = std::max(c.decimalPlaces, 0);
  if (places > kMostDecimalPlaces) return std::nullopt;
  double maximum = ToUnit(units, quantity, c.unit, c.displayMaximum);
  double minimum = ToUnit(units, quantity, c.unit, c.displayMinimum);
  bool autoscale = c.autoscale;
  if (minimum >= maximum) {
    autoscale = true;
    minimum = 0.0;
    maximum = 1000.0;
  }
  return PropertyList{{u"Unit", Variant::I32(static_cast<int32_t>(c.unit))},
                      {u"Color", Variant::I32(static_cast<int32_t>(c.colour))},
                      {u"Autoscale", Variant::Bool(autoscale)},
                      {u"Display maximum", Variant::F64(maximum)},
                      {u"Display minimum", Variant::F64(minimum)},
                      {u"Decimal places", Variant::I32(places)},
                      {u"User type", Variant::Text(c.userType)},
                      {u"Alarm maximum", Variant::F64(ToUnit(units, quantity, c.unit, c.alarmMaximum))},
                      {u"Alarm minimum", Variant::F64(ToUnit(units, quantity, c.unit, c.alarmMinimum))}};
}

}  // namespace

void MergeChannelProperties(IKivChannelPropertyFactory* factory, bool override,
                            const std::vector<StoredChannelProperties>& records) {
  ComPtr<IKivUnitTable> units;
  std::vector<QuantityId> ids;
  if (Failed(CreateUnitsComponent(&units)) || !units || Failed(units->GetQuantityIds(&ids))) ids.clear();
  const int32_t largest = ids.empty() ? 0 : *std::max_element(ids.begin(), ids.end());
  for (const auto& c : records) {
    if (c.name.empty() || c.quantity < 0) continue;
    const int32_t quantity = c.quantity > largest ? 0 : c.quantity;
    KivBool found = KIV_FALSE;
    if (!override && Succeeded(factory->HasKey(c.name, quantity, &found)) && FromKivBool(found)) continue;
    ComPtr<IKivPropertySet> set;
    if (Failed(factory->GetPropertySet(c.name, quantity, set.Put())) || !set) continue;
    if (auto settings = ChannelSettings(c, quantity, units.Get())) (void)set->SetProperties(*settings);
  }
}

void MergeEventNames(IKivEventPropertyFactory* factory, const std::vector<std::u16string>& names) {
  for (const auto& name : names) {
    KivBool found = KIV_FALSE;
    if (name.empty() || Failed(factory->HasName(name, &found)) || FromKivBool(found)) continue;
    ComPtr<IKivPropertySet> set;
    (void)factory->GetPropertySet(name, set.Put());
  }
}

CPropertyImportMachine::CPropertyImportMachine(ComPtr<IKivChannelPropertyFactory> channels,
                                               ComPtr<IKivEventPropertyFactory> events, bool override,
                                               std::u16string path, Done done)
    : channels_(std::move(channels)),
      events_(std::move(events)),
      override_(override),
      path_(std::move(path)),
      done_(std::move(done)) {}

KivResult CPropertyImportMachine::Start() {
  ComPtr<CJobItem> job = MakeKiv<CPropertyImportJob>(this, path_, channels_.Get() != nullptr, events_.Get() != nullptr);
  return Queue(Async_GetThread(u"DAE_Thread"), std::move(job));
}

void CPropertyImportMachine::OnJobSucceeded(CJobItem& job) {
  auto& read = static_cast<CPropertyImportJob&>(job);
  if (channels_) MergeChannelProperties(channels_.Get(), override_, read.channels);
  if (events_) MergeEventNames(events_.Get(), read.events);
  ReleaseJob();
  Finish();
}

void CPropertyImportMachine::OnJobFailed(CJobItem& job) {
  // A store that asks for another go gets one; any other failure ends the
  // import silently and the databases keep what they held.
  if (job.status() == kRetry && Succeeded(Start())) return;
  Finish();
}

void CPropertyImportMachine::Finish() {
  ComPtr<CPropertyImportMachine> self(this);  // the helper lets go of its client reference in `done`
  if (Done done = std::exchange(done_, nullptr)) done(this);
}

}  // namespace velmar
