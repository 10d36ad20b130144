// The proxies of a selection's event sets and media channels: bound and
// rebound as channel proxies are, without filters.
#pragma once

#include "tasks/data_proxy.h"
#include "velmar/events.h"
#include "velmar/media.h"

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

// A media channel through a selection plays the selection's span.
class CMediaChannelProxy final
    : public CDataProxy<CMediaChannelProxy, IKivMediaChannel, IKivMediaChannelDiagnostic> {
 public:
  KivResult CreateClipPlayer(void* window, KivBool adjustForDistance, IKivClipPlayer** player) override;
  KivResult GetDiagnostics(KivBool adjustForDistance, std::u16string* text) override;
  void ReadOffset() {}
  void OnRebound(IKivMediaChannel*) {}

 private:
  // The selection's span; false when it has none.
  bool Span(KivTime* start, KivTime* end) const;
};

}  // namespace velmar
