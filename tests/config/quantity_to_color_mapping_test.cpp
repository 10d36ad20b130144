#include "config/quantity_to_color_mapping.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(QuantityToColorMapping, EveryKnownQuantityStartsAtTheChannelColour) {
  auto mapping = MakeKiv<CQuantityToColorMapping>();
  EXPECT_GE(mapping->QuantityCount(), 22u) << "the quantities of the units component";
  uint32_t colour = 0;
  ASSERT_EQ(mapping->GetColour(3, &colour), S_OK);
  EXPECT_EQ(colour, 0xFF0000u);
  EXPECT_EQ(mapping->GetColour(100000, &colour), E_INVALIDARG);
  EXPECT_EQ(mapping->GetColour(3, nullptr), E_POINTER);
}

TEST(QuantityToColorMapping, AChangeNeedsTheSettingsFile) {
  auto mapping = MakeKiv<CQuantityToColorMapping>();
  EXPECT_EQ(mapping->SetColour(100000, 1), E_INVALIDARG);
  EXPECT_EQ(mapping->SetColour(3, 0xFF0000), S_FALSE);
  EXPECT_EQ(mapping->SetColour(3, 0x00FF00), E_FAIL);
  uint32_t colour = 0;
  ASSERT_EQ(mapping->GetColour(3, &colour), S_OK);
  EXPECT_EQ(colour, 0xFF0000u) << "nothing changed";
  EXPECT_EQ(mapping->Import(nullptr), E_POINTER);
}

TEST(QuantityToColorMapping, ClosingReachesEveryListener) {
  auto mapping = MakeKiv<CQuantityToColorMapping>();
  struct Log : CQuantityToColorMappingNotificationsReceiver {
    std::vector<IKivQuantityToColorMapping*> closing;
    void Closing(IKivQuantityToColorMapping* m) override { closing.push_back(m); }
  } log;
  auto a = MakeKiv<CQuantityToColorMappingNotificationsSink<>>();
  auto b = MakeKiv<CQuantityToColorMappingNotificationsSink<>>();
  a->SetReceiver(&log);
  b->SetReceiver(&log);
  IKivQuantityToColorMapping* face = mapping.Get();
  ASSERT_TRUE(a->Connect(face));
  ASSERT_TRUE(b->Connect(face));
  EXPECT_EQ(mapping->NotifyClosing(), S_OK);
  EXPECT_EQ(log.closing, (std::vector<IKivQuantityToColorMapping*>{face, face}));
  a->Disconnect(face);
  b->Disconnect(face);
}

}  // namespace
}  // namespace velmar
