// Counts a finder's OnRegionsChanged, for the finders' tests.
#pragma once

#include "support/scoped_sink.h"
#include "velmar/time_regions.h"

namespace velmar::testing {

class RegionsListener final : public CTimeRegionFinderNotificationsReceiver {
 public:
  explicit RegionsListener(IKivTimeRegionFinder* finder) : sink_(this, finder) {}
  void OnRegionsChanged() override { ++count; }
  int count = 0;

 private:
  ScopedSink<CTimeRegionFinderNotificationsSink<>, IKivTimeRegionFinder> sink_;
};

}  // namespace velmar::testing
