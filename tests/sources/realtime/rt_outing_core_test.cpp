#include "sources/realtime/rt_outing_core.h"

#include <gtest/gtest.h>

#include "config/real_time_settings.h"
#include "platform/realtime/rt_tcp_server.h"
#include "sources/realtime/rt_address.h"
#include "sources/realtime/rt_channel_blocks.h"
#include "sources/realtime/rt_connection_state.h"
#include "sources/realtime/rt_live_event_set.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using namespace rt;

// What the outing raised, as lines ("data [0]Speed 0 990").
class Told final : public IRtOutingEvents {
 public:
  void OnInformationChanged() override { Add("information"); }
  void OnChannelDataChanged(const std::u16string& c, KivTime from, KivTime to) override {
    Add("data " + WideToUtf8(c) + " " + std::to_string(from) + " " + std::to_string(to));
  }
  void OnChannelsRemoved(const std::vector<std::u16string>& names) override { Add("removed " + Join(names)); }
  void OnChannelsAdded(const std::vector<std::u16string>& names) override { Add("added " + Join(names)); }
  void OnEventDataChanged(const std::u16string& e, KivTime, KivTime) override { Add("events " + WideToUtf8(e)); }
  void OnLapMarkersReset() override { Add("laps reset"); }
  void OnLapMarkersChanged(KivTime, KivTime) override { Add("laps changed"); }
  void OnLapMarkersShifted(KivTime, KivTime) override { Add("laps shifted"); }
  void OnDataClosed() override { Add("closed"); }
  void OnTransactionMessage(const std::u16string& text) override { Add(WideToUtf8(text)); }
  void OnFastLapUnknown(KivTime span) override { Add("fast lap unknown " + std::to_string(span)); }

  size_t Count(const std::string& line) const { return std::count(lines.begin(), lines.end(), line); }
  std::vector<std::string> lines;

 private:
  void Add(std::string line) { lines.push_back(std::move(line)); }
  static std::string Join(const std::vector<std::u16string>& names) {
    std::string out;
    for (const auto& n : names) out += (out.empty() ? "" : ",") + WideToUtf8(n);
    return out;
  }
};

std::shared_ptr<RtServer> Server() {
  auto server = std::make_shared<RtServer>(u"Pit");
  WireDetails details;
  details.sessionNumber = 2;
  details.outingNumber = 5;
  details.firstLapNumber = 1;
  server->data().SetDetails(details);
  WireChannel speed;
  speed.id = 7;
  speed.displayName = speed.tagName = u"Speed";
  server->data().SetChannels({speed});
  return server;
}

void Feed(RtServer& server, KivTime first, uint32_t count) {
  server.data().AddBlock(WireBlock{7, 7, 1, first > 0, first, {10}, std::vector<uint8_t>(8 * count, 0)});
  server.PushChannelData({{7, first, first + 10 * (count - 1)}});
}

class RtOutingCoreTest : public ::testing::Test {
 protected:
  void Make(const std::u16string& address, bool withSettings = true, bool listening = true) {
    // A host named "down" never answers.
    RtLinkMaker maker = [this, listening](const std::u16string& host, uint16_t, std::unique_ptr<RtLink>* link) {
      if (!listening || host == u"down") return E_FAIL;
      *link = ConnectInProcessLink(server_);
      return S_OK;
    };
    ComPtr<IKivRealTimeSettings3> settings;
    if (withSettings) settings = ComPtr<IKivRealTimeSettings3>(MakeKiv<CRealTimeSettings>().Get());
    core_ = std::make_unique<CRTOutingCore>(address, settings, maker, &told_);
  }
  void Deliver() { KivClientThread::Current().RunUntilIdle(); }

  std::shared_ptr<RtServer> server_ = Server();
  Told told_;
  std::unique_ptr<CRTOutingCore> core_;
};

class RtCaptionTest : public RtOutingCoreTest, public ::testing::WithParamInterface<std::filesystem::path> {};

