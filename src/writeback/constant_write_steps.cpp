#include "writeback/constant_write_steps.h"

namespace velmar {
namespace {

// By op: the text of a name the data set has (add) or lacks (modify,
// remove), and the text of a failed read or write.
constexpr std::u16string_view kTexts[3][2] = {
    {kAddConstantDuplicate, kAddConstantFailed},
    {kModifyConstantMissing, kModifyConstantFailed},
    {kRemoveConstantMissing, kRemoveConstantFailed},
};

std::u16string_view StopText(ConstantWriteOp op) { return kTexts[static_cast<int>(op)][0]; }
std::u16string_view FailText(ConstantWriteOp op) { return kTexts[static_cast<int>(op)][1]; }

}  // namespace

KivResult CWriteBackConstantJobItemBase::Run() {
  bool found = false;
  int64_t id = -1;
  if (Failed(Lookup(&found, &id))) {
    SetError(FailText(op_), fields_.name);
    return E_FAIL;
  }
  if (found == (op_ == ConstantWriteOp::kAdd)) {
    SetError(StopText(op_), fields_.name);
    return E_FAIL;
  }
  id_ = id;
  if (Failed(Write())) {
    SetError(FailText(op_), fields_.name);
    return E_FAIL;
  }
  return S_OK;
}

}  // namespace velmar
