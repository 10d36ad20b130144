// CTransactionStateMachine: the one transaction of an outing cache, shared
// by every outing object on the data set.
//
//   Idle --Begin--> Open --Commit--> Acquiring --access--> Writing --> Closing --> Idle
//                    |  \--Rollback--> Idle       |
//                    \--Commit, no steps--> Idle  \--refused--> Idle (one message)
//
// Begin makes the calling outing the owner; only it may commit or roll back.
// Edits queue steps while Open. Commit queues the source's write-access job;
// once access is granted the steps' jobs are queued one after the other on
// the source's thread, so they run in the order of the edits. A failed step
// does not stop the ones behind it: what the earlier steps wrote stays. When
// the last step is finished the close job gives the access back, and the
// owner hears OnTransactionFinished: the last thing of every commit.
//
// An access refused with E_JOB_DROPPED is asked for again (the owner hears
// OnTransactionStarted again); any other refusal ends the commit with
// "Failed to obtain write access to outing" and drops the steps.
//
// Client thread only; the cache holds it as a client.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "jobs/state_machine.h"
#include "writeback/transaction_base.h"
#include "writeback/write_back_step.h"

namespace velmar {

inline constexpr std::u16string_view kWriteAccessFailed = u"Failed to obtain write access to outing";
// The access could not be given back, so what the steps wrote is not kept.
inline constexpr std::u16string_view kWriteCloseFailed = u"Failed to save changes to outing";

class CTransactionStateMachine final : public CStateMachineEx {
 public:
  enum class State : int32_t { kIdle = 0, kOpen = 1, kAcquiring = 2, kWriting = 3, kClosing = 4 };

  // `client` is the cache's transaction base; it must outlive this machine's
  // last client reference.
  explicit CTransactionStateMachine(CTransactionBase* client) : client_(client) {}

  State state() const { return state_; }
  int32_t total() const { return total_; }
  uint32_t done() const { return done_; }
  size_t pending_count() const { return pending_.size(); }
  // The steps queued and not yet started, in call order.
  const std::deque<CWriteBackStateMachineBase*>& pending() const { return pending_; }

  // IKivTransaction, for the outing object `outing`.
  KivResult Begin(COutingStateChanges* outing);
  KivResult Commit(COutingStateChanges* outing);
  KivResult Rollback(COutingStateChanges* outing);

  // Queues an edit: E_FAIL for none, KIV_E_TXN_NOT_OPEN without Begin,
  // KIV_E_TXN_EDIT_DURING_COMMIT while a commit runs.
  KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step);
  // The outing object is going: an open transaction it owns is rolled back.
  void OutingGone(COutingStateChanges* outing);

  // The steps' calls.
  void Pump();
  void StepFinished(CWriteBackStateMachineBase* step);
  void NotifyMessage(const std::u16string& text);

  void JobCompleted(CJobItem* job) override;
  // The cache went: an open transaction is dropped.
  void OnLastClientRelease() override;

 private:
  ~CTransactionStateMachine() override;

  // Commit from Open with steps: the write-access job queued, the cache held.
  KivResult StartCommit();
  void OnAccessEnded(KivResult status);
  void QueueClose();
  // Drops every step; Idle.
  void Discard();
  // The end of a commit that held the cache; `lost` when its writes were not kept.
  void Finish(bool lost = false);

  State state_ = State::kIdle;
  int32_t total_ = 0;
  uint32_t done_ = 0;
  ComPtr<CJobItem> job_;          // the write-access or close job under way
  ComPtr<CJobItem> writeAccess_;  // the granted access, until closed
  CTransactionBase* client_;
  std::vector<ComPtr<CWriteBackStateMachineBase>> liveSteps_;
  std::deque<CWriteBackStateMachineBase*> pending_;
};

}  // namespace velmar
