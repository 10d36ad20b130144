#include "regions/lap_finder.h"

#include <gtest/gtest.h>

#include "velmar/persist.h"
#include "velmar/property_factories.h"

#include <string>
#include <vector>

#include "fake_lap_outing.h"
#include "support/got.h"
#include "regions_listener.h"

namespace velmar::testing {
namespace {

class LapFinderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    outing_->SetMarkers({10 * kSec, 20 * kSec});
    outing_->information = MakeKiv<CMapProperties>();
    finder_ = MakeKiv<CLapFinder>(CBrandedOutingInformation(CDataFactoryBrandingHelper()));
  }
  int32_t Count(IKivTimeRegions* regions) { return Got(regions, &IKivTimeRegions::GetCount); }
  // Sets the outing and gives the regions view read from it.
  ComPtr<IKivTimeRegions> Attach(IKivOuting* outing) {
    EXPECT_EQ(finder_->SetOuting(outing), S_OK);
    return Got(finder_, &CLapFinder::GetRegions);
  }
  KivTime End(IKivTimeRegions* regions, int32_t i) { return RegionRows(regions).at(i - 1)[2]; }
  std::u16string Name(IKivTimeRegions* regions, int32_t first, int32_t last) {
    std::u16string name;
    EXPECT_EQ(regions->GetName(first, last, &name), S_OK);
    return name;
  }

  ComPtr<FakeLapOuting> outing_ = MakeKiv<FakeLapOuting>();
  ComPtr<CLapFinder> finder_;
};

TEST_F(LapFinderTest, TheFirstReadBuildsTheLapsAndTellsTheSinksOnceBeforeItReturns) {
  ASSERT_EQ(finder_->SetOuting(outing_.Get()), S_OK);
  RegionsListener listener(finder_.Get());
  ComPtr<IKivTimeRegions> regions = Got(finder_, &CLapFinder::GetRegions);
  EXPECT_EQ(listener.count, 1);
  EXPECT_EQ(Count(regions.Get()), 3);
  ASSERT_EQ(finder_->GetRegions(regions.Put()), S_OK);
  EXPECT_EQ(listener.count, 1) << "built once until something changes";
  EXPECT_EQ(Name(regions.Get(), 1, 1), u"Lap 1");
  EXPECT_EQ(Name(regions.Get(), 1, 3), u"Lap 1 - Lap 3");
  EXPECT_EQ(Name(regions.Get(), 2, 1), u"Unknown");
  EXPECT_EQ(Name(regions.Get(), 0, 9), u"Unknown");
  KivTime t = -1;
  EXPECT_EQ(regions->GetStart(4, &t), E_INVALIDARG);
  EXPECT_EQ(t, 0);
  EXPECT_EQ(End(regions.Get(), 2), 20 * kSec);
  EXPECT_EQ(regions->GetEnd(1, nullptr), E_POINTER);
}

TEST_F(LapFinderTest, AMarkerEditEmptiesTheLapsAndTheNextReadRebuildsThem) {
  ComPtr<IKivTimeRegions> view = Attach(outing_.Get());
  RegionsListener listener(finder_.Get());
  outing_->SetMarkers({10 * kSec, 20 * kSec, 30 * kSec});
  outing_->FireMarkersChanged();
  EXPECT_EQ(listener.count, 1);
  EXPECT_FALSE(finder_->populated());
  EXPECT_EQ(Count(view.Get()), 0) << "the view is live: nothing until the next read";
  EXPECT_EQ(Got(finder_, &CLapFinder::GetLastCompleteRegion), 3) << "the lap after the last marker is not complete";
  EXPECT_EQ(listener.count, 2);
  EXPECT_EQ(Count(view.Get()), 4);
}

TEST_F(LapFinderTest, AResetOrARangeOfAStoredOutingRebuildsNothing) {
  ComPtr<IKivTimeRegions> view = Attach(outing_.Get());
  RegionsListener listener(finder_.Get());
  outing_->FireReset();
  outing_->FireRange(0, 50 * kSec);
  EXPECT_EQ(listener.count, 0);
  EXPECT_TRUE(finder_->populated());
  outing_->FireMarkersChanged();
  EXPECT_EQ(listener.count, 1) << "a load: one rebuild, on the markers' change";
}

