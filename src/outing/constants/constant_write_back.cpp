#include "outing/constants/constant_write_back.h"

namespace velmar {

KivResult CWrittenConstantsCache::CommitConstant(CConstantBase* constant, int64_t id) {
  ConstantEntry* entry = MutableEntry(id);
  if (!entry || entry->stored != 1) return S_OK;
  (void)Attach(constant, id);
  if (entry->IsSpreadsheet()) Definition(*entry).retrieved = false;
  entry->stored = 0;
  NotifyConstantChanged(DataStatus::kUnknown, id);
  entry = MutableEntry(id);  // an object told may have changed the set
  if (!entry) return S_OK;
  ConstantWriteFields fields;
  fields.name = *NameOf(id);
  fields.value = entry->IsSpreadsheet() ? 0.0 : entry->value;
  fields.unit = entry->unit;
  fields.id = id;
  if (Failed(GetText(constant, id, &fields.text))) return S_OK;
  if (fields.unit.size() >= kConstantTextLimit || fields.text.size() >= kConstantTextLimit) return S_OK;
  fields.kind = fields.text.empty() ? kSimpleConstant : kSpreadsheetConstant;
  (void)writeBack_->QueueConstantModify(std::move(fields));  // a refused step is dropped
  return S_OK;
}

}  // namespace velmar
