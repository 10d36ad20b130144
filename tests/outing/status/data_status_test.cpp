#include "outing/status/data_status.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "outing/blocks/data_blocks.h"
#include "outing/status/data_status_item.h"
#include "outing/status/dirty_range_helper.h"
#include "support/got.h"
#include "support/data_listener.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TimeRange kEmpty = TimeRange::Empty();

// A machine that logs its reports as "<status>:<from>:<to>" and lets a test
// run code inside PrepareData and inside a report.
class Machine final : public CDataStatusMachine {
 public:
  bool PrepareData() override {
    ++prepared;
    if (onPrepare) onPrepare();
    return ready;
  }
  DataStatus InputsStatus() override { return inputs; }
  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override {
    EXPECT_EQ(depth, 0) << "reports never nest";
    ++depth;
    reports.push_back(std::to_string(StatusCode(status)) + ":" + Text(from) + ":" + Text(to));
    if (onReport) {
      auto once = std::move(onReport);
      onReport = nullptr;
      once();
    }
    --depth;
  }
  static std::string Text(KivTime t) {
    if (t == kTimeMin) return "min";
    if (t == kTimeMax) return "max";
    return std::to_string(t);
  }

  bool ready = true;
  DataStatus inputs = DataStatus::kAvailable;
  int prepared = 0;
  int depth = 0;
  std::function<void()> onPrepare;
  std::function<void()> onReport;
  std::vector<std::string> reports;
};

TEST(DataStatusMachineTest, UnknownIsWorkedOutOnFirstQuestionAndKept) {
  Machine m;
  EXPECT_EQ(m.status(), DataStatus::kUnknown);
  EXPECT_EQ(m.QueryStatus(), DataStatus::kAvailable);
  EXPECT_EQ(m.QueryStatus(), DataStatus::kAvailable);
  EXPECT_EQ(m.prepared, 1);
  EXPECT_THAT(m.reports, IsEmpty()) << "answering a question is no change";

  Machine notReady;
  notReady.ready = false;
  EXPECT_EQ(notReady.QueryStatus(), DataStatus::kNotAvailable);
  Machine pendingInputs;
  pendingInputs.inputs = DataStatus::kPending;
  EXPECT_EQ(pendingInputs.QueryStatus(), DataStatus::kPending);
}

TEST(DataStatusMachineTest, AvailableAlwaysReportsOtherStatusesOnlyOnChange) {
  Machine m;
  m.SetStatusRange(DataStatus::kAvailable, 10, 20);
  m.SetStatusRange(DataStatus::kAvailable, kEmpty);
  m.SetStatusRange(DataStatus::kNotAvailable, 5, 6);
  m.SetStatusRange(DataStatus::kNotAvailable, kEmpty);
  m.SetStatusRange(DataStatus::kNotAvailable, 7, 8);
  EXPECT_THAT(m.reports, ElementsAre("1:10:20", "1:max:min", "2:5:6", "2:7:8"));
  EXPECT_TRUE(m.dirtyRange().IsEmpty()) << "each report starts a new range";
}

TEST(DataStatusMachineTest, PendingIsSilentAndItsRangeGoesWithTheSettlingReport) {
  Machine m;
  m.SetStatusRange(DataStatus::kPending, 100, 200);
  m.SetStatusRange(DataStatus::kPending, 50, 60);
  EXPECT_THAT(m.reports, IsEmpty());
  EXPECT_EQ(m.status(), DataStatus::kPending);
  EXPECT_EQ(m.QueryStatus(), DataStatus::kPending) << "a stored status is not worked out again";
  m.SetStatusRange(DataStatus::kAvailable, 300, 400);
  EXPECT_THAT(m.reports, ElementsAre("1:50:400"));
}

TEST(DataStatusMachineTest, UnknownIsReportedAndTheNextQuestionEvaluates) {
  Machine m;
  ASSERT_EQ(m.QueryStatus(), DataStatus::kAvailable);
  m.ready = false;
  m.SetStatusRange(DataStatus::kUnknown, 0, 9);
  EXPECT_THAT(m.reports, ElementsAre("0:0:9"));
  EXPECT_EQ(m.QueryStatus(), DataStatus::kNotAvailable);
  EXPECT_EQ(m.prepared, 2);
}

