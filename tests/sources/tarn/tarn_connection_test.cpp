#include "sources/tarn/tarn_connection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <span>
#include <thread>

#include "jobs/job_thread.h"
#include "platform/store/record_items.h"
#include "sources/tarn/tarn_convert.h"
#include "tarn_test_helper.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using State = CFileStateMachine::State;

// A main object that answers for nothing else, and notes where it ends.
class LoneMainObject final : public KivObject<IKivTarnStore> {
 public:
  explicit LoneMainObject(std::atomic<std::thread::id>* releasedOn) : releasedOn_(releasedOn) {}
  ~LoneMainObject() override { *releasedOn_ = std::this_thread::get_id(); }
  KivResult GetMovementRange(uint32_t, KivTime*, KivTime*) override { return E_NOTIMPL; }
  KivResult GetFileName(std::u16string*) override { return E_NOTIMPL; }
  KivResult GetOutingRange(uint32_t, KivTime*, KivTime*) override { return E_NOTIMPL; }

 private:
  std::atomic<std::thread::id>* releasedOn_;
};

class LoneMainFactory final : public KivObject<IKivTarnStoreFactory> {
 public:
  explicit LoneMainFactory(std::atomic<std::thread::id>* releasedOn) : releasedOn_(releasedOn) {}
  KivResult OpenFile(const std::u16string&, const Guid& iid, void** out) override {
    return MakeKiv<LoneMainObject>(releasedOn_)->QueryInterface(iid, out);
  }
  KivResult GetFileVersion(const std::u16string&, uint32_t*) override { return E_NOTIMPL; }
  KivResult CreateFile(const std::u16string&, const Guid&, void**) override { return E_NOTIMPL; }

 private:
  std::atomic<std::thread::id>* releasedOn_;
};

using FileStateMachineTest = TarnFileTest;

TEST_F(FileStateMachineTest, OpenThenCloseGoesThroughEveryState) {
  std::u16string path = Write(SampleDataSet());
  EXPECT_EQ(file_->state(), State::kClosed);
  EXPECT_FALSE(file_->Connection());
  ASSERT_EQ(file_->Open(path), S_OK);
  EXPECT_EQ(file_->state(), State::kOpening);
  EXPECT_TRUE(file_->Connection()) << "a job queued while opening runs after the open";
  EXPECT_EQ(file_->Open(path), E_UNEXPECTED);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen);
  EXPECT_EQ(file_->open_result(), S_OK);
  ComPtr<COpenFileJobItem> connection = file_->Connection();
  ASSERT_TRUE(connection);
  file_->Close();
  EXPECT_EQ(file_->state(), State::kClosing);
  EXPECT_FALSE(file_->Connection());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kClosed);
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_TRUE(connection->connection().empty()) << "the close job took every interface";
}

TEST_F(FileStateMachineTest, ReopeningWhileClosingOpensAfterTheClose) {
  std::u16string path = Write(SampleDataSet());
  ASSERT_EQ(file_->Open(path), S_OK);
  ASSERT_TRUE(Settle());
  ComPtr<COpenFileJobItem> first = file_->Connection();
  file_->Close();
  ASSERT_EQ(file_->Open(path), S_OK);
  EXPECT_EQ(file_->state(), State::kOpening);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen) << "the end of the old close leaves the new open alone";
  ComPtr<COpenFileJobItem> second = file_->Connection();
  EXPECT_NE(second.Get(), first.Get());
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_TRUE(first->connection().empty());
}

TEST_F(FileStateMachineTest, AFileThatWontOpenIsClosedStraightAway) {
  ASSERT_EQ(file_->Open(PathOf("missing.trn")), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->open_result(), STG_E_FILENOTFOUND);
  EXPECT_EQ(file_->state(), State::kClosed);
  EXPECT_FALSE(file_->Connection());
  // A later open may succeed.
  ASSERT_EQ(file_->Open(Write(SampleDataSet())), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen);
}

TEST_F(FileStateMachineTest, CloseWhileOpeningCancelsTheOpen) {
  std::u16string path = Write(SampleDataSet());
  {
    StoreThreadGate gate;
    ASSERT_EQ(file_->Open(path), S_OK);
    file_->Close();
    EXPECT_EQ(file_->state(), State::kClosed);
  }
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kClosed) << "the cancelled open must not come back";
}

TEST_F(FileStateMachineTest, ADroppedOpenIsQueuedAgain) {
  std::u16string path = Write(SampleDataSet());
  {
    StoreThreadGate gate;
    ASSERT_EQ(file_->Open(path), S_OK);
    ASSERT_EQ(Async_DropNextJobs(DaeThread(), 1), S_OK);
  }
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen);
  EXPECT_EQ(file_->open_result(), S_OK);
}

