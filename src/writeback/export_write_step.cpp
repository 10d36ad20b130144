#include "writeback/export_write_step.h"

#include <algorithm>

#include "velmar/channel_key.h"

namespace velmar {

std::u16string CWriteBackChannelStateMachineBase::DisplayName(const CExportChannel& item) const {
  return ChannelDisplayName(item.GetName());
}

std::shared_ptr<const ExportChannelList> CWriteBackChannelStateMachineBase::TakeItems() {
  return std::make_shared<const ExportChannelList>(std::move(items()));
}

bool CWriteBackEventsStateMachineBase::TakeCollected(CExportEventSet& item) {
  std::vector<CExportEvent> events = item.TakeEvents();
  ready_.insert(ready_.end(), std::make_move_iterator(events.begin()), std::make_move_iterator(events.end()));
  return false;
}

std::vector<CExportEvent> CWriteBackEventsStateMachineBase::TakeEvents() {
  std::stable_sort(ready_.begin(), ready_.end(), [](const CExportEvent& a, const CExportEvent& b) {
    return a.name != b.name ? a.name < b.name : a.time < b.time;
  });
  return std::move(ready_);
}

KivResult CWriteBackEventsRemoveStateMachineBase::CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  if (events_.empty()) {
    NotifyMessage(std::u16string(kRemoveEventsTexts.noDataAny));
    return E_FAIL;
  }
  return MakeJob(writeAccess, std::move(events_), job);
}

}  // namespace velmar
