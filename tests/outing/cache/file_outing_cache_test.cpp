#include "outing/cache/file_outing_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "outing/memory_source.h"
#include "outing/cache/outing_cache_registry.h"
#include "support/got.h"
#include "support/outing_listener.h"
#include "support/settling_test.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using State = CStateMachine::State;
constexpr Guid kOtherId = Guid::Literal("{127E550E-1157-46C4-84D6-3178C2EC49F0}");

class FileOutingCacheTest : public SettlingTest {
 protected:
  void SetUp() override {
    cachesBefore_ = CMemoryOutingCache::live();
    outingsBefore_ = CMemoryOuting::live();
    jobsBefore_ = CMemoryLoadJob::live();
  }
  void TearDown() override {
    MemoryDisk::OpenGate(path_);
    listeners_.clear();
    a_ = b_ = c_ = nullptr;
    EXPECT_TRUE(Settle());
    EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(path_), nullptr);
    EXPECT_EQ(CMemoryOutingCache::live(), cachesBefore_);
    EXPECT_EQ(CMemoryOuting::live(), outingsBefore_);
    EXPECT_EQ(CMemoryLoadJob::live(), jobsBefore_) << "every job item went with its cache";
  }

  void PutData(KivResult result, bool information = true) {
    MemoryDisk::Put(path_, MemoryDataSet{result, information, {u"Speed", u"Gear"}});
  }
  ComPtr<CMemoryOuting> Open(const Guid& id = kMemoryTypeId) {
    ComPtr<CMemoryOuting> outing;
    EXPECT_EQ(OpenMemoryOuting(path_, &outing, id), S_OK);
    return outing;
  }
  OutingListener& Listen(CMemoryOuting* outing) {
    listeners_.push_back(std::make_unique<OutingListener>(static_cast<IKivOuting*>(outing)));
    EXPECT_TRUE(listeners_.back()->connected());
    return *listeners_.back();
  }
  static NameList Names(CMemoryOuting* outing) { return Got(outing, &IKivChannelFactory::GetNames); }
  static std::u16string Id(CMemoryOuting* outing) { return Got(outing, &CMemoryOuting::GetOutingId); }
  // Opens one outing and loads its data set.
  void OpenLoaded(KivResult result = S_OK) {
    PutData(result);
    a_ = Open();
    (void)Names(a_.Get());
    ASSERT_TRUE(Settle());
    ASSERT_EQ(a_->cache()->load_machine().state(), State::kDone);
  }

  const std::u16string path_ = UniqueMemoryPath();
  ComPtr<CMemoryOuting> a_, b_, c_;
  std::vector<std::unique_ptr<OutingListener>> listeners_;
  int cachesBefore_ = 0, outingsBefore_ = 0, jobsBefore_ = 0;
};

TEST_F(FileOutingCacheTest, TwoOutingsOnOnePathShareOneCacheOneLoadAndOneIdButNotTheOffset) {
  PutData(S_OK);
  a_ = Open();
  b_ = Open(kOtherId);
  EXPECT_EQ(a_->cache(), b_->cache());
  EXPECT_THAT(Names(a_.Get()), IsEmpty()) << "nothing is there yet; the load starts";
  EXPECT_THAT(Names(b_.Get()), IsEmpty());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);
  EXPECT_THAT(Names(a_.Get()), ElementsAre(u"Gear", u"Speed"));
  EXPECT_THAT(Names(b_.Get()), ElementsAre(u"Gear", u"Speed"));
  EXPECT_EQ(Id(a_.Get()), kMemoryTypeId.ToWide());
  EXPECT_EQ(Id(b_.Get()), Id(a_.Get())) << "the id is the cache's, given by the first open";
  EXPECT_EQ(a_->SetTimeOffset(5 * kTicksPerSecond), S_OK);
  EXPECT_EQ(b_->time_offset(), 0) << "an offset belongs to the outing object, not the file";
}

TEST_F(FileOutingCacheTest, CloseDataWithNothingLoadedClosesWithoutFailing) {
  a_ = Open();
  EXPECT_EQ(a_->CloseData(), S_OK);
  EXPECT_TRUE(a_->cache()->closed());
}

