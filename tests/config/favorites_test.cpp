#include "config/favorites.h"

#include <gtest/gtest.h>

#include "support/got.h"

namespace velmar {
namespace {

TEST(Favorites, AnEmptyListAnswersBadIndexesWithEmptyTexts) {
  auto favorites = MakeKiv<CFavorites>();
  EXPECT_EQ(testing::Got(favorites, &CFavorites::GetCount), 0);
  std::u16string display = u"x", location = u"y";
  EXPECT_EQ(favorites->GetItem(1, &display, &location), DISP_E_BADINDEX);
  EXPECT_TRUE(display.empty());
  EXPECT_TRUE(location.empty());
  EXPECT_EQ(favorites->GetItem(1, nullptr, &location), E_POINTER);
  EXPECT_EQ(favorites->Remove(1), DISP_E_BADINDEX);
  EXPECT_EQ(favorites->Modify(1, u"a", u"file:///b"), DISP_E_BADINDEX);
}

TEST(Favorites, LocationsCompareAsURLsWhateverTheirDisplayTexts) {
  auto favorites = MakeKiv<CFavorites>();
  EXPECT_EQ(favorites->Add(u"Name", u""), E_INVALIDARG);
  ASSERT_EQ(favorites->Add(u"Data", u"file:///data/"), S_OK);
  EXPECT_EQ(favorites->Add(u"Other", u"FILE:///data"), KIV_E_FAVOURITE_EXISTS);
  ASSERT_EQ(favorites->Add(u"Runs", u"file:///runs"), S_OK);
  EXPECT_EQ(favorites->Modify(1, u"DATA", u"file:///data"), S_FALSE) << "only the case of the text changed";
  EXPECT_EQ(favorites->Modify(1, u"Data", u"file:///runs/"), KIV_E_FAVOURITE_DUPLICATE);
  EXPECT_EQ(favorites->Modify(1, u"Laps", u"file:///laps"), S_OK);
  std::u16string display, location;
  ASSERT_EQ(favorites->GetItem(1, &display, &location), S_OK);
  EXPECT_EQ(display + location, u"Lapsfile:///laps");
}

}  // namespace
}  // namespace velmar
