// Events written into a `.trn` outing: the step collects the event sets'
// events over [start, end]; its job looks for each event in the store again
// (another writer may have added it since the call) and adds them all.
//
// Step: client thread. Job: the store thread.
#pragma once

#include <vector>

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CWBTarnWriteEventsJobItem final : public CWriteBackEventsJobOn<CTarnOutingTransactionJobItem> {
 public:
  using CWriteBackEventsJobOn::CWriteBackEventsJobOn;

 protected:
  // False when an event of the same set has a record at the same time with
  // the same source, or the store cannot say.
  bool Validate() override;
  KivResult Write() override;
};

using CWBTarnWriteEventsStateMachine =
    CWriteBackEventsStep<CWBTarnWriteEventsJobItem, CTarnOutingTransactionJobItem, DaeThread>;

}  // namespace velmar
