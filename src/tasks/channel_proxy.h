// CChannelProxy: a selection's channel, by name. Reads go to the real
// channel of the selection's outing, through the offset filter when the
// selection holds a value offset for the name, and through a client's
// filters where asked for. Cache locks a client takes follow the proxy
// from one real channel to the next.
//
// Client thread only.
#pragma once

#include <vector>

#include "outing/channels/offset_filter.h"
#include "tasks/data_proxy.h"
#include "velmar/property_set.h"

namespace velmar {

class CChannelProxy;
// A channel proxy also tells its clients of a new value offset.
template <>
struct DataNotificationPointsOf<CChannelProxy> {
  using type = IKivNotificationsImpl<CChannelProxy, IKivInternalDataNotifications, IKivDataNotifications2,
                                     IKivChannelProxyNotifications>;
};

class CChannelProxy final
    : public CDataProxy<CChannelProxy, IKivChannel, IKivChannelProxy, IKivFilterProxy, IKivDataCache> {
 public:
  CChannelProxy() = default;

  // IKivChannel
  KivResult GetIterator(IKivChannelIterator2** iterator) override;
  // IKivChannelProxy
  KivResult GetValueOffset(double* offset) override;
  KivResult SetValueOffset(double offset) override;
  // IKivFilterProxy
  KivResult AddFilter(IKivPropertySet* properties, int32_t* index) override;
  KivResult RemoveFilter(int32_t index) override;
  KivResult GetFilterIterator(int32_t index, IKivChannelIterator2** iterator) override;
  // IKivDataCache: forwarded to the real channel.
  KivResult Lock() override;
  KivResult Unlock() override;

  // Takes the selection's offset for its name (a new proxy, or one rebound).
  void ReadOffset();
  void OnRebound(IKivChannel* old);

 private:
  struct FilterEntry {
    ComPtr<IKivPropertySet> properties;
    ComPtr<IKivFilter> filter;
  };

  ~CChannelProxy() override;

  void RealChanged(KivTime from, KivTime to) override;
  // Makes, replaces or drops the entry's filter from its properties.
  void ApplyFilter(FilterEntry& entry);
  void OffsetFilters();
  [[nodiscard]] KivResult FilterIterator(IKivFilter* filter, IKivChannelIterator2** iterator);
  FilterEntry* Slot(int32_t index);
  void ChangedOverAllTime() { SetStatusRange(DataStatus::kUnknown, kTimeMin, kTimeMax); }

  double valueOffset_ = 0.0;
  ComPtr<CBasicOffsetFilter> offsetFilter_;
  std::vector<FilterEntry> clientFilters_;  // a freed slot stays, empty
  uint32_t cacheHeld_ = 0;
};

}  // namespace velmar
