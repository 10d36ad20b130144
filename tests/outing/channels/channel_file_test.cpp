#include "outing/channels/channel_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfenv>
#include <limits>
#include <string>
#include <vector>

#include "outing/channels/channel_raw.h"
#include "outing/data_block_test_util.h"
#include "support/got.h"
#include "outing/memory_channel_source.h"
#include "support/data_listener.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr KivTime kSecond = kTicksPerSecond;
const CChannelKey kSpeedKey(u"Speed", 3);

class FileChannelTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(CreateUnitsComponent(&units_), S_OK); }
  void TearDown() override {
    for (auto& channel : made_) channel->Detach();  // ends the channel-iterator cycle
  }

  ComPtr<CFileChannel> Make(const CChannelKey& key, ChannelUnit unit = {}) {
    auto channel = MakeKiv<CFileChannel>();
    channel->Bind(key.name(), key, nullptr, source_, unit, units_);
    made_.push_back(channel);
    return channel;
  }
  static uint32_t Detailed(IKivChannel* c) { return Got(QueryAs<IKivData2>(c), &IKivData2::GetDetailedStatus); }
  static std::vector<KivTime> BlockStarts(IKivChannelIterator2* it) {
    std::vector<KivTime> starts;
    for (const auto& block : BlocksOf(it)) starts.push_back(Got(block, &IKivDataBlock::GetStartTime));
    return starts;
  }

  ComPtr<IKivUnits> units_;
  ComPtr<CMemoryRawChannels> source_{new CMemoryRawChannels()};
  std::vector<ComPtr<CFileChannel>> made_;
  std::vector<std::string> log_;
};

TEST_F(FileChannelTest, IteratorReadsScaledValuesOnFirstDemand) {
  source_->Put(kSpeedKey, {0, 1, 2, 3}, {36, 72, 108, 144});
  auto channel = Make(kSpeedKey, {kQuantitySpeed, 1});
  EXPECT_EQ(source_->asked, 0) << "nothing is read before a client asks";
  EXPECT_EQ(Got(channel, &IKivData::GetStatus), 1u);

  auto it = Got(channel, &CFileChannel::GetIterator);
  double value = 0;
  EXPECT_EQ(it->GetValueAtTime(2 * kSecond, kValueExact, kRangeWholeChannel, &value), S_OK);
  EXPECT_NEAR(value, 30.0, 1e-9) << "108 km/h read as 30 m/s";
  EXPECT_EQ(Detailed(channel.Get()), kDetailHasSamples);

  EXPECT_EQ(Got(channel, &CFileChannel::GetIterator), it) << "one iterator per channel";
  EXPECT_EQ(channel->GetIterator(nullptr), E_POINTER);
}

TEST_F(FileChannelTest, FloatingPointExceptionsAreMaskedByGetIterator) {
  source_->Put(kSpeedKey, {0}, {1});
  auto channel = Make(kSpeedKey);
  feenableexcept(FE_DIVBYZERO);
  auto it = Got(channel, &CFileChannel::GetIterator);
  EXPECT_EQ(fegetexcept(), 0);
}

TEST_F(FileChannelTest, GapsAreOneContinuousLine) {
  source_->Put(kSpeedKey, {0, 1, 2, 3, 10, 11, 12}, {0, 1, 2, 3, 10, 11, 12});
  auto channel = Make(kSpeedKey);
  auto it = Got(channel, &CFileChannel::GetIterator);
  EXPECT_THAT(BlockStarts(it.Get()), ElementsAre(0, 10 * kSecond));
  ASSERT_EQ(channel->blocks()->size(), 2u);
  EXPECT_FALSE((*channel->blocks())[0]->continuous());
  EXPECT_TRUE((*channel->blocks())[1]->continuous());
  double value = 0;
  EXPECT_EQ(it->GetValueAtTime(5 * kSecond, kValueInterpolate, kRangeWholeChannel, &value), S_FALSE);
  EXPECT_NEAR(value, 5.0, 1e-9);
}

