#include "sources/tarn/tarn_constant_write.h"

#include <vector>

#include "sources/tarn/tarn_records.h"

namespace velmar {

KivResult CWBTarnConstantJobItem::Lookup(bool* found, int64_t* id) {
  TarnConnection* store = access() ? access()->connection() : nullptr;
  if (!store || !store->constants || !access()->handle()) return E_FAIL;
  ComPtr<IKivTarnConstantRecords> records;
  if (KivResult r = store->constants->GetConstants(kTarnWaitForever, records.Put()); Failed(r)) return r;
  *found = false;
  for (const TarnConstantRecord& record : Items(records)) {
    if (record.name && fields().name == record.name) {
      *found = true;
      *id = static_cast<int64_t>(record.id);
      break;
    }
  }
  return S_OK;
}

KivResult CWBTarnConstantJobItem::Write() {
  ComPtr<IKivTarnConstantWriter> writer = access()->Writer<IKivTarnConstantWriter>();
  if (!writer) return E_FAIL;
  const ConstantWriteFields& f = fields();
  TarnConstantRecord record{};
  record.name = f.name.c_str();
  switch (op()) {
    case ConstantWriteOp::kAdd: {
      record.id = ~uint64_t{0};
      record.text = f.kind == kSpreadsheetConstant ? u"|" : nullptr;  // an empty definition
      std::vector<uint64_t> ids;
      return writer->AddConstants(1, &record, &ids);
    }
    case ConstantWriteOp::kModify:
      record.id = static_cast<uint64_t>(id());
      record.value = f.value;
      record.text = f.text.empty() ? nullptr : f.text.c_str();
      record.unit = f.unit.c_str();
      return writer->ModifyConstants(1, &record);
    case ConstantWriteOp::kRemove: {
      const auto storeId = static_cast<uint64_t>(id());
      return writer->RemoveConstants(1, &storeId);
    }
  }
  return E_FAIL;
}

}  // namespace velmar
