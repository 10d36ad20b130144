// CEventSet: all events of one name in a file outing, as a data item.
//
// Made by the outing's events factory after a load, with the outing's time
// offset and the data selection binding; available at once over the whole
// range. Its iterator is made on first demand and kept. A time offset
// shifts every reference (never the records) and, once the iterator exists,
// is reported as a change over the whole range.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "outing/status/data_status_item.h"
#include "outing/events/event_data.h"
#include "outing/events/events.h"
#include "velmar/events.h"

namespace velmar {

class CEventSet final : public IKivDataImpl<CEventSet, IKivEventSet> {
 public:
  using Events = CEvents<COutingEventData>;
  using Iterator = CEventsIterator<COutingEventData>;

  CEventSet(std::u16string name, std::vector<COutingEventData> events, ComPtr<IKivSelectionRange> binding,
            KivTime offset);

  // Reports status 1 over the whole range, as a newly bound item does.
  void Bind() { SetStatusRange(DataStatus::kAvailable, TimeRange::Whole()); }

  // IKivEventSet
  KivResult GetIterator(IKivEventsIterator** iterator) override;

  // Shifts every event by `offset` (from the recorded time).
  KivResult SetTimeOffset(KivTime offset);
  // The set leaves its outing: its sinks hear of the removal, and the
  // iterator and binding are let go. Clients that hold events keep them.
  void Detach();

  KivTime time_offset() const { return offset_; }
  const std::vector<COutingEventData>& events() const { return events_->events(); }

 private:
  bool PrepareData() override;
  void OnInputReset() override {}
  uint32_t GetDetail() override { return detail_; }

  ComPtr<CEventReferences> events_;  // rising time
  ComPtr<IKivSelectionRange> binding_;
  ComPtr<Iterator> iterator_;
  KivTime offset_;
  uint32_t detail_ = kDetailNoSamples;
};

}  // namespace velmar
