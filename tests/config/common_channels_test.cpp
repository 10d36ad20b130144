#include "config/common_channels.h"

#include <gtest/gtest.h>

#include "support/got.h"
#include "support/vtable_slot.h"

namespace velmar {
namespace {

using testing::Got;

struct Parent : CCommonChannelsStore::Parent {
  int told = 0;
  void CommonChannelsChanged() override { ++told; }
};

TEST(CommonChannels, AFaceWithoutAStoreHasNothingToShow) {
  auto face = MakeKiv<CCommonChannels>();
  std::u16string text;
  EXPECT_EQ(face->GetDistance(nullptr), E_POINTER);
  EXPECT_EQ(face->GetDistance(&text), E_UNEXPECTED);
  EXPECT_EQ(face->SetSpeed(u"[3]x"), E_UNEXPECTED);
}

TEST(CommonChannels, EachRoleReadsAndWritesItsOwnText) {
  auto store = std::make_shared<CCommonChannelsStore>();
  Parent parent;
  store->SetParent(&parent);
  auto face = MakeKiv<CCommonChannels>();
  ASSERT_EQ(face->AttachStore(store), S_OK);
  EXPECT_EQ(Got(face, &CCommonChannels::GetCorrectedSpeed), u"[3]Corrected Speed");
  EXPECT_EQ(Got(face, &CCommonChannels::GetGlobalTime), u"[6]Global Time");
  EXPECT_EQ(Got(face, &CCommonChannels::GetHeading), u"[7]Heading");

  EXPECT_EQ(face->SetFuelUsed(u"[2]Fuel Used"), S_OK);
  EXPECT_EQ(parent.told, 0) << "the text already held";
  EXPECT_EQ(face->SetFuelUsed(u"[2]Fuel Burnt"), S_OK);
  EXPECT_EQ(parent.told, 1);
  std::u16string text;
  ASSERT_EQ(store->Get(6, &text), S_OK);
  EXPECT_EQ(text, u"[2]Fuel Burnt");
}

#ifdef VELMAR_HAS_VTABLE_SLOT
TEST(CommonChannels, RoleKSitsInSlotsThreePlusTwoK) {
  EXPECT_EQ(testing::VtableSlot(&IKivCommonChannels::GetDistance), 3u);
  EXPECT_EQ(testing::VtableSlot(&IKivCommonChannels::SetDistance), 4u);
  EXPECT_EQ(testing::VtableSlot(&IKivCommonChannels::GetHeading), 33u);
  EXPECT_EQ(testing::VtableSlot(&IKivCommonChannels::SetHeading), 34u);
}
#endif

}  // namespace
}  // namespace velmar
