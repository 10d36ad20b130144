// Writing and removing events of an outing: the event sets a client sees on
// the outing (recorded, or worked out in memory by a host tool or an add-in)
// over [start, end] become stored events of its data set, one new event can
// be added, and events added in analysis can be removed again. Each call
// only queues a step of the open transaction (IKivTransaction::Begin
// first); the write runs at Commit, and its outcome comes as transaction
// messages ("Failed to write events", "Failed to remove events - events not
// found", ...).
//
// Results at the call: E_INVALIDARG for a names list that is missing or
// empty, a bad event name, or two lists of different lengths;
// KIV_E_DUPLICATE_EVENT (0x8004F015) for an event the data set holds at that
// time already; KIV_E_NO_EVENT_DATA (0x8004F019) when no set has events in
// the range; S_FALSE when some had none (each is named in a writer
// message); E_FAIL for an event to remove that the outing does not show;
// KIV_E_PENDING while the outing's own events are still being read (ask
// again after the data notification).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/data_factory.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// One new event, as WriteEvent takes it.
struct KivNewEvent {
  std::u16string name;
  KivTime time = 0;
  std::u16string source;
  std::u16string message;
  std::vector<uint8_t> fixedData;  // the 32-byte block, or empty
  std::vector<uint8_t> data;       // a free-form payload, or empty
};

struct IKivEventsWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{5C0E2F7A-3B19-4D6E-9A41-7F2B8C6D1E03}");
  virtual KivResult WriteEvents(KivTime start, KivTime end, const NameList* names) = 0;
  virtual KivResult WriteEvent(const KivNewEvent& event) = 0;
  // `names[i]` at `times[i]`: events added in analysis only.
  virtual KivResult RemoveEvents(const NameList* names, const std::vector<KivTime>* times) = 0;
};

}  // namespace velmar