TEST_F(FileStateMachineTest, APartialOpenFailsWithTheFirstFailureAndReleasesOnTheStoreThread) {
  std::atomic<std::thread::id> releasedOn{};
  file_ = MakeClient<CFileStateMachine>([&](ComPtr<IKivTarnStoreFactory>* out) {
    *out = MakeKiv<LoneMainFactory>(&releasedOn);
    return S_OK;
  });
  ASSERT_EQ(file_->Open(u"any.trn"), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->open_result(), E_NOINTERFACE);
  EXPECT_EQ(file_->state(), State::kClosed);
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_NE(releasedOn.load(), std::thread::id{}) << "the main object was released";
  EXPECT_NE(releasedOn.load(), std::this_thread::get_id()) << "store objects go on the store thread";
}

TEST_F(FileStateMachineTest, AFactoryThatCantBeMadeIsTheOpenResult) {
  file_ = MakeClient<CFileStateMachine>([](ComPtr<IKivTarnStoreFactory>*) { return REGDB_E_CLASSNOTREG; });
  ASSERT_EQ(file_->Open(u"any.trn"), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->open_result(), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(file_->state(), State::kClosed);
}

TEST_F(FileStateMachineTest, TheLastClientClosesTheFile) {
  ASSERT_EQ(file_->Open(Write(SampleDataSet())), S_OK);
  ASSERT_TRUE(Settle());
  ComPtr<COpenFileJobItem> connection = file_->Connection();
  file_.Reset();
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_TRUE(connection->connection().empty());
}

TEST_F(FileStateMachineTest, AConnectionHoldsEveryInterfaceAndGivesThemUpInTheCloseOrder) {
  TarnConnection c;
  EXPECT_TRUE(c.empty());
  EXPECT_EQ(c.QueryAll(), E_FAIL) << "nothing to query without the main object";
  c.main = OpenStore(Write(SampleDataSet()));
  ASSERT_EQ(c.QueryAll(), S_OK);
  EXPECT_TRUE(c.media && c.constants && c.lapMarkers && c.events && c.channels && c.blobs && c.writeAccess &&
              c.details);
  IKivUnknown* main = c.main.Get();
  IKivUnknown* media = c.media.Get();
  std::vector<ComPtr<IKivUnknown>> all = c.TakeAll();
  ASSERT_EQ(all.size(), 9u);
  EXPECT_EQ(all.front().Get(), main);
  EXPECT_EQ(all.back().Get(), media);
  EXPECT_TRUE(c.empty());
}

namespace p = tarn_property;

class TarnConvertTest : public TarnTest {
 protected:
  ComPtr<IKivTarnConstantRecords> Constants(const std::u16string& path) {
    ComPtr<IKivTarnConstantRecords> constants;
    EXPECT_EQ(OpenStore(path).As<IKivTarnConstants>()->GetConstants(kDefaultWaitLimit, constants.Put()), S_OK);
    return constants;
  }
  size_t FilesInFolder() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir_.path()), {}));
  }
};

TEST_F(TarnConvertTest, EveryKindOfDataRoundTripsThroughTheStore) {
  std::u16string path = Write(SampleDataSet());
  EXPECT_EQ(FilesInFolder(), 1u) << "no temporary file is left";
  auto store = OpenStore(path);
  ASSERT_TRUE(store);

  ComPtr<IKivTarnOutingRecords> detailsObject;
  ASSERT_EQ(store.As<IKivTarnOutingDetails>()->GetDetails(kDefaultWaitLimit, detailsObject.Put()), S_OK);
  auto details = Items(detailsObject);
  ASSERT_EQ(details.size(), 1u);
  TarnPropertyMap read = OutingProperties(details[0], NowAsOleDate());
  EXPECT_EQ(*read.at(std::u16string(p::kTrackName)).AsText(), u"Lakeside");
  EXPECT_EQ(read.at(std::u16string(p::kSessionNumber)).AsU32(), 3u);
  EXPECT_EQ(read.at(std::u16string(p::kUtcDifference)).AsI32(), -120);
  EXPECT_EQ(read.at(std::u16string(p::kLastLapNumber)).AsU32(), 4u);
  EXPECT_FALSE(read.contains(std::u16string(p::kFastLapNumber))) << "none was given";
  KivTime a = 0, b = 0;
  EXPECT_EQ(store->GetOutingRange(kDefaultWaitLimit, &a, &b), S_OK);
  EXPECT_EQ(b, 100 * kS);
  EXPECT_EQ(store->GetMovementRange(kDefaultWaitLimit, &a, &b), S_OK);
  EXPECT_EQ(a, 5 * kS);

  auto channels = store.As<IKivTarnChannels>();
  ComPtr<IKivTarnChannelRecords> listObject;
  ASSERT_EQ(channels->GetChannelList(kDefaultWaitLimit, listObject.Put()), S_OK);
  auto list = Items(listObject);
  ASSERT_EQ(list.size(), 2u);
  const TarnChannelDescription& speed = list[0];
  EXPECT_EQ(std::u16string(speed.tagName), u"Speed");
  EXPECT_EQ(std::u16string(speed.displayName), u"[3]Speed");
  EXPECT_EQ(speed.quantityId, kQuantitySpeed);
  EXPECT_EQ(speed.unitId, 1u);
  EXPECT_EQ(speed.displayMaximum, 300.0);
  EXPECT_EQ(speed.sampleType, 7u);
  ComPtr<IKivTarnChannelDataRecords> dataObject;
  ASSERT_EQ(channels->GetChannelData(kDefaultWaitLimit, speed.id, kTimeMin, kTimeMax, dataObject.Put()), S_OK);
  auto data = Items(dataObject);
  ASSERT_EQ(data.size(), 2u);
  EXPECT_EQ(data[1].firstTime, 50 * kS);
  EXPECT_EQ(data[1].continuous, 1);
  EXPECT_EQ(static_cast<const double*>(data[1].samples)[1], 50.0);

  auto events = store.As<IKivTarnEvents>();
  ComPtr<IKivTarnEventNameRecords> namesObject;
  ASSERT_EQ(events->GetEventNames(kDefaultWaitLimit, namesObject.Put()), S_OK);
  EXPECT_EQ(Items(namesObject).size(), 2u);

  auto constantsObject = Constants(path);
  auto constants = Items(constantsObject);
  ASSERT_EQ(constants.size(), 2u);
  EXPECT_EQ(constants[0].value, 2.75);
  EXPECT_EQ(constants[0].text, nullptr);
  EXPECT_EQ(std::u16string(constants[1].text), u"wet");

  ComPtr<IKivTarnLapMarkerRecords> markersObject;
  ASSERT_EQ(store.As<IKivTarnLapMarkers>()->GetLapMarkers(kDefaultWaitLimit, markersObject.Put()), S_OK);
  auto markers = Items(markersObject);
  ASSERT_EQ(markers.size(), 3u);
  EXPECT_EQ(markers[0].distanceOrigin, 12.5);
  EXPECT_EQ(markers[2].crossing, 0);
}

