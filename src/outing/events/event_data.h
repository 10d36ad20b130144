// An event as a source loaded it, and an outing's reference to it.
//
// CCachedEventData is made by a source's load job and never changed after; many
// outing objects share it. COutingEventData is one outing's view of a record:
// the record and the time offset of that outing.
//
// Records are made on the worker thread and handed over by job completion;
// references live on the client thread.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

inline constexpr size_t kEventFixedDataSize = 32;

struct CCachedEventData {
  std::optional<std::vector<uint8_t>> data;                          // free-form; the native store's only
  std::optional<std::array<uint8_t, kEventFixedDataSize>> fixedData;  // the native store's only
  std::u16string message;
  std::u16string source;
  std::u16string name;  // of the event set
  uint32_t category = 0;  // 0 recorded by the car, 1 added in analysis
  KivTime time = 0;       // without any offset
  uint64_t id = 0;        // the native store's record id; 0 elsewhere
};

using EventRecordPtr = std::shared_ptr<const CCachedEventData>;
// A load's events: per set name, in the order the source gave them.
using EventRecordMap = std::map<std::u16string, std::vector<EventRecordPtr>>;

class COutingEventData {
 public:
  COutingEventData() = default;
  COutingEventData(EventRecordPtr record, KivTime offset) : record_(std::move(record)), offset_(offset) {}

  bool has_record() const { return record_ != nullptr; }
  const CCachedEventData& record() const { return *record_; }
  // The recorded time plus the offset.
  KivTime time() const { return record_->time + offset_; }
  KivTime offset() const { return offset_; }
  void set_offset(KivTime offset) { offset_ = offset; }

  const std::u16string& name() const { return record_->name; }
  const std::u16string& source() const { return record_->source; }
  const std::u16string& message() const { return record_->message; }
  uint32_t category() const { return record_->category; }
  // Null when the event has none.
  const std::vector<uint8_t>* data() const { return record_->data ? &*record_->data : nullptr; }
  const uint8_t* fixed_data() const { return record_->fixedData ? record_->fixedData->data() : nullptr; }

 private:
  EventRecordPtr record_;
  KivTime offset_ = 0;
};

// The references of one set: in rising time, equal times in source order.
std::vector<COutingEventData> MakeEventReferences(const std::vector<EventRecordPtr>& records, KivTime offset);

// A set's references, counted: the set and every list a client took over
// them hold it, so a list stays readable after its set is gone, and no list
// holds the set (which holds its iterator, which holds a list).
class CEventReferences final : public KivObject<IKivUnknown> {
 public:
  explicit CEventReferences(std::vector<COutingEventData> events) : events_(std::move(events)) {}

  const std::vector<COutingEventData>& events() const { return events_; }
  void SetOffset(KivTime offset) {
    for (COutingEventData& event : events_) event.set_offset(offset);
  }

 private:
  std::vector<COutingEventData> events_;  // never resized: lists show it
};

}  // namespace velmar
