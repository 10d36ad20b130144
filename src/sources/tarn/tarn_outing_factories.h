// The data factories of a `.trn` outing object: each holds its own list of
// names, taken from its cache's read of that list. Asking for the names or
// an item before the list is in starts the read: the names are empty, and
// GetItem gives E_INVALIDARG. When the read ends the outing hands the list
// to the factory (Apply...), which gives the names that came and went for
// the outing's notifications.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "outing/channel.h"
#include "outing/channel_table.h"
#include "outing/loaded_constant_factory.h"
#include "outing/outing_data_factory.h"
#include "sources/tarn/tarn_channel_list.h"
#include "sources/tarn/tarn_event_set.h"
#include "sources/tarn/tarn_read_jobs.h"
#include "velmar/data_factory.h"

namespace velmar {

// The channels of an outing object: one native channel per listed name,
// made on first demand, whose samples come from the outing's channel data
// cache.

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

// The event sets of an outing object: one per listed name, made on first
// demand with the outing's time offset; its records are read when a client
// first asks for them.
class CTarnOutingEventsFactory : public COutingDataFactory<CTarnEventSet*, IKivEventsFactory> {
 public:
  ~CTarnOutingEventsFactory() { (void)RemoveAllItems(); }
  KivResult GetItem(const std::u16string& name, IKivEventSet** set) override;
  // The list as read now: names gone, and names now on another store set,
  // leave (their sets are detached); new names enter.
  NameChanges ApplyEventNames(const std::vector<TarnNamedItem>& names);
  // Shifts every set made so far, in name order; stops at the first failure.
  KivResult SetEventSetsTimeOffset(KivTime offset);

 protected:
  void FillNames() override;
  void DropItem(const std::u16string& name, CTarnEventSet*& item) override;
  // The cache's list of sets; null (and the read started) while not read.
  virtual const std::vector<TarnNamedItem>* CacheEventNames() = 0;
  // What a set made now reads through, and the offset it starts with.
  virtual ComPtr<CTarnOutingCache> EventCache() = 0;
  virtual KivTime EventTimeOffset() = 0;

 private:
  std::map<std::u16string, uint64_t> ids_;  // the store's id of each listed set
  std::map<std::u16string, ComPtr<CTarnEventSet>> sets_;
};

// The constants of an outing object: the cache's constant list, merged into
// this factory's values every time it is read.
class CTarnOutingConstantFactory : public CLoadedConstantFactory<IKivConstantFactory> {
 protected:
  bool LoadedRecords(std::vector<ConstantRecord>* records) override;
  // The cache's constants; null (and the read started) while not read.
  virtual const std::vector<TarnConstant>* CacheConstants() = 0;
};

}  // namespace velmar
