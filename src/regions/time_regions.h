// CTimeRegions: the view of a finder's regions that clients receive. It is
// live: it answers from the finder's set as it stands, so it shows what a
// later build put there, and it keeps the finder alive.
//
// Client thread only.
#pragma once

#include <string>

#include "regions/time_region_set.h"
#include "velmar/time_regions.h"

namespace velmar {

class CTimeRegions final : public KivObject<IKivTimeRegions> {
 public:
  CTimeRegions(ComPtr<IKivUnknown> finder, const CTimeRegionSet* regions)
      : finder_(std::move(finder)), regions_(regions) {}

  KivResult GetCount(int32_t* count) override;
  KivResult GetName(int32_t first, int32_t last, std::u16string* name) override;
  KivResult GetStart(int32_t index, KivTime* start) override;
  KivResult GetEnd(int32_t index, KivTime* end) override;
  KivResult GetAuxiliary(int32_t index, KivBool* auxiliary) override;

 private:
  // The region at a 1-based index; null out of range.
  const TimeRegion* At(int32_t index) const;

  ComPtr<IKivUnknown> finder_;
  const CTimeRegionSet* regions_;  // the finder's; lives as long as finder_
};

}  // namespace velmar
