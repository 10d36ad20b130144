#include "outing/channels/offset_filter.h"

#include <gtest/gtest.h>

#include "outing/data_block_test_util.h"
#include "support/got.h"

namespace velmar::testing {
namespace {

// An input channel over fixed blocks that counts its cache locks.
class BlockChannel final : public KivObject<IKivChannel, IKivDataCache> {
 public:
  DataBlockList blocks;
  int locks = 0;
  KivResult GetName(std::u16string* name) override { return (*name = u"[3]Speed", S_OK); }
  KivResult GetStatus(uint32_t* status) override { return (*status = 1, S_OK); }
  KivResult GetIterator(IKivChannelIterator2** out) override {
    auto it = MakeKiv<CChannelIterator>(std::make_shared<const DataBlockList>(blocks), nullptr, nullptr);
    return GiveOut(static_cast<IKivChannelIterator2*>(it.Get()), out);
  }
  KivResult Lock() override { return (++locks, S_OK); }
  KivResult Unlock() override { return (--locks, S_OK); }
};

std::vector<double> ReadAll(IKivChannel* channel, size_t* blockCount = nullptr) {
  const auto blocks = BlocksOf(Got(channel, &IKivChannel::GetIterator).Get());
  if (blockCount) *blockCount = blocks.size();
  std::vector<double> all;
  for (const auto& block : blocks) {
    const std::vector<double> values = Got(block, &IKivDataBlock::GetValues);
    all.insert(all.end(), values.begin(), values.end());
  }
  return all;
}

class OffsetFilterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    input_->blocks = {PeriodicBlock(0, 10, {1, 2, 3}), AperiodicBlock({100, 105, 130}, {4, 5, 6})};
    ASSERT_EQ(CreateOffsetFilter(input_.Get(), 0.5, &filter_), S_OK);
  }
  ComPtr<BlockChannel> input_ = MakeKiv<BlockChannel>();
  ComPtr<CBasicOffsetFilter> filter_;
};

TEST_F(OffsetFilterTest, EverySampleIsTheInputsPlusTheOffsetAtTheSameTime) {
  size_t blocks = 0;
  EXPECT_EQ(ReadAll(filter_.Get(), &blocks), (std::vector<double>{1.5, 2.5, 3.5, 4.5, 5.5, 6.5}));
  EXPECT_EQ(blocks, 2u);
  KivTime t = 0;
  double v = 0;
  ASSERT_EQ(Got(filter_, &IKivChannel::GetIterator)->GetSampleAtTime(104, kFindNearest, kRangeWholeChannel, &t, &v),
            S_OK);
  EXPECT_EQ(t, 105);
  EXPECT_EQ(v, 5.5);
  EXPECT_EQ(Got(filter_, &IKivChannel::GetName), u"[3]Speed") << "a filter is named as its input";
  ASSERT_EQ(filter_->SetOffset(0.0), S_OK);
  EXPECT_EQ(ReadAll(filter_.Get()), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

// The filter's first block, as a reader sees it.
ComPtr<IKivDataBlock> FirstBlock(IKivChannel* channel) {
  return BlocksOf(Got(channel, &IKivChannel::GetIterator).Get()).at(0);
}

TEST_F(OffsetFilterTest, TheSameOffsetKeepsTheBlocksAnotherRebuildsThem) {
  ComPtr<IKivDataBlock> first = FirstBlock(filter_.Get());
  ASSERT_EQ(filter_->SetOffset(0.5), S_OK);
  EXPECT_EQ(FirstBlock(filter_.Get()).Get(), first.Get());
  ASSERT_EQ(filter_->SetOffset(-1.0), S_OK);
  EXPECT_NE(FirstBlock(filter_.Get()).Get(), first.Get());
  EXPECT_EQ(ReadAll(filter_.Get()), (std::vector<double>{0, 1, 2, 3, 4, 5}));
}

TEST_F(OffsetFilterTest, TheInputIsLockedWhileHeldAndWithoutOneThereIsNoData) {
  EXPECT_EQ(input_->locks, 1);
  ASSERT_EQ(filter_->SetInput(input_.Get()), S_OK);
  EXPECT_EQ(input_->locks, 1) << "the same input again changes nothing";
  ASSERT_EQ(filter_->SetInput(nullptr), S_OK);
  EXPECT_EQ(input_->locks, 0);
  ComPtr<IKivChannelIterator2> iterator;
  EXPECT_EQ(filter_->GetIterator(iterator.Put()), KIV_E_PENDING);
  std::u16string name;
  EXPECT_EQ(filter_->GetName(&name), E_FAIL);
  ASSERT_EQ(filter_->SetInput(input_.Get()), S_OK);
  filter_ = nullptr;
  EXPECT_EQ(input_->locks, 0) << "the last release lets go of the input's cache";
}

TEST_F(OffsetFilterTest, IdentityIsSetOnceAndParentOnce) {
  ASSERT_EQ(filter_->SetId(7), S_OK);
  EXPECT_EQ(filter_->SetId(8), E_UNEXPECTED);
  EXPECT_EQ(Got(filter_, &CBasicOffsetFilter::GetId), 7u);
  EXPECT_EQ(filter_->SetParent(nullptr), E_INVALIDARG);
  ASSERT_EQ(filter_->SetParent(input_->PrimaryUnknown()), S_OK);
  EXPECT_EQ(filter_->SetParent(input_->PrimaryUnknown()), E_UNEXPECTED);
}

TEST_F(OffsetFilterTest, AChangeWidensToWholeBlocksAndNewInputDataIsMirroredOnTheNextRead) {
  ASSERT_EQ(ReadAll(filter_.Get()).size(), 6u);
  KivTime from = 12, to = 15;
  ASSERT_EQ(filter_->WidenDirtyRange(&from, &to), S_OK);
  EXPECT_EQ(from, 0);
  EXPECT_EQ(to, 20) << "the whole first block is to be read again";
  input_->blocks.push_back(PeriodicBlock(200, 10, {7, 8}));
  from = 200, to = 210;
  ASSERT_EQ(filter_->WidenDirtyRange(&from, &to), S_OK);
  size_t blocks = 0;
  EXPECT_EQ(ReadAll(filter_.Get(), &blocks), (std::vector<double>{1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5}));
  EXPECT_EQ(blocks, 3u);
}

}  // namespace
}  // namespace velmar::testing
