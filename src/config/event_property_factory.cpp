#include "config/event_property_factory.h"

#include <iterator>

#include "core/persisted_object.h"

// GCC 12 takes the move of Variant's array alternative for a read of
// uninitialised memory when sanitizers are on; a known false positive.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace velmar {

CEventPropertyFactory::~CEventPropertyFactory() {
  for (auto& [name, set] : names_) set->SetChangeCallback(nullptr);
}

ComPtr<CKeyPropertySet> CEventPropertyFactory::MakeSet(const std::u16string& name, PropertyList start) {
  auto made = MakeKiv<CKeyPropertySet>(std::move(start));
  made->SetChangeCallback([this, name] {
    dirty_ = true;
    (void)FireNotification(&IKivEventPropertyFactoryNotifications::OnEventPropertiesChanged, Self(), name);
  });
  return made;
}

KivResult CEventPropertyFactory::HasName(const std::u16string& name, KivBool* found) {
  if (!found) return E_POINTER;
  *found = ToKivBool(names_.contains(name));
  return S_OK;
}

KivResult CEventPropertyFactory::GetPropertySet(const std::u16string& name, IKivPropertySet** set) {
  if (!set) return E_POINTER;
  *set = nullptr;
  if (name.empty()) return E_INVALIDARG;
  auto it = names_.find(name);
  if (it == names_.end()) {
    PropertyList start;
    start.push_back({u"Priority", Variant::I32(0)});
    auto made = MakeSet(name, std::move(start));
    ComPtr<CKeyPropertySet> added = made;
    names_.emplace(name, std::move(made));
    dirty_ = true;
    (void)FireNotification(&IKivEventPropertyFactoryNotifications::OnEventNameAdded, Self(), name);
    return GiveOut<IKivPropertySet>(added.Get(), set);
  }
  return GiveOut<IKivPropertySet>(it->second.Get(), set);
}

KivResult CEventPropertyFactory::RemoveName(const std::u16string& name) {
  if (!names_.contains(name)) return E_INVALIDARG;
  KivBool inUse = KIV_FALSE;
  uint32_t reason = 0;
  (void)FireNotification(&IKivEventPropertyFactoryNotifications::OnQueryEventNameInUse, Self(), name, &inUse,
                         &reason);
  if (FromKivBool(inUse)) return E_ACCESSDENIED;
  auto it = names_.find(name);
  if (it == names_.end()) return E_INVALIDARG;
  it->second->SetChangeCallback(nullptr);
  names_.erase(it);
  dirty_ = true;
  (void)FireNotification(&IKivEventPropertyFactoryNotifications::OnEventNameRemoved, Self(), name);
  return S_OK;
}

KivResult CEventPropertyFactory::GetCount(uint32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<uint32_t>(names_.size());
  return S_OK;
}

KivResult CEventPropertyFactory::GetName(uint32_t index, std::u16string* name) {
  if (!name) return E_POINTER;
  if (index < 1 || index > names_.size()) return DISP_E_BADINDEX;
  *name = std::next(names_.begin(), static_cast<std::ptrdiff_t>(index - 1))->first;
  return S_OK;
}

// Persistence.

std::string CEventPropertyFactory::Serialise() const {
  PropertyWriter out;
  out.U32(kPropertyStreamVersion);
  out.U32(static_cast<uint32_t>(names_.size()));
  PropertyList list;
  for (const auto& [name, set] : names_) {
    out.Text(name);
    (void)set->GetProperties(&list);
    out.Properties(list);
  }
  return out.Bytes();
}

KivResult CEventPropertyFactory::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivEventPropertyFactory;
  return S_OK;
}

KivResult CEventPropertyFactory::InitNew(IKivStorage* storage) {
  const KivResult r = store_.InitNew(storage, Serialise());
  if (Succeeded(r)) dirty_ = true;
  return r;
}

KivResult CEventPropertyFactory::Load(IKivStorage* storage) {
  std::string bytes;
  if (KivResult r = store_.Load(storage, &bytes); Failed(r)) return r;
  std::map<std::u16string, ComPtr<CKeyPropertySet>> read;
  const KivResult r = CatchSerialise([&] {
    PropertyReader in(bytes);
    const uint32_t count = in.Header();
    for (uint32_t i = 0; i < count; ++i) {
      std::u16string name = in.Text();
      PropertyList list = in.Properties();
      if (name.empty() || read.contains(name)) throw CSerialiseException{E_FAIL};
      auto set = MakeSet(name, std::move(list));
      read.emplace(std::move(name), std::move(set));
    }
  });
  if (Failed(r)) {
    for (auto& [name, set] : read) set->SetChangeCallback(nullptr);
    store_.HandsOff();
    return r;
  }
  for (auto& [name, set] : names_) set->SetChangeCallback(nullptr);
  names_ = std::move(read);
  dirty_ = false;
  return S_OK;
}

KivResult CEventPropertyFactory::Save(IKivStorage* storage, KivBool sameAsLoad) {
  const KivResult r = store_.Save(storage, FromKivBool(sameAsLoad), Serialise());
  if (Succeeded(r)) dirty_ = false;
  return r;
}

KivResult CEventPropertyFactory::SaveCompleted(IKivStorage* storage) { return store_.SaveCompleted(storage); }

KivResult CEventPropertyFactory::HandsOffStorage() {
  store_.HandsOff();
  return S_OK;
}

}  // namespace velmar
