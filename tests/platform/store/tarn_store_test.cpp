// The public contract: record layouts as byte offsets, and the interfaces
// the main object answers for.
#include "velmar/tarn_store.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>

#include "platform/store/store_test_helper.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

// Each record's size and its fields' offsets, as the fixture gives them.
#define VELMAR_RECORD(R) {#R, sizeof(R)}
#define VELMAR_FIELD(R, f) {#R "." #f, offsetof(R, f)}
TEST(TarnRecordLayout, SizesAndOffsetsAreTheContract) {
  const std::map<std::string, size_t> made{
      VELMAR_RECORD(TarnOutingRecord), VELMAR_RECORD(TarnChannelDescription), VELMAR_RECORD(TarnChannelData),
      VELMAR_RECORD(TarnEventName), VELMAR_RECORD(TarnEventRecord), VELMAR_RECORD(TarnLapMarker),
      VELMAR_RECORD(TarnBlobDescription), VELMAR_RECORD(TarnBlobRecord), VELMAR_RECORD(TarnConstantRecord),
      VELMAR_RECORD(TarnMediaChannelRecord), VELMAR_RECORD(TarnMediaClipRecord), VELMAR_RECORD(TarnMediaFrame),
      VELMAR_FIELD(TarnOutingRecord, fastLapTime), VELMAR_FIELD(TarnOutingRecord, createDate),
      VELMAR_FIELD(TarnOutingRecord, carName), VELMAR_FIELD(TarnOutingRecord, sessionNumber),
      VELMAR_FIELD(TarnOutingRecord, outingNumber), VELMAR_FIELD(TarnOutingRecord, firstLapNumber),
      VELMAR_FIELD(TarnOutingRecord, fastLapNumber), VELMAR_FIELD(TarnOutingRecord, lastLapNumber),
      VELMAR_FIELD(TarnOutingRecord, datasetType), VELMAR_FIELD(TarnOutingRecord, utcDifference),
      VELMAR_FIELD(TarnOutingRecord, engineTest), VELMAR_FIELD(TarnChannelDescription, displayMaximum),
      VELMAR_FIELD(TarnChannelDescription, displayMinimum), VELMAR_FIELD(TarnChannelDescription, rangeHigh),
      VELMAR_FIELD(TarnChannelDescription, tagName), VELMAR_FIELD(TarnChannelDescription, quantityId),
      VELMAR_FIELD(TarnChannelDescription, unitId), VELMAR_FIELD(TarnChannelDescription, revision),
      VELMAR_FIELD(TarnChannelDescription, flags), VELMAR_FIELD(TarnChannelDescription, sampleType),
      VELMAR_FIELD(TarnChannelDescription, autoscale), VELMAR_FIELD(TarnChannelData, times),
      VELMAR_FIELD(TarnChannelData, firstTime), VELMAR_FIELD(TarnChannelData, samples),
      VELMAR_FIELD(TarnChannelData, count), VELMAR_FIELD(TarnChannelData, periodic),
      VELMAR_FIELD(TarnChannelData, continuous), VELMAR_FIELD(TarnEventRecord, time),
      VELMAR_FIELD(TarnEventRecord, fixedData), VELMAR_FIELD(TarnEventRecord, payloadSize),
      VELMAR_FIELD(TarnEventRecord, kind), VELMAR_FIELD(TarnLapMarker, id), VELMAR_FIELD(TarnLapMarker, baseTime),
      VELMAR_FIELD(TarnLapMarker, timeOffset), VELMAR_FIELD(TarnLapMarker, distanceOrigin),
      VELMAR_FIELD(TarnLapMarker, lapNumber), VELMAR_FIELD(TarnLapMarker, crossing),
      VELMAR_FIELD(TarnBlobRecord, type), VELMAR_FIELD(TarnBlobRecord, size), VELMAR_FIELD(TarnConstantRecord, value),
      VELMAR_FIELD(TarnConstantRecord, unit)};
  const auto table = Fixture("platform/store/record_layout.json");
  size_t checked = 0;
  for (const auto& [record, layout] : table["records"].items()) {
    EXPECT_EQ(made.at(record), layout[0].get<size_t>()) << record;
    for (const auto& [field, offset] : layout[1].items()) {
      EXPECT_EQ(made.at(record + "." + field), offset.get<size_t>()) << record << "." << field;
      ++checked;
    }
  }
  EXPECT_EQ(checked + table["records"].size(), made.size()) << "every field named here is in the fixture";
  for (uint32_t t = 0; t < kTarnSampleTypeCount; ++t) {
    EXPECT_EQ(TarnSampleSize(t), table["sample_sizes"][t].get<size_t>()) << t;
  }
  EXPECT_EQ(TarnSampleSize(8), 0u);
}
#undef VELMAR_FIELD
#undef VELMAR_RECORD

class TarnStoreInterfaces : public StoreTest {};

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
