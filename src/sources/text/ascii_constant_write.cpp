#include "sources/text/ascii_constant_write.h"

namespace velmar {
namespace {

ConstantEdit EditOf(ConstantWriteOp op) {
  switch (op) {
    case ConstantWriteOp::kAdd:
      return ConstantEdit::kAdd;
    case ConstantWriteOp::kModify:
      return ConstantEdit::kModify;
    case ConstantWriteOp::kRemove:
      break;
  }
  return ConstantEdit::kRemove;
}

}  // namespace

KivResult CWBAsciiConstantJobItem::Lookup(bool* found, int64_t* id) {
  if (!access() || !access()->handles().IsWritable()) return E_FAIL;
  *found = access()->handles().HasConstant(fields().name);
  *id = -1;  // a text data set knows its constants by name
  return S_OK;
}

KivResult CWBAsciiConstantJobItem::Write() {
  TextConstant row;
  row.name = fields().name;
  if (op() == ConstantWriteOp::kModify) {
    row.value = fields().value;
    row.comment = fields().unit;
  }
  return access()->handles().WriteConstant(EditOf(op()), row).ok() ? S_OK : E_FAIL;
}

}  // namespace velmar
