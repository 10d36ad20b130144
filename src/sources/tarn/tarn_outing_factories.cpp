#include "sources/tarn/tarn_outing_factories.h"

namespace velmar {

KivResult CTarnOutingChannelFactory::GetItem(const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  if (!listed()) FillNames();  // starts the list's read
  auto it = items().find(name);
  if (it == items().end()) return E_INVALIDARG;
  const KivResult r = table_.Get(name, true, true, [&](const std::u16string& n, ComPtr<CChannel>* made) {
    CChannelKey key;
    if (!CChannelKey::Parse(n, &key)) return E_INVALIDARG;
    auto created = MakeKiv<CChannel>();
    created->Bind(n, key, nullptr, CacheChannelData());
    const KivResult hr = created->SetTimeOffset(ChannelTimeOffset());
    if (Failed(hr)) return hr;
    *made = std::move(created);
    return S_OK;
  }, channel);
  if (Succeeded(r)) it->second = *channel;
  return r;
}

void CTarnOutingChannelFactory::DropItem(const std::u16string& name, IKivChannel*&) { (void)table_.Drop(name); }

void CTarnOutingChannelFactory::FillNames() {
  if (const TarnChannelMap* channels = CacheChannelList()) (void)ApplyChannelList(*channels);
}

TarnChannelListChange CTarnOutingChannelFactory::ApplyChannelList(const TarnChannelMap& channels) {
  std::map<std::u16string, uint64_t> held;
  for (const auto& [name, entry] : entries_) held.emplace(name, entry.id);
  TarnChannelListChange change = ReconcileChannelList(held, channels);
  change.removed = RemoveItems(change.removed);
  for (const std::u16string& name : change.replaced) (void)RemoveItems({name});
  entries_.clear();
  for (const auto& [name, entry] : channels) entries_.emplace(name, entry);
  (void)AddNames(change.added);
  SetListed(true);
  return change;
}

const TarnChannelEntry* CTarnOutingChannelFactory::Entry(const std::u16string& name) const {
  auto it = entries_.find(name);
  return it == entries_.end() ? nullptr : &it->second;
}

}  // namespace velmar
