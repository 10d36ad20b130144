// The records a store records object holds, as a span. Store thread only:
// the span lives as long as the records object.
#pragma once

#include <span>

#include "velmar/tarn_store.h"

namespace velmar {

// Empty when the object gives none.
template <class Record>
std::span<const Record> Items(const ComPtr<IKivTarnRecords<Record>>& records) {
  uint32_t count = 0;
  const Record* items = nullptr;
  if (!records || Failed(records->GetRecords(&count, &items)) || !items) return {};
  return {items, count};
}

}  // namespace velmar
