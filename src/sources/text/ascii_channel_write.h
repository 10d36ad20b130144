// Channels written into a text data set: the step that collects the export
// items and its job, which appends them through the commit's held file.
// Resampled items go in as one block on a shared grid; items at their
// native rate each as a block of their own.
//
// Step: client thread. Job: "Ascii_Thread".
#pragma once

#include "jobs/job_thread.h"
#include "sources/text/ascii_transactions.h"
#include "writeback/export_write_step.h"

namespace velmar {

class CAsciiWriteBackChannelJobItem final : public CWriteBackChannelJobOn<CAsciiOutingTxnJobItem> {
 public:
  using CWriteBackChannelJobOn::CWriteBackChannelJobOn;

 protected:
  // No item may take the name of a column of the file.
  bool Validate() override;
  KivResult Write() override;
};

using CAsciiWriteBackChannelStateMachine =
    CWriteBackChannelStep<CAsciiWriteBackChannelJobItem, CAsciiOutingTxnJobItem, AsciiThread>;

// The column name an item takes in a text data set: the name of its key.
std::u16string TextColumnName(const CExportChannel& item);
// Its unit text: the converter's for a quantity other than 0, else the
// "User type" property.
std::u16string TextUnitText(const CExportChannel& item);

}  // namespace velmar
