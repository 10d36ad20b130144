// The step templates of the writes of channels and events. The edit call
// builds the step with export items that are collected or still collecting;
// at the commit CreateJob waits (KIV_E_PENDING) while any item collects,
// reports the items that found nothing, and builds the job with the rest.
//
// Client thread only (the job runs on the worker).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "writeback/export_write_job.h"
#include "writeback/write_back_step.h"

namespace velmar {

// What the steps share: the walk of the items at each CreateJob.
template <class Item>
class CWriteBackExportStateMachineBase : public CWriteBackStateMachineBase {
 public:
  void AddItem(std::unique_ptr<Item> item) { items_.push_back(std::move(item)); }
  size_t itemCount() const { return items_.size(); }

  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) final {
    WalkItems();
    if (waiting() > 0) return KIV_E_PENDING;
    std::u16string report = std::move(report_);
    report_.clear();
    if (!HasWork()) {
      NotifyMessage(std::u16string(texts_.noDataAny));
      return E_FAIL;
    }
    const KivResult r = MakeJob(writeAccess, job);
    if (Succeeded(r) && !report.empty()) NotifyMessage(report);
    return r;
  }

 protected:
  CWriteBackExportStateMachineBase(CWriteBackStateChanges* receiver, const ExportWriteTexts& texts)
      : CWriteBackStateMachineBase(receiver), texts_(texts) {}
  ~CWriteBackExportStateMachineBase() override { items_.clear(); }

  // Builds the job over what the walk left.
  virtual KivResult MakeJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) = 0;
  // The name the report shows for an item.
  virtual std::u16string DisplayName(const Item& item) const { return item.GetName(); }
  // A collected item: true to keep it in the list, false when it handed its
  // data over to the step.
  virtual bool TakeCollected(Item& item) { (void)item; return true; }
  virtual bool HasWork() const { return !items_.empty(); }

  std::vector<std::unique_ptr<Item>>& items() { return items_; }

 private:
  void WalkItems() {
    std::vector<std::unique_ptr<Item>> kept;
    for (std::unique_ptr<Item>& item : items_) {
      if (item->StillCollecting()) {
        AddItem(item.get());
        kept.push_back(std::move(item));
      } else if (item->state() == CExportItem::kCollected) {
        if (TakeCollected(*item)) kept.push_back(std::move(item));
      } else {
        Report(*item);
      }
    }
    items_ = std::move(kept);
  }
  void AddItem(CExportItem* item) { CExportWaiter::AddItem(item); }
  void Report(const Item& item) {
    if (report_.empty()) report_ = texts_.reportHead;
    report_ += texts_.noDataItem;
    report_ += DisplayName(item);
    report_ += u'\n';
  }

  const ExportWriteTexts& texts_;
  std::vector<std::unique_ptr<Item>> items_;
  std::u16string report_;
};

class CWriteBackChannelStateMachineBase : public CWriteBackExportStateMachineBase<CExportChannel> {
 protected:
  explicit CWriteBackChannelStateMachineBase(CWriteBackStateChanges* receiver)
      : CWriteBackExportStateMachineBase(receiver, kChannelWriteTexts) {}
  std::u16string DisplayName(const CExportChannel& item) const override;
  // The collected items, handed to the job (the step keeps none).
  std::shared_ptr<const ExportChannelList> TakeItems();
};

// The channel step of a source: its job is `Job(owner, access, items)` over
// the commit's write access `Access`, run on `Thread()`.
template <class Job, class Access, AsyncThread (*Thread)()>
class CWriteBackChannelStep final : public CWriteBackChannelStateMachineBase {
 public:
  explicit CWriteBackChannelStep(CWriteBackStateChanges* receiver) : CWriteBackChannelStateMachineBase(receiver) {}
  AsyncThread GetJobThread() override { return Thread(); }

 protected:
  KivResult MakeJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override {
    if (!writeAccess) return E_FAIL;
    *job = MakeKiv<Job>(this, ComPtr<Access>(static_cast<Access*>(writeAccess)), TakeItems());
    return S_OK;
  }
};

class CWriteBackEventsStateMachineBase : public CWriteBackExportStateMachineBase<CExportEventSet> {
 public:
  // An event ready to write, needing no collecting (a single new event).
  void AddReady(CExportEvent event) { ready_.push_back(std::move(event)); }

 protected:
  CWriteBackEventsStateMachineBase(CWriteBackStateChanges* receiver, KivTime start, KivTime end)
      : CWriteBackExportStateMachineBase(receiver, kEventWriteTexts), start_(start), end_(end) {}
  bool TakeCollected(CExportEventSet& item) override;
  bool HasWork() const override { return !ready_.empty(); }
  // The events ready to write, sorted by name then time (the step keeps none).
  std::vector<CExportEvent> TakeEvents();
  KivTime start() const { return start_; }
  KivTime end() const { return end_; }

 private:
  std::vector<CExportEvent> ready_;
  KivTime start_;
  KivTime end_;
};

// Removal needs no collecting: the events are named at the call.
class CWriteBackEventsRemoveStateMachineBase : public CWriteBackStateMachineBase {
 public:
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) final;

 protected:
  CWriteBackEventsRemoveStateMachineBase(CWriteBackStateChanges* receiver, std::vector<CExportEvent> events)
      : CWriteBackStateMachineBase(receiver), events_(std::move(events)) {}
  virtual KivResult MakeJob(CJobItem* writeAccess, std::vector<CExportEvent> events,
                            ComPtr<CWriteBackJobItem>* job) = 0;

 private:
  std::vector<CExportEvent> events_;
};

// The events step of a source: its job is `Job(owner, access, events, start,
// end)` over the commit's write access `Access`, run on `Thread()`.
template <class Job, class Access, AsyncThread (*Thread)()>
class CWriteBackEventsStep final : public CWriteBackEventsStateMachineBase {
 public:
  CWriteBackEventsStep(CWriteBackStateChanges* receiver, KivTime start, KivTime end)
      : CWriteBackEventsStateMachineBase(receiver, start, end) {}
  AsyncThread GetJobThread() override { return Thread(); }

 protected:
  KivResult MakeJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override {
    if (!writeAccess) return E_FAIL;
    *job = MakeKiv<Job>(this, ComPtr<Access>(static_cast<Access*>(writeAccess)), TakeEvents(), start(), end());
    return S_OK;
  }
};

// The removal step of a source, as above with `Job(owner, access, events)`.
template <class Job, class Access, AsyncThread (*Thread)()>
class CWriteBackEventsRemoveStep final : public CWriteBackEventsRemoveStateMachineBase {
 public:
  CWriteBackEventsRemoveStep(CWriteBackStateChanges* receiver, std::vector<CExportEvent> events)
      : CWriteBackEventsRemoveStateMachineBase(receiver, std::move(events)) {}
  AsyncThread GetJobThread() override { return Thread(); }

 protected:
  KivResult MakeJob(CJobItem* writeAccess, std::vector<CExportEvent> events, ComPtr<CWriteBackJobItem>* job) override {
    if (!writeAccess) return E_FAIL;
    *job = MakeKiv<Job>(this, ComPtr<Access>(static_cast<Access*>(writeAccess)), std::move(events));
    return S_OK;
  }
};

}  // namespace velmar
