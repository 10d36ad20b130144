// The event sets of a live outing object: CRTEventSet reads what is pending
// from the live core when a client asks for its iterator; each change the
// core tells drops the iterator and reports the range. CRTOutingEventsFactory
// lists the core's event sets and makes one set per name on first demand.
//
// Client thread only.
#pragma once

#include <map>
#include <string>

#include "outing/status/data_status_item.h"
#include "outing/events/event_data.h"
#include "outing/events/events.h"
#include "outing/factory/outing_data_factory.h"
#include "sources/realtime/rt_outing_core.h"
#include "velmar/events.h"

namespace velmar {

class CRTEventSet final : public IKivDataImpl<CRTEventSet, IKivEventSet> {
 public:
  using Events = CEvents<COutingEventData>;
  using Iterator = CEventsIterator<COutingEventData>;

  CRTEventSet(std::u16string name, CRTOutingCore* core) : IKivDataImpl(std::move(name)), core_(core) {}
  // Reports status 1 over the whole range, as a newly bound item does.
  void Bind() { SetStatusRange(DataStatus::kAvailable, TimeRange::Whole()); }

  // IKivEventSet. KIV_E_PENDING while the server has given none yet.
  KivResult GetIterator(IKivEventsIterator** iterator) override;

  // The core told a change over (from, to).
  void OnLiveData(KivTime from, KivTime to);
  // The set leaves its outing: its sinks hear of the removal.
  void Detach();

 private:
  ~CRTEventSet() override = default;
  bool PrepareData() override { return true; }
  void OnInputReset() override {}
  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override;

  CRTOutingCore* core_;  // null once detached
  ComPtr<CEventReferences> references_;
  ComPtr<Iterator> iterator_;
};

class CRTOutingEventsFactory : public COutingDataFactory<IKivEventSet*, IKivEventsFactory> {
 public:
  KivResult GetItem(const std::u16string& name, IKivEventSet** set) override;
  void OnLiveEvents(const std::u16string& name, KivTime from, KivTime to);
  // Every set detached (the outing goes).
  void DropEventSets();

 protected:
  ~CRTOutingEventsFactory() = default;
  void FillNames() override;
  void DropItem(const std::u16string& name, IKivEventSet*& item) override;
  virtual CRTOutingCore& LiveCore() = 0;

 private:
  std::map<std::u16string, ComPtr<CRTEventSet>> sets_;
};

}  // namespace velmar
