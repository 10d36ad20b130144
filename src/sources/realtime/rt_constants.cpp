#include "sources/realtime/rt_constants.h"

namespace velmar {

bool CRTOutingConstantFactory::LoadedRecords(std::vector<ConstantRecord>* records) {
  std::vector<rt::WireConstant> constants;
  if (Failed(LiveCore().ReadConstants(&constants))) return false;
  records->clear();
  for (const auto& c : constants) {
    ConstantRecord record;
    record.name = c.name;
    record.value = c.value;
    record.unit = c.unit;
    if (c.hasText) record.text = c.text;
    records->push_back(std::move(record));
  }
  return true;
}

}  // namespace velmar
