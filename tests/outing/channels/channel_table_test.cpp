#include "outing/channels/channel_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/data_listener.h"
#include "outing/memory_channel_source.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;

class ChannelTableTest : public ::testing::Test {
 protected:
  void TearDown() override { table_.DropAll(); }

  KivResult Get(const std::u16string& name, ComPtr<IKivChannel>* out, bool listed = true, bool binding = true) {
    return table_.Get(name, listed, binding, maker_, out->Put());
  }

  ComPtr<CMemoryRawChannels> source_{new CMemoryRawChannels()};
  int made_ = 0;
  KivTime offset_ = 7;
  CChannelTable<CFileChannel>::Maker maker_ = [this](const std::u16string& name, ComPtr<CFileChannel>* out) {
    ++made_;
    auto channel = MakeKiv<CFileChannel>();
    channel->Bind(name, CChannelKey(name, 1), nullptr, source_, {}, nullptr);
    const KivResult hr = channel->SetTimeOffset(offset_);
    if (Succeeded(hr)) *out = channel;
    return hr;
  };
  CChannelTable<CFileChannel> table_;
};

TEST_F(ChannelTableTest, SameObjectForEveryRequestOfAName) {
  ComPtr<IKivChannel> a, b;
  ASSERT_EQ(Get(u"Speed", &a), S_OK);
  ASSERT_EQ(Get(u"Speed", &b), S_OK);
  EXPECT_EQ(a.Get(), b.Get());
  EXPECT_EQ(made_, 1);
  EXPECT_EQ(table_.uses(u"Speed"), 2u);
  EXPECT_EQ(table_.Find(u"Speed")->timeOffset(), 7) << "made with the outing's offset";
}

TEST_F(ChannelTableTest, LookupCodes) {
  ComPtr<IKivChannel> c;
  EXPECT_EQ(table_.Get(u"Speed", true, true, maker_, nullptr), E_POINTER);
  EXPECT_EQ(Get(u"Speed", &c, /*listed=*/false), E_INVALIDARG);
  EXPECT_EQ(Get(u"Speed", &c, true, /*binding=*/false), E_FAIL);
  EXPECT_FALSE(c);
  offset_ = kTimeMin;
  EXPECT_EQ(Get(u"Speed", &c), E_INVALIDARG) << "a maker's failure comes back";
  EXPECT_EQ(table_.size(), 0u);
}

TEST_F(ChannelTableTest, LastReleaseDetachesAndTheNextRequestMakesAnew) {
  ComPtr<IKivChannel> c;
  ASSERT_EQ(Get(u"Speed", &c), S_OK);
  ASSERT_EQ(Get(u"Speed", &c), S_OK);
  std::vector<std::string> log;
  CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(c.Get(), false));
  EXPECT_TRUE(table_.Release(u"Speed"));
  EXPECT_TRUE(log.empty());
  EXPECT_TRUE(table_.Release(u"Speed"));
  EXPECT_THAT(log, ElementsAre("removed"));
  EXPECT_FALSE(table_.Release(u"Speed"));
  ComPtr<IKivChannel> fresh;
  ASSERT_EQ(Get(u"Speed", &fresh), S_OK);
  EXPECT_NE(fresh.Get(), c.Get());
}

TEST_F(ChannelTableTest, OffsetsStopAtTheFirstFailureAndDropAllDetachesEveryChannel) {
  ComPtr<IKivChannel> a, b;
  ASSERT_EQ(Get(u"B", &b), S_OK);
  ASSERT_EQ(Get(u"A", &a), S_OK);
  std::vector<std::string> log;
  CDataListener la(&log), lb(&log);
  ASSERT_TRUE(la.Connect(a.Get(), false));
  ASSERT_TRUE(lb.Connect(b.Get(), false));
  EXPECT_EQ(table_.SetTimeOffset(kTimeMax), E_INVALIDARG);
  EXPECT_EQ(table_.SetTimeOffset(3), S_OK);
  EXPECT_EQ(table_.Find(u"B")->timeOffset(), 3);
  table_.DropAll();
  EXPECT_THAT(log, ElementsAre("removed", "removed"));
  EXPECT_EQ(table_.size(), 0u);
}

}  // namespace
}  // namespace velmar::testing
