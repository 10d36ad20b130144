// The public contract: record layouts as byte offsets, and the interfaces
// the main object answers for.
#include "velmar/tarn_store.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

// Reads a value of type T at a byte offset of a record, as a reader that
// only knows the documented layout would.
template <class T, class Record>
T At(const Record& r, size_t offset) {
  T v;
  std::memcpy(&v, reinterpret_cast<const std::byte*>(&r) + offset, sizeof v);
  return v;
}

TEST(TarnRecordLayout, SizesAreTheContracts) {
  EXPECT_EQ(sizeof(TarnOutingRecord), 112u);
  EXPECT_EQ(sizeof(TarnChannelDescription), 104u);
  EXPECT_EQ(sizeof(TarnChannelData), 40u);
  EXPECT_EQ(sizeof(TarnEventName), 16u);
  EXPECT_EQ(sizeof(TarnEventRecord), 72u);
  EXPECT_EQ(sizeof(TarnLapMarker), 40u);
  EXPECT_EQ(sizeof(TarnBlobDescription), 24u);
  EXPECT_EQ(sizeof(TarnBlobRecord), 40u);
  EXPECT_EQ(sizeof(TarnConstantRecord), 40u);
  EXPECT_EQ(sizeof(TarnMediaChannelRecord), 48u);
  EXPECT_EQ(sizeof(TarnMediaClipRecord), 64u);
  EXPECT_EQ(sizeof(TarnMediaFrame), 16u);
}

TEST(TarnRecordLayout, OutingRecordFieldsSitAtTheirOffsets) {
  TarnOutingRecord r{};
  r.fastLapTime = 901234567;
  r.createDate = 45000.25;
  r.carName = u"car";
  r.sessionNumber = 3;
  r.outingNumber = 4;
  r.firstLapNumber = 5;
  r.fastLapNumber = 6;
  r.lastLapNumber = 7;
  r.datasetType = 2;
  r.utcDifference = -120;
  r.engineTest = 1;
  EXPECT_EQ(At<int64_t>(r, 0), 901234567);
  EXPECT_EQ(At<double>(r, 8), 45000.25);
  EXPECT_EQ(At<const char16_t*>(r, 72), r.carName);
  EXPECT_EQ(At<uint32_t>(r, 80), 3u);
  EXPECT_EQ(At<uint32_t>(r, 84), 4u);
  EXPECT_EQ(At<uint32_t>(r, 88), 5u);
  EXPECT_EQ(At<uint32_t>(r, 92), 6u);
  EXPECT_EQ(At<uint32_t>(r, 96), 7u);
  EXPECT_EQ(At<uint32_t>(r, 100), 2u);
  EXPECT_EQ(At<int32_t>(r, 104), -120);
  EXPECT_EQ(At<uint8_t>(r, 108), 1);
}

TEST(TarnRecordLayout, ChannelRecordsSitAtTheirOffsets) {
  TarnChannelDescription d = Description(u"Speed", 6);
  EXPECT_EQ(At<double>(d, 8), 300.0);
  EXPECT_EQ(At<double>(d, 16), -5.5);
  EXPECT_EQ(At<double>(d, 24), 1000.0);
  EXPECT_EQ(At<const char16_t*>(d, 48), d.tagName);
  EXPECT_EQ(At<int32_t>(d, 68), 3);
  EXPECT_EQ(At<uint32_t>(d, 72), 1u);
  EXPECT_EQ(At<uint64_t>(d, 80), 1u);
  EXPECT_EQ(At<uint32_t>(d, 88), 7u);
  EXPECT_EQ(At<uint32_t>(d, 92), 6u);
  EXPECT_EQ(At<uint8_t>(d, 96), 1);

  int64_t period = 100;
  double samples[3] = {};
  TarnChannelData block = Periodic(-50, &period, samples, 3);
  block.continuous = 1;
  EXPECT_EQ(At<const int64_t*>(block, 8), &period);
  EXPECT_EQ(At<int64_t>(block, 16), -50);
  EXPECT_EQ(At<const void*>(block, 24), samples);
  EXPECT_EQ(At<int32_t>(block, 32), 3);
  EXPECT_EQ(At<uint8_t>(block, 36), 1);
  EXPECT_EQ(At<uint8_t>(block, 37), 1);
}

