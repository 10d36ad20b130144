#include "outing/channels/channel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "outing/blocks/channel_iterator.h"
#include "outing/channels/channel_data_cache.h"
#include "support/got.h"
#include "outing/memory_channel_source.h"
#include "support/data_listener.h"
#include "support/settling_test.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Machine = CChannelDataCacheStateMachine;

constexpr KivTime kSecond = kTicksPerSecond;
const CChannelKey kKey(u"Speed", 4);
const std::string kWholeChange = "changed:-9223372036854775808:9223372036854775807";

// Two sections, the second continuing the first.
ChannelSections TwoSections() {
  ChannelSections a, b;
  EXPECT_EQ(SplitIntoSections(std::vector<double>{0, 1, 2}, std::vector<double>{1, 2, 3}, {}, &a), S_OK);
  EXPECT_EQ(SplitIntoSections(std::vector<double>{5, 7}, std::vector<double>{5, 7}, {}, &b), S_OK);
  b[0].continuous = true;
  a.push_back(b[0]);
  return a;
}

// A channel data cache whose fetches follow the test's script.
class ScriptedCacheTest : public SettlingTest {
 protected:
  void TearDown() override {
    script_.OpenGate();
    EXPECT_TRUE(Settle());
  }

  MemoryFetchScript script_;
  ComPtr<CChannelDataCache> cache_{new CChannelDataCache(script_.Factory(), ChannelFetchThread())};
  std::vector<std::string> log_;
};

class NativeChannelTest : public ScriptedCacheTest {
 protected:
  void SetUp() override { script_.Give(TwoSections()); }
  void TearDown() override {
    for (auto& channel : made_) channel->Detach();
    ScriptedCacheTest::TearDown();
  }

  ComPtr<CChannel> Make(const CChannelKey& key = kKey) {
    auto channel = MakeKiv<CChannel>();
    channel->Bind(key.name(), key, nullptr, cache_);
    made_.push_back(channel);
    return channel;
  }
  static KivResult Iterate(CChannel* channel, ComPtr<IKivChannelIterator2>* it = nullptr) {
    ComPtr<IKivChannelIterator2> unused;
    return channel->GetIterator((it ? it : &unused)->Put());
  }
  // The first iterator starts the fetch; once it is done the next one reads.
  ComPtr<IKivChannelIterator2> Fetched(CChannel* channel) {
    EXPECT_EQ(Iterate(channel), KIV_E_PENDING);
    EXPECT_TRUE(Settle());
    ComPtr<IKivChannelIterator2> it;
    EXPECT_EQ(Iterate(channel, &it), S_OK);
    return it;
  }
  static uint32_t Status(IKivChannel* c) { return Got(c, &IKivData::GetStatus); }
  Machine* machine() const { return cache_->machine(kKey); }

  std::vector<ComPtr<CChannel>> made_;
};

TEST_F(NativeChannelTest, FirstIteratorFetchesThenAvailableIsToldAndTheNextIteratorReads) {
  auto channel = Make();
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(channel.Get(), true));
  EXPECT_EQ(Status(channel.Get()), 1u) << "bound channels start available";

  ComPtr<IKivChannelIterator2> it;
  EXPECT_EQ(Iterate(channel.Get(), &it), KIV_E_PENDING);
  EXPECT_FALSE(it);
  EXPECT_EQ(machine()->state(), Machine::State::kRunning);
  EXPECT_EQ(Iterate(channel.Get(), &it), KIV_E_PENDING) << "asking again starts nothing more";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(script_.runs(), 1);
  EXPECT_THAT(script_.keys(), ElementsAre(kKey.text()));
  EXPECT_THAT(log_, ElementsAre("internal", kWholeChange));
  EXPECT_EQ(machine()->state(), Machine::State::kDone);

  ASSERT_EQ(Iterate(channel.Get(), &it), S_OK);
  ASSERT_EQ(channel->blocks()->size(), 2u);
  EXPECT_FALSE((*channel->blocks())[0]->continuous());
  EXPECT_TRUE((*channel->blocks())[1]->continuous()) << "continuity comes from the section";
  double value = 0;
  EXPECT_EQ(it->GetValueAtTime(7 * kSecond, kValueExact, kRangeWholeChannel, &value), S_OK);
  EXPECT_EQ(value, 7.0);
  EXPECT_EQ(Got(channel, &CChannel::GetDetailedStatus), kDetailHasSamples);
}

