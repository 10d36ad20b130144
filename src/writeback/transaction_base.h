// The part of an outing cache that its transaction talks to.
//
// CTransactionBase is what the transaction state machine calls: the owner's
// notifications, the cache reference that keeps the cache alive through a
// commit, and the three things a source gives the frame (the job that takes
// write access, the job that gives it back, and the worker thread).
//
// CTransactions<Cache> does the owner and cache side for any cache built on
// COutingCacheBase; the source adds its jobs.
//
// Client thread only.
#pragma once

#include <string>

#include "jobs/job_item.h"
#include "outing/cache/outing_state_changes.h"
#include "platform/async/job_engine.h"
#include "velmar/unknown.h"

namespace velmar {

class CTransactionBase {
 public:
  CTransactionBase(const CTransactionBase&) = delete;
  CTransactionBase& operator=(const CTransactionBase&) = delete;

  // The outing that began the transaction; null when none is open. Held
  // without a reference until the commit starts, so that an outing released
  // with an open transaction goes (and rolls it back, see OutingGone).
  COutingStateChanges* owner() const { return owner_; }
  void SetOwner(COutingStateChanges* owner) { owner_ = owner; }

  // The commit started: a reference on the owner, which raises OnTransactionStarted.
  virtual void NotifyTransactionStarted();
  // The owner raises OnTransactionFinished, is cleared, and its reference goes.
  virtual void NotifyTransactionFinished();
  virtual void NotifyTransactionProgress(uint32_t total, uint32_t done);
  virtual void NotifyTransactionMessage(const std::u16string& text);
  // Keep the cache alive for a running commit, and let it go.
  virtual void AddCacheReference() = 0;
  virtual void ReleaseCacheReference() = 0;
  virtual bool IsAttachedOuting(const COutingStateChanges* outing) const = 0;

  // What the source gives. `owner` is the transaction state machine.
  virtual ComPtr<CJobItem> MakeWriteAccessJob(CStateMachineEx* owner) = 0;
  // Gives back the access that `writeAccess` (the finished write-access job) took.
  virtual ComPtr<CJobItem> MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) = 0;
  virtual AsyncThread GetJobThread() = 0;
  // The commit's writes were not kept although its steps reported them: what
  // was read since must be read again.
  virtual void OnWriteLost() {}

 protected:
  CTransactionBase() = default;
  virtual ~CTransactionBase();

 private:
  COutingStateChanges* owner_ = nullptr;
  ComPtr<COutingStateChanges> ownerHold_;  // from commit start to finish
};

// The cache side of CTransactionBase for a COutingCacheBase.
template <class Cache>
class CTransactions : public CTransactionBase {
 public:
  void AddCacheReference() override { Self()->AddRef(); }
  void ReleaseCacheReference() override { Self()->Release(); }
  bool IsAttachedOuting(const COutingStateChanges* outing) const override {
    return SelfConst()->IsAttachedAs(outing);
  }

 private:
  Cache* Self() { return static_cast<Cache*>(this); }
  const Cache* SelfConst() const { return static_cast<const Cache*>(this); }
};

}  // namespace velmar
