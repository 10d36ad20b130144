#include "outing/status/data_status.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

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
}

TEST(DataStatusMachineTest, PendingFromEvaluationDuringAReportStaysSilent) {
  Machine m;
  m.inputs = DataStatus::kPending;
  m.onReport = [&] { m.SetStatusRange(DataStatus::kUnknown, 30, 40); };
  m.SetStatusRange(DataStatus::kAvailable, 10, 20);
  EXPECT_THAT(m.reports, ElementsAre("1:10:20"));
  EXPECT_EQ(m.status(), DataStatus::kPending);
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

}  // namespace
}  // namespace velmar::testing