TEST_F(FileChannelTest, ColumnWithoutSamplesAnswersPendingAndTellsNobody) {
  source_->Put(kSpeedKey, {}, {});
  auto channel = Make(kSpeedKey);
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(channel.Get(), false));
  EXPECT_EQ(Detailed(channel.Get()), kDetailNoSamples);
  ComPtr<IKivChannelIterator2> it;
  EXPECT_EQ(channel->GetIterator(it.Put()), KIV_E_PENDING);
  EXPECT_FALSE(it);
  EXPECT_EQ(channel->GetIterator(it.Put()), KIV_E_PENDING);
  EXPECT_THAT(log_, IsEmpty()) << "the call answers pending and tells nobody from inside";
}

TEST_F(FileChannelTest, UnreadableOrMissingColumnIsNotAvailable) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  source_->Put(kSpeedKey, {0, nan}, {1, 2});
  auto bad = Make(kSpeedKey);
  auto missing = Make(CChannelKey(u"Nothing", 1));
  ComPtr<IKivChannelIterator2> it;
  EXPECT_EQ(bad->GetIterator(it.Put()), KIV_E_PENDING);
  EXPECT_EQ(missing->GetIterator(it.Put()), KIV_E_PENDING);
  EXPECT_EQ(Detailed(bad.Get()), kDetailNoSamples);
  EXPECT_EQ(Detailed(missing.Get()), kDetailNoSamples);
}

TEST_F(FileChannelTest, ChannelsOnOneColumnShareItsSectionsAndFreeTheRawDoubles) {
  auto raw = source_->Put(kSpeedKey, {0, 1, 2}, {1, 2, 3});
  auto a = Make(kSpeedKey, {kQuantitySpeed, 1});
  auto b = Make(kSpeedKey);
  auto ia = Got(a, &CFileChannel::GetIterator), ib = Got(b, &CFileChannel::GetIterator);
  EXPECT_TRUE(raw->built());
  EXPECT_TRUE(raw->times().empty());
  EXPECT_EQ(raw->count(), 3u);
  double va = 0, vb = 0;
  ASSERT_EQ(ia->GetValueAtTime(0, kValueExact, kRangeWholeChannel, &va), S_OK);
  ASSERT_EQ(ib->GetValueAtTime(0, kValueExact, kRangeWholeChannel, &vb), S_OK);
  EXPECT_EQ(va, vb) << "the column is scaled once, by the first channel that reads it";
}

TEST_F(FileChannelTest, TimeOffsetMovesBlocksAndReportsAWholeRangeChange) {
  source_->Put(kSpeedKey, {0, 1, 2}, {1, 2, 3});
  auto channel = Make(kSpeedKey);
  EXPECT_EQ(channel->SetTimeOffset(5 * kSecond), S_OK) << "before blocks: kept for them";
  auto it = Got(channel, &CFileChannel::GetIterator);
  EXPECT_THAT(BlockStarts(it.Get()), ElementsAre(5 * kSecond));

  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(channel.Get(), false));
  EXPECT_EQ(channel->SetTimeOffset(-kSecond), S_OK);
  EXPECT_THAT(BlockStarts(it.Get()), ElementsAre(-kSecond));
  EXPECT_THAT(log_, ElementsAre("changed:-9223372036854775808:9223372036854775807"));

  EXPECT_EQ(channel->SetTimeOffset(kTimeMax - kSecond), E_INVALIDARG);
  EXPECT_EQ(channel->SetTimeOffset(kTimeMin), E_INVALIDARG);
  EXPECT_EQ(channel->timeOffset(), -kSecond) << "a refused offset changes nothing";
  EXPECT_THAT(BlockStarts(it.Get()), ElementsAre(-kSecond));
  EXPECT_EQ(log_.size(), 1u);
}

