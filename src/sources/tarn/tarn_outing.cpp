#include "sources/tarn/tarn_outing.h"

#include <memory>

#include "outing/outing_source.h"

namespace velmar {
namespace {

NameList NamesOf(const std::vector<TarnNamedItem>& items) {
  NameList names;
  for (const TarnNamedItem& item : items) names.push_back(item.name);
  return names;
}

NameList NamesOf(const std::vector<TarnConstant>& constants) {
  NameList names;
  for (const TarnConstant& c : constants) names.push_back(c.name);
  return names;
}

}  // namespace

CTarnOuting::~CTarnOuting() {
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
  const KivResult r = channels().SetTimeOffset(offset);
  if (Failed(r)) return r;
  set_time_offset(offset);
  return r;
}

std::optional<NameList> CTarnOuting::CacheNames(IKivEventsFactory*) {
  const std::vector<TarnNamedItem>* names = cache()->EventNames();
  if (!names) return std::nullopt;
  return NamesOf(*names);
}

std::optional<NameList> CTarnOuting::CacheNames(IKivConstantFactory*) {
  const std::vector<TarnConstant>* constants = cache()->Constants();
  if (!constants) return std::nullopt;
  return NamesOf(*constants);
}

void CTarnOuting::OnDataDiscarded() {
  FireItemsRemoved(channel_factory(), CTarnOutingChannelFactory::RemoveAllItems());
  FireItemsRemoved(events_factory(), CTarnOutingEventsFactory::RemoveAllItems());
}

void CTarnOuting::OnChannelListRead(const TarnChannelMap& channels) {
  ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
  TarnChannelListChange change = ApplyChannelList(channels);
  FireItemsRemoved(channel_factory(), change.removed);
  for (const std::u16string& name : change.replaced) FireItemsRemoved(channel_factory(), {name});
  FireItemsAdded(channel_factory(), change.added);
}

template <class Facet>
void CTarnOuting::ApplyNames(const NameList& names) {
  ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
  IKivDataFactory* factory = static_cast<Facet*>(this)->AsDataFactory();
  auto [gone, added] = Facet::ApplyNames(names);
  FireItemsRemoved(factory, gone);
  FireItemsAdded(factory, added);
}

void CTarnOuting::OnEventNamesRead(const std::vector<TarnNamedItem>& names) {
  ApplyNames<CTarnOutingEventsFactory>(NamesOf(names));
}

void CTarnOuting::OnConstantsRead(const std::vector<TarnConstant>& constants) {
  ApplyNames<CTarnOutingConstantFactory>(NamesOf(constants));
}

void CTarnOuting::OnBlobListRead(const std::vector<TarnNamedItem>&) {
  // Blobs have no factory on the outing object yet; the cache keeps the list.
}

KivResult RegisterTarnOutingSource() {
  return RegisterOutingSource(OutingType::kTarn, std::make_shared<COutingSource<CTarnOuting>>());
}

}  // namespace velmar
