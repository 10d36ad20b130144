#include "sources/realtime/rt_channel_blocks.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"

namespace velmar::testing {
namespace {

RtHeldBlock Periodic(KivTime first, KivTime period, uint32_t count, bool continuous) {
  RtHeldBlock block;
  block.firstTime = first;
  block.period = period;
  block.continuous = continuous;
  block.values.assign(count, 1.0);
  return block;
}

class RtBlockListTest : public ::testing::TestWithParam<std::filesystem::path> {};

// Each op is one read or message: ["run", first, period, count, n] inserts n
// continuous blocks one after the other, ["insert", [[first, period, count,
// continuous]...]] one read, ["merge", ran] and ["discard", time, gone].
TEST_P(RtBlockListTest, HoldsWhatTheReadsAndDiscardsLeave) {
  const auto c = ReadFixture(GetParam());
  RtBlockList list;
  for (const auto& op : c["ops"]) {
    const std::string name = op[0];
    if (name == "run") {
      for (int i = 0; i < op[4].get<int>(); ++i) {
        const KivTime first = op[1].get<KivTime>() + i * op[2].get<KivTime>() * op[3].get<KivTime>();
        list.Insert({Periodic(first, op[2], op[3], true)});
      }
    } else if (name == "insert") {
      std::vector<RtHeldBlock> read;
      for (const auto& b : op[1]) read.push_back(Periodic(b[0], b[1], b[2], b[3].get<int>() != 0));
      list.Insert(std::move(read));
    } else if (name == "merge") {
      EXPECT_EQ(list.MergeIfDue(), op[1].get<bool>());
    } else if (name == "discard") {
      EXPECT_EQ(list.Discard(op[1]), op[2].get<size_t>());
    }
  }
  nlohmann::json held = nlohmann::json::array();
  for (const auto& block : list.blocks()) held.push_back({block.firstTime, block.Count()});
  EXPECT_EQ(held, c["expect"]["blocks"]);
  EXPECT_EQ(list.merge_limit(), c["expect"]["mergeLimit"]);
  EXPECT_EQ(list.merged_up_to(), c["expect"]["mergedUpTo"]);
}

INSTANTIATE_TEST_SUITE_P(Cases, RtBlockListTest, FixtureCases("realtime/blocks"), FixtureName);

}  // namespace
}  // namespace velmar::testing
