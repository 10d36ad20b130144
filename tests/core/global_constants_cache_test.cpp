#include "core/global_constants_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>


namespace velmar {
namespace {

using ::testing::ElementsAre;

struct Recorder : CConstantsCacheOwner {
  std::vector<std::u16string> added, removed, changed;
  void OnConstantsAdded(const ConstantNames& n) override { added.insert(added.end(), n.begin(), n.end()); }
  void OnConstantsRemoved(const ConstantNames& n) override { removed.insert(removed.end(), n.begin(), n.end()); }
  void OnConstantsChanged(const ConstantNames& n) override { changed.insert(changed.end(), n.begin(), n.end()); }
};

struct Removed : CConstantBase {
  int removals = 0;
  IKivUnknown* GetConstantObject() override { return nullptr; }
  void OnConstantRemoved() override { ++removals; }
  void SetConstantStatus(DataStatus) override {}
  void DetachConstant() override {}
};

TEST(GlobalConstantsCache, AddGivesIdsFromOneTellsEveryOwnerAndRefusesBadAdds) {
  CGlobalConstantsCache cache;
  Recorder a, b;
  cache.AddOwner(&a);
  cache.AddOwner(&b);
  cache.AddOwner(&a);
  ASSERT_EQ(cache.Add(u"Wheelbase", 0), S_OK);
  ASSERT_EQ(cache.Add(u"Ambient", 1), S_OK);
  EXPECT_EQ(cache.Find(u"Wheelbase")->id, 1);
  EXPECT_EQ(cache.Find(u"Ambient")->id, 2);
  EXPECT_FALSE(cache.Find(u"Wheelbase")->IsSpreadsheet());
  EXPECT_EQ(cache.Find(u"Ambient")->text, u"|");
  EXPECT_EQ(cache.Find(u"Ambient")->stored, 1u);
  EXPECT_THAT(a.added, ElementsAre(u"Wheelbase", u"Ambient"));
  EXPECT_THAT(b.added, ElementsAre(u"Wheelbase", u"Ambient"));
  EXPECT_THAT(cache.GetNames(), ElementsAre(u"Ambient", u"Wheelbase"));
  // Refused: a name held already, whatever its kind; no name; a kind unknown.
  EXPECT_EQ(cache.Add(u"Wheelbase", 0), E_INVALIDARG) << "the first of a name stands";
  EXPECT_EQ(cache.Add(u"Wheelbase", 1), E_INVALIDARG);
  EXPECT_EQ(cache.Add(u"", 0), E_INVALIDARG);
  EXPECT_EQ(cache.Add(u"Other", 2), E_INVALIDARG);
  EXPECT_EQ(cache.Remove(u"Nothing"), E_INVALIDARG);
  EXPECT_EQ(cache.size(), 2u);
  EXPECT_FALSE(cache.Find(u"Wheelbase")->IsSpreadsheet());
  EXPECT_THAT(a.added, ElementsAre(u"Wheelbase", u"Ambient")) << "a refused add tells no owner";
}

TEST(GlobalConstantsCache, RemoveTellsTheObjectsFirstAndClearStartsIdsAgain) {
  CGlobalConstantsCache cache;
  Recorder r;
  Removed object;
  cache.AddOwner(&r);
  ASSERT_EQ(cache.Add(u"Mass", 0), S_OK);
  ASSERT_TRUE(cache.Attach(&object, cache.Find(u"Mass")->id));
  ASSERT_EQ(cache.Remove(u"Mass"), S_OK);
  EXPECT_EQ(object.removals, 1);
  EXPECT_THAT(r.removed, ElementsAre(u"Mass"));
  ASSERT_EQ(cache.Add(u"Mass", 0), S_OK);
  EXPECT_EQ(cache.Find(u"Mass")->id, 2) << "ids are not reused";
  EXPECT_TRUE(cache.AttachedTo(2).empty());
  cache.Clear();
  EXPECT_EQ(cache.size(), 0u);
  ASSERT_EQ(cache.Add(u"Drag", 0), S_OK);
  EXPECT_EQ(cache.Find(u"Drag")->id, 1);
  cache.RemoveOwner(&r);
  ASSERT_EQ(cache.Remove(u"Drag"), S_OK);
  EXPECT_THAT(r.removed, ElementsAre(u"Mass")) << "an owner that left hears nothing";
}

}  // namespace
}  // namespace velmar