TEST(DataStatusMachineTest, ChangeDuringAReportIsDeliveredAfterItWithTheWidenedRange) {
  Machine m;
  m.onReport = [&] { m.SetStatusRange(DataStatus::kNotAvailable, 30, 40); };
  m.SetStatusRange(DataStatus::kAvailable, 10, 20);
  EXPECT_THAT(m.reports, ElementsAre("1:10:20", "2:10:40"));
  EXPECT_EQ(m.status(), DataStatus::kNotAvailable);
  EXPECT_FALSE(m.notifying());
}

TEST(DataStatusMachineTest, UnknownDuringAReportIsEvaluatedThere) {
  Machine m;
  m.ready = false;
  m.onReport = [&] { m.SetStatusRange(DataStatus::kUnknown, 30, 40); };
  m.SetStatusRange(DataStatus::kAvailable, 10, 20);
  EXPECT_THAT(m.reports, ElementsAre("1:10:20", "2:10:40"));
  EXPECT_EQ(m.status(), DataStatus::kNotAvailable);
  Machine pending;
  pending.inputs = DataStatus::kPending;
  pending.onReport = [&] { pending.SetStatusRange(DataStatus::kUnknown, 30, 40); };
  pending.SetStatusRange(DataStatus::kAvailable, 10, 20);
  EXPECT_THAT(pending.reports, ElementsAre("1:10:20")) << "pending from the evaluation stays silent";
  EXPECT_EQ(pending.status(), DataStatus::kPending);
}

TEST(DataStatusMachineTest, UnknownWhileEvaluatingIsLeftToTheEvaluation) {
  Machine m;
  m.onPrepare = [&] {
    EXPECT_EQ(m.status(), DataStatus::kEvaluating);
    m.SetStatusRange(DataStatus::kUnknown, 1, 2);
  };
  EXPECT_EQ(m.QueryStatus(), DataStatus::kAvailable);
  EXPECT_THAT(m.reports, IsEmpty());
  EXPECT_EQ(m.status(), DataStatus::kAvailable);
}

TEST(DataStatusMachineTest, AQuestionFromInsideItsOwnEvaluationIsALoopAndAnswersPending) {
  Machine m;
  DataStatus inner = DataStatus::kUnknown;
  m.onPrepare = [&] { inner = m.QueryStatus(); };
  EXPECT_EQ(m.QueryStatus(), DataStatus::kAvailable);
  EXPECT_EQ(inner, DataStatus::kPending);
  EXPECT_EQ(m.prepared, 1);
}

TEST(DataStatusMachineTest, InputChangesInsideTheRangeInHandCostNothing) {
  Machine m;
  ASSERT_EQ(m.QueryStatus(), DataStatus::kAvailable);
  m.onReport = [&] {
    m.OnInputChanged(120, 180);  // inside: already being handled
    m.OnInputChanged(150, 300);  // beyond: widens and is handled at once
  };
  m.OnInputChanged(100, 200);
  EXPECT_THAT(m.reports, ElementsAre("0:100:200", "0:100:300"));
  // Settled again, a new change is a new report.
  m.OnInputChanged(1, 2);
  EXPECT_THAT(m.reports, ElementsAre("0:100:200", "0:100:300", "0:1:2"));
}

TEST(DataStatusMachineTest, EmptyOrInvertedRangesAddNothing) {
  Machine m;
  m.SetStatusRange(DataStatus::kNotAvailable, 20, 10);
  m.SetStatusRange(DataStatus::kNotAvailable, kTimeMax, kTimeMin);
  EXPECT_THAT(m.reports, ElementsAre("2:max:min"));
  m.SetStatusRange(DataStatus::kAvailable, TimeRange::Whole());
  EXPECT_THAT(m.reports, ElementsAre("2:max:min", "1:min:max"));
}

using nlohmann::json;
using Range = CDirtyRangeHelper::Range;

std::vector<Range> RangesOf(const json& list) {
  std::vector<Range> out;
  for (const json& r : list) out.emplace_back(FixtureTime(r[0]), FixtureTime(r[1]));
  return out;
}

// Records what the helper asks of the channel it serves.
class RecordingRanges final : public CDirtyRangeHelper {
 public:
  KivTime end = 0;
  int failLoads = 0;
  std::vector<std::tuple<KivTime, KivTime, bool>> loads;
  std::vector<KivTime> forgets;