TEST_F(FileChannelTest, DetachTellsTheSinksAndLetsGoOfEverything) {
  source_->Put(kSpeedKey, {0, 1}, {1, 2});
  auto channel = Make(kSpeedKey);
  auto it = Got(channel, &CFileChannel::GetIterator);
  CDataListener first(&log_, true);
  CDataListener second(&log_);
  ASSERT_TRUE(first.Connect(channel.Get(), false));
  ASSERT_TRUE(second.Connect(channel.Get(), false));
  channel->Detach();
  EXPECT_THAT(log_, ElementsAre("1:removed", "removed"));
  EXPECT_FALSE(channel->has_iterator());
  EXPECT_FALSE(channel->blocks());
  // The client's iterator still reads the blocks it holds.
  double value = 0;
  EXPECT_EQ(it->GetValueAtTime(kSecond, kValueExact, kRangeWholeChannel, &value), S_OK);
  EXPECT_EQ(value, 2.0);
}

TEST_F(FileChannelTest, LockCountRefusesAnUnlockTooMany) {
  auto channel = Make(kSpeedKey);
  auto cache = QueryAs<IKivDataCache>(channel.Get());
  ASSERT_TRUE(cache);
  EXPECT_EQ(cache->Unlock(), KIV_E_NOT_LOCKED);
  EXPECT_EQ(cache->Lock(), S_OK);
  EXPECT_EQ(cache->Lock(), S_OK);
  EXPECT_EQ(cache->Unlock(), S_OK);
  EXPECT_EQ(cache->Unlock(), S_OK);
  EXPECT_EQ(cache->Unlock(), KIV_E_NOT_LOCKED);
}

TEST(RawChannelTest, SectionsAreBuiltOnceAndTheDoublesFreed) {
  std::shared_ptr<CRawChannelBase> raw;
  ASSERT_EQ(CRawChannelBase::Make(std::vector<double>{0, 1, 2}, std::vector<double>{1, 2, 3}, &raw), S_OK);
  EXPECT_EQ(raw->count(), 3u);
  EXPECT_EQ(raw->times()[2], 2.0);
  EXPECT_EQ(raw->values()[0], 1.0);
  EXPECT_FALSE(raw->built());

  ASSERT_EQ(raw->BuildSections(ChannelScaling{10, 0}), S_OK);
  EXPECT_TRUE(raw->built());
  EXPECT_TRUE(raw->times().empty());
  EXPECT_TRUE(raw->values().empty());
  EXPECT_EQ(raw->count(), 3u);
  ASSERT_EQ(raw->sections().size(), 1u);
  const auto first = raw->sections()[0].data;
  EXPECT_EQ(first->values().view()[2], 30.0);

  // Another scaling later changes nothing: the column is split once.
  ASSERT_EQ(raw->BuildSections(ChannelScaling{}), S_OK);
  EXPECT_EQ(raw->sections()[0].data, first);
}

TEST(RawChannelTest, UnreadableColumnStaysUnreadable) {
  std::shared_ptr<CRawChannelBase> raw;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  ASSERT_EQ(CRawChannelBase::Make(std::vector<double>{nan}, std::vector<double>{1}, &raw), S_OK);
  EXPECT_EQ(raw->BuildSections({}), E_INVALIDARG);
  EXPECT_TRUE(raw->built());
  EXPECT_EQ(raw->BuildSections({}), E_INVALIDARG);
  EXPECT_TRUE(raw->sections().empty());
}

TEST(RawChannelTest, AnEmptyColumnHasNoSectionsAndColumnsOfTwoLengthsAreRefused) {
  std::shared_ptr<CRawChannelBase> raw;
  ASSERT_EQ(CRawChannelBase::Make({}, {}, &raw), S_OK);
  EXPECT_EQ(raw->BuildSections({}), S_OK);
  EXPECT_TRUE(raw->sections().empty());
  raw = nullptr;
  EXPECT_EQ(CRawChannelBase::Make(std::vector<double>{1}, std::vector<double>{}, &raw), E_INVALIDARG);
  EXPECT_FALSE(raw);
  EXPECT_EQ(CRawChannelBase::Make({}, {}, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
