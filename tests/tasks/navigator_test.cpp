#include "regions/time_region_navigator.h"

#include <gtest/gtest.h>

#include "regions/regions_listener.h"
#include "selection_fixture.h"

namespace velmar::testing {
namespace {

// A task's new selection on a generated outing, with the task's default
// navigator and lap finder, as a host's screen gets one.
class NavigatorTest : public SelectionFixture {
 protected:
  void SetUp() override {
    SelectionFixture::SetUp();
    navigator_ = Got(selection_, &IKivDataSelection::GetNavigator);
    ASSERT_EQ(SetOuting(selection_.Get(), Sample("a.txt", 3, 4).Get()), S_OK);
    finder_ = Got(navigator_, &IKivTimeRegionNavigator::GetFinder);
    // The outing loads on its worker; the finder's regions follow.
    for (int round = 0; round < 4; ++round) {
      ComPtr<IKivTimeRegions> regions;
      (void)finder_->GetRegions(regions.Put());
      ASSERT_TRUE(Settle());
    }
    regions_ = Got(finder_, &IKivTimeRegionFinder::GetRegions);
  }
  void TearDown() override {
    regions_ = nullptr;
    finder_ = nullptr;
    navigator_ = nullptr;
    SelectionFixture::TearDown();
  }
  std::pair<KivTime, KivTime> Span() { return SelectionFixture::Span(selection_.Get()); }
  std::pair<KivTime, KivTime> Region(int32_t i) {
    const auto row = RegionRows(regions_.Get()).at(i - 1);
    return {row[1], row[2]};
  }
  bool Can(KivResult (IKivTimeRegionNavigator::*can)(IKivDataSelection*, KivBool*)) {
    KivBool answer = KIV_FALSE;
    EXPECT_EQ((navigator_.Get()->*can)(selection_.Get(), &answer), S_OK);
    return answer == KIV_TRUE;
  }

  ComPtr<IKivTimeRegionNavigator> navigator_;
  ComPtr<IKivTimeRegionFinder> finder_;
  ComPtr<IKivTimeRegions> regions_;
};

TEST_F(NavigatorTest, ANewOutingStartsOnTheFastestLapOnceTheLapsAreKnown) {
  const int32_t fastest = Got(finder_, &IKivTimeRegionFinder::GetDefaultRegion);
  EXPECT_EQ(Span(), Region(fastest)) << "the task's default mode is the finder's default region";
  std::u16string expected;
  ASSERT_EQ(regions_->GetName(fastest, fastest, &expected), S_OK);
  EXPECT_EQ(Got(selection_, &IKivDataSelection::GetRegionName), expected);
}

TEST_F(NavigatorTest, StepsWalkTheLapsAndStopAtTheEnds) {
  const int32_t count = Got(regions_, &IKivTimeRegions::GetCount);
  ASSERT_GE(count, 3);
  ASSERT_EQ(selection_->Update(kSelectionIncludeAuxiliary, nullptr, nullptr, 0, 0, 0, KIV_TRUE), S_OK);
  ASSERT_EQ(navigator_->GoFirst(selection_.Get()), S_OK);
  EXPECT_EQ(Span(), Region(1));
  EXPECT_FALSE(Can(&IKivTimeRegionNavigator::CanGoPrevious));
  EXPECT_EQ(navigator_->GoPrevious(selection_.Get()), S_FALSE) << "already there: nothing applied";
  EXPECT_TRUE(Can(&IKivTimeRegionNavigator::CanGoNext));
  ASSERT_EQ(navigator_->GoNext(selection_.Get()), S_OK);
  EXPECT_EQ(Span(), Region(2));
  ASSERT_EQ(navigator_->GoLast(selection_.Get()), S_OK);
  EXPECT_EQ(Span(), Region(count));
  EXPECT_FALSE(Can(&IKivTimeRegionNavigator::CanGoNext));
  EXPECT_EQ(navigator_->GoNext(nullptr), E_INVALIDARG);
  KivBool answer = KIV_FALSE;
  EXPECT_EQ(navigator_->CanGoNext(selection_.Get(), nullptr), E_POINTER);
  auto empty = MakeKiv<CTimeRegionNavigator>();
  EXPECT_EQ(empty->CanGoNext(selection_.Get(), &answer), E_UNEXPECTED) << "no finder";
}

TEST_F(NavigatorTest, TheWholeSpanModeCoversTheRunAndAChangedFinderIsPersisted) {
  auto navigator2 = QueryAs<IKivTimeRegionNavigator2>(navigator_.Get());
  ASSERT_EQ(navigator2->SelectWholeSpan(selection_.Get()), S_OK);
  EXPECT_LE(Region(1).first, Span().first);
  EXPECT_LE(Span().second, Region(Got(regions_, &IKivTimeRegions::GetCount)).second);
  EXPECT_EQ(navigator_->SetFinder(finder_.Get()), S_OK) << "the same finder again changes nothing";
  EXPECT_EQ(navigator_->SetFinder(nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace velmar::testing
