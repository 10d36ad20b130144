// Constant edits of a `.trn` outing: the job that writes through the
// store's constant writer, and the three steps over it.
//
// Steps: client thread. Jobs: the store thread.
#pragma once

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_transactions.h"
#include "writeback/constant_write_steps.h"

namespace velmar {

class CWBTarnConstantJobItem final : public CWriteBackConstantJobOn<CTarnOutingTransactionJobItem> {
 public:
  using CWriteBackConstantJobOn::CWriteBackConstantJobOn;

 protected:
  // The store's list, read through the write (exact names).
  KivResult Lookup(bool* found, int64_t* id) override;
  KivResult Write() override;
};

using CWBTarnConstantSteps = CWriteBackConstantSteps<CWBTarnConstantJobItem, DaeThread>;
using CWBTarnConstantAddSM = CWBTarnConstantSteps::Add;
using CWBTarnConstantModifySM = CWBTarnConstantSteps::Modify;
using CWBTarnConstantRemoveSM = CWBTarnConstantSteps::Remove;
using CWBTarnConstantAddJobItem = CWBTarnConstantJobItem;
using CWBTarnConstantModifyJobItem = CWBTarnConstantJobItem;
using CWBTarnConstantRemoveJobItem = CWBTarnConstantJobItem;

}  // namespace velmar
