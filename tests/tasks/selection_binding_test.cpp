// An outing's channels go only to a selection that holds the outing, and
// range-1 searches of what it reads stay within the selection's span.
#include <gtest/gtest.h>

#include "selection_fixture.h"
#include "velmar/data_block.h"

namespace velmar::testing {
namespace {

TEST_F(SelectionFixture, OutingChannelsAreReadThroughASelectionWithinItsSpan) {
  ComPtr<IKivOuting> outing = Sample("a.txt", 1);
  ASSERT_EQ(SetOuting(selection_.Get(), outing.Get()), S_OK);
  const NameList names = LoadedNames(outing.Get());
  ComPtr<IKivChannel> channel;
  EXPECT_EQ(QueryAs<IKivChannelFactory>(outing.Get())->GetItem(names.at(0), channel.Put()), E_FAIL)
      << "the selection holds an outing object of its own, not this one";
  ASSERT_EQ(QueryAs<IKivChannelFactory>(selection_.Get())->GetItem(names.at(0), channel.Put()), S_OK);
  ComPtr<IKivChannelIterator2> data;
  if (channel->GetIterator(data.Put()) == KIV_E_PENDING) {
    ASSERT_TRUE(Settle());
  }
  ASSERT_EQ(channel->GetIterator(data.Put()), S_OK);
  KivTime first = 0, last = 0;
  double value = 0;
  ASSERT_EQ(data->GetSampleAtTime(kTimeMin + 1, kFindNextAfter, kRangeWholeChannel, &first, &value), S_OK);
  ASSERT_EQ(data->GetSampleAtTime(kTimeMax - 1, kFindLastBefore, kRangeWholeChannel, &last, &value), S_OK);
  const KivTime start = first + (last - first) / 3, end = last - (last - first) / 3;
  ASSERT_EQ(selection_->Update(kSelectionSpan, nullptr, nullptr, 0, start, end, KIV_FALSE), S_OK);
  ASSERT_EQ(data->GetSampleAtTime(kTimeMin + 1, kFindNextAfter, kRangeSelection, &first, &value), S_OK);
  ASSERT_EQ(data->GetSampleAtTime(kTimeMax - 1, kFindLastBefore, kRangeSelection, &last, &value), S_OK);
  EXPECT_TRUE(first >= start && first < start + kTicksPerSecond) << first;
  EXPECT_TRUE(last <= end && last > end - kTicksPerSecond) << last;
}

}  // namespace
}  // namespace velmar::testing
