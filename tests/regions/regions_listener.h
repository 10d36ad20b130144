// Counts a finder's OnRegionsChanged, and reads its regions as rows, for
// the finders' tests.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/got.h"
#include "support/scoped_sink.h"
#include "velmar/text.h"
#include "velmar/time_regions.h"

namespace velmar::testing {

class RegionsListener final : public CTimeRegionFinderNotificationsReceiver {
 public:
  explicit RegionsListener(IKivTimeRegionFinder* finder) : sink_(this, finder) {}
  void OnRegionsChanged() override { ++count; }
  int count = 0;
  ScopedSink<CTimeRegionFinderNotificationsSink<>, IKivTimeRegionFinder> sink_;
};

// The regions as the fixtures write them: [name, start, end], with a fourth
// cell true for an auxiliary region.
inline nlohmann::json RegionRows(IKivTimeRegions* regions) {
  nlohmann::json rows = nlohmann::json::array();
  for (int32_t i = 1, n = Got(regions, &IKivTimeRegions::GetCount); i <= n; ++i) {
    std::u16string name;
    KivTime start = 0, end = 0;
    KivBool auxiliary = KIV_FALSE;
    EXPECT_EQ(regions->GetName(i, i, &name), S_OK);
    EXPECT_EQ(regions->GetStart(i, &start), S_OK);
    EXPECT_EQ(regions->GetEnd(i, &end), S_OK);
    EXPECT_EQ(regions->GetAuxiliary(i, &auxiliary), S_OK);
    rows.push_back({WideToUtf8(name), start, end});
    if (auxiliary) rows.back().push_back(true);
  }
  return rows;
}

}  // namespace velmar::testing
