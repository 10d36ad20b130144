#include "sources/realtime/rt_outing.h"

#include "config/real_time_settings.h"
#include "outing/cache/outing_source.h"
#include "sources/realtime/rt_outing_information.h"

namespace velmar {

CRTOuting::CRTOuting(ComPtr<CRTOutingCache> cache, bool overrideProperties)
    : COutingOnCache(std::move(cache), overrideProperties),
      // The user's settings (registry values, stream defaults): the root's own
      // object is not reachable from here yet.
      core_(std::make_unique<CRTOutingCore>(this->cache()->path(),
                                            ComPtr<IKivRealTimeSettings3>(MakeKiv<CRealTimeSettings>().Get()),
                                            TcpLinkMaker(), &events_)) {}

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
