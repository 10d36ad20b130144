// The proxies of a selection's event sets and media channels: bound and
// rebound as channel proxies are, without filters.
#pragma once

#include "tasks/data_proxy.h"
#include "tasks/media_channel_proxy.h"
#include "velmar/events.h"

namespace velmar {

class CEventSetProxy final : public CDataProxy<CEventSetProxy, IKivEventSet> {
 public:
  KivResult GetIterator(IKivEventsIterator** iterator) override {
    if (!iterator) return E_POINTER;
    *iterator = nullptr;
    if (!real()) return KIV_E_PENDING;
    return real()->GetIterator(iterator);
  }
  void ReadOffset() {}
  void OnRebound(IKivEventSet*) {}
};

}  // namespace velmar
