#include "outing/channels/channel_sections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;

constexpr KivTime kSecond = kTicksPerSecond;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// "P<first>+<interval>x<count>" or "A<t0>,<t1>,..." in ticks.
std::string Describe(const ChannelSection& s) {
  const DataSection& d = *s.data;
  if (d.periodic()) {
    return "P" + std::to_string(d.firstTime()) + "+" + std::to_string(d.interval()) + "x" +
           std::to_string(d.sampleCount());
  }
  std::string out = "A";
  for (KivTime t : d.Times().view()) out += (out.size() > 1 ? "," : "") + std::to_string(t);
  return out;
}

std::vector<std::string> Split(const std::vector<double>& times, ChannelScaling scaling = {}) {
  std::vector<double> values(times.size());
  for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i);
  ChannelSections sections;
  EXPECT_EQ(SplitIntoSections(times, values, scaling, &sections), S_OK);
  std::vector<std::string> out;
  for (const auto& s : sections) out.push_back(Describe(s));
  return out;
}

TEST(ChannelSectionsTest, RegularRunThenAShortRegularRun) {
  EXPECT_THAT(Split({0, 1, 2, 3, 10, 11, 12}), ElementsAre("P0+10000000x4", "P100000000+10000000x3"));
}

TEST(ChannelSectionsTest, TwoSamplesArePeriodicAtAnySpacingAndOneIsAperiodic) {
  EXPECT_THAT(Split({5, 5.25}), ElementsAre("P50000000+2500000x2"));
  EXPECT_THAT(Split({7}), ElementsAre("A70000000"));
  EXPECT_THAT(Split({0, 1, 2, 9}), ElementsAre("P0+10000000x3", "A90000000"));
  EXPECT_THAT(Split({0, 1, 2, 9, 20}), ElementsAre("P0+10000000x3", "P90000000+110000000x2"));
  // The step in seconds rounds to 1 tick, the times to 0 and 2: the last
  // time is the rounded last sample's, not first plus the step.
  ChannelSections two;
  ASSERT_EQ(SplitIntoSections(std::vector<double>{0.00000004, 0.00000015}, std::vector<double>{1, 2}, {}, &two), S_OK);
  ASSERT_EQ(two.size(), 1u);
  EXPECT_EQ(two[0].data->interval(), 1);
  EXPECT_EQ(two[0].data->lastTime(), 2);
}

TEST(ChannelSectionsTest, UnequalRunEndsTwoSamplesBeforeEqualSpacingIsFirstSeen) {
  // Spacings 1, 4, 1, 1, 1: the equal run 5, 6, 7, 8 is periodic on its own.
  EXPECT_THAT(Split({0, 1, 5, 6, 7, 8}), ElementsAre("A0,10000000", "P50000000+10000000x4"));
  // Spacings 2, 3, 5, 1, 1: the unequal run keeps 0, 2, 5 and 10 is the first of the equal run.
  EXPECT_THAT(Split({0, 0.2, 0.5, 1.0, 1.1, 1.2}),
              ElementsAre("A0,2000000,5000000", "P10000000+1000000x3"));
  // Never two equal spacings: one aperiodic section.
  EXPECT_THAT(Split({0, 1, 3, 6, 10}), ElementsAre("A0,10000000,30000000,60000000,100000000"));
}

TEST(ChannelSectionsTest, SamplesOnOneTickNeverMakeAZeroInterval) {
  EXPECT_THAT(Split({1, 1}), ElementsAre("A10000000,10000000"));
  EXPECT_THAT(Split({2, 2.00000001}), ElementsAre("A20000000,20000000"));
  EXPECT_THAT(Split({0, 0, 0, 0}), ElementsAre("A0,0,0,0"));
}

TEST(ChannelSectionsTest, ValuesAreScaledAndNaNValuesKept) {
  ChannelSections sections;
  const std::vector<double> times{0, 1, 2};
  const std::vector<double> values{1, kNaN, -2};
  ASSERT_EQ(SplitIntoSections(times, values, ChannelScaling{2.0, 10.0}, &sections), S_OK);
  ASSERT_EQ(sections.size(), 1u);
  auto v = sections[0].data->values().view();
  EXPECT_EQ(v[0], 12.0);
  EXPECT_TRUE(std::isnan(v[1]));
  EXPECT_EQ(v[2], 6.0);
  EXPECT_FALSE(sections[0].continuous);
}

TEST(ChannelSectionsTest, NoSamplesIsNoSection) {
  ChannelSections sections(1);
  EXPECT_EQ(SplitIntoSections({}, {}, {}, &sections), S_OK);
  EXPECT_TRUE(sections.empty());
}

TEST(ChannelSectionsTest, BadInputIsRefusedAndGivesNothing) {
  const ChannelScaling none;
  ChannelSections sections;
  const std::vector<double> one{1.0};
  const std::vector<double> two{1.0, 2.0};
  EXPECT_EQ(SplitIntoSections(one, two, none, &sections), E_INVALIDARG);
  EXPECT_EQ(SplitIntoSections(std::vector<double>{0, kNaN}, two, none, &sections), E_INVALIDARG);
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(SplitIntoSections(std::vector<double>{0, inf}, two, none, &sections), E_INVALIDARG);
  EXPECT_EQ(SplitIntoSections(std::vector<double>{0, 1e300}, two, none, &sections), E_INVALIDARG);
  // Time running backwards, evenly or not.
  EXPECT_EQ(SplitIntoSections(std::vector<double>{3, 2, 1}, std::vector<double>(3), none, &sections), E_INVALIDARG);
  EXPECT_EQ(SplitIntoSections(std::vector<double>{0, 5, 1, 7}, std::vector<double>(4), none, &sections),
            E_INVALIDARG);
  EXPECT_EQ(SplitIntoSections(two, two, none, nullptr), E_POINTER);
  EXPECT_TRUE(sections.empty());
}

TEST(ChannelSectionsTest, TimesNearTheEdgesOfTheTickRange) {
  const double edge = static_cast<double>(kTimeMax / kSecond) - 10;
  ChannelSections sections;
  const std::vector<double> values(3, 1.0);
  EXPECT_EQ(SplitIntoSections(std::vector<double>{edge - 2, edge - 1, edge}, values, {}, &sections), S_OK);
  EXPECT_FALSE(sections.empty());
  // Each time fits, but the spacing from one end to the other does not.
  EXPECT_EQ(SplitIntoSections(std::vector<double>{-edge, edge}, std::vector<double>(2), {}, &sections),
            E_INVALIDARG);
}

}  // namespace
}  // namespace velmar::testing
