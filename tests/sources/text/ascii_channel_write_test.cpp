#include "sources/text/ascii_channel_write.h"

#include "ascii_outing_fixture.h"
#include "export/fake_channel.h"
#include "export/read_back.h"
#include "velmar/transaction.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

// 0..0.9 s at 100 Hz, value = time in s.
ComPtr<FakeChannel> InMemoryChannel(KivTime start = 0) {
  return MakeFakeChannel(json{{{"start", start}, {"interval", 100000}, {"count", 10}}});
}

class AsciiChannelWriteTest : public AsciiOutingFixture {
 protected:
  void SetUp() override {
    path_ = PathOf("outing.txt");
    OpenLoaded(path_);
  }
  // Commits one step over `items`; the transaction's messages.
  std::vector<std::string> CommitItems(std::vector<std::unique_ptr<CExportChannel>> items) {
    auto step = MakeKiv<CAsciiWriteBackChannelStateMachine>(a_->cache()->channel_write_back());
    for (auto& item : items) step->AddItem(std::move(item));
    return Commit([&] { EXPECT_EQ(AddStep(step), S_OK); });
  }
  Samples ReadBack(const std::u16string& display) {
    ComPtr<CAsciiOuting> fresh = Open(path_);
    return ReadBackChannel(&fresh->channels(), display, [this] { return Settle(); });
  }

  std::u16string path_;
};

TEST_F(AsciiChannelWriteTest, ResampledItemsShareOneGridAndNativeItemsKeepTheirTimes) {
  auto a = InMemoryChannel();
  auto b = InMemoryChannel(400000);  // 40 ms later: its cells before then stay empty
  std::vector<std::unique_ptr<CExportChannel>> items;
  items.push_back(std::make_unique<CExportChannel>(u"Grid A", 0, 10'000'000, a.Get(), 2.0, 1.0, 0, 200000));
  items.push_back(std::make_unique<CExportChannel>(u"Grid B", 0, 10'000'000, b.Get(), 1.0, 0.0, 0, 200000));
  EXPECT_TRUE(CommitItems(std::move(items)).empty());
  const Samples gridA = ReadBack(u"Grid A");
  ASSERT_EQ(gridA.size(), 5u);
  for (size_t i = 0; i < gridA.size(); ++i) {
    EXPECT_EQ(gridA[i].first, static_cast<KivTime>(i) * 200000);
    EXPECT_NEAR(gridA[i].second, 2.0 * 0.02 * static_cast<double>(i) + 1.0, 1e-6);
  }
  const Samples gridB = ReadBack(u"Grid B");
  ASSERT_FALSE(gridB.empty());
  EXPECT_EQ(gridB.front().first, 400000);

  items.clear();
  items.push_back(std::make_unique<CExportChannel>(u"Native", 200000, 500000, InMemoryChannel().Get(), 1.0, 0.0,
                                                   100000, 0));
  EXPECT_TRUE(CommitItems(std::move(items)).empty());
  EXPECT_EQ(ReadBack(u"Native"), (Samples{{100000, 0.02}, {200000, 0.03}, {300000, 0.04}, {400000, 0.05}}));
}

TEST_F(AsciiChannelWriteTest, AColumnOfTheSameNameRefusesTheWrite) {
  std::vector<std::unique_ptr<CExportChannel>> items;
  items.push_back(std::make_unique<CExportChannel>(u"Twice", 0, 10'000'000, InMemoryChannel().Get(), 1, 0, 0, 0));
  EXPECT_TRUE(CommitItems(std::move(items)).empty());
  items.clear();
  items.push_back(std::make_unique<CExportChannel>(u"Twice", 0, 10'000'000, InMemoryChannel().Get(), 1, 0, 0, 0));
  EXPECT_EQ(CommitItems(std::move(items)),
            std::vector<std::string>{"Failed to write channels - duplicate channels found"});
  EXPECT_EQ(ReadBack(u"Twice").size(), 10u);
}

}  // namespace
}  // namespace velmar::testing
