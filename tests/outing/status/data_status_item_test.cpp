#include "outing/status/data_status_item.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "outing/blocks/data_blocks.h"
#include "support/data_listener.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CTestItem final : public IKivDataImpl<CTestItem, IKivData> {
 public:
  explicit CTestItem(std::u16string name) : IKivDataImpl(std::move(name)) {}
  void Remove() { FireRemoved(); }

  bool ready = true;
  std::optional<DataStatus> ownInputs;  // replaces the walk over real inputs
  int resets = 0;

 protected:
  bool PrepareData() override { return ready; }
  DataStatus InputsStatus() override { return ownInputs ? *ownInputs : IKivDataImpl::InputsStatus(); }
  void OnInputReset() override { ++resets; }
};

uint32_t StatusOf(IKivData* item) {
  uint32_t status = 99;
  EXPECT_EQ(item->GetStatus(&status), S_OK);
  return status;
}

class DataItemTest : public ::testing::Test {
 protected:
  ComPtr<CTestItem> source_ = MakeKiv<CTestItem>(u"Source");
  ComPtr<CTestItem> item_ = MakeKiv<CTestItem>(u"Item");
  std::vector<std::string> log_;
};

TEST_F(DataItemTest, NameAndStatusAndTheDetailedStatusIsTwoUnlessAvailable) {
  std::u16string name;
  EXPECT_EQ(item_->GetName(&name), S_OK);
  EXPECT_EQ(name, u"Item");
  EXPECT_EQ(item_->GetStatus(nullptr), E_POINTER);
  EXPECT_EQ(StatusOf(item_.Get()), 1u);
  EXPECT_TRUE(QueryAs<IKivData2>(item_.Get()));
  uint32_t detail = 0;
  EXPECT_EQ(item_->GetDetailedStatus(&detail), S_OK);
  EXPECT_EQ(detail, kDetailHasSamples);
  item_->ready = false;
  item_->SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
  EXPECT_EQ(item_->GetDetailedStatus(&detail), S_OK);
  EXPECT_EQ(detail, 2u);
  item_->SetStatusRange(DataStatus::kPending, TimeRange::Whole());
  EXPECT_EQ(item_->GetDetailedStatus(&detail), S_OK);
  EXPECT_EQ(detail, 2u);
}

TEST_F(DataItemTest, StatusChangeAndRemovalGoToInternalThenFirstThenSecondGeneration) {
  CDataListener second(&log_);
  CDataListener first(&log_, /*generation1=*/true);
  ASSERT_TRUE(second.Connect(item_.Get(), /*internal=*/false));
  ASSERT_TRUE(first.Connect(item_.Get(), /*internal=*/true));
  item_->SetStatusRange(DataStatus::kAvailable, 10, 20);
  log_.clear();
  // Removal goes to the first generation then the second, failure to the second only.
  item_->NotifyDataFailed();
  item_->Remove();
  EXPECT_THAT(log_, ElementsAre("failed", "1:removed", "removed"));
}

TEST_F(DataItemTest, PendingIsSilentUntilItSettles) {
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(item_.Get(), false));
  item_->SetStatusRange(DataStatus::kPending, 0, 5);
  EXPECT_THAT(log_, IsEmpty());
  EXPECT_EQ(StatusOf(item_.Get()), 3u);
  item_->SetStatusRange(DataStatus::kNotAvailable, 7, 9);
  EXPECT_THAT(log_, ElementsAre("changed:0:9"));
  EXPECT_EQ(StatusOf(item_.Get()), 2u);
}