TEST_F(LapFinderTest, AViewKeepsItsFinderAliveAndSetOutingNothingEmptiesIt) {
  ComPtr<IKivTimeRegions> view = Attach(outing_.Get());
  {
    RegionsListener listener(finder_.Get());
    EXPECT_EQ(finder_->SetOuting(nullptr), S_OK);
    EXPECT_EQ(listener.count, 1) << "told whatever the attach gave";
  }
  finder_ = nullptr;
  EXPECT_EQ(Count(view.Get()), 0);
  outing_->FireMarkersChanged();  // the finder no longer listens
}

TEST_F(LapFinderTest, TheDefaultRegionIsTheFastLapCountedPastAWarmUp) {
  ASSERT_EQ(finder_->SetOuting(outing_.Get()), S_OK);
  EXPECT_EQ(Got(finder_, &CLapFinder::GetDefaultRegion), 1) << "no lap numbers at all: the first lap";
  int32_t index = 0;
  outing_->information->values = {{u"First lap number", Variant::I32(1)}, {u"Fast lap time", Variant::F64(0)}};
  EXPECT_EQ(finder_->GetDefaultRegion(&index), KIV_E_NO_REGION) << "no fast lap yet";
  outing_->information->values = {{u"First lap number", Variant::I32(1)},
                                  {u"Fast lap time", Variant::F64(92.5)},
                                  {u"Fast lap number", Variant::I32(2)}};
  EXPECT_EQ(Got(finder_, &CLapFinder::GetDefaultRegion), 2);
  outing_->moved = 5 * kSec;  // a warm-up now stands first
  outing_->FireMarkersChanged();
  EXPECT_EQ(Got(finder_, &CLapFinder::GetDefaultRegion), 3);
  EXPECT_EQ(Got(finder_, &CLapFinder::GetDefaultRegionName), u"Fastest Lap");
}

TEST_F(LapFinderTest, AnOutingWithoutLapsIsNamedFromItsInformation) {
  outing_->markers.clear();
  outing_->movementKnown = false;
  outing_->information->values = {{u"First lap number", Variant::I32(7)}};
  ComPtr<IKivTimeRegions> view = Attach(outing_.Get());
  EXPECT_EQ(Name(view.Get(), 1, 1), u"Lap 7");
  outing_->information->values[u"Engine test"] = Variant::Bool(true);
  outing_->FireMarkersChanged();
  EXPECT_EQ(Name(view.Get(), 1, 1), u"Unknown");
  ASSERT_EQ(finder_->GetRegions(view.Put()), S_OK);
  EXPECT_EQ(Name(view.Get(), 1, 1), u"Static Test");
  outing_->information = nullptr;
  outing_->FireMarkersChanged();
  ASSERT_EQ(finder_->GetRegions(view.Put()), S_OK);
  EXPECT_EQ(Name(view.Get(), 1, 1), u"Lap 1");
}

TEST_F(LapFinderTest, AFailedBuildLeavesNoRegionsAndIsTriedAgain) {
  outing_->failMarkerRead = 2;
  ASSERT_EQ(finder_->SetOuting(outing_.Get()), S_OK);
  int32_t index = 0;
  EXPECT_EQ(finder_->GetDefaultRegion(&index), KIV_E_NO_REGION);
  EXPECT_EQ(finder_->GetLastCompleteRegion(&index), E_UNEXPECTED);
  outing_->failMarkerRead = 0;
  ComPtr<IKivTimeRegions> view = Got(finder_, &CLapFinder::GetRegions);
  EXPECT_EQ(Count(view.Get()), 3);
  EXPECT_EQ(finder_->GetRegions(nullptr), E_POINTER);
}

