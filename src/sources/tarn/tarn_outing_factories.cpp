#include "sources/tarn/tarn_outing_factories.h"

#include "sources/tarn/tarn_outing_cache.h"

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

// --- Event sets ---------------------------------------------------------------

KivResult CTarnOutingEventsFactory::GetItem(const std::u16string& name, IKivEventSet** set) {
  if (!set) return E_POINTER;
  *set = nullptr;
  if (!listed()) FillNames();  // starts the list's read
  auto it = items().find(name);
  auto id = ids_.find(name);
  if (it == items().end() || id == ids_.end()) return E_INVALIDARG;
  if (!it->second) {
    ComPtr<CTarnEventSet> made;
    try {
      made = MakeKiv<CTarnEventSet>(name, id->second, EventCache(), ComPtr<IKivSelectionRange>(), EventTimeOffset());
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    made->Bind();
    it->second = made.Get();
    sets_[name] = std::move(made);
  }
  return GiveOut(static_cast<IKivEventSet*>(it->second), set);
}

NameChanges CTarnOutingEventsFactory::ApplyEventNames(const std::vector<TarnNamedItem>& names) {
  std::map<std::u16string, uint64_t> read;
  for (const TarnNamedItem& item : names) read.emplace(item.name, item.id);  // the first of a name counts
  NameList gone;
  for (const auto& [name, id] : ids_) {
    auto now = read.find(name);
    if (now == read.end() || now->second != id) gone.push_back(name);
  }
  NameChanges changes;
  changes.removed = RemoveItems(gone);
  NameList added;
  for (const auto& [name, id] : read) {
    if (!items().contains(name)) added.push_back(name);
  }
  ids_ = std::move(read);
  changes.added = AddNames(added);
  SetListed(true);
  return changes;
}

KivResult CTarnOutingEventsFactory::SetEventSetsTimeOffset(KivTime offset) {
  for (auto& [name, set] : sets_) {
    const KivResult r = set->SetTimeOffset(offset);
    if (Failed(r)) return r;
  }
  return S_OK;
}

void CTarnOutingEventsFactory::FillNames() {
  if (const std::vector<TarnNamedItem>* names = CacheEventNames()) (void)ApplyEventNames(*names);
}

void CTarnOutingEventsFactory::DropItem(const std::u16string& name, CTarnEventSet*& item) {
  item = nullptr;
  ids_.erase(name);
  auto it = sets_.find(name);
  if (it == sets_.end()) return;
  ComPtr<CTarnEventSet> set = std::move(it->second);
  sets_.erase(it);
  set->Detach();
}

// --- Constants -----------------------------------------------------------------

bool CTarnOutingConstantFactory::LoadedRecords(std::vector<ConstantRecord>* records) {
  const std::vector<TarnConstant>* constants = CacheConstants();
  if (!constants) return false;
  records->clear();
  records->reserve(constants->size());
  for (const TarnConstant& constant : *constants) {
    ConstantRecord record;
    record.name = constant.name;
    record.value = constant.value;
    record.unit = constant.unit;
    if (constant.isText) record.text = constant.text;
    records->push_back(std::move(record));
  }
  return true;
}

}  // namespace velmar