TEST_F(NativeChannelTest, FailedFetchMakesTheChannelNotAvailableThenFailureIsTold) {
  script_.Answer({E_FAIL});
  auto channel = Make();
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(channel.Get(), false));
  EXPECT_EQ(Iterate(channel.Get()), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre(kWholeChange, "failed"));
  EXPECT_EQ(Status(channel.Get()), 2u);
  EXPECT_EQ(Got(channel, &CChannel::GetDetailedStatus), 2u);
  EXPECT_EQ(machine()->state(), Machine::State::kIdle);
  EXPECT_EQ(Iterate(channel.Get()), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(script_.runs(), 1) << "a channel that is not available does not fetch again";
}

TEST_F(NativeChannelTest, ChannelDetachedDuringAPendingFetchHearsNothingMore) {
  script_.CloseGate();
  auto channel = Make();
  auto other = Make();
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(channel.Get(), false));
  EXPECT_EQ(Iterate(channel.Get()), KIV_E_PENDING);
  EXPECT_EQ(Iterate(other.Get()), KIV_E_PENDING);
  ASSERT_TRUE(script_.WaitAtGate(kLong));
  EXPECT_EQ(script_.runs(), 1) << "one fetch per key, however many channels wait";
  EXPECT_EQ(machine()->client_count(), 2u);

  channel->Detach();
  EXPECT_THAT(log_, ElementsAre("removed"));
  EXPECT_EQ(machine()->client_count(), 1u);
  script_.OpenGate();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("removed"));
  EXPECT_EQ(Status(other.Get()), 1u);
  EXPECT_EQ(Iterate(other.Get()), S_OK);
}

TEST_F(NativeChannelTest, ChannelAttachedDuringAFetchIsToldWithTheOthers) {
  script_.CloseGate();
  auto first = Make();
  EXPECT_EQ(Iterate(first.Get()), KIV_E_PENDING);
  ASSERT_TRUE(script_.WaitAtGate(kLong));
  auto late = Make();
  CDataListener listener(&log_);
  ASSERT_TRUE(listener.Connect(late.Get(), false));
  EXPECT_EQ(Iterate(late.Get()), KIV_E_PENDING);
  script_.OpenGate();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(script_.runs(), 1);
  EXPECT_THAT(log_, ElementsAre(kWholeChange));
  EXPECT_EQ(Iterate(late.Get()), S_OK);
}

TEST_F(NativeChannelTest, ChangeToUnknownDropsBlocksAndIteratorAndDiscardedDataIsFetchedAgain) {
  auto channel = Make();
  auto it = Fetched(channel.Get());
  channel->SetStatusRange(DataStatus::kUnknown, 0, kSecond);
  EXPECT_FALSE(channel->has_iterator());
  EXPECT_FALSE(channel->blocks());
  ComPtr<IKivChannelIterator2> fresh;
  ASSERT_EQ(Iterate(channel.Get(), &fresh), S_OK) << "the held sections answer at once";
  EXPECT_NE(fresh.Get(), it.Get());
  EXPECT_EQ(script_.runs(), 1);
  // Discarded data is fetched again.
  cache_->Discard();
  EXPECT_EQ(machine()->state(), Machine::State::kIdle);
  channel->SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
  EXPECT_TRUE(Fetched(channel.Get()));
  EXPECT_EQ(script_.runs(), 2);
}

TEST_F(NativeChannelTest, TimeOffsetReachesBlocksMadeLater) {
  auto channel = Make();
  ASSERT_EQ(channel->SetTimeOffset(3 * kSecond), S_OK);
  EXPECT_EQ(Got(Fetched(channel.Get()), &IKivChannelIterator2::GetEndTime), 10 * kSecond);
}

TEST_F(NativeChannelTest, InvalidKeyIsRefused) {
  auto channel = Make(CChannelKey());
  EXPECT_EQ(Iterate(channel.Get()), E_INVALIDARG);
  EXPECT_EQ(script_.runs(), 0);
}

const CChannelKey kBrake(u"Brake", 2);

// A waiting client that logs "<name>:ok" or "<name>:failed".
class CClient final : public KivObject<IKivSelectionRange>, public CChannelDataClient {
 public:
  CClient(std::string name, std::vector<std::string>* log) : name_(std::move(name)), log_(log) {}
  KivResult GetSelectionRange(KivTime*, KivTime*) override { return E_NOTIMPL; }
  void OnData(bool ok, KivTime from, KivTime to) override {
    EXPECT_EQ(from, kTimeMin);
    EXPECT_EQ(to, kTimeMax);
    log_->push_back(name_ + (ok ? ":ok" : ":failed"));
    if (onData) onData();
  }
  void OnDataDropped() override { log_->push_back(name_ + ":dropped"); }
  IKivUnknown* ClientIdentity() override { return PrimaryUnknown(); }
  std::function<void()> onData;

