// The base of an outing's own data factories (channels, event sets,
// constants), several of which live on the one outing object.
//
// IKivChannelFactory and IKivEventsFactory both extend IKivDataFactory, so an
// object that offers both holds two IKivDataFactory tables. Each factory is
// therefore its own base class of the outing (a "facet"): it implements the
// IKivDataFactory operations of its own table, and answers QueryInterface
// only for its own interface; the outing answers IKivDataFactory itself
// (IKivOutingImpl gives its first factory). A facet's hooks (FillNames,
// DropItem...) are overridden in the facet class, never in the outing, where
// one override would serve every facet at once.
//
// The outing raises the factory's notifications: the operations here give
// the names that came or went, and the outing fires them on its
// IKivDataFactoryNotifications point (IKivOutingImpl::FireItemsAdded...).
//
// Client thread only.
#pragma once

#include <string>
#include <utility>

#include "outing/factory/data_factory_impl.h"

namespace velmar {

// What a reload did to a factory's list: the outing fires one removed and
// then one added notification with these.
struct NameChanges {
  NameList removed;
  NameList added;
};

template <class Item, class Factory>
class COutingDataFactory : public IKivDataFactoryImpl<Item, Factory> {
 public:
  // Stops the identity walk at this interface: see the top of this file.
  using Parent = IKivUnknown;

  // This factory's own table of IKivDataFactory.
  IKivDataFactory* AsDataFactory() { return this; }

  // Enters the names not yet in the map, with no item; the list counts as up
  // to date from now. The names that were new, in the order given.
  NameList AddNames(const NameList& names) {
    NameList added;
    for (const std::u16string& name : names) {
      if (this->items().try_emplace(name, Item{}).second) added.push_back(name);
    }
    this->SetListed(true);
    return added;
  }

  // Drops each name's item and erases the name; the list is then out of date
  // until names are added again. The names that went, in map order. Refused
  // (nothing goes) while a removal of this factory is under way.
  NameList RemoveAllItems() {
    if (removing_) return {};
    NameList names;
    for (const auto& entry : this->items()) names.push_back(entry.first);
    NameList gone = RemoveItems(names);
    this->SetListed(false);
    return gone;
  }

  // Drops the items of those names that the map holds and erases them. The
  // names that really went, in the order given. A name asked for again while
  // a removal runs (an item's detach reaching back here) is skipped: the
  // walk under way takes care of it.
  NameList RemoveItems(const NameList& names) {
    if (removing_) return {};
    removing_ = true;
    NameList gone;
    for (const std::u16string& name : names) {
      auto it = this->items().find(name);
      if (it == this->items().end()) continue;
      Item item = it->second;
      DropItem(name, item);
      // Looked up again: the drop may have changed the map.
      it = this->items().find(name);
      if (it != this->items().end()) this->items().erase(it);
      gone.push_back(name);
    }
    removing_ = false;
    return gone;
  }

  bool removing() const { return removing_; }

 protected:
  COutingDataFactory() = default;
  ~COutingDataFactory() = default;

  // Lets go of the item of `name` (null when none was made). A channel whose
  // use count falls to zero detaches here.
  virtual void DropItem(const std::u16string& name, Item& item) {
    (void)name;
    (void)item;
  }

 private:
  bool removing_ = false;
};

}  // namespace velmar
