#include "config/event_property_factory.h"

#include <iterator>

// GCC 12 takes the move of Variant's array alternative for a read of
// uninitialised memory when sanitizers are on; a known false positive.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace velmar {

CEventPropertyFactory::~CEventPropertyFactory() {
  for (auto& [name, set] : names_) set->SetChangeCallback(nullptr);
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
    auto made = MakeKiv<CKeyPropertySet>(std::move(start));
    made->SetChangeCallback([this, name] {
      (void)FireNotification(&IKivEventPropertyFactoryNotifications::OnEventPropertiesChanged, Self(), name);
    });
    ComPtr<CKeyPropertySet> added = made;
    names_.emplace(name, std::move(made));
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

}  // namespace velmar
