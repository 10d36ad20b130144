// CTarnEventSet: all events of one name in a `.trn` outing, as a data item.
//
// Its records are fetched per set, when a client first asks for the
// iterator, and not with the outing: the outing's cache reads them once for
// every outing object on the file and keeps them. Until they are in,
// GetIterator gives KIV_E_PENDING; when the read ends the set reports
// available (or not available, and a data failure) and the next GetIterator
// makes the references with the set's time offset.
//
// A change to unknown (the cache let the records go, or the offset moved)
// drops the iterator and the references; the next GetIterator asks afresh.
// Clients that hold a list or an event keep what they hold.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "outing/status/data_status_item.h"
#include "outing/events/event_data.h"
#include "outing/events/events.h"
#include "sources/tarn/tarn_item_reads.h"
#include "velmar/events.h"

namespace velmar {

class CTarnOutingCache;

class CTarnEventSet final : public IKivDataImpl<CTarnEventSet, IKivEventSet>, private ITarnItemDataClient {
 public:
  using Events = CEvents<COutingEventData>;
  using Iterator = CEventsIterator<COutingEventData>;

  // `eventId`: the store's id of the set; `cache` reads its records.
  CTarnEventSet(std::u16string name, uint64_t eventId, ComPtr<CTarnOutingCache> cache,
                ComPtr<IKivSelectionRange> binding, KivTime offset);

  // Reports status 1 over the whole range, as a newly bound item does.
  void Bind() { SetStatusRange(DataStatus::kAvailable, TimeRange::Whole()); }

  // IKivEventSet
  KivResult GetIterator(IKivEventsIterator** iterator) override;

  // Every reference given out takes the offset; with an iterator the set
  // then reports unknown over the whole range, so clients read it afresh.
  KivResult SetTimeOffset(KivTime offset);
  // The set leaves its outing: its sinks hear of the removal, it waits for
  // no read any more, and the iterator and binding are let go.
  void Detach();

  uint64_t event_id() const { return eventId_; }
  KivTime time_offset() const { return offset_; }

 private:
  ~CTarnEventSet() override;

  // ITarnItemDataClient
  void OnItemDataReady(bool succeeded, KivTime from, KivTime to) override;
  void OnItemDataDropped() override;

  bool PrepareData() override { return true; }
  void OnInputReset() override {}
  uint32_t GetDetail() override { return detail_; }
  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override;

  const uint64_t eventId_;
  ComPtr<CTarnOutingCache> cache_;  // null once detached
  ComPtr<IKivSelectionRange> binding_;
  ComPtr<CEventReferences> references_;  // what the iterator shows
  ComPtr<Iterator> iterator_;
  KivTime offset_;
  uint32_t detail_ = kDetailHasSamples;
};

}  // namespace velmar
