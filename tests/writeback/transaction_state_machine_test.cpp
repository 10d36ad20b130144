#include "writeback/transaction_state_machine.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "outing/cache/outing_cache.h"
#include "outing/cache/outing_cache_registry.h"
#include "outing/events/event_set.h"
#include "support/settling_test.h"
#include "support/fixtures.h"
#include "velmar/transaction.h"
#include "writeback/events_writer.h"

namespace velmar {
namespace {

using State = CTransactionStateMachine::State;

// What every party did, in order; jobs append from the worker.
struct Log {
  std::mutex mu;
  std::vector<std::string> lines;
  void Add(std::string s) {
    std::lock_guard lock(mu);
    lines.push_back(std::move(s));
  }
  std::vector<std::string> Take() {
    std::lock_guard lock(mu);
    return std::exchange(lines, {});
  }
};

AsyncThread TestThread() { return Async_GetThread(u"Txn_Test_Thread"); }

// An outing object that logs the transaction notifications it hears.
struct FakeOuting final : KivObject<COutingStateChanges> {
  FakeOuting(Log* log, std::string name) : log_(log), name_(std::move(name)) {}
  void OnTransactionBegin() override { log_->Add(name_ + " started"); }
  void OnTransactionEnd() override { log_->Add(name_ + " finished"); }
  void OnTransactionProgress(uint32_t done, uint32_t total) override {
    log_->Add(name_ + " progress " + std::to_string(total) + "/" + std::to_string(done));
  }
  void OnTransactionStatus(const std::u16string& text) override {
    log_->Add(name_ + " message " + std::string(text.begin(), text.end()));
  }
  void OnDataDiscarded() override {}
  void OnInformationLoaded(bool) override {}
  void OnChannelsLoaded() override {}
  void OnLapMarkersReset() override {}
  void OnLapMarkersChanged(KivTime, KivTime) override {}
  void OnLapMarkersShifted(KivTime, KivTime) override {}
  void OnCreatedNotify(bool) override {}
  void OnInformationChanged() override {}
  void OnChannelsRemoved(const NameList&) override {}
  void OnChannelsAdded(const NameList&) override {}
  void OnWriterMessage(uint32_t, const std::u16string&) override {}
  KivResult GetSelectionBinding(IKivUnknown**) override { return S_FALSE; }
  Log* log_;
  std::string name_;
};

// A job that logs `what` and answers `result`; a write-back job fails with its message.
template <class Base>
struct LoggedJob final : Base {
  LoggedJob(CStateMachineEx* owner, Log* log, std::string what, KivResult result)
      : Base(owner), log_(log), what_(std::move(what)), result_(result) {}
  KivResult Run() override {
    log_->Add(what_);
    if constexpr (std::is_same_v<Base, CWriteBackJobItem>) {
      if (Failed(result_)) return this->Fail(u"Failed to write step");
    }
    return result_;
  }
  Log* log_;
  std::string what_;
  KivResult result_;
};

// A cache whose write access answers the results queued in `accessResults`.
struct FakeCache final : COutingCacheBase<FakeCache, COutingStateChanges>, CTransactions<FakeCache> {
  FakeCache(Log* log, Log* work)
      : COutingCacheBase(OutingType::kTarn, u"fake", Guid()),
        log_(log),
        work_(work),
        machine_(MakeClient<CTransactionStateMachine>(this)) {}
  ~FakeCache() override { log_->Add("cache gone"); }
  bool CreateDataSet() override { return false; }

  CTransactionStateMachine* machine() { return machine_.Get(); }
  std::deque<KivResult> accessResults;
  KivResult closeResult = S_OK;

