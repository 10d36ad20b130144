#include "sources/tarn/tarn_lap_marker_writer.h"

#include <gtest/gtest.h>

#include <optional>

#include "config/config_classes.h"
#include "core/velmar.h"
#include "platform/registry/registry_file.h"
#include "platform/store/fault_vfs.h"
#include "tasks/tasks.h"
#include "outing/channels/distance_channel.h"
#include "support/selection_binding.h"
#include "sources/tarn/tarn_lap_marker_steps.h"
#include "tarn_outing_helper.h"
#include "velmar/common_channels.h"

namespace velmar::testing {
namespace {

using Times = std::vector<KivTime>;

// 0 to 100 s at 50 m/s: "[1]Distance" is 50 m per second. Markers at 30 s and
// 60 s cross the line; the one at 80 s is a car halt.
TarnDataSet LapDataSet() {
  TarnDataSet d;
  d.outingRange = {{0, 100 * kS}};
  TarnDataSetBlock block{.period = kS / 10, .times = {}, .values = {}};
  for (int i = 0; i <= 1000; ++i) block.values.push_back(5.0 * i);
  d.channels = {{.name = u"Distance", .quantity = QuantityId{1}, .userType = {}, .blocks = {block}}};
  d.lapMarkers = {{30 * kS, 0.0, true}, {60 * kS, 0.0, true}, {80 * kS, 0.0, false}};
  return d;
}

class TarnLapMarkerWriterTest : public TarnOutingTest {
 protected:
  // A root of the real classes, with settings of its own, for the common channels.
  static void SetUpTestSuite() {
    ASSERT_TRUE(Succeeded(RegisterConfigClasses(ClassRegistry::Process())));
    ASSERT_TRUE(Succeeded(RegisterTasksClasses(ClassRegistry::Process())));
    ASSERT_TRUE(Succeeded(RegisterVelmarClasses(ClassRegistry::Process())));
  }
  void SetUp() override {
    override_.emplace(RegHive::kCurrentUser, std::make_shared<RegistryFile>(dir_.path() / "user.json"));
    ASSERT_EQ(CVelmar::Create(&root_), S_OK);
    path_ = Write(LapDataSet());
    Reopen();
  }
  void TearDown() override {
    Close();
    if (root_) (void)root_->Close();
    root_ = nullptr;
    TarnOutingTest::TearDown();
  }
  void Close() override {
    bound_.reset();
    writer_ = nullptr;
    txn_ = nullptr;
    TarnOutingTest::Close();
  }
  // A fresh outing on a fresh cache, its markers and distance samples read.
  void Reopen() {
    TarnOutingTest::Reopen();
    writer_ = Facet<IKivLapMarkerWriter>();
    txn_ = Facet<IKivTransaction>();
    bound_.emplace(outing_.Get());  // the distance channel is read through a selection
    auto channels = Facet<IKivChannelFactory>();
    ASSERT_EQ(channels->SetRoot(static_cast<IKivVelmar*>(root_.Get())), S_OK);
    NameList names;
    (void)channels->GetNames(&names);  // the distance channel is found in the list
    (void)MarkerTimes();
    ASSERT_TRUE(Settle());
    ComPtr<IKivChannel> distance;
    ASSERT_EQ(channels->GetItem(u"[1]Distance", distance.Put()), S_OK);
    ComPtr<IKivChannelIterator2> data;
    (void)distance->GetIterator(data.Put());  // its data in, for the sums at the call
    ASSERT_TRUE(Settle());
    listener_->log.clear();
  }
  Times MarkerTimes() {
    auto markers = Facet<IKivLapMarkers>();
    uint32_t count = 0;
    EXPECT_EQ(markers->GetLapMarkerCount(&count), S_OK);
    Times times(count);
    for (uint32_t i = 0; i < count; ++i) EXPECT_EQ(markers->GetLapMarkerTime(i + 1, &times[i]), S_OK);
    return times;
  }

