// Channels written into a MAT-file: the step that collects the export items
// and its job, which appends each item as one channel variable through the
// commit's held file, resampled or not.
//
// Step: client thread. Job: "Matlab_Thread".
#pragma once

#include "jobs/job_thread.h"
#include "sources/matfile/matlab_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CMatlabWriteBackChannelJobItem final : public CWriteBackChannelJobOn<CMatlabOutingTxnJobItem> {
 public:
  using CWriteBackChannelJobOn::CWriteBackChannelJobOn;

 protected:
  // No item may take the name (as written) of a channel variable of the file.
  bool Validate() override;
  // Each item in list order.
  KivResult Write() override;
};

using CMatlabWriteBackChannelStateMachine =
    CWriteBackChannelStep<CMatlabWriteBackChannelJobItem, CMatlabOutingTxnJobItem, MatlabThread>;

}  // namespace velmar