  ComPtr<CJobItem> MakeWriteAccessJob(CStateMachineEx* owner) override {
    KivResult r = S_OK;
    if (!accessResults.empty()) {
      r = accessResults.front();
      accessResults.pop_front();
    }
    return MakeKiv<LoggedJob<CJobItemEx>>(owner, work_, "access", r);
  }
  ComPtr<CJobItem> MakeCloseJob(CStateMachineEx* owner, CJobItem* writeAccess) override {
    EXPECT_NE(writeAccess, nullptr);
    return MakeKiv<LoggedJob<CJobItemEx>>(owner, work_, "close", closeResult);
  }
  AsyncThread GetJobThread() override { return TestThread(); }
  Log* log_;
  Log* work_;
  ClientRef<CTransactionStateMachine> machine_;
};

struct Receiver final : CWriteBackStateChanges {
  Receiver(Log* log, int n) : log_(log), n_(n) {}
  void ReloadAfterWrite() override { log_->Add("reload " + std::to_string(n_)); }
  Log* log_;
  int n_;
};

// A step; `createResult` is what CreateJob answers before it builds the job.
struct Step final : CWriteBackStateMachineBase {
  Step(Log* work, int n, Receiver* receiver, bool failJob = false, KivResult createResult = S_OK)
      : CWriteBackStateMachineBase(receiver), work_(work), n_(n), failJob_(failJob), createResult_(createResult) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override {
    EXPECT_NE(writeAccess, nullptr);
    if (createResult_ == KIV_E_PENDING) return createResult_;
    if (Failed(createResult_)) {
      NotifyMessage(u"step " + std::u16string(1, char16_t(u'0' + n_)) + u" refused");
      return createResult_;
    }
    const KivResult result = failJob_ ? E_FAIL : S_OK;
    *job = MakeKiv<LoggedJob<CWriteBackJobItem>>(this, work_, "write " + std::to_string(n_), result);
    return S_OK;
  }
  AsyncThread GetJobThread() override { return TestThread(); }
  // The data the step waited for is in.
  void DataIn() {
    createResult_ = S_OK;
    OnExportsComplete();
  }
  Log* work_;
  int n_;
  bool failJob_;
  KivResult createResult_;
};

class TransactionTest : public testing::SettlingTest {
 protected:
  void SetUp() override {
    cache_ = MakeKiv<FakeCache>(&log_, &work_);
    a_ = MakeKiv<FakeOuting>(&log_, "a");
    b_ = MakeKiv<FakeOuting>(&log_, "b");
    cache_->Attach(a_.Get());
    cache_->Attach(b_.Get());
  }
  void TearDown() override {
    if (cache_) {
      cache_->Detach(a_.Get());
      cache_->Detach(b_.Get());
    }
    cache_ = nullptr;
    EXPECT_TRUE(Settle());
  }
  CTransactionStateMachine& txn() { return *cache_->machine(); }
  KivResult Queue(int n, bool failJob = false, KivResult createResult = S_OK, Receiver* receiver = nullptr) {
    return txn().AddWriteBackStep(MakeKiv<Step>(&work_, n, receiver, failJob, createResult));
  }