TEST_F(TarnConvertTest, AnEmptyOutingMakesAFileWithNothingButDetails) {
  auto store = OpenStore(Write(TarnDataSet{}));
  ASSERT_TRUE(store);
  ComPtr<IKivTarnChannelRecords> listObject;
  ASSERT_EQ(store.As<IKivTarnChannels>()->GetChannelList(kDefaultWaitLimit, listObject.Put()), S_OK);
  EXPECT_TRUE(Items(listObject).empty());
  ComPtr<IKivTarnOutingRecords> detailsObject;
  ASSERT_EQ(store.As<IKivTarnOutingDetails>()->GetDetails(kDefaultWaitLimit, detailsObject.Put()), S_OK);
  auto details = Items(detailsObject);
  ASSERT_EQ(details.size(), 1u);
  TarnPropertyMap read = OutingProperties(details[0], NowAsOleDate());
  EXPECT_FALSE(read.contains(std::u16string(p::kLastLapNumber)));
  EXPECT_FALSE(read.contains(std::u16string(p::kFastLapTime)));
  EXPECT_FALSE(read.contains(std::u16string(p::kTrackName)));
}

TEST_F(TarnConvertTest, AnExistingFileIsReplacedWhole) {
  std::u16string path = Write(SampleDataSet());
  ASSERT_EQ(WriteTarnDataSet(path, TarnDataSet{}), S_OK);
  EXPECT_TRUE(Items(Constants(path)).empty());
}

TEST_F(TarnConvertTest, AFailedWriteLeavesTheOldFileAndNoTemporary) {
  std::u16string path = Write(SampleDataSet());
  TarnDataSet bad = SampleDataSet();
  bad.channels[1].blocks[0].times.pop_back();  // times no longer match the values
  EXPECT_EQ(WriteTarnDataSet(path, bad), E_INVALIDARG);
  EXPECT_EQ(FilesInFolder(), 1u);
  EXPECT_EQ(Items(Constants(path)).size(), 2u);
}

TEST_F(TarnConvertTest, BadPathsAndBlocksGiveCodes) {
  EXPECT_EQ(WriteTarnDataSet(u"", TarnDataSet{}), STG_E_INVALIDNAME);
  EXPECT_TRUE(Failed(WriteTarnDataSet(PathOf("missing/outing.trn"), TarnDataSet{})));
  TarnDataSet empty = SampleDataSet();
  empty.channels[0].blocks[0].values.clear();
  EXPECT_EQ(WriteTarnDataSet(PathOf("a.trn"), empty), E_INVALIDARG);
  EXPECT_EQ(FilesInFolder(), 0u);
  auto noFactory = [](ComPtr<IKivTarnStoreFactory>*) { return REGDB_E_CLASSNOTREG; };
  EXPECT_EQ(WriteTarnDataSet(PathOf("b.trn"), TarnDataSet{}, noFactory), REGDB_E_CLASSNOTREG);
}

}  // namespace
}  // namespace velmar::testing
