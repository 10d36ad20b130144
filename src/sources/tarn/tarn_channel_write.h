// Channels written into a `.trn` outing: the step that collects the export
// items and its job, which checks the store's channel list again (another
// writer may have added one of the names since the call) and adds the
// channels with their samples through the commit's write handle.
//
// Step: client thread. Job: the store thread.
#pragma once

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_data_set.h"
#include "sources/tarn/tarn_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CWBTarnWriteChannelJobItem final : public CWriteBackChannelJobOn<CTarnOutingTransactionJobItem> {
 public:
  using CWriteBackChannelJobOn::CWriteBackChannelJobOn;

 protected:
  // No item may take the key of a channel the store lists.
  bool Validate() override;
  KivResult Write() override;
};

using CWBTarnWriteChannelStateMachine =
    CWriteBackChannelStep<CWBTarnWriteChannelJobItem, CTarnOutingTransactionJobItem, DaeThread>;

// A collected item's description as the store takes it, from the item's
// properties (the name's key when they are missing); the job hands the
// item's blocks to the store as they are.
[[nodiscard]] KivResult ExportedTarnChannel(const CExportChannel& item, TarnDataSetChannel* channel);

}  // namespace velmar
