// The data factories of a `.trn` outing object: each holds its own list of
// names, taken from its cache's read of that list. Asking for the names or
// an item before the list is in starts the read: the names are empty, and
// GetItem gives E_INVALIDARG. When the read ends the outing hands the list
// to the factory (Apply...), which gives the names that came and went for
// the outing's notifications.
//
// Client thread only.
#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "outing/channel.h"
#include "outing/channel_table.h"
#include "outing/outing_data_factory.h"
#include "sources/tarn/tarn_channel_list.h"
#include "sources/tarn/tarn_read_jobs.h"
#include "velmar/data_factory.h"

namespace velmar {

// The channels of an outing object: one native channel per listed name,
// made on first demand, whose samples come from the outing's channel data
// cache. Event sets and constants: their names only, for now; GetItem of a
// listed name gives E_NOTIMPL until their objects are wired in.

class CTarnOutingChannelFactory : public COutingDataFactory<IKivChannel*, IKivChannelFactory> {
 public:
  // The channel of a listed name, the same object on every call.
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override;
  // The list as read now. Removal comes first: the names gone (one
  // notification), each name now on another store channel (one each), then
  // every new name (one notification).
  TarnChannelListChange ApplyChannelList(const TarnChannelMap& channels);
  // The store channel behind a listed name; null when not listed.
  const TarnChannelEntry* Entry(const std::u16string& name) const;

 protected:
  ~CTarnOutingChannelFactory() = default;
  void FillNames() override;
  // A name goes: its channel (if made) is detached.
  void DropItem(const std::u16string& name, IKivChannel*& item) override;
  // The cache's channel list; null (and the read started) while not read.
  virtual const TarnChannelMap* CacheChannelList() = 0;
  // Where the channels made now get their samples, and the time offset they
  // start with.
  virtual ComPtr<CChannelDataCache> CacheChannelData() = 0;
  virtual KivTime ChannelTimeOffset() = 0;

  CChannelTable<CChannel>& channels() { return table_; }

 private:
  std::map<std::u16string, TarnChannelEntry> entries_;
  CChannelTable<CChannel> table_;
};

// Event sets or constants: a list of names from the cache.
template <class Factory, class ItemInterface>
class CTarnNameListFactory : public COutingDataFactory<ItemInterface*, Factory> {
 public:
  KivResult GetItem(const std::u16string& name, ItemInterface** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    if (!this->listed()) FillNames();
    if (!this->items().contains(name)) return E_INVALIDARG;
    return E_NOTIMPL;
  }
  // The names as read now; gives (gone, new).
  std::pair<NameList, NameList> ApplyNames(const NameList& names) {
    NameList gone;
    for (const auto& entry : this->items())
      if (std::find(names.begin(), names.end(), entry.first) == names.end()) gone.push_back(entry.first);
    gone = this->RemoveItems(gone);
    return {gone, this->AddNames(names)};
  }

 protected:
  ~CTarnNameListFactory() = default;
  void FillNames() override {
    if (std::optional<NameList> names = CacheNames(static_cast<Factory*>(nullptr))) (void)this->AddNames(*names);
  }
  // The cache's names for this factory's kind; nothing (and the read
  // started) while not read. Overloaded on the factory interface, so that each facet
  // has its own.
  virtual std::optional<NameList> CacheNames(Factory* kind) = 0;
};

using CTarnOutingEventsFactory = CTarnNameListFactory<IKivEventsFactory, IKivEventSet>;
using CTarnOutingConstantFactory = CTarnNameListFactory<IKivConstantFactory, IKivConstant>;

}  // namespace velmar