TEST_F(DataItemTest, ComputedItemFollowsItsInputUnknownPendingAvailableNotAvailable) {
  ASSERT_EQ(item_->AddInput(u"s", source_->PrimaryUnknown(), false), S_OK);
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(item_.Get(), false));

  // The input starts loading: the item turns unknown, then works out pending.
  source_->ownInputs = DataStatus::kPending;
  source_->SetStatusRange(DataStatus::kUnknown, 0, 100);
  EXPECT_THAT(log_, ElementsAre("changed:0:100"));
  EXPECT_EQ(item_->status(), DataStatus::kUnknown);
  EXPECT_EQ(StatusOf(item_.Get()), 3u);

  // The input settles: the item is told and works out available.
  source_->ownInputs.reset();
  source_->SetStatusRange(DataStatus::kAvailable, 0, 200);
  EXPECT_THAT(log_, ElementsAre("changed:0:100", "changed:0:200"));
  EXPECT_EQ(StatusOf(item_.Get()), 1u);

  // The input can no longer be read: so neither can the item.
  source_->ready = false;
  source_->SetStatusRange(DataStatus::kUnknown, 50, 60);
  EXPECT_EQ(StatusOf(item_.Get()), 2u);
  EXPECT_THAT(log_, ElementsAre("changed:0:100", "changed:0:200", "changed:50:60"));
}

TEST_F(DataItemTest, OptionalInputThatIsNotAvailableDoesNotBlockTheItem) {
  source_->ready = false;
  ASSERT_EQ(item_->AddInput(u"s", source_->PrimaryUnknown(), /*optional=*/true), S_OK);
  EXPECT_EQ(StatusOf(item_.Get()), 1u);
  ASSERT_EQ(item_->AddInput(u"s", source_->PrimaryUnknown(), /*optional=*/false), S_OK);
  EXPECT_EQ(item_->input_count(), 1u) << "same key replaces";
  EXPECT_EQ(StatusOf(item_.Get()), 2u);
  EXPECT_TRUE(item_->RemoveInput(u"s"));
  EXPECT_FALSE(item_->RemoveInput(u"s"));
  EXPECT_EQ(StatusOf(item_.Get()), 1u);
}

TEST_F(DataItemTest, InputWithoutDataInterfaceMakesTheItemNotAvailable) {
  auto notData = MakeKiv<CDataBlocks>(nullptr, nullptr);
  ASSERT_EQ(item_->AddInput(u"x", notData.Get(), true), S_OK);
  EXPECT_EQ(StatusOf(item_.Get()), 2u);
  EXPECT_EQ(item_->AddInput(u"y", nullptr, false), E_POINTER);
}

TEST_F(DataItemTest, InputFailureAndInternalNotificationReachTheItem) {
  ASSERT_EQ(item_->AddInput(u"s", source_->PrimaryUnknown(), false), S_OK);
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(item_.Get(), false));
  source_->NotifyDataFailed();
  EXPECT_THAT(log_, ElementsAre("failed"));
  const int before = item_->resets;
  source_->SetStatusRange(DataStatus::kAvailable, 1, 2);
  EXPECT_EQ(item_->resets, before + 1);
}

TEST_F(DataItemTest, InputsThatDependOnEachOtherSettleAsPending) {
  ASSERT_EQ(item_->AddInput(u"s", source_->PrimaryUnknown(), false), S_OK);
  ASSERT_EQ(source_->AddInput(u"i", item_->PrimaryUnknown(), false), S_OK);
  EXPECT_EQ(StatusOf(item_.Get()), 3u);
  EXPECT_EQ(StatusOf(source_.Get()), 3u);
  // Cut the loop, or the two would hold each other alive.
  EXPECT_TRUE(source_->RemoveInput(u"i"));
}

TEST_F(DataItemTest, SinkMayReleaseTheLastReferenceDuringTheWalk) {
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(item_.Get(), false));
  CTestItem* raw = item_.Get();
  listener.onChanged = [&] { item_ = nullptr; };
  raw->SetStatusRange(DataStatus::kAvailable, 1, 2);
  EXPECT_THAT(log_, ElementsAre("changed:1:2"));
  EXPECT_FALSE(item_);
  listener.Disconnect();
}

}  // namespace
}  // namespace velmar::testing
