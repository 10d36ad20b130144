#include "platform/store/store_test_helper.h"

#include <cstring>

namespace velmar::testing {

std::u16string Str(const char16_t* text) { return text ? std::u16string(text) : u"(null)"; }

void StoreTest::SetUp() { ASSERT_EQ(CreateTarnStoreFactory(&factory_), S_OK); }

std::u16string StoreTest::PathOf(const std::string& name) const { return W((dir_.path() / name).string()); }

void StoreTest::Create(const std::string& name) {
  path_ = PathOf(name);
  store_ = nullptr;
  ASSERT_EQ(factory_->CreateFile(path_, IKivTarnStore::iid, store_.PutVoid()), S_OK);
  ASSERT_TRUE(store_);
}

void StoreTest::Reopen() {
  store_ = nullptr;
  store_ = Open(path_);
  ASSERT_TRUE(store_);
}

ComPtr<IKivTarnStore> StoreTest::Open(const std::u16string& path, KivResult expected) {
  ComPtr<IKivTarnStore> s;
  EXPECT_EQ(factory_->OpenFile(path, IKivTarnStore::iid, s.PutVoid()), expected);
  return s;
}

ComPtr<IKivTarnWriteHandle> StoreTest::Handle(uint32_t waitLimit) {
  ComPtr<IKivTarnWriteHandle> h;
  auto access = List<IKivTarnWriteAccess>();
  EXPECT_EQ(access->GetWriteHandle(waitLimit, IKivTarnWriteHandle::iid, h.PutVoid()), S_OK);
  return h;
}

namespace {
// Reads a list through `read`, which takes the wait limit first and the
// records last.
template <class Record, class I, class L, class... Params, class... Args>
RecordList<Record> Fetch(const ComPtr<L>& list, KivResult (I::*read)(uint32_t, Params...), Args&&... args) {
  ComPtr<IKivTarnRecords<Record>> object;
  EXPECT_EQ((list.Get()->*read)(kDefaultWaitLimit, std::forward<Args>(args)..., object.Put()), S_OK);
  return Hold(std::move(object));
}
}  // namespace

RecordList<TarnOutingRecord> StoreTest::Details() {
  return Fetch<TarnOutingRecord>(List<IKivTarnOutingDetails>(), &IKivTarnOutingDetails::GetDetails);
}
RecordList<TarnChannelDescription> StoreTest::Channels() {
  return Fetch<TarnChannelDescription>(List<IKivTarnChannels>(), &IKivTarnChannels::GetChannelList);
}
RecordList<TarnChannelData> StoreTest::Data(uint64_t channel, KivTime from, KivTime to) {
  return Fetch<TarnChannelData>(List<IKivTarnChannels>(), &IKivTarnChannels::GetChannelData, channel, from, to);
}
RecordList<TarnEventName> StoreTest::EventNames() {
  return Fetch<TarnEventName>(List<IKivTarnEvents>(), &IKivTarnEvents::GetEventNames);
}
RecordList<TarnEventRecord> StoreTest::Events(std::vector<uint64_t> ids, KivTime from, KivTime to) {
  return Fetch<TarnEventRecord>(List<IKivTarnEvents>(), &IKivTarnEvents::GetEventData,
                                static_cast<uint32_t>(ids.size()), ids.data(), from, to);
}
RecordList<TarnLapMarker> StoreTest::LapMarkers() {
  return Fetch<TarnLapMarker>(List<IKivTarnLapMarkers>(), &IKivTarnLapMarkers::GetLapMarkers);
}
RecordList<TarnBlobDescription> StoreTest::Blobs() {
  return Fetch<TarnBlobDescription>(List<IKivTarnBlobs>(), &IKivTarnBlobs::GetBlobList);
}
RecordList<TarnConstantRecord> StoreTest::Constants() {
  return Fetch<TarnConstantRecord>(List<IKivTarnConstants>(), &IKivTarnConstants::GetConstants);
}
RecordList<TarnMediaChannelRecord> StoreTest::MediaChannels() {
  return Fetch<TarnMediaChannelRecord>(List<IKivTarnMedia>(), &IKivTarnMedia::GetMediaChannels);
}

uint64_t StoreTest::AddChannel(const char16_t* tag, uint32_t sampleType) {
  auto handle = Handle();
  auto writer = Writer<IKivTarnChannelWriter>(handle);
  TarnChannelDescription d = Description(tag, sampleType);
  std::vector<uint64_t> ids;
  EXPECT_EQ(writer->AddChannels(1, &d, &ids), S_OK);
  EXPECT_EQ(handle->Commit(), S_OK);
  return ids.empty() ? 0 : ids[0];
}

TarnChannelDescription Description(const char16_t* tag, uint32_t sampleType) {
  TarnChannelDescription d;
  std::memset(&d, 0, sizeof d);
  d.displayMaximum = 300.0;
  d.displayMinimum = -5.5;
  d.rangeHigh = 1000.0;
  d.rangeLow = 0.0;
  d.displayName = tag;
  d.tagName = tag;
  d.userType = u"Engine";
  d.decimalPlaces = 2;
  d.quantityId = 3;
  d.unitId = 1;
  d.colour = 0x00FF8040;
  d.revision = 1;
  d.flags = 7;
  d.sampleType = sampleType;
  d.autoscale = 1;
  return d;
}

TarnChannelData Periodic(KivTime first, const int64_t* period, const void* samples, int32_t count) {
  TarnChannelData d;
  std::memset(&d, 0, sizeof d);
  d.times = period;
  d.firstTime = first;
  d.samples = samples;
  d.count = count;
  d.periodic = 1;
  return d;
}

TarnChannelData Aperiodic(const int64_t* times, const void* samples, int32_t count) {
  TarnChannelData d;
  std::memset(&d, 0, sizeof d);
  d.times = times;
  d.firstTime = times[0];
  d.samples = samples;
  d.count = count;
  return d;
}

}  // namespace velmar::testing
