#include "core/global_constants_cache.h"

#include <algorithm>

namespace velmar {

void CGlobalConstantsCache::AddListener(Listener* listener) {
  if (listener && std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) {
    listeners_.push_back(listener);
  }
}

void CGlobalConstantsCache::RemoveListener(Listener* listener) {
  std::erase(listeners_, listener);
}

KivResult CGlobalConstantsCache::Add(const std::u16string& name, uint32_t kind) {
  if (kind > 1 || name.empty() || byName_.contains(name)) return E_INVALIDARG;
  GlobalConstantEntry entry;
  entry.id = nextId_++;
  if (kind == 1) entry.text = u"|";
  byId_.emplace(entry.id, name);
  byName_.emplace(name, std::move(entry));
  Tell(true, {name});
  return S_OK;
}

KivResult CGlobalConstantsCache::Remove(const std::u16string& name) {
  auto it = byName_.find(name);
  if (it == byName_.end()) return E_INVALIDARG;
  byId_.erase(it->second.id);
  byName_.erase(it);
  Tell(false, {name});
  return S_OK;
}

const GlobalConstantEntry* CGlobalConstantsCache::Find(const std::u16string& name) const {
  auto it = byName_.find(name);
  return it == byName_.end() ? nullptr : &it->second;
}

CGlobalConstantsCache::Names CGlobalConstantsCache::GetNames() const {
  Names names;
  names.reserve(byName_.size());
  for (const auto& [name, entry] : byName_) names.push_back(name);
  return names;
}

void CGlobalConstantsCache::Clear() {
  byName_.clear();
  byId_.clear();
  nextId_ = 1;
}

void CGlobalConstantsCache::Tell(bool added, const Names& names) {
  // A copy: a listener may go away while it is told.
  const auto listeners = listeners_;
  for (Listener* listener : listeners) {
    if (std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) continue;
    if (added) {
      listener->OnConstantsAdded(names);
    } else {
      listener->OnConstantsRemoved(names);
    }
  }
}

}  // namespace velmar
