#include "outing/channels/channel_data_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "outing/blocks/channel_iterator.h"
#include "outing/memory_channel_source.h"
#include "support/settling_test.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Machine = CChannelDataCacheStateMachine;

const CChannelKey kKey(u"Brake", 2);

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

class ChannelDataCacheTest : public SettlingTest {
 protected:
  void TearDown() override {
    script_.OpenGate();
    EXPECT_TRUE(Settle());
  }
  KivResult Get(CClient* client, std::shared_ptr<const ChannelSections>* sections = nullptr) {
    std::shared_ptr<const ChannelSections> out;
    const KivResult hr = cache_->GetChannelData(client, kKey, &out);
    if (sections) *sections = out;
    return hr;
  }

  MemoryFetchScript script_;
  ComPtr<CChannelDataCache> cache_{new CChannelDataCache(script_.Factory(), ChannelFetchThread())};
  std::vector<std::string> log_;
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

TEST_F(ChannelDataCacheTest, FailureGoesIdleAndTheNextRequestRestarts) {
  script_.Answer({E_ACCESSDENIED});
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a:failed"));
  EXPECT_EQ(cache_->machine(kKey)->state(), Machine::State::kIdle);
  EXPECT_FALSE(cache_->machine(kKey)->sections());
  EXPECT_EQ(Get(b_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a:failed", "a:ok", "b:ok")) << "both still wait on the restarted fetch";
  EXPECT_EQ(script_.runs(), 2);
}

TEST_F(ChannelDataCacheTest, DroppedJobsAreRequeuedSilently) {
  script_.Answer({E_JOB_DROPPED, S_OK});
  EXPECT_EQ(Get(a_.Get()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(log_, ElementsAre("a:ok"));
  EXPECT_EQ(cache_->machine(kKey)->fetches(), 2);
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
  EXPECT_EQ(cache_->machine(kKey)->state(), Machine::State::kIdle);
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
  EXPECT_EQ(cache_->machine(kKey)->fetches(), 2);
}

TEST_F(ChannelDataCacheTest, BadArgumentsAreRefused) {
  std::shared_ptr<const ChannelSections> sections;
  EXPECT_EQ(cache_->GetChannelData(nullptr, kKey, &sections), E_POINTER);
  EXPECT_EQ(cache_->GetChannelData(a_.Get(), kKey, nullptr), E_POINTER);
  EXPECT_EQ(cache_->GetChannelData(a_.Get(), CChannelKey(), &sections), E_INVALIDARG);
  EXPECT_EQ(cache_->machine(kKey), nullptr);

  auto noFetch = ComPtr<CChannelDataCache>(new CChannelDataCache(nullptr, ChannelFetchThread()));
  EXPECT_EQ(noFetch->GetChannelData(a_.Get(), kKey, &sections), E_FAIL);
  EXPECT_EQ(noFetch->machine(kKey)->state(), Machine::State::kIdle);
}

}  // namespace
}  // namespace velmar::testing
