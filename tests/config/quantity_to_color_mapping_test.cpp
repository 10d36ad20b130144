#include "config/quantity_to_color_mapping.h"

#include <gtest/gtest.h>
#include "support/scoped_sink.h"

namespace velmar {
namespace {

uint32_t Colour(IKivQuantityToColorMapping* mapping, int32_t quantity) {
  uint32_t colour = 0;
  EXPECT_EQ(mapping->GetColour(quantity, &colour), S_OK);
  return colour;
}

TEST(QuantityToColorMapping, EveryKnownQuantityStartsAtTheChannelColourAndAChangeNeedsTheSettingsFile) {
  auto mapping = MakeKiv<CQuantityToColorMapping>();
  EXPECT_GE(mapping->QuantityCount(), 22u) << "the quantities of the units component";
  EXPECT_EQ(Colour(mapping.Get(), 3), 0xFF0000u);
  uint32_t colour = 0;
  EXPECT_EQ(mapping->GetColour(100000, &colour), E_INVALIDARG);
  EXPECT_EQ(mapping->GetColour(3, nullptr), E_POINTER);
  EXPECT_EQ(mapping->SetColour(100000, 1), E_INVALIDARG);
  EXPECT_EQ(mapping->SetColour(3, 0xFF0000), S_FALSE);
  EXPECT_EQ(mapping->SetColour(3, 0x00FF00), E_FAIL);
  EXPECT_EQ(Colour(mapping.Get(), 3), 0xFF0000u) << "nothing changed";
  EXPECT_EQ(mapping->Import(nullptr), E_POINTER);
}

TEST(QuantityToColorMapping, AChangeIsWrittenAndAnImportTellsEachChangedQuantity) {
  ComPtr<IKivStorage> file, other;
  ASSERT_EQ(StgCreateMemoryStorage(file.Put()), S_OK);
  ASSERT_EQ(StgCreateMemoryStorage(other.Put()), S_OK);
  auto source = MakeKiv<CQuantityToColorMapping>();
  ASSERT_EQ(source->InitNew(other.Get()), S_OK);
  ASSERT_EQ(source->SetColour(7, 0x00FF00), S_OK);
  ASSERT_EQ(source->SetColour(3, 0x0000FF), S_OK);
  ASSERT_EQ(source->HandsOffStorage(), S_OK);

  auto mapping = MakeKiv<CQuantityToColorMapping>();
  ASSERT_EQ(mapping->InitNew(file.Get()), S_OK);
  struct Log : CQuantityToColorMappingNotificationsReceiver {
    std::vector<int32_t> changed;
    void ColourChanged(int32_t quantity, uint32_t) override { changed.push_back(quantity); }
  } log;
  testing::ScopedSink<CQuantityToColorMappingNotificationsSink<>, IKivQuantityToColorMapping> sink(&log, mapping.Get());
  EXPECT_EQ(mapping->SetColour(3, 0xFF0000), S_FALSE) << "the colour held: nothing told";
  ASSERT_EQ(mapping->Import(other.Get()), S_OK);
  EXPECT_EQ(log.changed, (std::vector<int32_t>{3, 7})) << "in ascending order";
  EXPECT_EQ(Colour(mapping.Get(), 7), 0x00FF00u);
}

TEST(QuantityToColorMapping, ClosingReachesEveryListener) {
  auto mapping = MakeKiv<CQuantityToColorMapping>();
  struct Log : CQuantityToColorMappingNotificationsReceiver {
    std::vector<IKivQuantityToColorMapping*> closing;
    void Closing(IKivQuantityToColorMapping* m) override { closing.push_back(m); }
  } log;
  IKivQuantityToColorMapping* face = mapping.Get();
  using Sink = testing::ScopedSink<CQuantityToColorMappingNotificationsSink<>, IKivQuantityToColorMapping>;
  Sink a(&log, face), b(&log, face);
  EXPECT_EQ(mapping->NotifyClosing(), S_OK);
  EXPECT_EQ(log.closing, (std::vector<IKivQuantityToColorMapping*>{face, face}));
}

}  // namespace
}  // namespace velmar
