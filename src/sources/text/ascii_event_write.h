// Events written into and removed from a text data set: the steps collect
// or name the events, and their jobs rewrite the event block through the
// commit's held file. A write refuses an event the file has at the same
// time with the same name and source; a removal keeps only the events the
// file has, and leaves those recorded by the car.
//
// Steps: client thread. Jobs: "Ascii_Thread".
#pragma once

#include <vector>

#include "jobs/job_thread.h"
#include "sources/text/ascii_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CAsciiWriteBackEventsJobItem final : public CWriteBackEventsJobItemBase {
 public:
  CAsciiWriteBackEventsJobItem(CStateMachineEx* owner, ComPtr<CAsciiOutingTxnJobItem> access,
                               std::vector<CExportEvent> events, KivTime start, KivTime end)
      : CWriteBackEventsJobItemBase(owner, std::move(events), start, end), access_(std::move(access)) {}

 protected:
  bool Validate() override;
  KivResult Write() override;

 private:
  ComPtr<CAsciiOutingTxnJobItem> access_;
};

class CAsciiWriteBackEventsRemoveJobItem final : public CWriteBackEventsRemoveJobItemBase {
 public:
  CAsciiWriteBackEventsRemoveJobItem(CStateMachineEx* owner, ComPtr<CAsciiOutingTxnJobItem> access,
                                     std::vector<CExportEvent> events)
      : CWriteBackEventsRemoveJobItemBase(owner, std::move(events)), access_(std::move(access)) {}

 protected:
  // Takes the events the file lacks off the list; true when one stays.
  bool Validate() override;
  KivResult Write() override;

 private:
  ComPtr<CAsciiOutingTxnJobItem> access_;
  std::vector<TextEvent> found_;
};

class CAsciiWriteBackEventsStateMachine final : public CWriteBackEventsStateMachineBase {
 public:
  CAsciiWriteBackEventsStateMachine(CWriteBackStateChanges* receiver, KivTime start, KivTime end)
      : CWriteBackEventsStateMachineBase(receiver, start, end) {}
  AsyncThread GetJobThread() override { return AsciiThread(); }

 protected:
  KivResult MakeJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;
};

class CAsciiWriteBackEventsRemoveStateMachine final : public CWriteBackEventsRemoveStateMachineBase {
 public:
  CAsciiWriteBackEventsRemoveStateMachine(CWriteBackStateChanges* receiver, std::vector<CExportEvent> events)
      : CWriteBackEventsRemoveStateMachineBase(receiver, std::move(events)) {}
  AsyncThread GetJobThread() override { return AsciiThread(); }

 protected:
  KivResult MakeJob(CJobItem* writeAccess, std::vector<CExportEvent> events, ComPtr<CWriteBackJobItem>* job) override;
};

}  // namespace velmar