 private:
  std::string name_;
  std::vector<std::string>* log_;
};

class ChannelDataCacheTest : public ScriptedCacheTest {
 protected:
  KivResult Get(CClient* client, std::shared_ptr<const ChannelSections>* sections = nullptr) {
    std::shared_ptr<const ChannelSections> out;
    const KivResult hr = cache_->GetChannelData(client, kBrake, &out);
    if (sections) *sections = out;
    return hr;
  }

  ComPtr<CClient> a_ = MakeKiv<CClient>("a", &log_);
  ComPtr<CClient> b_ = MakeKiv<CClient>("b", &log_);
};

TEST_F(ChannelDataCacheTest, NotThereYetThenTheSectionsOnceDone) {
  ChannelSections given;
  ASSERT_EQ(SplitIntoSections(std::vector<double>{0, 1}, std::vector<double>{4, 5}, {}, &given), S_OK);
  script_.Give(given);
  std::shared_ptr<const ChannelSections> sections;
  EXPECT_EQ(Get(a_.Get(), &sections), S_FALSE);
  EXPECT_FALSE(sections);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a:ok"));
  EXPECT_EQ(Get(b_.Get(), &sections), S_OK);
  ASSERT_TRUE(sections);
  ASSERT_EQ(sections->size(), 1u);
  EXPECT_EQ((*sections)[0].data, given[0].data);
  EXPECT_EQ(script_.runs(), 1);
}

TEST_F(ChannelDataCacheTest, FailureGoesIdleAndTheNextRequestRestartsADroppedJobIsRequeued) {
  script_.Answer({E_ACCESSDENIED});
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a:failed"));
  EXPECT_EQ(cache_->machine(kBrake)->state(), Machine::State::kIdle);
  EXPECT_FALSE(cache_->machine(kBrake)->sections());
  EXPECT_EQ(Get(b_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a:failed", "a:ok", "b:ok")) << "both still wait on the restarted fetch";
  EXPECT_EQ(script_.runs(), 2);
  // A dropped job is queued again without a word.
  script_.Answer({E_JOB_DROPPED, S_OK});
  cache_->DropAll();
  log_.clear();
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a:ok", "b:ok")) << "both still wait; the dropped job is told to nobody";
  EXPECT_EQ(script_.runs(), 4);
}

TEST_F(ChannelDataCacheTest, ClientLeavingDuringTheWalkIsNotCalled) {
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  EXPECT_EQ(Get(b_.Get()), S_FALSE);
  // Whoever is told first sends the other away.
  a_->onData = [&] { cache_->RemoveClient(b_.Get()); };
  b_->onData = [&] { cache_->RemoveClient(a_.Get()); };
  ASSERT_TRUE(Settle());
  EXPECT_EQ(log_.size(), 1u);
}

TEST_F(ChannelDataCacheTest, StopCancelsAHeldFetchAndNobodyIsTold) {
  script_.CloseGate();
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  ASSERT_TRUE(script_.WaitAtGate(kLong));
  cache_->Discard();
  EXPECT_EQ(cache_->machine(kBrake)->state(), Machine::State::kIdle);
  script_.OpenGate();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(ChannelDataCacheTest, DropAfterAReloadTellsEveryClientAndTheNextReadFetchesAgain) {
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Get(a_.Get()), S_OK);
  cache_->DropAll();
  EXPECT_THAT(log_, ElementsAre("a:ok", "a:dropped"));
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(cache_->machine(kBrake)->fetches(), 2);
}

TEST_F(ChannelDataCacheTest, BadArgumentsAreRefused) {
  std::shared_ptr<const ChannelSections> sections;
  EXPECT_EQ(cache_->GetChannelData(nullptr, kBrake, &sections), E_POINTER);
  EXPECT_EQ(cache_->GetChannelData(a_.Get(), kBrake, nullptr), E_POINTER);
  EXPECT_EQ(cache_->GetChannelData(a_.Get(), CChannelKey(), &sections), E_INVALIDARG);
  EXPECT_EQ(cache_->machine(kBrake), nullptr);

  auto noFetch = ComPtr<CChannelDataCache>(new CChannelDataCache(nullptr, ChannelFetchThread()));
  EXPECT_EQ(noFetch->GetChannelData(a_.Get(), kBrake, &sections), E_FAIL);
  EXPECT_EQ(noFetch->machine(kBrake)->state(), Machine::State::kIdle);
}

}  // namespace
}  // namespace velmar::testing
