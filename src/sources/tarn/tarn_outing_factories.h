// The data factories of a `.trn` outing object (channels, event sets, blobs,
// media channels, constants): each holds its own list of names, taken from
// its cache's read of that list. Asking for the names or an item before the
// list is in starts the read: the names are empty, and GetItem gives
// E_INVALIDARG. When the read ends the outing hands the list to the factory
// (Apply...), which gives the names that came and went for the outing's
// notifications.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "outing/channels/channel.h"
#include "outing/channels/channel_table.h"
#include "outing/constants/loaded_constant_factory.h"
#include "outing/factory/outing_data_factory.h"
#include "sources/tarn/tarn_blob.h"
#include "sources/tarn/tarn_channel_list.h"
#include "sources/tarn/tarn_event_set.h"
#include "sources/tarn/tarn_listed_factory.h"
#include "sources/tarn/tarn_media_channel.h"
#include "sources/tarn/tarn_read_jobs.h"
#include "velmar/data_factory.h"
#include "writeback/constant_write_factory.h"

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
  // Each kept channel that was made hears of a change over the whole range:
  // the store's data under its name may be new.
  void TellKept(const NameList& kept);
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
class CTarnOutingEventsFactory
    : public CTarnListedFactory<CTarnEventSet, IKivEventSet, IKivEventsFactory, TarnNamedItem> {
 public:
  NameChanges ApplyEventNames(const std::vector<TarnNamedItem>& names) { return ApplyList(NamedItemMap(names)); }
  // Shifts every set made so far, in name order; stops at the first failure.
  KivResult SetEventSetsTimeOffset(KivTime offset);

 protected:
  bool CacheList(EntryMap* list) override;
  ComPtr<CTarnEventSet> MakeItem(const std::u16string& name, const TarnNamedItem& entry) override;
  // The offset a set made now starts with.
  virtual KivTime EventTimeOffset() = 0;
};

// The blobs of an outing object: one per listed name, made on first demand;
// its content is read when a client first asks for it.
class CTarnOutingBlobFactory : public CTarnListedFactory<CBlob, IKivBlob, IKivBlobFactory, TarnNamedItem> {
 public:
  NameChanges ApplyBlobList(const std::vector<TarnNamedItem>& blobs) { return ApplyList(NamedItemMap(blobs)); }

 protected:
  bool CacheList(EntryMap* list) override;
  ComPtr<CBlob> MakeItem(const std::u16string& name, const TarnNamedItem& entry) override;
};

// The media channels of an outing object: one per listed name, made on first
// demand; its clips are read when a client first asks for them.
class CTarnMediaChannelFactory
    : public CTarnListedFactory<CTarnMediaChannelBase, IKivMediaChannel, IKivMediaChannelFactory,
                                TarnMediaChannelEntry> {
 public:
  // Shifts the clips of every channel made so far.
  void SetMediaTimeOffset(KivTime offset);

 protected:
  bool CacheList(EntryMap* list) override;
  ComPtr<CTarnMediaChannelBase> MakeItem(const std::u16string& name, const TarnMediaChannelEntry& entry) override;
  // The offset a channel made now starts with.
  virtual KivTime MediaTimeOffset() = 0;
};

// The constants of an outing object: the cache's constant list, merged into
// this factory's values every time it is read. Adds, removals and writers'
// commits go to the store as steps of the outing's transaction.
class CTarnOutingConstantFactory
    : public CWritableConstantFactory<CLoadedConstantFactory<IKivConstantFactory2>> {
 protected:
  bool LoadedRecords(std::vector<ConstantRecord>* records) override;
  ComPtr<CWriteBackStateMachineBase> MakeConstantStep(ConstantWriteOp op, CWriteBackStateChanges* receiver,
                                                      ConstantWriteFields fields) override;
  // The cache's constants; null (and the read started) while not read.
  virtual const std::vector<TarnConstant>* CacheConstants() = 0;
};

}  // namespace velmar
