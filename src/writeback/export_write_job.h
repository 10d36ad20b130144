// The job bases of the writes of channels and events: the job first checks
// the destination as it stands now (Validate), since another writer may
// have changed it since the call, then writes. A refusal and a failed write
// each have their text.
//
// Worker thread (the source's), through the commit's write access.
#pragma once

#include <memory>
#include <vector>

#include "export/export_channel.h"
#include "export/export_event_set.h"
#include "writeback/export_write_texts.h"
#include "writeback/write_back_job_item.h"

namespace velmar {

class CWriteBackExportJobItemBase : public CWriteBackJobItem {
 protected:
  CWriteBackExportJobItemBase(CStateMachineEx* owner, const ExportWriteTexts& texts)
      : CWriteBackJobItem(owner), texts_(texts) {}

  // False when the destination refuses the write (a duplicate, nothing to remove).
  virtual bool Validate() = 0;
  virtual KivResult Write() = 0;

 private:
  KivResult Run() final;

  const ExportWriteTexts& texts_;
};

using ExportChannelList = std::vector<std::unique_ptr<CExportChannel>>;

class CWriteBackChannelJobItemBase : public CWriteBackExportJobItemBase {
 protected:
  CWriteBackChannelJobItemBase(CStateMachineEx* owner, std::shared_ptr<const ExportChannelList> items)
      : CWriteBackExportJobItemBase(owner, kChannelWriteTexts), items_(std::move(items)) {}
  const ExportChannelList& items() const { return *items_; }

 private:
  std::shared_ptr<const ExportChannelList> items_;
};

// A source's channel job, writing through the commit's write access `Access`.
template <class Access>
class CWriteBackChannelJobOn : public CWriteBackChannelJobItemBase {
 public:
  CWriteBackChannelJobOn(CStateMachineEx* owner, ComPtr<Access> access, std::shared_ptr<const ExportChannelList> items)
      : CWriteBackChannelJobItemBase(owner, std::move(items)), access_(std::move(access)) {}

 protected:
  Access* access() const { return access_.Get(); }

 private:
  ComPtr<Access> access_;
};

class CWriteBackEventsJobItemBase : public CWriteBackExportJobItemBase {
 protected:
  // `events` sorted by name, then time; [start, end] the range they came from.
  CWriteBackEventsJobItemBase(CStateMachineEx* owner, std::vector<CExportEvent> events, KivTime start, KivTime end)
      : CWriteBackExportJobItemBase(owner, kEventWriteTexts), events_(std::move(events)), start_(start), end_(end) {}
  const std::vector<CExportEvent>& events() const { return events_; }
  KivTime start() const { return start_; }
  KivTime end() const { return end_; }

 private:
  std::vector<CExportEvent> events_;
  KivTime start_;
  KivTime end_;
};

class CWriteBackEventsRemoveJobItemBase : public CWriteBackExportJobItemBase {
 protected:
  // Each event by name and time.
  CWriteBackEventsRemoveJobItemBase(CStateMachineEx* owner, std::vector<CExportEvent> events)
      : CWriteBackExportJobItemBase(owner, kRemoveEventsTexts), events_(std::move(events)) {}
  const std::vector<CExportEvent>& events() const { return events_; }

 private:
  std::vector<CExportEvent> events_;
};

// A source's events job over the commit's write access `Access`.
template <class Access>
class CWriteBackEventsJobOn : public CWriteBackEventsJobItemBase {
 public:
  CWriteBackEventsJobOn(CStateMachineEx* owner, ComPtr<Access> access, std::vector<CExportEvent> events, KivTime start,
                        KivTime end)
      : CWriteBackEventsJobItemBase(owner, std::move(events), start, end), access_(std::move(access)) {}

 protected:
  Access* access() const { return access_.Get(); }

 private:
  ComPtr<Access> access_;
};

// A source's removal job over the commit's write access `Access`.
template <class Access>
class CWriteBackEventsRemoveJobOn : public CWriteBackEventsRemoveJobItemBase {
 public:
  CWriteBackEventsRemoveJobOn(CStateMachineEx* owner, ComPtr<Access> access, std::vector<CExportEvent> events)
      : CWriteBackEventsRemoveJobItemBase(owner, std::move(events)), access_(std::move(access)) {}

 protected:
  Access* access() const { return access_.Get(); }

 private:
  ComPtr<Access> access_;
};

}  // namespace velmar
