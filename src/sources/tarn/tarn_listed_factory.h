// CTarnListedFactory: the base of a `.trn` outing's factories whose items
// the store lists by name and id: event sets, blobs, media channels.
//
// It keeps the list as last read, name to Entry (Entry has the store's
// `id`), and the item of each name, made on first demand by MakeItem and
// detached (Item::Detach) when its name goes. Asking for the names or an
// item before the list is in starts the read: the names are empty and
// GetItem gives E_INVALIDARG. When the read ends the outing hands the list
// over (ApplyList) and fires the names that went and came.
//
// The facet's hooks are CacheList, MakeItem and ItemCache; ItemCache is the
// same for every facet, so the outing's one override serves them all.
//
// Client thread only.
#pragma once

#include <map>
#include <new>
#include <string>
#include <utility>

#include "outing/factory/outing_data_factory.h"

namespace velmar {

class CTarnOutingCache;

template <class Item, class Interface, class Factory, class Entry>
class CTarnListedFactory : public COutingDataFactory<Item*, Factory> {
 public:
  using EntryMap = std::map<std::u16string, Entry>;

  // The item of a listed name, the same object while the name stays listed.
  KivResult GetItem(const std::u16string& name, Interface** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    if (!this->listed()) FillNames();  // starts the list's read
    auto it = this->items().find(name);
    auto entry = entries_.find(name);
    if (it == this->items().end() || entry == entries_.end()) return E_INVALIDARG;
    if (!it->second) {
      ComPtr<Item> made;
      try {
        made = MakeItem(name, entry->second);
      } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
      }
      if (!made) return E_OUTOFMEMORY;
      it->second = made.Get();
      made_[name] = std::move(made);
    }
    return GiveOut(static_cast<Interface*>(it->second), item);
  }

  // The list as read now: names gone, and names now on another store item,
  // leave (their items are detached); new names enter.
  NameChanges ApplyList(const EntryMap& read) {
    NameList gone;
    for (const auto& [name, entry] : entries_) {
      auto now = read.find(name);
      if (now == read.end() || now->second.id != entry.id) gone.push_back(name);
    }
    NameChanges changes;
    changes.removed = this->RemoveItems(gone);
    NameList added;
    for (const auto& entry : read) {
      if (!this->items().contains(entry.first)) added.push_back(entry.first);
    }
    entries_ = read;
    changes.added = this->AddNames(added);
    return changes;
  }

  // Calls `f(item)` on every item made so far, in name order, up to the
  // first failure, which it gives.
  template <class F>
  KivResult ForEachItem(F&& f) {
    for (auto& entry : made_) {
      const KivResult r = f(*entry.second);
      if (Failed(r)) return r;
    }
    return S_OK;
  }

 protected:
  ~CTarnListedFactory() { (void)this->RemoveAllItems(); }

  // The cache's list; false (and the read started) while not read.
  virtual bool CacheList(EntryMap* list) = 0;
  // A new item for a listed name, ready to give out.
  virtual ComPtr<Item> MakeItem(const std::u16string& name, const Entry& entry) = 0;
  // What the items made now read through.
  virtual ComPtr<CTarnOutingCache> ItemCache() = 0;

  void FillNames() override {
    EntryMap list;
    if (CacheList(&list)) (void)ApplyList(list);
  }

  void DropItem(const std::u16string& name, Item*& item) override {
    item = nullptr;
    entries_.erase(name);
    auto it = made_.find(name);
    if (it == made_.end()) return;
    ComPtr<Item> gone = std::move(it->second);
    made_.erase(it);
    gone->Detach();
  }

 private:
  EntryMap entries_;
  std::map<std::u16string, ComPtr<Item>> made_;
};

}  // namespace velmar
