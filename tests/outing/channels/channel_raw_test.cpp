#include "outing/channels/channel_raw.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace velmar::testing {
namespace {

TEST(RawChannelTest, SectionsAreBuiltOnceAndTheDoublesFreed) {
  std::shared_ptr<CRawChannelBase> raw;
  ASSERT_EQ(CRawChannelBase::Make(std::vector<double>{0, 1, 2}, std::vector<double>{1, 2, 3}, &raw), S_OK);
  EXPECT_EQ(raw->count(), 3u);
  EXPECT_EQ(raw->times()[2], 2.0);
  EXPECT_EQ(raw->values()[0], 1.0);
  EXPECT_FALSE(raw->built());

  ASSERT_EQ(raw->BuildSections(ChannelScaling{10, 0}), S_OK);
  EXPECT_TRUE(raw->built());
  EXPECT_TRUE(raw->times().empty());
  EXPECT_TRUE(raw->values().empty());
  EXPECT_EQ(raw->count(), 3u);
  ASSERT_EQ(raw->sections().size(), 1u);
  const auto first = raw->sections()[0].data;
  EXPECT_EQ(first->values().view()[2], 30.0);

  // Another scaling later changes nothing: the column is split once.
  ASSERT_EQ(raw->BuildSections(ChannelScaling{}), S_OK);
  EXPECT_EQ(raw->sections()[0].data, first);
}

TEST(RawChannelTest, UnreadableColumnStaysUnreadable) {
  std::shared_ptr<CRawChannelBase> raw;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  ASSERT_EQ(CRawChannelBase::Make(std::vector<double>{nan}, std::vector<double>{1}, &raw), S_OK);
  EXPECT_EQ(raw->BuildSections({}), E_INVALIDARG);
  EXPECT_TRUE(raw->built());
  EXPECT_EQ(raw->BuildSections({}), E_INVALIDARG);
  EXPECT_TRUE(raw->sections().empty());
}

TEST(RawChannelTest, EmptyColumnHasNoSections) {
  std::shared_ptr<CRawChannelBase> raw;
  ASSERT_EQ(CRawChannelBase::Make({}, {}, &raw), S_OK);
  EXPECT_EQ(raw->BuildSections({}), S_OK);
  EXPECT_TRUE(raw->sections().empty());
}

TEST(RawChannelTest, MakeRefusesBadInput) {
  std::shared_ptr<CRawChannelBase> raw;
  EXPECT_EQ(CRawChannelBase::Make(std::vector<double>{1}, std::vector<double>{}, &raw), E_INVALIDARG);
  EXPECT_FALSE(raw);
  EXPECT_EQ(CRawChannelBase::Make({}, {}, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