  Log log_;   // the client thread's side
  Log work_;  // the jobs', on the worker
  ComPtr<FakeCache> cache_;
  ComPtr<FakeOuting> a_, b_;
};

using Lines = std::vector<std::string>;

TEST_F(TransactionTest, CodesOutsideTheirStates) {
  EXPECT_EQ(txn().Commit(a_.Get()), KIV_E_NO_TRANSACTION);
  EXPECT_EQ(txn().Rollback(a_.Get()), KIV_E_NO_TRANSACTION);
  EXPECT_EQ(Queue(1), KIV_E_TXN_NOT_OPEN);
  EXPECT_EQ(txn().AddWriteBackStep(nullptr), E_FAIL);

  ASSERT_EQ(txn().Begin(a_.Get()), S_OK);
  EXPECT_EQ(txn().Begin(a_.Get()), KIV_E_TXN_ALREADY_OPEN);
  EXPECT_EQ(txn().Begin(b_.Get()), KIV_E_TXN_ALREADY_OPEN);
  // Only the owner may end it; the transaction stays open.
  EXPECT_EQ(txn().Commit(b_.Get()), E_FAIL);
  EXPECT_EQ(txn().Rollback(b_.Get()), E_FAIL);
  EXPECT_EQ(txn().state(), State::kOpen);

  ASSERT_EQ(Queue(1), S_OK);
  ASSERT_EQ(txn().Commit(a_.Get()), S_OK);
  EXPECT_EQ(txn().Begin(b_.Get()), KIV_E_TXN_COMMITTING);
  EXPECT_EQ(Queue(2), KIV_E_TXN_EDIT_DURING_COMMIT);
  EXPECT_EQ(txn().Commit(a_.Get()), KIV_E_TXN_COMMITTING);
  EXPECT_EQ(txn().Rollback(a_.Get()), KIV_E_TXN_COMMITTING);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(txn().state(), State::kIdle);
}

KivResult FromHex(const nlohmann::json& hex) {
  return Code(static_cast<uint32_t>(std::stoul(hex.get<std::string>(), nullptr, 16)));
}

class CommitCase : public TransactionTest, public ::testing::WithParamInterface<std::filesystem::path> {};

// Each file: the answers of the cache's write access ("access", in turn)
// and close, the steps ("fails" in its job, "refused": the code of its
// creation, "reloads": has a receiver), and what the jobs did and the
// client heard, in order.
TEST_P(CommitCase, RunsTheStepsInOrderAndOnlyTheOwnerHears) {
  const nlohmann::json c = testing::ReadFixture(GetParam());
  for (const auto& r : c.value("access", nlohmann::json::array())) cache_->accessResults.push_back(FromHex(r));
  cache_->closeResult = FromHex(c.value("close", nlohmann::json("0")));
  std::deque<Receiver> receivers;
  ASSERT_EQ(txn().Begin(a_.Get()), S_OK);
  for (const auto& step : c["steps"]) {
    Receiver* r = step.value("reloads", false) ? &receivers.emplace_back(&log_, step["n"]) : nullptr;
    ASSERT_EQ(Queue(step["n"], step.value("fails", false), FromHex(step.value("refused", nlohmann::json("0"))), r), S_OK);
  }
  EXPECT_TRUE(log_.Take().empty() && work_.Take().empty()) << "nothing runs before the commit";
  ASSERT_EQ(txn().Commit(a_.Get()), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(work_.Take(), c["work"].get<Lines>());
  EXPECT_EQ(log_.Take(), c["heard"].get<Lines>());
  EXPECT_EQ(txn().pending_count(), 0u);
  EXPECT_EQ(txn().Begin(b_.Get()), S_OK) << "a new transaction may begin, from any outing";
}

INSTANTIATE_TEST_SUITE_P(Cases, CommitCase, testing::FixtureCases("writeback/commits"), testing::FixtureName);

TEST_F(TransactionTest, RolledBackStepsNeverRun) {
  ASSERT_EQ(txn().Begin(a_.Get()), S_OK);
  ASSERT_EQ(Queue(1), S_OK);
  ASSERT_EQ(txn().Rollback(a_.Get()), S_OK);
  EXPECT_EQ(txn().state(), State::kIdle);
  ASSERT_EQ(txn().Begin(b_.Get()), S_OK);
  ASSERT_EQ(txn().Commit(b_.Get()), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(log_.Take(), (Lines{"b started", "b finished"}));
  EXPECT_TRUE(work_.Take().empty()) << "the rolled back step never ran";
}

TEST_F(TransactionTest, PendingStepHoldsTheCommitUntilItsDataIsIn) {
  ASSERT_EQ(txn().Begin(a_.Get()), S_OK);
  auto step = MakeKiv<Step>(&work_, 1, nullptr, false, KIV_E_PENDING);
  ASSERT_EQ(txn().AddWriteBackStep(step), S_OK);
  ASSERT_EQ(Queue(2), S_OK);
  ASSERT_EQ(txn().Commit(a_.Get()), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(work_.Take(), (Lines{"access"}));
  EXPECT_EQ(log_.Take(), (Lines{"a started"}));
  EXPECT_EQ(txn().state(), State::kWriting);
  step->DataIn();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(work_.Take(), (Lines{"write 1", "write 2", "close"}));
  EXPECT_EQ(log_.Take(), (Lines{"a progress 2/1", "a progress 2/2", "a finished"}));
}

TEST_F(TransactionTest, OwnerGoingRollsBackAndCommitOutlivesTheCache) {
  ASSERT_EQ(txn().Begin(a_.Get()), S_OK);
  ASSERT_EQ(Queue(1), S_OK);
  txn().OutingGone(b_.Get());
  EXPECT_EQ(txn().state(), State::kOpen) << "only the owner's going rolls back";
  txn().OutingGone(a_.Get());
  EXPECT_EQ(txn().state(), State::kIdle);

  // Every outing goes while a commit runs: the cache stays until the commit ends.
  ASSERT_EQ(txn().Begin(a_.Get()), S_OK);
  ASSERT_EQ(Queue(2), S_OK);
  ASSERT_EQ(txn().Commit(a_.Get()), S_OK);
  cache_->Detach(a_.Get());
  cache_->Detach(b_.Get());
  cache_ = nullptr;
  ASSERT_TRUE(Settle());
  EXPECT_EQ(work_.Take(), (Lines{"access", "write 2", "close"}));
  EXPECT_EQ(log_.Take(), (Lines{"a started", "a progress 1/1", "a finished", "cache gone"}));
}

using nlohmann::json;

std::u16string Wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }
std::vector<json> ListOf(const json& c, const char* key) {
  return c.contains(key) ? c[key].get<std::vector<json>>() : std::vector<json>{};
}

// A set of the case: [time, source] pairs, status 1 unless "status" says.
ComPtr<IKivEventSet> MakeSet(const std::string& name, const json& set) {
  std::vector<COutingEventData> events;
  for (const json& e : ListOf(set, "events")) {
    auto record = std::make_shared<CCachedEventData>();
    record->name = Wide(name);
    record->time = e[0];
    record->source = Wide(e[1]);
    events.emplace_back(std::move(record), 0);
  }
  auto made = MakeKiv<CEventSet>(Wide(name), std::move(events), nullptr, 0);
  if (set.value("status", 1u) == 1) made->Bind();
  return made;
}

struct EventsStep final : public CWriteBackEventsStateMachineBase {
  EventsStep() : CWriteBackEventsStateMachineBase(nullptr, 0, 0) {}
  AsyncThread GetJobThread() override { return nullptr; }
  KivResult MakeJob(CJobItem*, ComPtr<CWriteBackJobItem>*) override { return E_NOTIMPL; }
  size_t ready() { return TakeEvents().size(); }
};

// The destination as the case has it: "sets" seen on the outing, "stored"
// [name, time] pairs it holds ("pending": its events are being read).
struct Cache final : public CEventsWriterCache {
  explicit Cache(const json& c) : c_(c) {
    if (!c.contains("sets")) return;
    for (const auto& [name, set] : c["sets"].items()) sets_[Wide(name)] = MakeSet(name, set);
  }
  KivResult GetExportEventSet(const std::u16string& name, ComPtr<IKivEventSet>* set) override {
    auto it = sets_.find(name);
    if (it == sets_.end()) return E_INVALIDARG;
    *set = it->second;
    return S_OK;
  }
  KivResult FindStoredEvent(const std::u16string& name, KivTime time) override {
    if (c_.value("pending", false)) return KIV_E_PENDING;
    for (const json& s : ListOf(c_, "stored")) {
      if (Wide(s[0]) == name && s[1].get<KivTime>() == time) return S_OK;
    }
    return S_FALSE;
  }
  void PostWriterMessage(uint32_t level, const std::u16string& text) override {
    messages.push_back({level, std::string(text.begin(), text.end())});
  }
  ComPtr<CWriteBackEventsStateMachineBase> NewEventsStep(KivTime, KivTime) override { return MakeKiv<EventsStep>(); }
  ComPtr<CWriteBackStateMachineBase> NewRemoveStep(std::vector<CExportEvent> events) override {
    removing_ = events.size();
    return MakeKiv<EventsStep>();
  }
  KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) override {
    auto* write = static_cast<EventsStep*>(step.Get());
    queued = removing_ ? removing_ : write->itemCount() + write->ready();
    return S_OK;
  }

  std::vector<std::pair<uint32_t, std::string>> messages;
  json queued;  // null: no step
  const json& c_;
  std::map<std::u16string, ComPtr<IKivEventSet>> sets_;
  size_t removing_ = 0;  // the events of a removal step
};

KivResult Call(Cache& cache, const json& call) {
  NameList names;
  for (const json& n : ListOf(call, "names")) names.push_back(Wide(n));
  std::vector<KivTime> times = call.value("times", std::vector<KivTime>{});
  const std::string kind = call["kind"];
  if (kind == "write") {
    return WriteEvents(cache, call.value("start", KivTime{0}), call.value("end", KivTime{1000}),
                       call.value("unreadable", false) ? nullptr : &names);
  }
  if (kind == "remove") return RemoveEvents(cache, &names, &times);
  const std::vector<uint8_t> fixed(call.value("fixed_bytes", 0u));
  return WriteEvent(cache, {Wide(call["name"]), call["time"], u"", u"", fixed, {}});
}

class EventsWriterCallTest : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: the destination, the call ("write", "remove" or "one"), and the
// result, the writer messages ([level, text]) and what the step queued
// (items and ready events, or events to remove; null: no step).
TEST_P(EventsWriterCallTest, ChecksInOrderAndQueuesWhatHasEvents) {
  const json c = testing::ReadFixture(GetParam());
  Cache cache(c);
  const KivResult r = Call(cache, c["call"]);
  EXPECT_EQ(static_cast<uint32_t>(r), std::stoul(c["result"].get<std::string>(), nullptr, 16));
  std::vector<std::pair<uint32_t, std::string>> messages;
  for (const json& m : ListOf(c, "messages")) messages.push_back({m[0], m[1]});
  EXPECT_EQ(cache.messages, messages);
  EXPECT_EQ(cache.queued, c["queued"]);
}

INSTANTIATE_TEST_SUITE_P(Cases, EventsWriterCallTest, testing::FixtureCases("export/event_calls"),
                         testing::FixtureName);

}  // namespace
}  // namespace velmar
