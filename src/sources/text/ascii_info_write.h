// Outing information edits of a text data set: the job that rewrites the
// information block through the commit's held file. Properties the block
// has no key for are not written.
//
// Step: client thread. Job: "Ascii_Thread".
#pragma once

#include "jobs/job_thread.h"
#include "sources/text/ascii_transactions.h"
#include "writeback/outing_info_write.h"

namespace velmar {

class CWBAsciiOutingInfoJobItem final : public CWBOutingInfoJobItemBase {
 public:
  CWBAsciiOutingInfoJobItem(CStateMachineEx* owner, ComPtr<CAsciiOutingTxnJobItem> access, PropertyList properties)
      : CWBOutingInfoJobItemBase(owner, std::move(properties)), access_(std::move(access)) {}

 protected:
  KivResult Run() override;

 private:
  ComPtr<CAsciiOutingTxnJobItem> access_;
};

using CWBAsciiOutingInfoStateMachine = CWBOutingInfoStep<CWBAsciiOutingInfoJobItem, CAsciiOutingTxnJobItem, AsciiThread>;

}  // namespace velmar
