// A plug-in event set as the library's event set: its events are copied
// once, on the first read, into records that the library's event list and
// iterator show like a recorded set's. A plug-in that raises leaves the set
// "not available"; one still fetching leaves it pending and is asked again;
// its reports reach the set's clients.
//
// Client thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "managed/dotnet_data_item.h"
#include "outing/events/event_data.h"
#include "outing/events/events.h"
#include "velmar/events.h"

namespace velmar::managed {

// The event priorities run 0 to 7; a plug-in's category outside that is
// clamped to the nearest.
uint32_t PriorityFromCategory(int32_t category);

// Copies events [from, to] of the plug-in's set, one record each, to `sink`:
// time, priority, source, message; the Information lines follow the message
// (one a line) and the Data values become the payload (8-byte doubles, host
// order). Throws what the plug-in throws.
void CopyEvents(PluginEventSet& set, int64_t from, int64_t to,
                const std::function<void(CCachedEventData&&)>& sink);

class CDotNetEventSet final : public CDotNetDataItem<CDotNetEventSet, IKivEventSet, PluginEventSet> {
 public:
  CDotNetEventSet(std::u16string name, std::unique_ptr<PluginEventSet> set)
      : CDotNetDataItem(std::move(name), std::move(set)) {}

  KivResult GetIterator(IKivEventsIterator** iterator) override;

 private:
  using Iterator = CEventsIterator<COutingEventData>;
  bool Fetch() override;
  void Forget() override {
    events_ = nullptr;
    iterator_ = nullptr;
  }

  ComPtr<CEventReferences> events_;  // null until read
  ComPtr<Iterator> iterator_;
};

}  // namespace velmar::managed
