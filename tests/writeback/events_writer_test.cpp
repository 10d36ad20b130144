#include "writeback/events_writer.h"

#include <gtest/gtest.h>

#include <map>

#include "outing/events/event_set.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

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

class Step final : public CWriteBackEventsStateMachineBase {
 public:
  Step() : CWriteBackEventsStateMachineBase(nullptr, 0, 0) {}
  AsyncThread GetJobThread() override { return nullptr; }
  KivResult MakeJob(CJobItem*, ComPtr<CWriteBackJobItem>*) override { return E_NOTIMPL; }
  size_t ready() { return TakeEvents().size(); }
};

// The destination as the case has it: "sets" seen on the outing, "stored"
// [name, time] pairs it holds ("pending": its events are being read).
class Cache final : public CEventsWriterCache {
 public:
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
  ComPtr<CWriteBackEventsStateMachineBase> NewEventsStep(KivTime, KivTime) override { return MakeKiv<Step>(); }
  ComPtr<CWriteBackStateMachineBase> NewRemoveStep(std::vector<CExportEvent> events) override {
    removing_ = events.size();
    return MakeKiv<Step>();
  }
  KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) override {
    auto* write = static_cast<Step*>(step.Get());
    queued = removing_ ? removing_ : write->itemCount() + write->ready();
    return S_OK;
  }

  std::vector<std::pair<uint32_t, std::string>> messages;
  json queued;  // null: no step

 private:
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
