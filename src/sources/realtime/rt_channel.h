// The channels of a live outing object: CRTChannel reads its samples from
// the live core on the client thread when a client asks for its iterator;
// each change the core tells drops its blocks and reports the range, so the
// client reads again (one change per read, as the core keeps it).
// CRTOutingChannelFactory lists the core's channels and makes one channel
// per name on first demand.
//
// Client thread only.
#pragma once

#include <string>

#include "outing/channels/channel_data_lock.h"
#include "outing/channels/channel_impl.h"
#include "outing/channels/channel_table.h"
#include "outing/factory/outing_data_factory.h"
#include "sources/realtime/rt_outing_core.h"

namespace velmar {

class CRTChannel final : public IKivChannelImpl<CRTChannel, IKivDataCacheImpl> {
 public:
  // `binding`: the selection binding of the factory (see BindChannel).
  void Bind(std::u16string name, CChannelKey key, ComPtr<IKivUnknown> binding, CRTOutingCore* core);
  // The core told a change over (from, to).
  void OnLiveData(KivTime from, KivTime to);

 protected:
  bool PrepareData() override { return true; }
  KivResult PrepareBlocks() override;
  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override;
  void OnDetach() override { core_ = nullptr; }

 private:
  ~CRTChannel() override = default;
  CRTOutingCore* core_ = nullptr;  // the outing's, which detaches this channel before it goes
};

class CRTOutingChannelFactory : public COutingDataFactory<IKivChannel*, IKivChannelFactory> {
 public:
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override;
  // What the core told: names that went (their channels detached) or came.
  NameList RemoveChannels(const NameList& names);
  NameList AddChannels(const NameList& names) { return AddNames(names); }
  void OnLiveData(const std::u16string& name, KivTime from, KivTime to);
  // Every channel detached (the outing goes).
  void DropChannels() { table_.DropAll(); }

 protected:
  ~CRTOutingChannelFactory() = default;
  void FillNames() override;
  void DropItem(const std::u16string& name, IKivChannel*& item) override;
  virtual CRTOutingCore& LiveCore() = 0;

 private:
  CChannelTable<CRTChannel> table_;
};

}  // namespace velmar
