#include "regions/time_regions.h"

#include <new>

namespace velmar {

const TimeRegion* CTimeRegions::At(int32_t index) const {
  if (index < 1 || static_cast<size_t>(index) > regions_->size()) return nullptr;
  return &regions_->at(static_cast<size_t>(index) - 1);
}

KivResult CTimeRegions::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(regions_->size());
  return S_OK;
}

KivResult CTimeRegions::GetName(int32_t first, int32_t last, std::u16string* name) {
  if (!name) return E_POINTER;
  const TimeRegion* from = At(first);
  const TimeRegion* to = At(last);
  try {
    if (!from || !to || last < first) {
      *name = u"Unknown";
    } else if (first == last) {
      *name = from->name;
    } else {
      *name = from->name + u" - " + to->name;
    }
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

KivResult CTimeRegions::GetStart(int32_t index, KivTime* start) {
  if (!start) return E_POINTER;
  const TimeRegion* region = At(index);
  *start = region ? region->start : 0;
  return region ? S_OK : E_INVALIDARG;
}

KivResult CTimeRegions::GetEnd(int32_t index, KivTime* end) {
  if (!end) return E_POINTER;
  const TimeRegion* region = At(index);
  *end = region ? region->end : 0;
  return region ? S_OK : E_INVALIDARG;
}

KivResult CTimeRegions::GetAuxiliary(int32_t index, KivBool* auxiliary) {
  if (!auxiliary) return E_POINTER;
  const TimeRegion* region = At(index);
  *auxiliary = region ? ToKivBool(region->auxiliary) : KIV_FALSE;
  return region ? S_OK : E_INVALIDARG;
}

}  // namespace velmar
