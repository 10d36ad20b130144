#include "outing/blocks/data_block_owned.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmar {
namespace {

// Computes value = 2 x the sample's time, and records each call.
class Doubler final : public IKivDataBlockOwner {
 public:
  KivResult ComputeValues(IKivDataBlockImplBase& block, uint32_t first, uint32_t last,
                          std::span<double> values) override {
    calls.push_back({first, last});
    if (fail) return E_FAIL;
    for (uint32_t i = first; i <= last; ++i) {
      KivTime t = 0;
      if (Failed(block.GetTimeAt(i, &t))) return E_FAIL;
      values[i] = 2.0 * static_cast<double>(t);
    }
    return S_OK;
  }
  struct Call {
    uint32_t first;
    uint32_t last;
    friend bool operator==(const Call&, const Call&) = default;
  };
  std::vector<Call> calls;
  bool fail = false;
};

ComPtr<CPeriodicOwnedDataBlock> Periodic(Doubler* owner, uint32_t count = 10) {
  ComPtr<CPeriodicOwnedDataBlock> block;
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(owner, 100, 10, count, &block), S_OK);
  return block;
}

TEST(DirtyRange, MarksMergesAndMovesWithDrops) {
  DirtyRange d;
  EXPECT_FALSE(d.IsDirty());
  d.Mark(3, 5);
  d.Mark(8, 9);
  EXPECT_EQ(d.first(), 3u);
  EXPECT_EQ(d.last(), 9);
  d.Mark(6, 2);  // empty: nothing
  EXPECT_EQ(d.first(), 3u);
  d.DropFirst(4);
  EXPECT_EQ(d.first(), 0u);
  EXPECT_EQ(d.last(), 5);
  d.DropAfter(2);
  EXPECT_EQ(d.last(), 2);
  d.DropFirst(3);
  EXPECT_FALSE(d.IsDirty()) << "everything dirty was dropped";
  d.Mark(4, 6);
  d.DropAfter(3);
  EXPECT_FALSE(d.IsDirty());
  d.MarkAll(5);
  EXPECT_EQ(d.last(), 4);
}

TEST(CPeriodicOwnedDataBlock, OwnerComputesDirtyValuesOnRead) {
  Doubler owner;
  auto block = Periodic(&owner);
  EXPECT_TRUE(block->IsDirty()) << "a new block is all dirty";
  std::span<const double> values;
  ASSERT_EQ(block->GetValuesReference(&values), S_OK);
  ASSERT_EQ(owner.calls.size(), 1u);
  EXPECT_EQ(owner.calls[0], (Doubler::Call{0, 9}));
  EXPECT_EQ(values[3], 260.0);
  EXPECT_FALSE(block->IsDirty());
  ASSERT_EQ(block->GetValuesReference(&values), S_OK);
  EXPECT_EQ(owner.calls.size(), 1u) << "clean values are not computed again";

  block->MarkDirtyRange(125, 142);
  EXPECT_EQ(block->dirtyRange().first(), 2u);
  EXPECT_EQ(block->dirtyRange().last(), 5) << "every sample touching the range";
  double v = 0;
  ASSERT_EQ(block->GetValueAt(130, kValueExact, &v), S_OK);
  EXPECT_EQ(owner.calls.back(), (Doubler::Call{2, 5}));
  block->MarkDirtyRange(500, 600);
  EXPECT_FALSE(block->IsDirty()) << "a range off the block marks nothing";
}

TEST(CPeriodicOwnedDataBlock, FailedComputeKeepsTheBlockDirty) {
  Doubler owner;
  owner.fail = true;
  auto block = Periodic(&owner);
  std::span<const double> values;
  EXPECT_EQ(block->GetValuesReference(&values), E_FAIL);
  EXPECT_TRUE(block->IsDirty());
  block->DetachOwner();
  EXPECT_EQ(block->GetValuesReference(&values), S_OK) << "no owner: the values as they are";
}

TEST(CPeriodicOwnedDataBlock, TrimBeforeAndAfterMoveTheEnds) {
  Doubler owner;
  auto block = Periodic(&owner);  // 100..190
  ASSERT_EQ(block->TrimBefore(125), S_OK);
  EXPECT_EQ(block->StartTime(), 130) << "an off-grid time keeps the next sample";
  EXPECT_EQ(block->GetSampleCount(), 7u);
  ASSERT_EQ(block->TrimAfter(175), S_OK);
  EXPECT_EQ(block->EndTime(), 170);
  EXPECT_EQ(block->GetSampleCount(), 5u);
  std::vector<KivTime> times;
  ASSERT_EQ(block->GetTimes(&times), S_OK);
  EXPECT_EQ(times, (std::vector<KivTime>{130, 140, 150, 160, 170}));
  EXPECT_EQ(block->TrimBefore(500), E_INVALIDARG) << "nothing would be left";
  EXPECT_EQ(block->TrimAfter(0), E_INVALIDARG);
  EXPECT_EQ(block->GetSampleCount(), 5u);
}