  std::optional<ScopedHiveOverride> override_;
  ComPtr<CVelmar> root_;
  std::optional<BoundSelection> bound_;
  ComPtr<IKivLapMarkerWriter> writer_;
  ComPtr<IKivTransaction> txn_;
};

TEST_F(TarnLapMarkerWriterTest, CallsRefuseWhatTheyCanTellAtOnce) {
  EXPECT_EQ(writer_->ResetLapMarkers(), KIV_E_TXN_NOT_OPEN);
  EXPECT_EQ(txn_->Commit(), KIV_E_NO_TRANSACTION);
  ASSERT_EQ(txn_->Begin(), S_OK);
  EXPECT_EQ(writer_->AddLapMarkerAtTime(30 * kS), KIV_E_MARKER_EXISTS);
  EXPECT_EQ(writer_->AddLapMarkerAtTime(101 * kS), E_INVALIDARG);
  EXPECT_EQ(writer_->AddLapMarkerAtTime(-1), E_INVALIDARG);
  EXPECT_EQ(writer_->RemoveLapMarker(0), DISP_E_BADINDEX);
  EXPECT_EQ(writer_->RemoveLapMarker(4), DISP_E_BADINDEX);
  EXPECT_EQ(writer_->AddLapMarkerAtDistance(1e9), E_INVALIDARG) << "never reached";
  // A second outing object on the file shares the transaction but may not end it.
  ComPtr<CTarnOuting> other = Open(path_);
  auto otherTxn = Face<IKivTransaction>(other.Get());
  EXPECT_EQ(otherTxn->Begin(), KIV_E_TXN_ALREADY_OPEN);
  EXPECT_EQ(otherTxn->Commit(), E_FAIL);
  ASSERT_EQ(txn_->Rollback(), S_OK);
  other = nullptr;
}

TEST_F(TarnLapMarkerWriterTest, EachEditRoundTripsThroughAFreshOpen) {
  EXPECT_EQ(Commit([&] { return writer_->AddLapMarkerAtTime(45 * kS); }),
            (Lines{"TransactionStarted", "TransactionProgress:1/1", "TransactionFinished"}));
  EXPECT_EQ(MarkerTimes(), (Times{30 * kS, 45 * kS, 60 * kS, 80 * kS})) << "the cache read them again";
  Reopen();
  EXPECT_EQ(MarkerTimes(), (Times{30 * kS, 45 * kS, 60 * kS, 80 * kS}));
  KivBool halt = KIV_TRUE;
  ASSERT_EQ(Facet<IKivLapMarkers>()->IsCarHalt(2, &halt), S_OK);
  EXPECT_EQ(halt, KIV_FALSE) << "a new marker crosses the line";

  Commit([&] { return writer_->AddLapMarkerAtDistance(1000.0); });  // 20 s
  Commit([&] { return writer_->RemoveLapMarker(3); });               // 45 s
  Reopen();
  EXPECT_EQ(MarkerTimes(), (Times{20 * kS, 30 * kS, 60 * kS, 80 * kS}));

  // 100 m on is 2 s later for every crossing; the car halt stays.
  Commit([&] { return writer_->ShiftLapMarkers(100.0); });
  Reopen();
  EXPECT_EQ(MarkerTimes(), (Times{22 * kS, 32 * kS, 62 * kS, 80 * kS}));

  Commit([&] { return writer_->ResetLapMarkers(); });
  Reopen();
  EXPECT_EQ(MarkerTimes(), (Times{30 * kS, 60 * kS, 80 * kS}));
}

TEST_F(TarnLapMarkerWriterTest, EditsRunInCallOrderAndOnlyTheOwnerHearsTheTransaction) {
  ComPtr<CTarnOuting> other = Open(path_);
  OutingListener otherListener(static_cast<IKivOuting*>(other.Get()));
  EXPECT_EQ(Commit([&] {
              EXPECT_EQ(writer_->RemoveLapMarker(1), S_OK);  // 30 s
              EXPECT_EQ(writer_->AddLapMarkerAtTime(10 * kS), S_OK);
              return writer_->AddLapMarkerAtTime(90 * kS);
            }),
            (Lines{"TransactionStarted", "TransactionProgress:1/3", "TransactionProgress:2/3",
                   "TransactionProgress:3/3", "TransactionFinished"}));
  EXPECT_EQ(MarkerTimes(), (Times{10 * kS, 60 * kS, 80 * kS, 90 * kS}));
  for (const std::string& line : otherListener.log) EXPECT_EQ(line.rfind("Transaction", 0), std::string::npos) << line;
  EXPECT_NE(std::find(otherListener.log.begin(), otherListener.log.end(), "LapMarkersReset"), otherListener.log.end());
  other = nullptr;
}

TEST_F(TarnLapMarkerWriterTest, StoreChangedSinceTheCallFailsTheStepWithItsMessage) {
  ASSERT_EQ(txn_->Begin(), S_OK);
  ASSERT_EQ(writer_->RemoveLapMarker(2), S_OK);  // 60 s
  ASSERT_EQ(writer_->ShiftLapMarkers(50.0), S_OK);

  // Another writer of the file (a cache of its own) removes the 30 s marker first.
  auto rival = MakeKiv<CTarnOuting>(MakeKiv<CTarnOutingCache>(path_, kTarnType), false);
  auto rivalMarkers = Face<IKivLapMarkers>(rival.Get());
  uint32_t count = 0;
  (void)rivalMarkers->GetLapMarkerCount(&count);
  ASSERT_TRUE(Settle());
  auto rivalTxn = Face<IKivTransaction>(rival.Get());
  ASSERT_EQ(rivalTxn->Begin(), S_OK);
  ASSERT_EQ(Face<IKivLapMarkerWriter>(rival.Get())->RemoveLapMarker(1), S_OK);
  ASSERT_EQ(rivalTxn->Commit(), S_OK);
  ASSERT_TRUE(Settle());

  listener_->log.clear();
  ASSERT_EQ(txn_->Commit(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(LinesStarting(listener_->log, {"Transaction"}),
            (Lines{"TransactionStarted", "TransactionProgress:1/2", "TransactionMessage:Failed to remove lap marker",
                   "TransactionProgress:2/2", "TransactionMessage:Failed to shift lap markers - mismatch detected",
                   "TransactionFinished"}));
  rivalTxn = nullptr;
  rivalMarkers = nullptr;
  rival = nullptr;
  Reopen();  // failed steps leave the cache as it was: read afresh
  EXPECT_EQ(MarkerTimes(), (Times{60 * kS, 80 * kS})) << "only the rival's edit is in";
}

TEST_F(TarnLapMarkerWriterTest, ADiskFailingAnywhereInTheCommitLeavesTheFileAsBeforeAndSaysSo) {
  makeFactory_ = FaultyStoreMaker();
  const Times before{30 * kS, 60 * kS, 80 * kS};
  const Times after{10 * kS, 60 * kS, 80 * kS, 90 * kS};
  bool sawSuccess = false;
  for (int64_t okCalls = 0; okCalls < 64 && !sawSuccess; ++okCalls) {
    SCOPED_TRACE("writes let through: " + std::to_string(okCalls));
    Close();
    path_ = Write(LapDataSet(), "round" + std::to_string(okCalls) + ".trn");
    Reopen();
    store::FaultVfs::Get().FailAfter(okCalls);
    Lines log = Commit([&] {
      EXPECT_EQ(writer_->RemoveLapMarker(1), S_OK);
      EXPECT_EQ(writer_->AddLapMarkerAtTime(10 * kS), S_OK);
      return writer_->AddLapMarkerAtTime(90 * kS);
    });
    const bool failed = store::FaultVfs::Get().failures() > 0;
    store::FaultVfs::Get().Disarm();
    const bool told = std::any_of(log.begin(), log.end(),
                                  [](const std::string& line) { return line.rfind("TransactionMessage:", 0) == 0; });
    EXPECT_EQ(log.back(), "TransactionFinished");
    // A failure the commit heard leaves the file as before and is reported;
    // one after the commit ended (a checkpoint) leaves the edits in.
    Reopen();
    EXPECT_EQ(MarkerTimes(), told ? before : after);
    sawSuccess = !failed;
  }
  EXPECT_TRUE(sawSuccess) << "some number of writes lets the commit through";
}

TEST_F(TarnLapMarkerWriterTest, CommonChannelRolesResolveOnTheOuting) {
  auto channels = Facet<IKivDataFactory>();
  ComPtr<IKivCommonChannels> roles;
  ASSERT_EQ(root_->GetCommonChannels(roles.Put()), S_OK);
  ComPtr<IKivChannel> found;
  ASSERT_EQ(FindCommonChannel(channels.Get(), CommonChannelRole::kDistance, &found), S_OK);
  std::u16string name;
  ASSERT_EQ(found->GetName(&name), S_OK);
  EXPECT_EQ(name, u"[1]Distance");
  EXPECT_TRUE(Failed(FindCommonChannel(channels.Get(), CommonChannelRole::kSpeed, &found))) << "no speed recorded";
  // Any role may point at any channel, and the edits follow the distance role.
  ASSERT_EQ(roles->SetSpeed(u"[1]Distance"), S_OK);
  EXPECT_EQ(FindCommonChannel(channels.Get(), CommonChannelRole::kSpeed, &found), S_OK);
  ASSERT_EQ(roles->SetDistance(u"no key"), S_OK);
  ASSERT_EQ(txn_->Begin(), S_OK);
  EXPECT_EQ(writer_->AddLapMarkerAtTime(45 * kS), KIV_E_BAD_DISTANCE_CHANNEL);
  ASSERT_EQ(roles->SetDistance(u"[1]Odometer"), S_OK);
  EXPECT_TRUE(Failed(writer_->ShiftLapMarkers(10.0))) << "no such channel";
  EXPECT_EQ(writer_->RemoveLapMarker(1), S_OK) << "a removal needs no distance";
  ASSERT_EQ(txn_->Rollback(), S_OK);
}

TEST_F(TarnLapMarkerWriterTest, ShiftWithOnlyCarHaltsSaysSo) {
  TarnDataSet d = LapDataSet();
  d.lapMarkers = {{80 * kS, 0.0, false}};
  path_ = Write(d, "halts.trn");
  Reopen();
  EXPECT_EQ(Commit([&] { return writer_->ShiftLapMarkers(10.0); }),
            (Lines{"TransactionStarted", "TransactionMessage:" + std::string("Failed to shift lap markers - no relevant "
                                                                             "lap markers selected"),
                   "TransactionProgress:1/1", "TransactionFinished"}));
}

}  // namespace
}  // namespace velmar::testing
