#include "writeback/constant_write_steps.h"

namespace velmar {
namespace {

// The text of a name the data set has (add) or lacks (modify, remove).
std::u16string_view StopText(ConstantWriteOp op) {
  switch (op) {
    case ConstantWriteOp::kAdd:
      return kAddConstantDuplicate;
    case ConstantWriteOp::kModify:
      return kModifyConstantMissing;
    case ConstantWriteOp::kRemove:
      return kRemoveConstantMissing;
  }
  return {};
}

std::u16string_view FailText(ConstantWriteOp op) {
  switch (op) {
    case ConstantWriteOp::kAdd:
      return kAddConstantFailed;
    case ConstantWriteOp::kModify:
      return kModifyConstantFailed;
    case ConstantWriteOp::kRemove:
      return kRemoveConstantFailed;
  }
  return {};
}

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
