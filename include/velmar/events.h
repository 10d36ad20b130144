// Events as clients see them: an event set is the data item of all events of
// one name; its iterator gives the list of events and finds one by time.
//
// Times are ticks with the outing's time offset applied. Indexes count from 1.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/channel.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// Category of an event.
inline constexpr uint32_t kEventRecordedByCar = 0;
inline constexpr uint32_t kEventAddedInAnalysis = 1;

// FindEvent modes.
inline constexpr uint32_t kFindEventNext = 0;     // the next event strictly after the time
inline constexpr uint32_t kFindEventPrevious = 1; // the last event strictly before it
inline constexpr uint32_t kFindEventNearest = 2;  // the nearest; half way goes to the later one

// Every operation: E_POINTER for a null out; E_FAIL when the event has no record.
struct IKivEvent : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{913BF7DE-5446-4F95-B48A-C943BEA7E96F}");
  virtual KivResult GetName(std::u16string* name) = 0;
  // The recorded time plus the outing's offset.
  virtual KivResult GetTime(KivTime* time) = 0;
  virtual KivResult GetCategory(uint32_t* category) = 0;
  virtual KivResult GetSource(std::u16string* source) = 0;
  virtual KivResult GetMessage(std::u16string* message) = 0;
  // A copy of the 32-byte block; S_FALSE and an empty array when the event has none.
  virtual KivResult GetFixedData(std::vector<uint8_t>* data) = 0;
  // A copy of the free-form payload; S_FALSE and an empty array when absent.
  virtual KivResult GetData(std::vector<uint8_t>* data) = 0;
};

struct IKivEvents : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{EBC2B0DA-AD2F-4F99-84FA-CD27AC203D20}");
  virtual KivResult GetCount(uint32_t* count) = 0;
  // 1 to count, else DISP_E_BADINDEX. The same object comes back each time.
  virtual KivResult GetEvent(int32_t index, IKivEvent** event) = 0;
};

struct IKivEventsIterator : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{2CF665D5-01FA-465A-B4E4-0CBF5858D7E8}");
  // S_OK, or S_FALSE when the list is empty; the list is given in both cases.
  virtual KivResult GetEvents(IKivEvents** events) = 0;
  // The index (from 1) of the event found by `mode` (kFindEvent...) from
  // `time`; `range` 1 limits the search to the data selection. S_FALSE with
  // index 0 when no event fits; E_INVALIDARG for a mode above 2 or a range
  // above 1.
  virtual KivResult FindEvent(KivTime time, uint32_t mode, uint32_t range, int32_t* index) = 0;
};

struct IKivEventSet : IKivData {
  static constexpr Guid iid = Guid::Literal("{6CA4C83C-7A0E-422C-BC4D-03622F224CF9}");
  using Parent = IKivData;
  // The set's one iterator, made on first demand. KIV_E_PENDING while the
  // events are not there yet; out is null then.
  virtual KivResult GetIterator(IKivEventsIterator** iterator) = 0;
};

}  // namespace velmar
