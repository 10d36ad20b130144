// Events removed from a `.trn` outing: the step names each event by set name
// and time, and its job looks each up in the store again and removes those
// that were added in analysis (kind 1); recorded events stay.
//
// Step: client thread. Job: the store thread.
#pragma once

#include <vector>

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CWBTarnRemoveEventsJobItem final : public CWriteBackEventsRemoveJobOn<CTarnOutingTransactionJobItem> {
 public:
  using CWriteBackEventsRemoveJobOn::CWriteBackEventsRemoveJobOn;

 protected:
  // True when at least one named event was found with kind 1, and the store
  // answered every look-up.
  bool Validate() override;
  KivResult Write() override;

 private:
  std::vector<uint64_t> ids_;  // what Validate found
};

using CWBTarnRemoveEventsStateMachine =
    CWriteBackEventsRemoveStep<CWBTarnRemoveEventsJobItem, CTarnOutingTransactionJobItem, DaeThread>;

}  // namespace velmar
