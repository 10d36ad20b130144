// An outing's channels are handed out only to a data selection that holds
// the outing, and what is read through it searches within its span.
#include <gtest/gtest.h>

#include "selection_fixture.h"
#include "velmar/data_block.h"

namespace velmar::testing {
namespace {

TEST_F(SelectionFixture, OutingChannelsAreReadThroughASelectionWithinItsSpan) {
  ComPtr<IKivOuting> outing = Sample("a.txt", 1);
  auto own = QueryAs<IKivChannelFactory>(outing.Get());
  NameList names;
  (void)own->GetNames(&names);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(own->GetNames(&names), S_OK);
  ASSERT_FALSE(names.empty());
  ComPtr<IKivChannel> channel;
  EXPECT_EQ(own->GetItem(names.front(), channel.Put()), E_FAIL) << "no selection holds this outing object";

  ASSERT_EQ(selection_->Update(kSelectionOuting, outing.Get(), nullptr, 0, 0, 0, KIV_FALSE), S_OK);
  ComPtr<IKivOuting> held;
  ASSERT_EQ(selection_->GetOuting(held.Put()), S_OK);
  (void)QueryAs<IKivChannelFactory>(held.Get())->GetNames(&names);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(QueryAs<IKivChannelFactory>(selection_.Get())->GetItem(names.front(), channel.Put()), S_OK);
  ComPtr<IKivChannelIterator2> iterator;
  KivResult r = channel->GetIterator(iterator.Put());
  if (r == KIV_E_PENDING && Settle()) r = channel->GetIterator(iterator.Put());
  ASSERT_EQ(r, S_OK);
  KivTime first = 0, last = 0;
  double value = 0;
  ASSERT_EQ(iterator->GetSampleAtTime(kTimeMin + 1, kFindNextAfter, kRangeWholeChannel, &first, &value), S_OK);
  ASSERT_EQ(iterator->GetSampleAtTime(kTimeMax - 1, kFindLastBefore, kRangeWholeChannel, &last, &value), S_OK);
  const KivTime start = first + (last - first) / 3, end = last - (last - first) / 3;
  ASSERT_EQ(selection_->Update(kSelectionSpan, nullptr, nullptr, 0, start, end, KIV_FALSE), S_OK);
  ASSERT_EQ(iterator->GetSampleAtTime(kTimeMin + 1, kFindNextAfter, kRangeSelection, &first, &value), S_OK);
  ASSERT_EQ(iterator->GetSampleAtTime(kTimeMax - 1, kFindLastBefore, kRangeSelection, &last, &value), S_OK);
  EXPECT_GE(first, start) << "range 1 is the selection's span";
  EXPECT_LT(first, start + kTicksPerSecond);
  EXPECT_LE(last, end);
  EXPECT_GT(last, end - kTicksPerSecond);
  EXPECT_EQ(own->GetItem(names.front(), channel.Put()), E_FAIL) << "the selection holds its own outing object";
}

}  // namespace
}  // namespace velmar::testing
