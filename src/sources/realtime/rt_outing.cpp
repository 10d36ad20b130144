#include "sources/realtime/rt_outing.h"

#include "config/property_import.h"
#include "config/real_time_settings.h"
#include "outing/cache/outing_source.h"
#include "sources/realtime/rt_outing_information.h"
#include "velmar/velmar.h"

namespace velmar {

CRTOuting::CRTOuting(ComPtr<CRTOutingCache> cache, bool overrideProperties)
    : COutingOnCache(std::move(cache), overrideProperties),
      core_(std::make_unique<CRTOutingCore>(this->cache()->path(), [this] { return RootSettings(); }, TcpLinkMaker(),
                                            &events_)) {}

// The root's settings object, as the user set it; an outing opened outside
// any root (a bare host) reads the user's stored values instead.
ComPtr<IKivRealTimeSettings3> CRTOuting::RootSettings() {
  ComPtr<IKivUnknown> root;
  if (Failed(static_cast<CRTOutingChannelFactory*>(this)->GetRoot(root.Put())) || !root) {
    return ComPtr<IKivRealTimeSettings3>(MakeKiv<CRealTimeSettings>().Get());
  }
  ComPtr<IKivRealTimeSettings> settings;
  auto velmar = root.As<IKivVelmar>();
  if (!velmar || Failed(velmar->GetRealTimeSettings(settings.Put())) || !settings) return nullptr;
  return settings.As<IKivRealTimeSettings3>();
}

ComPtr<IKivVelmar> CRTOuting::Root() {
  ComPtr<IKivUnknown> root;
  if (Failed(static_cast<CRTOutingChannelFactory*>(this)->GetRoot(root.Put())) || !root) return nullptr;
  return root.As<IKivVelmar>();
}

// The live records carry what a store's channel descriptions carry; the
// databases learn from them as they would from a `.trn` import.
void CRTOuting::FeedChannelProperties(const std::vector<rt::WireChannel>& records) {
  ComPtr<IKivChannelPropertyFactory> factory;
  const auto root = Root();
  if (!root || Failed(root->GetChannelPropertyFactory(factory.Put())) || !factory) return;
  std::vector<StoredChannelProperties> stored;
  for (const auto& c : records) {
    stored.push_back({c.tagName, c.userType, c.displayMaximum, c.displayMinimum, c.rangeHigh, c.rangeLow,
                      static_cast<int32_t>(c.decimalPlaces), c.quantityId, c.unitId, c.colour, c.sampleType,
                      c.autoscale != 0});
  }
  MergeChannelProperties(factory.Get(), override_properties(), stored);
}

void CRTOuting::FeedEventProperties(const std::vector<std::u16string>& names) {
  ComPtr<IKivEventPropertyFactory> factory;
  const auto root = Root() ? Root().As<IKivVelmar3>() : nullptr;
  if (!root || Failed(root->GetEventPropertyFactory(factory.Put())) || !factory) return;
  MergeEventNames(factory.Get(), names);
}

CRTOuting::~CRTOuting() {
  DropChannels();
  DropEventSets();
  DropBlobs();
}

void CRTOuting::ChannelsGone(const NameList& names) {
  FireItemsRemoved(channel_factory(), kDataKindChannels, RemoveChannels(names));
}

void CRTOuting::ChannelsCame(const NameList& names) {
  FireItemsAdded(channel_factory(), kDataKindChannels, AddChannels(names));
}

KivResult CRTOuting::OutingInformation(IKivPropertySet** information) {
  if (!core_->details()) {
    (void)core_->GetCaption();  // builds the properties, and so connects
    if (!core_->details()) return S_FALSE;
  }
  // Rebuilt each time: the pairs change with every information and status message.
  *information = MakeKiv<CRTOutingInformation>(*core_->details(), core_->information()).Detach();
  return S_OK;
}

KivResult CRTOuting::CloseOutingData() {
  core_->Reload();
  return S_OK;
}

KivResult CRTOuting::StatusChannelDefinitions(IKivStatusChannelDefinitions** definitions) {
  const ComPtr<CStatusChannelDefinitions> tree = core_->StatusChannelDefinitions();
  *definitions = tree.Get();
  (*definitions)->AddRef();
  return S_OK;
}

const RtLapData* CRTOuting::LapMarkerData() {
  KivTime start = 0, end = 0;
  if (Failed(core_->OutingRange(&start, &end))) return nullptr;
  lapData_.span.outingStart = start;
  lapData_.span.outingEnd = end;
  KivTime first = 0, last = 0;
  lapData_.span.movement.reset();
  if (core_->MovementRange(&first, &last) == S_OK) lapData_.span.movement.emplace(first, last);
  if (Failed(core_->LapMarkers(&lapData_.markers))) return nullptr;
  return &lapData_;
}

void CRTOuting::Reloaded() {
  IKivDataFactory* constants = static_cast<CRTOutingConstantFactory*>(this)->AsDataFactory();
  const NameChanges changes = Reload();
  FireItemsRemoved(constants, kDataKindConstants, changes.removed);
  FireItemsAdded(constants, kDataKindConstants, changes.added);
  FireNotification(&IKivOutingNotifications2::OnOutingReloaded, static_cast<IKivOuting*>(this));
}

KivResult RegisterRealtimeOutingSource() {
  return RegisterOutingSource(OutingType::kRealTime, std::make_shared<COutingSource<CRTOuting>>());
}

}  // namespace velmar
