#include "sources/tarn/tarn_outing_reader.h"

#include <gtest/gtest.h>

#include "outing/cache/empty_outing.h"
#include "sources/tarn/tarn_convert.h"
#include "support/selection_binding.h"
#include "tarn_outing_helper.h"

namespace velmar::testing {
namespace {

namespace p = tarn_property;

class TarnOutingReaderTest : public TarnTest {
 protected:
  ComPtr<IKivOuting> OpenTarn(const std::u16string& path) {
    return ComPtr<IKivOuting>(static_cast<IKivOuting*>(OpenTarnOuting(path).Get()));
  }
  TarnWaitForData Wait() {
    return [this] { return Settle(); };
  }
};

TEST_F(TarnOutingReaderTest, AnEmptyOutingGivesAnEmptyDataSetThatWritesAFile) {
  ComPtr<IKivOuting> empty;
  ASSERT_EQ(OpenEmptyOuting(PathOf("none.trn"), kTarnType, false, empty.Put()), S_OK);
  TarnDataSet data = SampleDataSet();
  ASSERT_EQ(TarnDataSetFromOuting(empty.Get(), Wait(), &data), S_OK);
  EXPECT_TRUE(data.channels.empty());
  EXPECT_TRUE(data.lapMarkers.empty());
  EXPECT_TRUE(data.details.empty());
  EXPECT_FALSE(data.outingRange);
  ASSERT_EQ(WriteTarnDataSet(PathOf("copy.trn"), data), S_OK);
  ComPtr<IKivOuting> copy = OpenTarn(PathOf("copy.trn"));
  ASSERT_TRUE(Settle());
  uint32_t markers = 9;
  ASSERT_EQ(copy.As<IKivLapMarkers>()->GetLapMarkerCount(&markers), S_OK);
  EXPECT_EQ(markers, 0u);
}

TEST_F(TarnOutingReaderTest, AStoreOutingConvertsIntoAnEqualFile) {
  ComPtr<IKivOuting> source = OpenTarn(Write(SampleDataSet()));
  TarnDataSet data;
  EXPECT_EQ(TarnDataSetFromOuting(source.Get(), Wait(), &data), E_FAIL) << "no selection holds the outing";
  BoundSelection bound(source.Get());
  ASSERT_EQ(TarnDataSetFromOuting(source.Get(), Wait(), &data), S_OK);
  ASSERT_EQ(data.channels.size(), 2u);
  EXPECT_EQ(*data.details.at(std::u16string(p::kTrackName)).AsText(), u"Lakeside");
  ASSERT_TRUE(data.movementRange);
  EXPECT_EQ(data.movementRange->first, 5 * kS);
  ASSERT_EQ(data.lapMarkers.size(), 3u);
  EXPECT_EQ(data.lapMarkers[0].distanceOrigin, 12.5);
  EXPECT_FALSE(data.lapMarkers[2].crossing);
  ASSERT_EQ(data.blobs.size(), 1u) << "blobs travel, a status definitions blob among them";
  EXPECT_EQ(data.blobs[0].bytes, (std::vector<uint8_t>{4, 5, 6, 7}));

  ASSERT_EQ(WriteTarnDataSet(PathOf("copy.trn"), data), S_OK);
  TarnDataSet again;
  ComPtr<IKivOuting> copy = OpenTarn(PathOf("copy.trn"));
  BoundSelection boundCopy(copy.Get());
  ASSERT_EQ(TarnDataSetFromOuting(copy.Get(), Wait(), &again), S_OK);
  ASSERT_EQ(again.channels.size(), 2u);
  const TarnDataSetChannel& gear = again.channels[0];
  EXPECT_EQ(gear.name, u"Gear");
  ASSERT_EQ(gear.blocks.size(), 1u);
  EXPECT_EQ(gear.blocks[0].times, (std::vector<KivTime>{kS / 2, 7 * kS, 60 * kS}));
  EXPECT_EQ(gear.blocks[0].values, (std::vector<double>{1, 2, 3}));
  const TarnDataSetChannel& speed = again.channels[1];
  EXPECT_EQ(speed.name, u"Speed");
  EXPECT_EQ(speed.quantity, kQuantitySpeed);
  ASSERT_EQ(speed.blocks.size(), 2u);
  EXPECT_EQ(speed.blocks[1].period, kS);
  EXPECT_EQ(speed.blocks[1].firstTime, 50 * kS);
  EXPECT_TRUE(speed.blocks[1].continuous);
  EXPECT_EQ(speed.blocks[1].values, (std::vector<double>{40, 50}));
  EXPECT_EQ(again.lapMarkers.size(), 3u);
  EXPECT_EQ(again.outingRange, data.outingRange);
  EXPECT_EQ(again.details, data.details);
  ASSERT_EQ(again.blobs.size(), 1u);
  EXPECT_EQ(again.blobs[0].type, data.blobs[0].type);
}

TEST_F(TarnOutingReaderTest, NullArgumentsArePointerErrors) {
  TarnDataSet data;
  EXPECT_EQ(TarnDataSetFromOuting(nullptr, Wait(), &data), E_POINTER);
  ComPtr<IKivOuting> empty;
  ASSERT_EQ(OpenEmptyOuting(PathOf("none.trn"), kTarnType, false, empty.Put()), S_OK);
  EXPECT_EQ(TarnDataSetFromOuting(empty.Get(), Wait(), nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
