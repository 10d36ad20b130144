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

class CWBAsciiConstantJobItem final : public CWriteBackConstantJobItemBase {
 public:
  CWBAsciiConstantJobItem(CStateMachineEx* owner, ComPtr<CAsciiOutingTxnJobItem> access, ConstantWriteOp op,
                          ConstantWriteFields fields)
      : CWriteBackConstantJobItemBase(owner, op, std::move(fields)), access_(std::move(access)) {}

 protected:
  // HasConstant on the held file, as it stands after the commit's earlier steps.
  KivResult Lookup(bool* found, int64_t* id) override;
  KivResult Write() override;

 private:
  ComPtr<CAsciiOutingTxnJobItem> access_;
};

using CWBAsciiConstantAddJobItem = CWBAsciiConstantJobItem;
using CWBAsciiConstantModifyJobItem = CWBAsciiConstantJobItem;
using CWBAsciiConstantRemoveJobItem = CWBAsciiConstantJobItem;

template <ConstantWriteOp Op>
using CWBAsciiConstantStep = CWriteBackConstantStep<CWBAsciiConstantJobItem, CAsciiOutingTxnJobItem, AsciiThread, Op>;
using CWBAsciiConstantAddSM = CWBAsciiConstantStep<ConstantWriteOp::kAdd>;
using CWBAsciiConstantModifySM = CWBAsciiConstantStep<ConstantWriteOp::kModify>;
using CWBAsciiConstantRemoveSM = CWBAsciiConstantStep<ConstantWriteOp::kRemove>;

}  // namespace velmar
