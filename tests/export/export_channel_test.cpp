#include "export/export_channel.h"

#include <gtest/gtest.h>

#include <memory>

#include "export/fake_channel.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

using nlohmann::json;

struct Waiter final : public CExportWaiter {
  int failed = 0;
  int complete = 0;
  void OnExportFailed(CExportItem*) override { ++failed; }
  void OnExportsComplete() override { ++complete; }
};

// The values of the channel's block `index` (1-based).
std::span<const double> SourceValues(IKivChannel* channel, uint32_t index) {
  ComPtr<IKivChannelIterator2> iterator;
  ComPtr<IKivDataBlocks> blocks;
  ComPtr<IKivDataBlock> block;
  std::span<const double> values;
  if (channel->GetIterator(iterator.Put()) != S_OK || iterator->GetDataBlocks(blocks.Put()) != S_OK ||
      blocks->GetBlock(index, block.Put()) != S_OK || block->GetValuesReference(&values) != S_OK) {
    ADD_FAILURE() << "no source block " << index;
  }
  return values;
}

// "shares": the source block (1-based) whose values a block uses without a
// copy; "copies": the one it took a copy of.
void ExpectBlocks(const CExportChannel& item, const json& expected, IKivChannel* channel) {
  ASSERT_EQ(item.blocks().size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    const json& e = expected[i];
    IKivDataBlockImplBase& block = *item.blocks()[i];
    EXPECT_EQ(block.StartTime(), e["first"].get<KivTime>()) << "block " << i;
    EXPECT_EQ(block.GetSampleCount(), e["count"].get<uint32_t>()) << "block " << i;
    EXPECT_EQ(block.continuous(), e["continuous"].get<bool>()) << "block " << i;
    EXPECT_EQ(block.GetIntervalReference(), e.value("interval", KivTime{0})) << "block " << i;
    std::span<const double> values;
    ASSERT_EQ(block.ValuesArray(false, &values), S_OK);
    if (e.contains("values")) {
      const auto want = e["values"].get<std::vector<double>>();
      ASSERT_EQ(values.size(), want.size());
      for (size_t k = 0; k < want.size(); ++k) EXPECT_NEAR(values[k], want[k], 1e-9) << "block " << i << " #" << k;
    }
    if (e.contains("shares")) {
      EXPECT_EQ(values.data(), SourceValues(channel, e["shares"].get<uint32_t>()).data()) << "block " << i;
    }
    if (e.contains("copies")) {
      EXPECT_NE(values.data(), SourceValues(channel, e["copies"].get<uint32_t>()).data()) << "block " << i;
    }
    if (e.contains("last_value")) {
      EXPECT_NEAR(values.back(), e["last_value"].get<double>(), 1e-9);
    }
  }
}

class ExportChannelTest : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: a channel's blocks, a range, period, base and scaling, and the
// blocks the item collects ([] and state 3 when none); "pending" holds the
// data back until the item waits in its waiter, and "then_status" is the
// channel's status when it reports (2: the data never comes).
TEST_P(ExportChannelTest, CollectsTheBlocksTheCaseSays) {
  const json c = testing::ReadFixture(GetParam());
  auto channel = testing::MakeFakeChannel(c["blocks"]);
  channel->pending = c.value("pending", false);
  Waiter waiter;
  CExportChannel item(u"out", c["start"].get<KivTime>(), c["end"].get<KivTime>(), channel.Get(),
                      c.value("factor", 1.0), c.value("offset", 0.0), c.value("base", KivTime{0}),
                      c.value("period", KivTime{0}));
  if (channel->pending) {
    ASSERT_EQ(item.state(), CExportItem::kCollecting);
    EXPECT_EQ(channel->locks, 1);
    waiter.AddItem(&item);
    channel->status = c.value("then_status", 1u);
    channel->Arrive();
    EXPECT_EQ(waiter.complete, 1);
    EXPECT_EQ(waiter.failed, c["state"].get<int>() == 2 ? 0 : 1);
    EXPECT_EQ(waiter.waiting(), 0u);
  }
  EXPECT_EQ(channel->locks, 0);
  EXPECT_EQ(item.state(), c["state"].get<int>());
  ExpectBlocks(item, c["expected"], channel.Get());
  if (c.contains("range")) {
    EXPECT_EQ(item.start(), c["range"][0].get<KivTime>());
    EXPECT_EQ(item.end(), c["range"][1].get<KivTime>());
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, ExportChannelTest, testing::FixtureCases("export/channels"), testing::FixtureName);

}  // namespace
}  // namespace velmar
