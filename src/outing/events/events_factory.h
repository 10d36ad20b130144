// COutingEventsFactoryBase: the events factory facet of a file outing (see
// outing_data_factory.h). It owns the outing's event sets, made from each
// load's events, and gives them by name.
//
// The outing raises the name-list notifications with what these operations
// return: after a load, one removed notification for the sets that went,
// then one added notification for the new names.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "outing/events/event_set.h"
#include "outing/factory/outing_data_factory.h"
#include "velmar/events.h"

namespace velmar {

template <class Factory = IKivEventsFactory>
class COutingEventsFactoryBase : public COutingDataFactory<CEventSet*, Factory> {
 public:
  ~COutingEventsFactoryBase() { (void)this->RemoveAllItems(); }

  // E_INVALIDARG for a name not on the list.
  KivResult GetItem(const std::u16string& name, IKivEventSet** set) override {
    if (!set) return E_POINTER;
    *set = nullptr;
    auto it = sets_.find(name);
    if (it == sets_.end()) return E_INVALIDARG;
    return GiveOut(static_cast<IKivEventSet*>(it->second.Get()), set);
  }

  // Takes a load's events: every set goes (told once), then one set per
  // name, in time order, with the outing's offset and binding.
  NameChanges LoadEventSets(const EventRecordMap& records, ComPtr<IKivSelectionRange> binding, KivTime offset) {
    NameChanges changes;
    changes.removed = this->RemoveAllItems();
    NameList names;
    for (const auto& [name, list] : records) {
      auto set = MakeKiv<CEventSet>(name, MakeEventReferences(list, offset), binding, offset);
      set->Bind();
      this->items()[name] = set.Get();
      sets_[name] = std::move(set);
      names.push_back(name);
    }
    this->SetListed(true);
    changes.added = std::move(names);
    return changes;
  }

  // Every set leaves; the names that went.
  NameList DiscardEventSets() { return this->RemoveAllItems(); }

  // Shifts every set, in name order; stops at the first result that isn't 0.
  KivResult SetTimeOffset(KivTime offset) {
    KivResult r = S_OK;
    for (auto& [name, set] : sets_) {
      r = set->SetTimeOffset(offset);
      if (r != S_OK) break;
    }
    return r;
  }

  CEventSet* Find(const std::u16string& name) const {
    auto it = sets_.find(name);
    return it == sets_.end() ? nullptr : it->second.Get();
  }

 protected:
  void DropItem(const std::u16string& name, CEventSet*& item) override {
    auto it = sets_.find(name);
    if (it == sets_.end()) return;
    ComPtr<CEventSet> set = std::move(it->second);
    sets_.erase(it);
    item = nullptr;
    set->Detach();
  }

 private:
  std::map<std::u16string, ComPtr<CEventSet>> sets_;
};

}  // namespace velmar
