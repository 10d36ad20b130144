#include "regions/time_region_set.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(TimeRegionSet, RegionsSortByStartAndTheFirstOfAStartStays) {
  CTimeRegionSet set;
  EXPECT_TRUE(set.Add(20, 30, u"second"));
  EXPECT_TRUE(set.Add(0, 10, u"first"));
  EXPECT_FALSE(set.Add(20, 25, u"again")) << "the start is taken";
  EXPECT_FALSE(set.Add(50, 40, u"backwards"));
  EXPECT_TRUE(set.Add(40, 40, u"instant")) << "start equal to end is a region";
  ASSERT_EQ(set.size(), 3u);
  EXPECT_EQ(set.at(0).name, u"first");
  EXPECT_EQ(set.at(1).name, u"second");
  EXPECT_EQ(set.at(1).end, 30);
  EXPECT_TRUE(set.SetLastEnd(45));
  EXPECT_EQ(set.back().end, 45);
  set.Clear();
  EXPECT_FALSE(set.SetLastEnd(1));
}

}  // namespace
}  // namespace velmar