TEST_F(FileOutingCacheTest, ResultZeroFiresChannelAndLapNotifications) {
  PutData(S_OK);
  a_ = Open();
  OutingListener& heard = Listen(a_.Get());
  (void)Names(a_.Get());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(a_->calls, ElementsAre("information:1", "information-changed", "channels", "laps-reset"));
  EXPECT_THAT(heard.log, ElementsAre("InformationChanged", "ItemsAdded:Speed,Gear", "LapMarkersReset"));
  EXPECT_EQ(heard.sources[1], static_cast<IKivUnknown*>(static_cast<IKivOuting*>(a_.Get())))
      << "the factory is this outing";
}

TEST_F(FileOutingCacheTest, ResultOneFiresNoChannelOrLapNotifications) {
  PutData(S_FALSE);
  a_ = Open();
  OutingListener& heard = Listen(a_.Get());
  (void)Names(a_.Get());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kDone);
  EXPECT_THAT(a_->calls, ElementsAre("information:1", "information-changed"));
  EXPECT_THAT(heard.log, ElementsAre("InformationChanged"));
}

TEST_F(FileOutingCacheTest, ALoadWithoutInformationChangesNothingOfIt) {
  PutData(S_OK, /*information=*/false);
  a_ = Open();
  OutingListener& heard = Listen(a_.Get());
  ComPtr<IKivPropertySet> information;
  EXPECT_EQ(a_->GetOutingInformation(information.Put()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(a_->calls, ElementsAre("information:0", "channels", "laps-reset"));
  EXPECT_THAT(heard.log, Not(Contains("InformationChanged")));
  EXPECT_EQ(a_->GetOutingInformation(information.Put()), S_FALSE);
  EXPECT_EQ(information, nullptr);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1) << "loaded; nothing more to ask for";
}

TEST_F(FileOutingCacheTest, GetOutingInformationDuringALoadStartsNothingMore) {
  PutData(S_OK);
  MemoryDisk::CloseGate(path_);
  a_ = Open();
  IKivPropertySet* information = reinterpret_cast<IKivPropertySet*>(0x1);
  EXPECT_EQ(a_->GetOutingInformation(&information), S_FALSE);
  EXPECT_EQ(information, nullptr) << "cleared first";
  ASSERT_TRUE(MemoryDisk::WaitForLoadAtGate(path_, kLong));
  EXPECT_EQ(a_->GetOutingInformation(&information), S_FALSE);
  EXPECT_EQ(a_->GetOutingInformation(nullptr), E_POINTER);
  MemoryDisk::OpenGate(path_);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);
  EXPECT_EQ(Got(a_, &CMemoryOuting::GetOutingInformation).Get(), a_->cache()->information());
}

TEST_F(FileOutingCacheTest, LookingAtTheCaptionBringsTheOutingIn) {
  PutData(S_OK);
  a_ = Open();
  EXPECT_EQ(Got(a_, &CMemoryOuting::GetCaption), u"<---:---:--->");
  EXPECT_EQ(a_->GetCaption(nullptr), E_POINTER);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);
  EXPECT_TRUE(a_->cache()->caption_dirty()) << "a new information object makes the caption stale";
  EXPECT_EQ(Got(a_, &CMemoryOuting::GetCaption), u"<---:---:--->");
  EXPECT_FALSE(a_->cache()->caption_dirty());
}

TEST_F(FileOutingCacheTest, CloseDataDiscardsForEveryOutingOnTheFile) {
  OpenLoaded();
  b_ = Open();
  (void)Names(b_.Get());
  OutingListener& heardA = Listen(a_.Get());
  OutingListener& heardB = Listen(b_.Get());
  a_->calls.clear();
  b_->calls.clear();

  EXPECT_EQ(a_->CloseData(), S_OK);
  EXPECT_EQ(a_->CloseData(), S_OK) << "a second close does the work once";
  EXPECT_TRUE(a_->cache()->closed());
  EXPECT_THAT(a_->calls, ElementsAre("discarded"));
  EXPECT_THAT(b_->calls, ElementsAre("discarded"));
  EXPECT_THAT(heardA.log, ElementsAre("ItemsRemoved:Gear,Speed"));
  EXPECT_THAT(heardB.log, ElementsAre("ItemsRemoved:Gear,Speed"));
  EXPECT_THAT(a_->channels().dropped, ElementsAre(u"Gear", u"Speed"));
  ComPtr<IKivPropertySet> information;
  EXPECT_EQ(a_->GetOutingInformation(information.Put()), S_FALSE) << "closed";
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kRunning)
      << "the lap list was never taken, so the discard asked for it, which reloads";

  ASSERT_TRUE(Settle());
  EXPECT_FALSE(a_->cache()->closed()) << "closed is no terminal state";
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 2);
  EXPECT_THAT(b_->calls, ElementsAre("discarded", "information:1", "information-changed", "channels", "laps-reset"));
  EXPECT_EQ(a_->GetOutingInformation(information.Put()), S_OK);
}