 private:
  KivTime GetEnd() override { return end; }
  bool Load(KivTime from, KivTime to, bool whole) override {
    loads.emplace_back(from, to, whole);
    return failLoads-- <= 0;
  }
  void Forget(KivTime from) override { forgets.push_back(from); }
};

class DirtyRangeCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: ranges added (or a series of them), the ranges held after, and
// what the next read loads and forgets, with what stays for later.
TEST_P(DirtyRangeCases, RangesFoldAndLoadAsTheCaseSays) {
  const json c = ReadFixture(GetParam());
  RecordingRanges helper;
  if (c.value("prepare", false)) {
    helper.Process();
    helper.loads.clear();
    helper.forgets.clear();
  }
  helper.end = FixtureTime(c["end"]);
  helper.failLoads = c.value("fail_loads", 0);
  if (c.contains("limit")) helper.SetLimit(FixtureTime(c["limit"]));
  for (const Range& r : RangesOf(c.value("add", json::array()))) helper.Add(r.first, r.second);
  if (c.contains("series")) {
    const json& s = c["series"];
    for (KivTime i = 0, start = s["start"].get<KivTime>(); i < s["count"].get<KivTime>();
         ++i, start += s["step"].get<KivTime>())
      helper.Add(start, start + s["length"].get<KivTime>());
  }
  EXPECT_EQ(helper.ranges(), RangesOf(c["after_add"]["ranges"]));
  EXPECT_EQ(helper.reload_all(), c["after_add"]["reload_all"].get<bool>());
  helper.Process();
  std::vector<std::tuple<KivTime, KivTime, bool>> loads;
  for (const json& l : c["loads"]) loads.emplace_back(FixtureTime(l[0]), FixtureTime(l[1]), l[2].get<bool>());
  std::vector<KivTime> forgets;
  for (const json& f : c["forgets"]) forgets.push_back(FixtureTime(f));
  EXPECT_EQ(helper.loads, loads);
  EXPECT_EQ(helper.forgets, forgets);
  EXPECT_EQ(helper.ranges(), RangesOf(c["remaining"]));
}

INSTANTIATE_TEST_SUITE_P(Cases, DirtyRangeCases, FixtureCases("outing/dirty_ranges"), FixtureName);

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

uint32_t StatusOf(IKivData* item) { return Got(item, &IKivData::GetStatus); }

class DataItemTest : public ::testing::Test {
 protected:
  ComPtr<CTestItem> source_ = MakeKiv<CTestItem>(u"Source");
  ComPtr<CTestItem> item_ = MakeKiv<CTestItem>(u"Item");
  std::vector<std::string> log_;
};

TEST_F(DataItemTest, NameAndStatusAndTheDetailedStatusIsTwoUnlessAvailable) {
  EXPECT_EQ(Got(item_, &CTestItem::GetName), u"Item");
  EXPECT_EQ(item_->GetStatus(nullptr), E_POINTER);
  EXPECT_EQ(StatusOf(item_.Get()), 1u);
  EXPECT_TRUE(QueryAs<IKivData2>(item_.Get()));
  EXPECT_EQ(Got(item_, &CTestItem::GetDetailedStatus), kDetailHasSamples);
  item_->ready = false;
  item_->SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
  EXPECT_EQ(Got(item_, &CTestItem::GetDetailedStatus), 2u);
  item_->SetStatusRange(DataStatus::kPending, TimeRange::Whole());
  EXPECT_EQ(Got(item_, &CTestItem::GetDetailedStatus), 2u);
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

TEST_F(DataItemTest, OptionalInputNotAvailableDoesNotBlockTheItemAnInputWithoutDataDoes) {
  source_->ready = false;
  ASSERT_EQ(item_->AddInput(u"s", source_->PrimaryUnknown(), /*optional=*/true), S_OK);
  EXPECT_EQ(StatusOf(item_.Get()), 1u);
  ASSERT_EQ(item_->AddInput(u"s", source_->PrimaryUnknown(), /*optional=*/false), S_OK);
  EXPECT_EQ(item_->input_count(), 1u) << "same key replaces";
  EXPECT_EQ(StatusOf(item_.Get()), 2u);
  EXPECT_TRUE(item_->RemoveInput(u"s"));
  EXPECT_FALSE(item_->RemoveInput(u"s"));
  EXPECT_EQ(StatusOf(item_.Get()), 1u);
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
