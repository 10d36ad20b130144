#include "config/channel_property_factory.h"

#include <iterator>

#include "core/persisted_object.h"
#include "velmar/quantity_to_color_mapping.h"

// GCC 12 takes the move of Variant's array alternative for a read of
// uninitialised memory when sanitizers are on; a known false positive.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace velmar {

CChannelPropertyFactory::~CChannelPropertyFactory() {
  for (auto& [key, set] : keys_) set->SetChangeCallback(nullptr);
}

KivResult CChannelPropertyFactory::HasKey(const std::u16string& name, int32_t quantity, KivBool* found) {
  if (!found) return E_POINTER;
  *found = ToKivBool(keys_.contains({name, quantity}));
  return S_OK;
}

ComPtr<CKeyPropertySet> CChannelPropertyFactory::MakeSet(const std::u16string& name, int32_t quantity,
                                                         PropertyList start) {
  auto made = MakeKiv<CKeyPropertySet>(std::move(start));
  made->SetChangeCallback([this, name, quantity] {
    Changed();
    (void)FireNotification(&IKivChannelPropertyFactoryNotifications::OnChannelPropertiesChanged, Self(), name,
                           quantity);
  });
  return made;
}

uint32_t CChannelPropertyFactory::ColourOf(int32_t quantity) {
  uint32_t colour = kDefaultChannelColour;
  if (mapping_ && Failed(mapping_->GetColour(quantity, &colour))) colour = kDefaultChannelColour;
  return colour;
}

KivResult CChannelPropertyFactory::GetPropertySet(const std::u16string& name, int32_t quantity,
                                                  IKivPropertySet** set) {
  if (!set) return E_POINTER;
  *set = nullptr;
  if (name.empty() || quantity < 0) return E_INVALIDARG;
  auto it = keys_.find({name, quantity});
  if (it == keys_.end()) {
    PropertyList start;
    start.push_back({u"Color", Variant::I32(static_cast<int32_t>(ColourOf(quantity)))});
    start.push_back({u"Use default color", Variant::Bool(true)});
    auto made = MakeSet(name, quantity, std::move(start));
    ComPtr<CKeyPropertySet> added = made;
    keys_.emplace(Key{name, quantity}, std::move(made));
    Changed();
    (void)FireNotification(&IKivChannelPropertyFactoryNotifications::OnChannelKeyAdded, Self(), name, quantity);
    return GiveOut<IKivPropertySet>(added.Get(), set);
  }
  return GiveOut<IKivPropertySet>(it->second.Get(), set);
}

KivResult CChannelPropertyFactory::RemoveKey(const std::u16string& name, int32_t quantity) {
  auto it = keys_.find({name, quantity});
  if (it == keys_.end()) return E_INVALIDARG;
  KivBool inUse = KIV_FALSE;
  uint32_t reason = 0;
  (void)FireNotification(&IKivChannelPropertyFactoryNotifications2::OnQueryChannelNameInUse, Self(), name, &inUse,
                         &reason);
  if (FromKivBool(inUse)) return E_ACCESSDENIED;
  it = keys_.find({name, quantity});  // a client may have changed the map while asked
  if (it == keys_.end()) return E_INVALIDARG;
  it->second->SetChangeCallback(nullptr);
  keys_.erase(it);
  Changed();
  (void)FireNotification(&IKivChannelPropertyFactoryNotifications::OnChannelKeyRemoved, Self(), name, quantity);
  return S_OK;
}

KivResult CChannelPropertyFactory::GetKeyCount(uint32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<uint32_t>(keys_.size());
  return S_OK;
}

KivResult CChannelPropertyFactory::GetKey(uint32_t index, std::u16string* name, int32_t* quantity) {
  if (!name || !quantity) return E_POINTER;
  if (index < 1 || index > keys_.size()) return DISP_E_BADINDEX;
  const auto& key = std::next(keys_.begin(), static_cast<std::ptrdiff_t>(index - 1))->first;
  *name = key.first;
  *quantity = key.second;
  return S_OK;
}

KivResult CChannelPropertyFactory::GetQuantityToColorMapping(IKivQuantityToColorMapping** mapping) {
  if (!mapping) return E_POINTER;
  *mapping = nullptr;
  if (!mapping_) return S_FALSE;
  return mapping_.CopyTo(mapping);
}

KivResult CChannelPropertyFactory::SetQuantityToColorMapping(IKivQuantityToColorMapping* mapping) {
  mapping_ = mapping;
  return S_OK;
}

// Persistence.

std::string CChannelPropertyFactory::Serialise() const {
  PropertyWriter out;
  out.U32(kPropertyStreamVersion);
  out.U32(static_cast<uint32_t>(keys_.size()));
  PropertyList list;
  for (const auto& [key, set] : keys_) {
    out.Text(key.first);
    out.I32(key.second);
    (void)set->GetProperties(&list);
    out.Properties(list);
  }
  return out.Bytes();
}

KivResult CChannelPropertyFactory::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivChannelPropertyFactory;
  return S_OK;
}

KivResult CChannelPropertyFactory::InitNew(IKivStorage* storage) {
  const KivResult r = store_.InitNew(storage, Serialise());
  if (Succeeded(r)) dirty_ = true;
  return r;
}

KivResult CChannelPropertyFactory::Load(IKivStorage* storage) {
  std::string bytes;
  if (KivResult r = store_.Load(storage, &bytes); Failed(r)) return r;
  std::map<Key, ComPtr<CKeyPropertySet>> read;
  const KivResult r = CatchSerialise([&] {
    PropertyReader in(bytes);
    const uint32_t count = in.Header();
    for (uint32_t i = 0; i < count; ++i) {
      std::u16string name = in.Text();
      const int32_t quantity = in.I32();
      PropertyList list = in.Properties();
      if (name.empty() || quantity < 0 || read.contains({name, quantity})) throw CSerialiseException{E_FAIL};
      auto set = MakeSet(name, quantity, std::move(list));
      read.emplace(Key{std::move(name), quantity}, std::move(set));
    }
  });
  if (Failed(r)) {
    for (auto& [key, set] : read) set->SetChangeCallback(nullptr);
    store_.HandsOff();
    return r;
  }
  for (auto& [key, set] : keys_) set->SetChangeCallback(nullptr);
  keys_ = std::move(read);
  dirty_ = false;
  return S_OK;
}

KivResult CChannelPropertyFactory::Save(IKivStorage* storage, KivBool sameAsLoad) {
  const KivResult r = store_.Save(storage, FromKivBool(sameAsLoad), Serialise());
  if (Succeeded(r)) dirty_ = false;
  return r;
}

KivResult CChannelPropertyFactory::SaveCompleted(IKivStorage* storage) { return store_.SaveCompleted(storage); }

KivResult CChannelPropertyFactory::HandsOffStorage() {
  store_.HandsOff();
  return S_OK;
}

}  // namespace velmar
