#include "outing/blocks/channel_iterator_search.h"

#include <gtest/gtest.h>

#include "outing/data_block_test_util.h"

namespace velmar {
namespace {

using testing::PeriodicBlock;

DataBlockList Blocks() {
  DataBlockList list;
  for (KivTime start : {0, 100, 200, 1000}) list.push_back(PeriodicBlock(start, 10, {1, 2, 3}));  // each 20 long
  return list;
}

TEST(SearchBlocks, EachFixtureCase) {
  const DataBlockList list = Blocks();
  for (const auto table = testing::Fixture("outing/block_search.json"); const auto& c : table["cases"]) {
    BlockPosition at;
    const KivResult r = SearchBlocks(list, testing::FixtureTime(c[0]), &at);
    EXPECT_EQ(r, c[1].is_null() ? E_FAIL : S_OK) << c;
    if (c[1].is_null()) continue;
    EXPECT_EQ(at.kind, c[1] == "inside" ? BlockPosition::Kind::kInside : BlockPosition::Kind::kGapAfter) << c;
    EXPECT_EQ(at.block, c[2].get<size_t>()) << c;
  }
  BlockPosition at;
  EXPECT_EQ(SearchBlocks({}, 5, &at), E_FAIL);
  EXPECT_EQ(SearchBlocks(list, 5, nullptr), E_POINTER);
}

TEST(SearchBlocks, BlocksOutOfOrderEndTheSearch) {
  DataBlockList list = Blocks();
  std::swap(list[0], list[3]);
  BlockPosition at;
  for (KivTime t = -10; t < 1100; t += 7) {
    KivResult r = SearchBlocks(list, t, &at);  // any answer, but it ends
    EXPECT_TRUE(r == S_OK || r == E_FAIL);
  }
}

}  // namespace
}  // namespace velmar
