#include "sources/tarn/tarn_outing_factories.h"

#include "outing/channels/selection_binding.h"
#include "sources/tarn/tarn_constant_write.h"
#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {

KivResult CTarnOutingChannelFactory::GetItem(const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  if (!listed()) FillNames();  // starts the list's read
  auto it = items().find(name);
  if (it == items().end()) return E_INVALIDARG;
  const ComPtr<IKivSelectionRange> binding = SelectionBindingOf(parent());
  const bool bound = binding != nullptr;
  const KivResult r = table_.Get(name, true, bound, [&](const std::u16string& n, ComPtr<CChannel>* made) {
    CChannelKey key;
    if (!CChannelKey::Parse(n, &key)) return E_INVALIDARG;
    auto created = MakeKiv<CChannel>();
    created->Bind(n, key, binding, CacheChannelData());
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

void CTarnOutingChannelFactory::TellKept(const NameList& kept) {
  for (const std::u16string& name : kept) {
    if (CChannel* channel = table_.Find(name)) channel->OnDataDropped();
  }
}

const TarnChannelEntry* CTarnOutingChannelFactory::Entry(const std::u16string& name) const {
  auto it = entries_.find(name);
  return it == entries_.end() ? nullptr : &it->second;
}

// --- Event sets ---------------------------------------------------------------

KivResult CTarnOutingEventsFactory::SetEventSetsTimeOffset(KivTime offset) {
  return ForEachItem([offset](CTarnEventSet& set) { return set.SetTimeOffset(offset); });
}

bool CTarnOutingEventsFactory::CacheList(EntryMap* list) {
  const std::vector<TarnNamedItem>* names = ItemCache()->EventNames();
  if (names) *list = NamedItemMap(*names);
  return names != nullptr;
}

ComPtr<CTarnEventSet> CTarnOutingEventsFactory::MakeItem(const std::u16string& name, const TarnNamedItem& entry) {
  auto set = MakeKiv<CTarnEventSet>(name, entry.id, ItemCache(), ComPtr<IKivSelectionRange>(), EventTimeOffset());
  set->Bind();
  return set;
}

// --- Blobs ----------------------------------------------------------------------

bool CTarnOutingBlobFactory::CacheList(EntryMap* list) {
  const std::vector<TarnNamedItem>* blobs = ItemCache()->BlobList();
  if (blobs) *list = NamedItemMap(*blobs);
  return blobs != nullptr;
}

ComPtr<CBlob> CTarnOutingBlobFactory::MakeItem(const std::u16string& name, const TarnNamedItem& entry) {
  return MakeKiv<CBlob>(name, entry.id, ItemCache());
}

// --- Media channels ----------------------------------------------------------------

bool CTarnMediaChannelFactory::CacheList(EntryMap* list) {
  const TarnMediaChannelMap* channels = ItemCache()->MediaChannelList();
  if (channels) *list = *channels;
  return channels != nullptr;
}

ComPtr<CTarnMediaChannelBase> CTarnMediaChannelFactory::MakeItem(const std::u16string& name,
                                                                  const TarnMediaChannelEntry& entry) {
  auto channel = MakeKiv<CTarnMediaChannelBase>(name, entry, ItemCache());
  channel->SetTimeOffset(MediaTimeOffset());
  return channel;
}

void CTarnMediaChannelFactory::SetMediaTimeOffset(KivTime offset) {
  (void)ForEachItem([offset](CTarnMediaChannelBase& channel) {
    channel.SetTimeOffset(offset);
    return S_OK;
  });
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

ComPtr<CWriteBackStateMachineBase> CTarnOutingConstantFactory::MakeConstantStep(ConstantWriteOp op,
                                                                              CWriteBackStateChanges* receiver,
                                                                              ConstantWriteFields fields) {
  return CWBTarnConstantSteps::Make(op, receiver, std::move(fields));
}

}  // namespace velmar
