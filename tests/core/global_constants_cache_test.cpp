#include "core/global_constants_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmar {
namespace {

using ::testing::ElementsAre;

struct Recorder : CGlobalConstantsCache::Listener {
  std::vector<std::u16string> added, removed;
  void OnConstantsAdded(const CGlobalConstantsCache::Names& n) override { added.insert(added.end(), n.begin(), n.end()); }
  void OnConstantsRemoved(const CGlobalConstantsCache::Names& n) override {
    removed.insert(removed.end(), n.begin(), n.end());
  }
};

TEST(GlobalConstantsCache, AddGivesIdsFromOneAndTellsEveryListener) {
  CGlobalConstantsCache cache;
  Recorder a, b;
  cache.AddListener(&a);
  cache.AddListener(&b);
  cache.AddListener(&a);
  ASSERT_EQ(cache.Add(u"Wheelbase", 0), S_OK);
  ASSERT_EQ(cache.Add(u"Ambient", 1), S_OK);
  EXPECT_EQ(cache.Find(u"Wheelbase")->id, 1);
  EXPECT_EQ(cache.Find(u"Ambient")->id, 2);
  EXPECT_FALSE(cache.Find(u"Wheelbase")->IsSpreadsheet());
  EXPECT_EQ(cache.Find(u"Ambient")->text, u"|");
  EXPECT_THAT(a.added, ElementsAre(u"Wheelbase", u"Ambient"));
  EXPECT_THAT(b.added, ElementsAre(u"Wheelbase", u"Ambient"));
  EXPECT_THAT(cache.GetNames(), ElementsAre(u"Ambient", u"Wheelbase"));
}

TEST(GlobalConstantsCache, RefusesBadAddsAndUnknownRemoves) {
  CGlobalConstantsCache cache;
  ASSERT_EQ(cache.Add(u"Mass", 0), S_OK);
  EXPECT_EQ(cache.Add(u"Mass", 0), E_INVALIDARG);
  EXPECT_EQ(cache.Add(u"", 0), E_INVALIDARG);
  EXPECT_EQ(cache.Add(u"Other", 2), E_INVALIDARG);
  EXPECT_EQ(cache.Remove(u"Nothing"), E_INVALIDARG);
  EXPECT_EQ(cache.size(), 1u);
}

TEST(GlobalConstantsCache, RemoveTellsAndClearStartsIdsAgain) {
  CGlobalConstantsCache cache;
  Recorder r;
  cache.AddListener(&r);
  ASSERT_EQ(cache.Add(u"Mass", 0), S_OK);
  ASSERT_EQ(cache.Remove(u"Mass"), S_OK);
  EXPECT_THAT(r.removed, ElementsAre(u"Mass"));
  ASSERT_EQ(cache.Add(u"Mass", 0), S_OK);
  EXPECT_EQ(cache.Find(u"Mass")->id, 2) << "ids are not reused";
  cache.Clear();
  EXPECT_EQ(cache.size(), 0u);
  ASSERT_EQ(cache.Add(u"Drag", 0), S_OK);
  EXPECT_EQ(cache.Find(u"Drag")->id, 1);
  cache.RemoveListener(&r);
  ASSERT_EQ(cache.Remove(u"Drag"), S_OK);
  EXPECT_THAT(r.removed, ElementsAre(u"Mass")) << "a listener that left hears nothing";
}

}  // namespace
}  // namespace velmar
