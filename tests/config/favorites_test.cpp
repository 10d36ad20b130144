#include "config/favorites.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(Favorites, AnEmptyListAnswersBadIndexesWithEmptyTexts) {
  auto favorites = MakeKiv<CFavorites>();
  int32_t count = -1;
  ASSERT_EQ(favorites->GetCount(&count), S_OK);
  EXPECT_EQ(count, 0);
  std::u16string display = u"x", location = u"y";
  EXPECT_EQ(favorites->GetItem(1, &display, &location), DISP_E_BADINDEX);
  EXPECT_TRUE(display.empty());
  EXPECT_TRUE(location.empty());
  EXPECT_EQ(favorites->GetItem(1, nullptr, &location), E_POINTER);
  EXPECT_EQ(favorites->Remove(1), DISP_E_BADINDEX);
  EXPECT_EQ(favorites->Modify(1, u"a", u"file:///b"), DISP_E_BADINDEX);
}

TEST(Favorites, AnEmptyLocationIsRefusedAndURLComparisonIsNotHereYet) {
  auto favorites = MakeKiv<CFavorites>();
  EXPECT_EQ(favorites->Add(u"Name", u""), E_INVALIDARG);
  EXPECT_EQ(favorites->Add(u"Name", u"file:///data/"), E_NOTIMPL);
  int32_t count = -1;
  ASSERT_EQ(favorites->GetCount(&count), S_OK);
  EXPECT_EQ(count, 0);
}

}  // namespace
}  // namespace velmar
