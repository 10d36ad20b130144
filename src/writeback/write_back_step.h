// CWriteBackStateMachineBase: one queued edit of a transaction (a step).
//
// An edit operation checks what it can at once, builds a step holding
// copies of what the write needs, and queues it with AddWriteBackStep. At
// commit the transaction asks each step, in order, for its job (CreateJob)
// and queues it on the step's thread; JobCompleted then reports the step
// finished, lets its receiver reload on success, and passes a failure's
// message to the transaction's owner.
//
// A step whose data is not there yet registers its export items with itself
// (the step is their waiter) and answers CreateJob with KIV_E_PENDING; the
// commit waits at that step until OnExportsComplete pumps it again.
//
// Client thread only (the job runs on the worker).
#pragma once

#include <string>

#include "jobs/state_machine.h"
#include "export/export_item.h"
#include "writeback/write_back_job_item.h"

namespace velmar {

class CTransactionStateMachine;

class CWriteBackStateMachineBase : public CStateMachineEx, public CExportWaiter {
 public:
  // Builds the step's job. `writeAccess` is the finished write-access job of
  // the commit. KIV_E_PENDING to wait; a failure ends the step unwritten.
  virtual KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) = 0;
  virtual AsyncThread GetJobThread() = 0;
  // Hands the job what it needs beyond its constructor.
  virtual void PrepareJob(CWriteBackJobItem& job) { (void)job; }

  void JobCompleted(CJobItem* job) override;
  // Nothing to stop: a step's job always runs to its end.
  void OnLastClientRelease() override {}

  bool running() const { return running_; }

 protected:
  explicit CWriteBackStateMachineBase(CWriteBackStateChanges* stateChanges) : stateChanges_(stateChanges) {}
  ~CWriteBackStateMachineBase() override;

  // A message of the step's own (a CreateJob that fails with a reason).
  void NotifyMessage(const std::u16string& text);
  // An item that ended without data: the next CreateJob finds it in state
  // "nothing" and reports it, so nothing is done here.
  void OnExportFailed(CExportItem* item) override { (void)item; }
  void OnExportsComplete() override;

 private:
  friend class CTransactionStateMachine;

  // The transaction's calls.
  void Attach(CTransactionStateMachine* transaction);
  bool attached() const { return transaction_ != nullptr; }
  // Queues `job` on GetJobThread.
  KivResult Start(ComPtr<CWriteBackJobItem> job);
  // Not to run: the step lets go of the transaction.
  void Abandon();
  // The transaction, the step's client hold on it passed to the caller.
  ClientRef<CTransactionStateMachine> TakeTransaction();

  bool running_ = false;
  ComPtr<CWriteBackJobItem> job_;
  CWriteBackStateChanges* const stateChanges_;  // not owned; may be null
  // Held as a client from Attach until the step is done or abandoned.
  CTransactionStateMachine* transaction_ = nullptr;
};

}  // namespace velmar
