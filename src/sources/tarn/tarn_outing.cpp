#include "sources/tarn/tarn_outing.h"

#include <memory>

#include "outing/cache/outing_source.h"

namespace velmar {
CTarnOuting::~CTarnOuting() {
  // An open transaction this outing began goes with it.
  if (cache()) cache()->transaction()->OutingGone(this);
  DetachFromCache();
  channels().DropAll();
}

KivResult CTarnOuting::OutingInformation(IKivPropertySet** information) {
  return cache()->GetInformation(information);
}

KivResult CTarnOuting::CloseOutingData() {
  cache()->CloseData();
  return S_OK;
}

KivResult CTarnOuting::ApplyTimeOffset(KivTime offset) {
  KivResult r = channels().SetTimeOffset(offset);
  if (Failed(r)) return r;
  r = SetEventSetsTimeOffset(offset);
  if (Failed(r)) return r;
  SetMediaTimeOffset(offset);
  set_time_offset(offset);
  return S_OK;
}

void CTarnOuting::OnDataDiscarded() {
  FireItemsRemoved(channel_factory(), kDataKindChannels, CTarnOutingChannelFactory::RemoveAllItems());
  FireItemsRemoved(events_factory(), kDataKindEvents, CTarnOutingEventsFactory::RemoveAllItems());
  FireItemsRemoved(blob_factory(), kDataKindBlobs, CTarnOutingBlobFactory::RemoveAllItems());
  FireItemsRemoved(media_channel_factory(), kDataKindMediaChannels, CTarnMediaChannelFactory::RemoveAllItems());
}

void CTarnOuting::OnChannelListRead(const TarnChannelMap& channels) {
  ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
  TarnChannelListChange change = ApplyChannelList(channels);
  FireItemsRemoved(channel_factory(), kDataKindChannels, change.removed);
  for (const std::u16string& name : change.replaced) FireItemsRemoved(channel_factory(), kDataKindChannels, {name});
  TellKept(change.kept);
  FireItemsAdded(channel_factory(), kDataKindChannels, change.added);
}

void CTarnOuting::FireChanges(IKivDataFactory* factory, uint32_t kind, const NameChanges& changes) {
  ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
  FireItemsRemoved(factory, kind, changes.removed);
  FireItemsAdded(factory, kind, changes.added);
}

void CTarnOuting::OnEventNamesRead(const std::vector<TarnNamedItem>& names) {
  FireChanges(events_factory(), kDataKindEvents, ApplyEventNames(names));
}

void CTarnOuting::OnConstantsRead(const std::vector<TarnConstant>&) {
  if (cache()->constants_rewritten()) (void)values()->ForgetRetrievedValues();
  FireChanges(constant_factory(), kDataKindConstants, Reload());
}

void CTarnOuting::OnBlobListRead(const std::vector<TarnNamedItem>& blobs) {
  FireChanges(blob_factory(), kDataKindBlobs, ApplyBlobList(blobs));
}

void CTarnOuting::OnMediaChannelListRead(const TarnMediaChannelMap& channels) {
  FireChanges(media_channel_factory(), kDataKindMediaChannels, CTarnMediaChannelFactory::ApplyList(channels));
}

void CTarnOuting::OnStatusChannelDefinitionsReady() {
  FireNotification(&IKivOutingNotifications2::OnOutingReloaded, static_cast<IKivOuting*>(this));
}

KivResult CTarnOuting::StatusChannelDefinitions(IKivStatusChannelDefinitions** definitions) {
  const ComPtr<CStatusChannelDefinitions> tree = cache()->StatusChannelDefinitions();
  if (!tree) return E_FAIL;  // asked again after the notification
  *definitions = tree.Get();
  (*definitions)->AddRef();
  return S_OK;
}

KivResult RegisterTarnOutingSource() {
  return RegisterOutingSource(OutingType::kTarn, std::make_shared<COutingSource<CTarnOuting>>());
}

}  // namespace velmar