TEST_F(LapFinderTest, ALiveOutingsCurrentLapGrowsInTenSecondStepsAheadOfItsData) {
  auto live = MakeKiv<FakeLiveOuting>();
  live->end = 90 * kSec;
  live->SetMarkers({80 * kSec});
  ComPtr<IKivTimeRegions> view = Attach(live.Get());
  EXPECT_TRUE(finder_->real_time());
  const KivTime end = End(view.Get(), 2);
  RegionsListener listener(finder_.Get());
  live->FireRange(0, 90 * kSec);  // first range: rebuild
  ASSERT_EQ(finder_->GetRegions(view.Put()), S_OK);
  const int heard = listener.count;
  live->FireRange(0, end + kSec);  // grew past the predicted end
  EXPECT_EQ(listener.count, heard + 1);
  EXPECT_EQ(End(view.Get(), 2), end + kTimeTenSeconds);
  EXPECT_EQ(End(view.Get(), 1), 80 * kSec) << "other laps stay";
}

// A circuit map whose reference lap a test changes, telling its sinks.
class FakeCircuitMap final
    : public KivObject<IKivCircuitMapData, IKivNotificationsImpl<FakeCircuitMap, IKivCircuitMapDataNotifications2>> {
 public:
  KivTime lapTime = 0;
  KivResult GetClassId(Guid* clsid) override { return (*clsid = Guid(), S_OK); }
  KivResult GetLapTime(KivTime* time) override { return (*time = lapTime, S_OK); }
  void Change(KivTime time) {
    lapTime = time;
    this->FireNotification(&IKivCircuitMapDataNotifications::OnMapDataChanged, this);
  }
};

TEST_F(LapFinderTest, TheCircuitMapsLapTimeIsFollowedAndTheLapsStay) {
  ASSERT_EQ(finder_->SetOuting(outing_.Get()), S_OK);
  auto map = MakeKiv<FakeCircuitMap>();
  map->lapTime = 90 * kSec;
  finder_->SetCircuitMapData(map.Get());
  EXPECT_EQ(finder_->predicted_lap_time(), 90 * kSec);
  ComPtr<IKivTimeRegions> view = Got(finder_, &CLapFinder::GetRegions);
  RegionsListener listener(finder_.Get());
  map->Change(85 * kSec);
  EXPECT_EQ(finder_->predicted_lap_time(), 85 * kSec);
  EXPECT_EQ(listener.count, 0) << "a new lap time alone rebuilds nothing";
  finder_->SetCircuitMapData(nullptr);
  EXPECT_EQ(finder_->predicted_lap_time(), 0);
  map->Change(70 * kSec);
  EXPECT_EQ(finder_->predicted_lap_time(), 0) << "a dropped map is no longer heard";
}

TEST_F(LapFinderTest, ItsStreamIsOneVersionWordAndANewerOneIsRefused) {
  auto persist = QueryAs<IKivPersistStream>(static_cast<IKivTimeRegionFinder3*>(finder_.Get()));
  ASSERT_TRUE(persist);
  EXPECT_EQ(Got(persist, &IKivPersistStream::GetClassId), Guid::Literal("{018B5E4F-602B-4180-A80A-1793F53CC035}"));
  ASSERT_EQ(persist->InitNew(), S_OK);
  EXPECT_EQ(persist->IsDirty(), S_OK);

  ComPtr<IKivStorage> storage;
  ASSERT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
  ComPtr<IKivStream> stream;
  ASSERT_EQ(storage->CreateStream(u"finder", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, stream.Put()), S_OK);
  ASSERT_EQ(persist->Save(stream.Get(), KIV_TRUE), S_OK);
  EXPECT_EQ(persist->IsDirty(), S_FALSE);
  EXPECT_EQ(Got(stream, &IKivStream::Stat).size, Got(persist, &IKivPersistStream::GetSizeMax));

  ASSERT_EQ(stream->Seek(0, 0, nullptr), S_OK);
  ASSERT_EQ(persist->InitNew(), S_OK);
  EXPECT_EQ(persist->Load(stream.Get()), S_OK);
  EXPECT_EQ(persist->IsDirty(), S_FALSE);
  EXPECT_EQ(persist->Load(stream.Get()), E_FAIL) << "a short read";
  const uint32_t newer = 2817;
  ASSERT_EQ(stream->Seek(0, 0, nullptr), S_OK);
  ASSERT_EQ(stream->Write(&newer, sizeof newer, nullptr), S_OK);
  ASSERT_EQ(stream->Seek(0, 0, nullptr), S_OK);
  EXPECT_EQ(persist->Load(stream.Get()), E_FAIL);
}

}  // namespace
}  // namespace velmar::testing
