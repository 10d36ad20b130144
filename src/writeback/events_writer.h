// Writing and removing events of an outing: the calls that check what they
// can and queue one step (the write itself runs at the commit). Every
// editable source's cache answers the questions below; the events come from
// the event sets a client sees on the outing, the checks look at the events
// the outing holds itself.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/events.h"
#include "velmar/events_writer.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CEventsWriterCache {
 public:
  // The set of that name as a client of the outing sees it.
  virtual KivResult GetExportEventSet(const std::u16string& name, ComPtr<IKivEventSet>* set) = 0;
  // Whether the outing holds an event of set `name` at `time`: S_OK yes,
  // S_FALSE no, KIV_E_PENDING while its events are still being read.
  virtual KivResult FindStoredEvent(const std::u16string& name, KivTime time) = 0;
  // The name test of the destination's events.
  virtual bool ValidEventName(const std::u16string& name);
  // Texts the destination can store.
  virtual CExportStringHelper& Strings() { return anyStrings_; }
  // Subtracted from every time written.
  virtual KivTime ExportBase() { return 0; }
  virtual void PostWriterMessage(uint32_t level, const std::u16string& text) = 0;
  virtual ComPtr<CWriteBackEventsStateMachineBase> NewEventsStep(KivTime start, KivTime end) = 0;
  virtual ComPtr<CWriteBackStateMachineBase> NewRemoveStep(std::vector<CExportEvent> events) = 0;
  virtual KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) = 0;

 protected:
  ~CEventsWriterCache() = default;

 private:
  CAnyStringsHelper anyStrings_;
};

// S_OK, or S_FALSE when some sets had no events in the range;
// KIV_E_DUPLICATE_EVENT, KIV_E_NO_EVENT_DATA, E_INVALIDARG as the public
// interface tells.
KivResult WriteEvents(CEventsWriterCache& cache, KivTime start, KivTime end, const NameList* names);
KivResult WriteEvent(CEventsWriterCache& cache, const KivNewEvent& event);
KivResult RemoveEvents(CEventsWriterCache& cache, const NameList* names, const std::vector<KivTime>* times);

// Whether `factory`'s set `name` has an event at `time`, with the answers
// of FindStoredEvent. A name the factory does not give has none.
KivResult FindEventIn(IKivEventsFactory* factory, const std::u16string& name, KivTime time);

}  // namespace velmar
