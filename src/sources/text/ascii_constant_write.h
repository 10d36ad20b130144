// Constant edits of a text data set: the job that rewrites the constant
// block through the commit's held file, and the three steps over it. A
// constant's unit is its row's comment; the file holds no spreadsheet
// definition, so such a constant is written with its value only.
//
// Steps: client thread. Jobs: "Ascii_Thread".
#pragma once

#include "jobs/job_thread.h"
#include "sources/text/ascii_transactions.h"
#include "writeback/constant_write_steps.h"

namespace velmar {

class CWBAsciiConstantJobItem final : public CWriteBackConstantJobOn<CAsciiOutingTxnJobItem> {
 public:
  using CWriteBackConstantJobOn::CWriteBackConstantJobOn;

 protected:
  // HasConstant on the held file, as it stands after the commit's earlier steps.
  KivResult Lookup(bool* found, int64_t* id) override;
  KivResult Write() override;
};

using CWBAsciiConstantSteps = CWriteBackConstantSteps<CWBAsciiConstantJobItem, AsciiThread>;
using CWBAsciiConstantAddSM = CWBAsciiConstantSteps::Add;
using CWBAsciiConstantModifySM = CWBAsciiConstantSteps::Modify;
using CWBAsciiConstantRemoveSM = CWBAsciiConstantSteps::Remove;
using CWBAsciiConstantAddJobItem = CWBAsciiConstantJobItem;
using CWBAsciiConstantModifyJobItem = CWBAsciiConstantJobItem;
using CWBAsciiConstantRemoveJobItem = CWBAsciiConstantJobItem;

}  // namespace velmar
