// The details record and the outing and movement ranges through a fresh open.
#include "platform/store/details_table.h"

#include <gtest/gtest.h>

#include <tuple>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

class DetailsTableTest : public NewStoreTest {
 protected:
  void SetUp() override {
    NewStoreTest::SetUp();
    handle_ = Handle();
    writer_ = Writer<IKivTarnDetailsWriter>(handle_);
  }
  void CommitAndReopen() {
    ASSERT_EQ(handle_->Commit(), S_OK);
    writer_ = nullptr;
    handle_ = nullptr;
    Reopen();
  }
  // A range as a read gives it: its code, first and last time.
  using Range = std::tuple<KivResult, KivTime, KivTime>;
  template <class I>
  Range RangeOf(KivResult (I::*read)(uint32_t, KivTime*, KivTime*)) {
    KivTime first = -1, last = -1;
    const KivResult r = (store_.Get()->*read)(kDefaultWaitLimit, &first, &last);
    return {r, first, last};
  }
  ComPtr<IKivTarnWriteHandle> handle_;
  ComPtr<IKivTarnDetailsWriter> writer_;
};

TEST_F(DetailsTableTest, EveryFieldRoundTrips) {
  TarnOutingRecord d{};
  d.fastLapTime = 912345678;
  d.createDate = 45123.5;
  d.trackName = u"Silverstone";
  d.driverName = u"A. Driver";
  d.shortComment = u"";
  d.longComment = u"Long\ncomment";
  d.timeZone = nullptr;
  d.systemDetails = u"Logger 7";
  d.reserved = 0xDEADBEEF;
  d.carName = u"Car 12";
  d.sessionNumber = 3;
  d.outingNumber = 14;
  d.firstLapNumber = 5;
  d.fastLapNumber = 9;
  d.lastLapNumber = 20;
  d.datasetType = 2;
  d.utcDifference = -720;
  d.engineTest = 1;
  ASSERT_EQ(writer_->WriteDetails(&d), S_OK);
  CommitAndReopen();
  auto details = Details();
  ASSERT_EQ(details.size(), 1u);
  // Texts compare as strings, a missing one as "(null)": empty is not missing.
  auto fields = [](const TarnOutingRecord& r) {
    return std::make_tuple(r.fastLapTime, r.createDate, Str(r.trackName), Str(r.driverName), Str(r.shortComment),
                           Str(r.longComment), Str(r.timeZone), Str(r.systemDetails), r.reserved, Str(r.carName),
                           r.sessionNumber, r.outingNumber, r.firstLapNumber, r.fastLapNumber, r.lastLapNumber,
                           r.datasetType, r.utcDifference, r.engineTest);
  };
  EXPECT_EQ(fields(details[0]), fields(d));
  EXPECT_EQ(writer_, nullptr);
}

TEST_F(DetailsTableTest, RangesAreSetClearedAndWidenedBySamples) {
  ASSERT_EQ(writer_->SetMovementRange(100, 900), S_OK);
  EXPECT_EQ(writer_->SetMovementRange(900, 100), E_INVALIDARG);
  ASSERT_EQ(writer_->SetOutingRange(-50, 50), S_OK);
  EXPECT_EQ(writer_->SetOutingRange(50, -50), E_INVALIDARG);
  CommitAndReopen();
  EXPECT_EQ(RangeOf(&IKivTarnStore::GetMovementRange), Range(S_OK, 100, 900));
  EXPECT_EQ(RangeOf(&IKivTarnStore::GetOutingRange), Range(S_OK, -50, 50));
  handle_ = Handle();
  ASSERT_EQ(Writer<IKivTarnDetailsWriter>(handle_)->ClearMovementRange(), S_OK);
  CommitAndReopen();
  EXPECT_EQ(RangeOf(&IKivTarnStore::GetMovementRange), Range(S_FALSE, 0, 0));
  // Samples past the end of the outing range widen it.
  uint64_t channel = AddChannel(u"Speed");
  auto handle = Handle();
  double v[3] = {};
  int64_t period = 40;
  TarnChannelData block = Periodic(0, &period, v, 3);
  std::vector<uint64_t> blocks;
  ASSERT_EQ(Writer<IKivTarnChannelWriter>(handle)->AddChannelData(1, &channel, &block, &blocks), S_OK);
  ASSERT_EQ(handle->Commit(), S_OK);
  EXPECT_EQ(RangeOf(&IKivTarnStore::GetOutingRange), Range(S_OK, -50, 80));
}

TEST_F(DetailsTableTest, FirstLapNumberGoesToTheDetailsRecord) {
  ASSERT_EQ(Writer<IKivTarnLapMarkerWriter>(handle_)->SetFirstLapNumber(7), S_OK);
  CommitAndReopen();
  EXPECT_EQ(Details()[0].firstLapNumber, 7u);
}

TEST_F(DetailsTableTest, NullRecordIsRefused) { EXPECT_EQ(writer_->WriteDetails(nullptr), E_POINTER); }

}  // namespace
}  // namespace velmar::testing
