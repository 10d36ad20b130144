// Lap markers: order, numbering, removal, reset and shift through a fresh open.
#include "platform/store/lap_marker_table.h"

#include <gtest/gtest.h>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

TarnLapMarker Marker(KivTime base, uint8_t crossing = 1, double origin = 12.5) {
  TarnLapMarker m{};
  m.baseTime = base;
  m.distanceOrigin = origin;
  m.crossing = crossing;
  return m;
}

class LapMarkerTableTest : public NewStoreTest {
 protected:
  void SetUp() override {
    NewStoreTest::SetUp();
    auto handle = Handle();
    auto writer = Writer<IKivTarnLapMarkerWriter>(handle);
    TarnLapMarker recorded[] = {Marker(300), Marker(100), Marker(200, 0)};
    ASSERT_EQ(writer->AddRecordedLapMarkers(3, recorded, &recorded_), S_OK);
    TarnLapMarker user = Marker(250);
    ASSERT_EQ(writer->AddLapMarkers(1, &user, &user_), S_OK);
    ASSERT_EQ(handle->Commit(), S_OK);
    Reopen();
  }

  std::vector<KivTime> Times() {
    std::vector<KivTime> t;
    for (const TarnLapMarker& m : LapMarkers()) t.push_back(m.baseTime + m.timeOffset);
    return t;
  }

  template <class Fn>
  void Edit(Fn&& fn) {
    auto handle = Handle();
    fn(*Writer<IKivTarnLapMarkerWriter>(handle));
    ASSERT_EQ(handle->Commit(), S_OK);
    Reopen();
  }

  std::vector<uint64_t> recorded_;  // at 300, 100, 200
  std::vector<uint64_t> user_;      // at 250
};

TEST_F(LapMarkerTableTest, MarkersComeInTimeOrderNumberedFromTheFirstLap) {
  auto markers = LapMarkers();
  EXPECT_EQ(Times(), (std::vector<KivTime>{100, 200, 250, 300}));
  EXPECT_EQ(Column(markers, &TarnLapMarker::id),
            (std::vector<uint64_t>{recorded_[1], recorded_[2], user_[0], recorded_[0]}));
  EXPECT_EQ(Column(markers, &TarnLapMarker::lapNumber), (std::vector<uint32_t>{1, 2, 3, 4}));
  EXPECT_EQ(Column(markers, &TarnLapMarker::crossing), (std::vector<uint8_t>{1, 0, 1, 1}));
  EXPECT_EQ(markers[0].distanceOrigin, 12.5);
  Edit([](IKivTarnLapMarkerWriter& w) { EXPECT_EQ(w.SetFirstLapNumber(10), S_OK); });
  EXPECT_EQ(LapMarkers()[3].lapNumber, 13u);
}

TEST_F(LapMarkerTableTest, ShiftSetsOffsetsAndReordersByTime) {
  Edit([&](IKivTarnLapMarkerWriter& w) {
    uint64_t ids[2] = {recorded_[1], user_[0]};
    KivTime offsets[2] = {500, -200};
    double shifts[2] = {3.5, -1.0};
    EXPECT_EQ(w.ShiftLapMarkers(2, ids, offsets, shifts), S_OK);
  });
  EXPECT_EQ(Times(), (std::vector<KivTime>{50, 200, 300, 600}));
  EXPECT_EQ(Column(LapMarkers(), &TarnLapMarker::timeOffset), (std::vector<KivTime>{-200, 0, 0, 500}));
  // Offsets are set, not added.
  Edit([&](IKivTarnLapMarkerWriter& w) {
    KivTime offset = 10;
    double shift = 0;
    EXPECT_EQ(w.ShiftLapMarkers(1, &user_[0], &offset, &shift), S_OK);
  });
  EXPECT_EQ(Times(), (std::vector<KivTime>{200, 260, 300, 600}));
}

TEST_F(LapMarkerTableTest, ResetBringsBackTheRecordedMarkersUnshifted) {
  Edit([&](IKivTarnLapMarkerWriter& w) {
    EXPECT_EQ(w.RemoveLapMarkers(1, &recorded_[2]), S_OK);
    KivTime offset = 1000;
    double shift = 2;
    EXPECT_EQ(w.ShiftLapMarkers(1, &recorded_[1], &offset, &shift), S_OK);
    TarnLapMarker extra = Marker(50);
    std::vector<uint64_t> ids;
    EXPECT_EQ(w.AddLapMarkers(1, &extra, &ids), S_OK);
  });
  EXPECT_EQ(Times(), (std::vector<KivTime>{50, 250, 300, 1100}));
  Edit([](IKivTarnLapMarkerWriter& w) { EXPECT_EQ(w.ResetLapMarkers(), S_OK); });
  EXPECT_EQ(Times(), (std::vector<KivTime>{100, 200, 300}));
  EXPECT_EQ(Column(LapMarkers(), &TarnLapMarker::id),
            (std::vector<uint64_t>{recorded_[1], recorded_[2], recorded_[0]}));
  EXPECT_EQ(Column(LapMarkers(), &TarnLapMarker::timeOffset), (std::vector<KivTime>{0, 0, 0}));
}

// An unknown id refuses the whole step; removing hides recorded markers and
// drops user ones.
TEST_F(LapMarkerTableTest, RemoveHidesRecordedAndDropsUserMarkersButAnUnknownIdRefusesTheStep) {
  Edit([&](IKivTarnLapMarkerWriter& w) {
    uint64_t ids[2] = {recorded_[0], 4242};
    EXPECT_EQ(w.RemoveLapMarkers(2, ids), E_INVALIDARG);
    KivTime offsets[2] = {1, 1};
    double shifts[2] = {0, 0};
    EXPECT_EQ(w.ShiftLapMarkers(2, ids, offsets, shifts), E_INVALIDARG);
    TarnLapMarker bad = Marker(1, 2);
    std::vector<uint64_t> made;
    EXPECT_EQ(w.AddLapMarkers(1, &bad, &made), E_INVALIDARG);
    EXPECT_EQ(w.ShiftLapMarkers(1, ids, nullptr, shifts), E_POINTER);
  });
  EXPECT_EQ(Times(), (std::vector<KivTime>{100, 200, 250, 300}));
  Edit([&](IKivTarnLapMarkerWriter& w) {
    uint64_t ids[2] = {recorded_[0], user_[0]};
    EXPECT_EQ(w.RemoveLapMarkers(2, ids), S_OK);
    // Removing twice: unknown.
    EXPECT_EQ(w.RemoveLapMarkers(1, &user_[0]), E_INVALIDARG);
  });
  EXPECT_EQ(Times(), (std::vector<KivTime>{100, 200}));
}

}  // namespace
}  // namespace velmar::testing