TEST_F(FileOutingCacheTest, ADiscardWithAHeldLapListTellsInformationChangedAndLoadsLazily) {
  OpenLoaded();
  a_->cache()->ReadLapMarkers();
  ASSERT_TRUE(a_->cache()->holds_lap_list());
  OutingListener& heard = Listen(a_.Get());
  a_->calls.clear();
  EXPECT_EQ(a_->CloseData(), S_OK);
  EXPECT_THAT(a_->calls, ElementsAre("discarded", "information-changed"));
  EXPECT_THAT(heard.log, ElementsAre("ItemsRemoved:Gear,Speed", "InformationChanged"));
  EXPECT_TRUE(a_->cache()->caption_dirty());
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kIdle);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1) << "nothing read until a client asks";
  (void)Names(a_.Get());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 2);
  EXPECT_THAT(Names(a_.Get()), ElementsAre(u"Gear", u"Speed"));
}

TEST_F(FileOutingCacheTest, ANewLoadReplacesTheInformationObject) {
  OpenLoaded();
  CMemoryOutingCache* cache = a_->cache();
  ComPtr<IKivPropertySet> first(cache->information());
  ASSERT_TRUE(first);
  EXPECT_EQ(a_->CloseData(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_NE(cache->information(), first.Get());
  EXPECT_EQ(cache->informations_made, 2);
  EXPECT_EQ(cache->informations_released, 1);
  EXPECT_TRUE(static_cast<CMemoryInformation*>(first.Get())->released);
  EXPECT_EQ(cache->constants_merged, 2);
}

TEST_F(FileOutingCacheTest, StopWhileHeldWaitsForTheTransactionThenReadsAgain) {
  OpenLoaded();
  auto& machine = a_->cache()->load_machine();
  machine.SetHold();
  a_->calls.clear();
  EXPECT_EQ(a_->CloseData(), S_OK);
  EXPECT_EQ(machine.state(), State::kDone) << "held: the state is not touched";
  EXPECT_TRUE(machine.restart_wanted());
  EXPECT_TRUE(a_->cache()->EnsureLoaded()) << "the held data is still there to read";
  EXPECT_THAT(a_->calls, ElementsAre("discarded", "information-changed"))
      << "still loaded, so the lap list is there to take";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);

  machine.ReleaseHold();
  EXPECT_FALSE(machine.hold());
  EXPECT_FALSE(machine.restart_wanted());
  EXPECT_EQ(machine.state(), State::kRunning);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 2);
  EXPECT_FALSE(a_->cache()->closed());
  EXPECT_THAT(a_->calls, ElementsAre("discarded", "information-changed", "information:1", "information-changed",
                                     "channels", "laps-reset"));
}

TEST_F(FileOutingCacheTest, AFailedLoadIsSilentAndTheNextReadUsesTheSameJob) {
  PutData(STG_E_READFAULT);
  a_ = Open();
  OutingListener& heard = Listen(a_.Get());
  CMemoryLoadJob* job = a_->cache()->load_machine().load_job();
  EXPECT_THAT(Names(a_.Get()), IsEmpty());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kIdle);
  EXPECT_EQ(a_->cache()->load_machine().load_job(), job) << "the machine keeps its job item";
  EXPECT_THAT(a_->calls, IsEmpty());
  EXPECT_THAT(heard.log, IsEmpty());

  PutData(S_OK);
  EXPECT_THAT(Names(a_.Get()), IsEmpty());
  EXPECT_EQ(a_->cache()->load_machine().job(), job) << "the same job item, queued again";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 2);
  EXPECT_THAT(Names(a_.Get()), ElementsAre(u"Gear", u"Speed"));
}

