#include "export/export_channel.h"

#include <gtest/gtest.h>

#include <memory>

#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

using nlohmann::json;

// A loaded channel over the case's blocks; it can hold its data back
// (pending) and then let it in through its one data sink.
class FakeChannel final : public KivObject<IKivChannel, IKivNotifications, IKivDataCache> {
 public:
  explicit FakeChannel(DataBlockList blocks) : blocks_(std::make_shared<DataBlockList>(std::move(blocks))) {}
  KivResult GetName(std::u16string* name) override { return *name = u"fake", S_OK; }
  KivResult GetStatus(uint32_t* status) override { return *status = 1, S_OK; }
  KivResult GetIterator(IKivChannelIterator2** out) override {
    if (pending) return KIV_E_PENDING;
    auto it = MakeKiv<CChannelIterator>(blocks_, nullptr, nullptr);
    *out = it.Detach();
    return S_OK;
  }
  KivResult AdviseByName(const std::u16string&, IKivUnknown*, uint32_t*) override { return E_FAIL; }
  KivResult Advise(const Guid& iid, IKivUnknown* sink, uint32_t* cookie) override {
    if (iid != IKivDataNotifications::iid) return E_FAIL;
    sink_ = QueryAs<IKivDataNotifications>(sink);
    return *cookie = 1, S_OK;
  }
  KivResult Unadvise(uint32_t) override { return sink_ = nullptr, S_OK; }
  KivResult Lock() override { return ++locks, S_OK; }
  KivResult Unlock() override { return --locks, S_OK; }

  void Arrive() {
    pending = false;
    if (sink_) sink_->OnDataChanged(this, 0, 0);
  }
  bool pending = false;
  int locks = 0;

 private:
  std::shared_ptr<DataBlockList> blocks_;
  ComPtr<IKivDataNotifications> sink_;
};

// A block of the case: "times" (aperiodic) or "start"/"interval" with
// "values", or "count" samples whose value is the time in seconds.
ComPtr<IKivDataBlockImplBase> MakeBlock(const json& b, uint32_t index) {
  std::vector<double> values;
  std::vector<KivTime> times = b.value("times", std::vector<KivTime>{});
  const KivTime interval = b.value("interval", KivTime{0});
  const auto count = b.contains("values") ? b["values"].size() : b.value("count", times.size());
  for (size_t i = 0; i < count; ++i) {
    const KivTime t = times.empty() ? b["start"].get<KivTime>() + static_cast<KivTime>(i) * interval : times[i];
    values.push_back(b.contains("values") ? b["values"][i].get<double>() : static_cast<double>(t) / 1e7);
  }
  std::shared_ptr<const DataSection> section;
  auto v = LockedArray<double>::FromVector(std::move(values));
  EXPECT_EQ(times.empty() ? DataSection::MakePeriodic(v, b["start"].get<KivTime>(), interval, &section)
                          : DataSection::MakeAperiodic(v, LockedArray<KivTime>::FromVector(times), &section),
            S_OK);
  ComPtr<IKivDataBlockImplBase> block;
  EXPECT_EQ(MakeOutingDataBlock(section, index, 0, b.value("continuous", false), &block), S_OK);
  return block;
}

class Waiter final : public CExportWaiter {
 public:
  int failed = 0;
  int complete = 0;

 private:
  void OnExportFailed(CExportItem*) override { ++failed; }
  void OnExportsComplete() override { ++complete; }
};

void ExpectBlocks(const CExportChannel& item, const json& expected) {
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
    if (e.contains("last_value")) {
      EXPECT_NEAR(values.back(), e["last_value"].get<double>(), 1e-9);
    }
  }
}

class ExportChannelTest : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: a channel's blocks, a range, period, base and scaling, and the
// blocks the item collects ([] and state 3 when none); "pending" holds the
// data back until the item waits in its waiter.
TEST_P(ExportChannelTest, CollectsTheBlocksTheCaseSays) {
  const json c = testing::ReadFixture(GetParam());
  DataBlockList blocks;
  for (const json& b : c["blocks"]) blocks.push_back(MakeBlock(b, static_cast<uint32_t>(blocks.size())));
  auto channel = MakeKiv<FakeChannel>(std::move(blocks));
  channel->pending = c.value("pending", false);
  Waiter waiter;
  CExportChannel item(u"out", c["start"].get<KivTime>(), c["end"].get<KivTime>(), channel.Get(),
                      c.value("factor", 1.0), c.value("offset", 0.0), c.value("base", KivTime{0}),
                      c.value("period", KivTime{0}));
  if (channel->pending) {
    ASSERT_EQ(item.state(), CExportItem::kCollecting);
    EXPECT_EQ(channel->locks, 1);
    waiter.AddItem(&item);
    channel->Arrive();
    EXPECT_EQ(waiter.complete, 1);
    EXPECT_EQ(waiter.failed, c["state"].get<int>() == 2 ? 0 : 1);
    EXPECT_EQ(waiter.waiting(), 0u);
  }
  EXPECT_EQ(channel->locks, 0);
  EXPECT_EQ(item.state(), c["state"].get<int>());
  ExpectBlocks(item, c["expected"]);
  if (c.contains("range")) {
    EXPECT_EQ(item.start(), c["range"][0].get<KivTime>());
    EXPECT_EQ(item.end(), c["range"][1].get<KivTime>());
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, ExportChannelTest, testing::FixtureCases("export/channels"), testing::FixtureName);

}  // namespace
}  // namespace velmar
