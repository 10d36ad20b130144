#include "core/common_channels_store.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

struct CountingParent : CCommonChannelsStore::Parent {
  int told = 0;
  void CommonChannelsChanged() override { ++told; }
};

TEST(CommonChannelsStore, StartsWithTheSixteenDefaultsAndASetTellsTheParentOnlyOfAChange) {
  CCommonChannelsStore store;
  std::u16string text;
  ASSERT_EQ(store.Get(15, &text), S_OK);
  EXPECT_EQ(text, u"[7]Heading");
  EXPECT_EQ(store.Get(16, &text), E_INVALIDARG);
  EXPECT_EQ(store.Get(0, nullptr), E_POINTER);
  CountingParent parent;
  store.SetParent(&parent);
  EXPECT_EQ(store.Set(3, u"[3]Speed"), S_FALSE);
  EXPECT_EQ(parent.told, 0);
  EXPECT_EQ(store.Set(3, u"[3]speed"), S_OK) << "compared case sensitively";
  EXPECT_EQ(parent.told, 1);
  EXPECT_EQ(store.Set(16, u"x"), E_INVALIDARG);
  EXPECT_EQ(parent.told, 1);
}

TEST(CommonChannelsStore, NamesAChannelByThePartAfterTheQuantityAndResetForgetsTheFile) {
  CCommonChannelsStore store;
  EXPECT_TRUE(store.NamesChannel(u"Lap Distance"));
  EXPECT_FALSE(store.NamesChannel(u"[1]Lap Distance"));
  EXPECT_FALSE(store.NamesChannel(u"lap distance"));
  ASSERT_EQ(store.Set(1, u"Plain Name"), S_OK);
  EXPECT_TRUE(store.NamesChannel(u"Plain Name"));
  ASSERT_EQ(store.Set(2, u"[1]Other"), S_OK);
  store.SetReadFromFile();
  store.SetWritten();
  store.ResetToDefaults();
  EXPECT_FALSE(store.NamesChannel(u"Plain Name")) << "back to the defaults";
  std::u16string text;
  ASSERT_EQ(store.Get(2, &text), S_OK);
  EXPECT_EQ(text, u"[1]Lap Distance");
  EXPECT_FALSE(store.ReadFromFile());
  EXPECT_FALSE(store.Written());
}

}  // namespace
}  // namespace velmar