TEST(CPeriodicOwnedDataBlock, ResizeGrowsTheGridWithDirtySamples) {
  Doubler owner;
  auto block = Periodic(&owner, 3);
  std::span<const double> values;
  ASSERT_EQ(block->GetValuesReference(&values), S_OK);
  ASSERT_EQ(block->Resize(5), S_OK);
  EXPECT_EQ(block->EndTime(), 140);
  EXPECT_EQ(block->dirtyRange().first(), 3u);
  EXPECT_EQ(block->dirtyRange().last(), 4);
  ASSERT_EQ(block->GetValuesReference(&values), S_OK);
  EXPECT_EQ(values[4], 280.0);
  ASSERT_EQ(block->Resize(2), S_OK);
  EXPECT_EQ(block->EndTime(), 110);
  EXPECT_EQ(block->Resize(0), E_INVALIDARG);
}

TEST(CPeriodicOwnedDataBlock, OffsetRebuildsThePrivateTimeArray) {
  Doubler owner;
  auto block = Periodic(&owner, 2);
  std::vector<KivTime> times;
  ASSERT_EQ(block->SetTimeOffset(-100), S_OK);
  ASSERT_EQ(block->GetTimes(&times), S_OK);
  EXPECT_EQ(times, (std::vector<KivTime>{0, 10}));
}

TEST(CPeriodicOwnedDataBlock, RefusesBadShapes) {
  ComPtr<CPeriodicOwnedDataBlock> block;
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, 0, 5, &block), E_INVALIDARG);
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, -1, 5, &block), E_INVALIDARG);
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, 1, 0, &block), E_INVALIDARG);
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, 1, 5, nullptr), E_POINTER);
}

TEST(CAPeriodicOwnedDataBlock, OwnsItsTimesAndMovesThemWithTheOffset) {
  Doubler owner;
  ComPtr<CAPeriodicOwnedDataBlock> block;
  ASSERT_EQ(CAPeriodicOwnedDataBlock::Create(&owner, {0, 5, 20, 21}, &block), S_OK);
  ASSERT_EQ(block->SetTimeOffset(10), S_OK);
  ASSERT_EQ(block->SetTimeOffset(30), S_OK);
  std::vector<KivTime> times;
  ASSERT_EQ(block->GetTimes(&times), S_OK);
  EXPECT_EQ(times, (std::vector<KivTime>{30, 35, 50, 51}));
  std::vector<double> values;
  ASSERT_EQ(block->GetValues(&values), S_OK);
  EXPECT_EQ(values, (std::vector<double>{60, 70, 100, 102}));

  block->MarkDirtyRange(36, 49);
  EXPECT_EQ(block->dirtyRange().first(), 1u);
  EXPECT_EQ(block->dirtyRange().last(), 2);
  ASSERT_EQ(block->TrimBefore(40), S_OK);
  EXPECT_EQ(block->StartTime(), 50);
  EXPECT_EQ(block->firstTime(), 20);
  EXPECT_EQ(block->dirtyRange().first(), 0u) << "the dirty range moved with the samples";
  EXPECT_EQ(block->dirtyRange().last(), 0);
  ASSERT_EQ(block->TrimAfter(50), S_OK);
  EXPECT_EQ(block->GetSampleCount(), 1u);
  EXPECT_EQ(block->EndTime(), 50);
  EXPECT_EQ(block->Resize(2), E_INVALIDARG) << "no times for new samples";
}

TEST(CAPeriodicOwnedDataBlock, RefusesBadTimes) {
  ComPtr<CAPeriodicOwnedDataBlock> block;
  EXPECT_EQ(CAPeriodicOwnedDataBlock::Create(nullptr, {}, &block), E_INVALIDARG);
  EXPECT_EQ(CAPeriodicOwnedDataBlock::Create(nullptr, {5, 4}, &block), E_INVALIDARG);
  EXPECT_EQ(CAPeriodicOwnedDataBlock::Create(nullptr, {kTimeMin, 4}, &block), E_INVALIDARG);
}

}  // namespace
}  // namespace velmar
