#include "outing/cache/outing_cache.h"

namespace velmar {

std::u16string EventExistsMessage(std::u16string_view eventSetName) {
  std::u16string text = u"Event ";
  text += eventSetName;
  text += u" already exists in the outing.";
  return text;
}

COutingCacheStateChanges::~COutingCacheStateChanges() = default;

uint32_t COutingCacheStateChanges::AddRef() { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }

uint32_t COutingCacheStateChanges::Release() {
  uint32_t n = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (n == 0) delete this;
  return n;
}

}  // namespace velmar
