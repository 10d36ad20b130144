// The event items of an export: CExportEvent, one event with every field
// owned, and CExportEventSet, the events of one set inside [start, end],
// collected as a channel is (waiting on data still being fetched). The
// destination refuses texts it cannot store through its CExportStringHelper.
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "export/export_source_item.h"
#include "velmar/events.h"

namespace velmar {

struct CExportEvent {
  std::u16string name;
  KivTime time = 0;  // less the export's base
  uint32_t category = 0;
  std::u16string source;
  std::u16string message;
  std::vector<uint8_t> fixedData;  // the 32-byte block, or empty
  std::vector<uint8_t> data;       // the payload, or empty
  bool ownsData = true;
};

class CExportStringHelper {
 public:
  virtual ~CExportStringHelper() = default;
  // False for texts the destination could not store.
  virtual bool CheckStrings(const std::u16string& name, const std::u16string& source,
                            const std::u16string& message) = 0;
};

// A destination that stores any text.
class CAnyStringsHelper final : public CExportStringHelper {
 public:
  bool CheckStrings(const std::u16string&, const std::u16string&, const std::u16string&) override { return true; }
};

class CExportEventSet final : public CExportSourceItem {
 public:
  // `strings` must outlive the item. The item starts at once.
  CExportEventSet(CExportStringHelper& strings, std::u16string name, IKivEventSet* eventSet, KivTime start,
                  KivTime end, KivTime base);

  const std::u16string& GetName() const override { return name_; }
  KivTime start() const { return start_; }
  KivTime end() const { return end_; }
  const std::vector<CExportEvent>& events() const { return events_; }
  // Hands the events over (the item keeps none).
  std::vector<CExportEvent> TakeEvents() { return std::move(events_); }

 private:
  KivResult Fetch() override;
  // Appends the event unless it lies outside the range; E_INVALIDARG for a
  // text the destination refuses.
  KivResult Append(IKivEvent* event);

  CExportStringHelper& strings_;
  std::u16string name_;
  KivTime start_;
  KivTime end_;
  KivTime base_;
  std::vector<CExportEvent> events_;
};

}  // namespace velmar