TEST(TarnRecordLayout, EventMarkerBlobAndConstantRecordsSitAtTheirOffsets) {
  uint8_t fixed[32] = {};
  TarnEventRecord e{};
  e.time = 77;
  e.fixedData = fixed;
  e.payloadSize = 9;
  e.kind = 1;
  EXPECT_EQ(At<int64_t>(e, 8), 77);
  EXPECT_EQ(At<const uint8_t*>(e, 48), fixed);
  EXPECT_EQ(At<uint32_t>(e, 64), 9u);
  EXPECT_EQ(At<uint32_t>(e, 68), 1u);

  TarnLapMarker m{};
  m.id = 11;
  m.baseTime = 22;
  m.timeOffset = 33;
  m.distanceOrigin = 4.5;
  m.lapNumber = 6;
  m.crossing = 1;
  EXPECT_EQ(At<uint64_t>(m, 0), 11u);
  EXPECT_EQ(At<int64_t>(m, 8), 22);
  EXPECT_EQ(At<int64_t>(m, 16), 33);
  EXPECT_EQ(At<double>(m, 24), 4.5);
  EXPECT_EQ(At<uint32_t>(m, 32), 6u);
  EXPECT_EQ(At<uint8_t>(m, 36), 1);

  Guid type = Guid::New();
  TarnBlobRecord b{};
  b.type = &type;
  b.size = 12;
  EXPECT_EQ(At<const Guid*>(b, 8), &type);
  EXPECT_EQ(At<uint32_t>(b, 32), 12u);

  TarnConstantRecord c{};
  c.value = 2.5;
  c.unit = u"kg";
  EXPECT_EQ(At<double>(c, 8), 2.5);
  EXPECT_EQ(At<const char16_t*>(c, 32), c.unit);
}

TEST(TarnRecordLayout, SampleSizesFollowTheTypes) {
  const size_t expected[] = {1, 2, 4, 1, 2, 4, 4, 8};
  for (uint32_t t = 0; t < kTarnSampleTypeCount; ++t) EXPECT_EQ(TarnSampleSize(t), expected[t]) << t;
  EXPECT_EQ(TarnSampleSize(8), 0u);
}

class TarnStoreInterfaces : public StoreTest {};

TEST_F(TarnStoreInterfaces, MainObjectAnswersForEveryListInTheQueryOrder) {
  Create();
  ComPtr<IKivUnknown> identity = store_.As<IKivUnknown>();
  const Guid order[] = {IKivTarnOutingDetails::iid, IKivTarnWriteAccess::iid, IKivTarnBlobs::iid,
                        IKivTarnChannels::iid,      IKivTarnEvents::iid,      IKivTarnLapMarkers::iid,
                        IKivTarnConstants::iid,     IKivTarnMedia::iid};
  for (const Guid& iid : order) {
    ComPtr<IKivUnknown> list;
    ASSERT_EQ(store_->QueryInterface(iid, list.PutVoid()), S_OK) << iid.ToString();
    // Every list is the same object.
    EXPECT_EQ(list.As<IKivUnknown>(), identity) << iid.ToString();
  }
  ComPtr<IKivUnknown> none;
  EXPECT_EQ(store_->QueryInterface(IKivTarnWriteHandle::iid, none.PutVoid()), E_NOINTERFACE);
}

TEST_F(TarnStoreInterfaces, NullOutArgumentsGivePointerErrors) {
  Create();
  KivTime t = 0;
  EXPECT_EQ(store_->GetOutingRange(kDefaultWaitLimit, nullptr, &t), E_POINTER);
  EXPECT_EQ(List<IKivTarnChannels>()->GetChannelList(kDefaultWaitLimit, nullptr), E_POINTER);
  EXPECT_EQ(List<IKivTarnWriteAccess>()->GetWriteHandle(kDefaultWaitLimit, IKivTarnWriteHandle::iid, nullptr),
            E_POINTER);
  auto details = Details();
  uint32_t count = 0;
  EXPECT_EQ(details.object->GetRecords(&count, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