TEST_P(RtCaptionTest, TheFirstCaptionIsEmptyAndTheSecondTellsTheState) {
  const auto c = ReadFixture(GetParam());
  Make(Utf8ToWide(c["address"].get<std::string>()), c["settings"], c["listening"]);
  for (const auto& caption : c["captions"]) EXPECT_EQ(WideToUtf8(core_->GetCaption()), caption.get<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Cases, RtCaptionTest, FixtureCases("realtime/captions"), FixtureName);

TEST_F(RtOutingCoreTest, OneChangeIsToldPerReadHoweverFastTheDataComes) {
  Make(u"rt://127.0.0.1:1/Pit");
  ASSERT_EQ(core_->ChannelNames(), std::vector<std::u16string>{u"[0]Speed"});
  Deliver();
  for (int i = 0; i < 20; ++i) Feed(*server_, i * 100, 10);
  Deliver();
  EXPECT_TRUE(std::none_of(told_.lines.begin(), told_.lines.end(), [](const auto& l) { return l.starts_with("data"); }))
      << "a channel no client opened costs nothing";
  const RtBlockList* blocks = nullptr;
  ASSERT_EQ(core_->ReadChannel(u"[0]Speed", &blocks), S_OK);
  EXPECT_EQ(blocks->blocks().size(), 20u);
  server_->data().Discard(1950);
  server_->PushChannelsDiscarded(1950);
  server_->PushChannelsDiscarded(-50);
  Deliver();
  EXPECT_EQ(blocks->blocks().front().firstTime, 1900) << "the block straddling the time stays whole";
  EXPECT_EQ(told_.Count("data [0]Speed " + std::to_string(kTimeMin) + " 1950"), 1u)
      << "a discard earlier than any data drops nothing";

  for (int i = 20; i < 40; ++i) Feed(*server_, i * 100, 10);
  Deliver();
  EXPECT_EQ(told_.Count("data [0]Speed 2000 2090"), 1u);
  EXPECT_EQ(told_.Count("data [0]Speed 2100 2190"), 0u) << "twenty messages, one notification";
  EXPECT_EQ(core_->ReadChannels({u"[0]Speed", u"Nope"}), (std::vector<KivResult>{S_OK, E_FAIL})) << "reads in flight together";
  ASSERT_EQ(core_->ReadChannel(u"[0]Speed", &blocks), S_OK);
  EXPECT_EQ(blocks->blocks().size(), 1u) << "merged past the limit";
  EXPECT_EQ(blocks->blocks().back().LastTime(), 3990);
}

TEST_F(RtOutingCoreTest, HistoryModeAskedBeforeTheFirstResetTakesEffectAtIt) {
  Make(u"rt://127.0.0.1:1/Pit");
  EXPECT_EQ(core_->SetHistoryMode(KIV_TRUE), S_FALSE);
  KivBool mode = 0;
  EXPECT_EQ(core_->GetHistoryMode(&mode), E_FAIL) << "no connection yet";
  EXPECT_FALSE(server_->data().history_mode());
  core_->ChannelNames();
  Deliver();
  EXPECT_TRUE(server_->data().history_mode());
  ASSERT_EQ(core_->GetHistoryMode(&mode), S_OK);
  EXPECT_EQ(mode, KIV_TRUE);
  EXPECT_EQ(core_->SetHistoryMode(KIV_FALSE), S_OK);
  EXPECT_FALSE(server_->data().history_mode());
}

TEST_F(RtOutingCoreTest, NothingCanBeWrittenAndLapMarkersAreToldOnce) {
  Make(u"rt://127.0.0.1:1/Pit");
  EXPECT_EQ(core_->CommitTransaction(), S_OK);
  EXPECT_EQ(told_.lines.back(), "Changes to constants are not supported with real-time data");
  EXPECT_EQ(core_->RollbackTransaction(), static_cast<KivResult>(0x8004F00F));
  core_->GetCaption();
  Deliver();
  server_->PushTimeRange(7, 7);
  Deliver();
  EXPECT_EQ(told_.Count("fast lap unknown 0"), 1u) << "no fast lap and no lap marker yet";
  server_->data().AddLapMarker(WireLapMarker{1, 500, 0, 0, 1, 1});
  server_->PushLapMarker(1, 500);
  server_->PushLapMarker(1, 500);
  Deliver();
  EXPECT_EQ(told_.Count("laps reset"), 2u) << "one at the reset, one for the new marker";
  server_->PushTimeRange(0, 990);
  server_->PushTimeRange(100, 500);
  Deliver();
  KivTime start = 0, end = 0;
  ASSERT_EQ(core_->OutingRange(&start, &end), S_OK);
  EXPECT_EQ(start, 0) << "a range that shrinks changes nothing";
  EXPECT_EQ(end, 990);
  EXPECT_EQ(told_.Count("laps changed"), 2u) << "the first range (one tick), then the wider one";
  EXPECT_EQ(told_.Count("fast lap unknown 990"), 0u) << "a lap marker exists";
  EXPECT_EQ(core_->GetCaption(), u"<002:005:001>");
}

TEST_F(RtOutingCoreTest, StatusDefinitionsComeFromTheServersBlob) {
  WireChannel speed;
  speed.id = 7;
  speed.displayName = speed.tagName = u"Speed";
  speed.tagName = u"SPD";
  speed.quantityId = 3;
  server_->data().SetChannels({speed});
  const auto blob = WriteStatusDefinitionsBlob({{u"Speed", 9, {}}, {u"Other", 1, {}}});
  server_->data().SetBlobs({WireBlob{1, Guid{}, u"x", {1}}, WireBlob{2, kStatusDefinitionsBlobType, u"defs", blob}});
  Make(u"rt://127.0.0.1:1/Pit");
  core_->ChannelNames();
  const auto tree = core_->StatusChannelDefinitions();
  int32_t count = 0;
  ASSERT_EQ(tree->GetCount(&count), S_OK);
  ASSERT_EQ(count, 1);
  ComPtr<IKivStatusChannelDefinition> definition;
  std::u16string key;
  ASSERT_EQ(tree->GetItem(1, definition.Put()), S_OK);
  ASSERT_EQ(definition->GetChannelKeyText(&key), S_OK);
  EXPECT_EQ(key, u"[3]SPD");
  EXPECT_EQ(core_->StatusChannelDefinitions().Get(), tree.Get()) << "kept";
}

TEST_F(RtOutingCoreTest, FollowsAServerOnLoopbackAndShowsItsLoss) {
  RtTcpServer tcp(server_);
  std::string error;
  ASSERT_EQ(tcp.Start("127.0.0.1", 0, &error), S_OK) << error;
  core_ = std::make_unique<CRTOutingCore>(u"rt://127.0.0.1:" + Utf8ToWide(std::to_string(tcp.port())) + u"/Pit",
                                          ComPtr<IKivRealTimeSettings3>(MakeKiv<CRealTimeSettings>().Get()),
                                          TcpLinkMaker(), &told_);
  const RtBlockList* blocks = nullptr;
  EXPECT_EQ(core_->ReadChannel(u"[0]Speed", &blocks), KIV_E_PENDING);
  KivClientThread::Current().RunUntil([&] { return told_.Count("closed") > 0; }, std::chrono::seconds(10));
  Feed(*server_, 0, 100);
  server_->PushTimeRange(0, 990);
  KivClientThread::Current().RunUntil([&] { return told_.Count("laps changed") > 0; }, std::chrono::seconds(10));
  ASSERT_EQ(core_->ReadChannel(u"[0]Speed", &blocks), S_OK);
  EXPECT_EQ(blocks->blocks().at(0).Count(), 100u);
  // More than a frame holds (140 x 8100 samples, 9 MB): the reply comes in parts.
  for (int i = 0; i < 140; ++i) Feed(*server_, 1000 + i * 81000, 8100);
  server_->PushTimeRange(0, 1000 + 140 * 81000);  // comes after every data message
  KivClientThread::Current().RunUntil([&] { return told_.Count("laps changed") > 1; }, std::chrono::seconds(10));
  ASSERT_EQ(core_->ReadChannel(u"[0]Speed", &blocks), S_OK);
  uint64_t samples = 0;
  for (const auto& block : blocks->blocks()) samples += block.Count();
  EXPECT_EQ(samples, 100u + 140u * 8100u);
  KivTime start = 0, end = 0;
  ASSERT_EQ(core_->OutingRange(&start, &end), S_OK);
  EXPECT_EQ(end, 1000 + 140 * 81000);
  EXPECT_TRUE(core_->connected());
  tcp.Stop();
  KivClientThread::Current().RunUntil([&] { return !core_->connected(); }, std::chrono::seconds(10));
  EXPECT_EQ(core_->GetCaption(), u"Failed to create outing");
  ASSERT_EQ(core_->ReadChannel(u"[0]Speed", &blocks), S_OK) << "the data held stays readable";
}

// tests/data/realtime/event_ranges.json: per case, ops on one set:
// ["data", from, to, told or null], ["read", event times the server holds,
// "ok" or "pending"], ["discard", time, any went, events left].
TEST(RtLiveEventSetTest, TellsEachNewRangeOnceAndReadsWhatIsPending) {
  const auto table = Fixture("realtime/event_ranges.json");
  for (const auto& c : table["cases"]) {
    RtLiveEventSet set;
    for (const auto& op : c["ops"]) {
      const std::string kind = op[0];
      if (kind == "data") {
        const auto told = set.OnData(op[1], op[2]);
        EXPECT_EQ(told.has_value(), !op[3].is_null()) << c["name"] << " " << op.dump();
        if (told && !op[3].is_null()) {
          EXPECT_EQ((nlohmann::json{told->first, told->second}), op[3]) << c["name"];
        }
      } else if (kind == "read") {
        const auto held = op[1].get<std::vector<KivTime>>();
        const KivResult r = set.Read([&](KivTime from, KivTime to, std::vector<rt::WireEvent>* out) {
          for (size_t i = 0; i < held.size(); ++i) {
            rt::WireEvent event;
            event.id = i + 1;
            event.time = held[i];
            if (held[i] >= from && held[i] <= to) out->push_back(event);
          }
          return S_OK;
        });
        EXPECT_EQ(r, op[2] == "ok" ? S_OK : KIV_E_PENDING) << c["name"] << " " << op.dump();
      } else {
        EXPECT_EQ(set.Discard(op[1]), op[2].get<bool>()) << c["name"];
        EXPECT_EQ(set.events().size(), op[3].get<size_t>()) << c["name"];
      }
    }
  }
}

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

std::u16string Wide(const nlohmann::json& text) { return Utf8ToWide(text.get<std::string>()); }

// tests/data/realtime/addresses.json: addresses with what they parse to,
// hosts with their class, host lists with their class and hosts.
TEST(RtAddressTest, ParsesAndClassesAsTheTableSays) {
  const auto table = Fixture("realtime/addresses.json");
  for (const auto& c : table["addresses"]) {
    RtAddress address;
    ASSERT_EQ(ParseRtAddress(Wide(c[0]), &address), c[1].get<bool>()) << c[0];
    if (!c[1].get<bool>()) continue;
    EXPECT_EQ(address.host, Wide(c[2])) << c[0];
    EXPECT_EQ(address.port, c[3].get<uint16_t>()) << c[0];
    EXPECT_EQ(address.name, Wide(c[4])) << c[0];
    EXPECT_EQ(address.star, c[5].get<bool>()) << c[0];
  }
  for (const auto& c : table["hosts"]) {
    EXPECT_EQ(static_cast<int>(ClassifyRtHost(Wide(c[0]))), c[1].get<int>()) << c[0];
  }
  for (const auto& c : table["lists"]) {
    RtHostList list;
    EXPECT_EQ(static_cast<int>(ClassifyRtHostList(Wide(c[0]), &list)), c[1].get<int>()) << c[0];
    EXPECT_EQ(list.mainHost, Wide(c[2])) << c[0];
    std::set<std::u16string> others;
    for (const auto& h : c[3]) others.insert(Wide(h));
    EXPECT_EQ(list.others, others) << c[0];
  }
}

// tests/data/realtime/addresses.json also holds caption numbers with their
// text and status codes with the state each shows.
TEST(RtConnectionStateTest, CaptionFieldsAndStatusStates) {
  const auto table = Fixture("realtime/addresses.json");
  for (const auto& c : table["numbers"]) EXPECT_EQ(WideToUtf8(RtCaptionNumber(c[0])), c[1].get<std::string>());
  EXPECT_EQ(RtStateCaption(RtConnectionState::kConnecting), u"Connecting...");
  for (const auto& c : table["statuses"]) {
    const auto status = static_cast<KivResult>(std::stoul(c[0].get<std::string>(), nullptr, 16));
    EXPECT_EQ(static_cast<int>(RtStateOfStatus(status)), c[1].get<int>()) << c[2];
  }
}

}  // namespace
}  // namespace velmar::testing
