// Constant edits of a `.trn` outing: the job that writes through the
// store's constant writer, and the three steps over it.
//
// Steps: client thread. Jobs: the store thread.
#pragma once

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_transactions.h"
#include "writeback/constant_write_steps.h"

namespace velmar {

class CWBTarnConstantJobItem final : public CWriteBackConstantJobItemBase {
 public:
  CWBTarnConstantJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access, ConstantWriteOp op,
                         ConstantWriteFields fields)
      : CWriteBackConstantJobItemBase(owner, op, std::move(fields)), access_(std::move(access)) {}

 protected:
  // The store's list, read through the write (exact names).
  KivResult Lookup(bool* found, int64_t* id) override;
  KivResult Write() override;

 private:
  ComPtr<CTarnOutingTransactionJobItem> access_;
};

using CWBTarnConstantAddJobItem = CWBTarnConstantJobItem;
using CWBTarnConstantModifyJobItem = CWBTarnConstantJobItem;
using CWBTarnConstantRemoveJobItem = CWBTarnConstantJobItem;

template <ConstantWriteOp Op>
using CWBTarnConstantStep = CWriteBackConstantStep<CWBTarnConstantJobItem, CTarnOutingTransactionJobItem, DaeThread, Op>;
using CWBTarnConstantAddSM = CWBTarnConstantStep<ConstantWriteOp::kAdd>;
using CWBTarnConstantModifySM = CWBTarnConstantStep<ConstantWriteOp::kModify>;
using CWBTarnConstantRemoveSM = CWBTarnConstantStep<ConstantWriteOp::kRemove>;

}  // namespace velmar