TEST_F(FileOutingCacheTest, TheLastClientEndsTheCacheAndASecondOpenStartsAfresh) {
  OpenLoaded();
  a_ = nullptr;
  EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(path_), nullptr);
  EXPECT_EQ(CMemoryOutingCache::live(), cachesBefore_);
  a_ = Open();
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kIdle) << "a new cache has read nothing";
  EXPECT_EQ(CMemoryLoadJob::live(), jobsBefore_ + 1) << "the old job item went with the old cache";
  (void)Names(a_.Get());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 2);
}

TEST_F(FileOutingCacheTest, AClientDetachingInsideOnInformationLoadedDoesNotDisturbTheWalk) {
  PutData(S_OK);
  a_ = Open();
  b_ = Open();
  c_ = Open();
  std::vector<std::string> order;
  a_->onInformationLoaded = [&] {
    order.push_back("a");
    b_ = nullptr;  // the last reference but the walk's
  };
  b_->onInformationLoaded = [&] { order.push_back("b"); };
  c_->onInformationLoaded = [&] { order.push_back("c"); };
  CMemoryOutingCache* cache = a_->cache();
  (void)Names(a_.Get());
  ASSERT_TRUE(Settle());
  EXPECT_THAT(order, ElementsAre("a", "b", "c")) << "every client of the walk's start is called once";
  EXPECT_EQ(cache->client_count(), 2u);
  EXPECT_EQ(CMemoryOuting::live(), outingsBefore_ + 2);
  EXPECT_THAT(c_->calls, ElementsAre("information:1", "information-changed", "channels", "laps-reset"));
}

TEST_F(FileOutingCacheTest, NotificationsArriveOnTheClientThreadOnlyWhenItsLoopRuns) {
  PutData(S_OK);
  a_ = Open();
  OutingListener& heard = Listen(a_.Get());
  (void)Names(a_.Get());
  ASSERT_TRUE(Async_WaitIdle(MemorySource::Thread(), kLong));
  EXPECT_THAT(heard.log, IsEmpty()) << "the load finished, but the client has not run its loop";
  EXPECT_GT(d_.RunUntilIdle(), 0u);
  EXPECT_THAT(heard.log, ElementsAre("InformationChanged", "ItemsAdded:Speed,Gear", "LapMarkersReset"));
  EXPECT_THAT(heard.threads, Each(std::this_thread::get_id()));
}

TEST_F(FileOutingCacheTest, OnCreatedWithTwoClientsReachesOnlyTheLastAttached) {
  TempDir dir;
  const std::u16string path = Utf8ToWide((dir / "new.mem").string());
  ComPtr<CMemoryOuting> first, second;
  ASSERT_EQ(OpenMemoryOuting(path, &first), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path, &second), S_OK);
  OutingListener& heardFirst = Listen(first.Get());
  OutingListener& heardSecond = Listen(second.Get());
  ASSERT_TRUE(second->cache()->CreateDataSet());
  EXPECT_FALSE(second->cache()->CreateDataSet()) << "one creation at a time";
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(std::filesystem::exists(dir / "new.mem"));
  EXPECT_THAT(first->calls, IsEmpty());
  EXPECT_THAT(second->calls, ElementsAre("created:1"));
  EXPECT_THAT(heardFirst.log, IsEmpty());
  EXPECT_THAT(heardSecond.log, ElementsAre("Created:-1"));
  EXPECT_FALSE(second->cache()->CreateDataSet()) << "created already";
  listeners_.clear();
}

TEST_F(FileOutingCacheTest, AChangedFastLapSettingMakesTheCaptionStale) {
  a_ = Open();
  CMemoryOutingCache* cache = a_->cache();
  EXPECT_FALSE(cache->fast_lap_filter());
  EXPECT_EQ(cache->fast_lap_minimum_time(), 50'000'000);
  (void)cache->GetCaption();
  cache->SetFastLapMinimumTime(50'000'000);
  cache->SetFastLapFilter(false);
  EXPECT_FALSE(cache->caption_dirty()) << "the values held already change nothing";
  cache->SetFastLapFilter(true);
  EXPECT_TRUE(cache->fast_lap_filter());
  EXPECT_TRUE(cache->caption_dirty());
  (void)cache->GetCaption();
  cache->SetFastLapMinimumTime(95 * kTicksPerSecond);
  EXPECT_EQ(cache->fast_lap_minimum_time(), 95 * kTicksPerSecond);
  EXPECT_TRUE(cache->caption_dirty());
}

}  // namespace
}  // namespace velmar::testing
