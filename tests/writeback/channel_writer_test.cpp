#include "writeback/channel_writer.h"

#include <gtest/gtest.h>

#include <map>

#include "export/fake_channel.h"
#include "support/fixtures.h"
#include "support/map_properties.h"
#include "velmar/property_factories.h"

namespace velmar {
namespace {

using nlohmann::json;

std::u16string Wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

// The case's list under `key`, empty when absent.
std::vector<json> ListOf(const json& c, const char* key) {
  return c.contains(key) ? c[key].get<std::vector<json>>() : std::vector<json>{};
}

// The case's "database": channel name -> {"Quantity", "Unit", ...}; a name
// it lacks cannot be read.
struct PropertyDatabase final : public KivObject<IKivChannelPropertyFactory> {
  explicit PropertyDatabase(const json& names) : names_(names) {}
  KivResult GetPropertySet(const std::u16string& name, int32_t, IKivPropertySet** set) override {
    const std::string key(name.begin(), name.end());
    if (!names_.contains(key)) return E_INVALIDARG;
    auto properties = MakeKiv<testing::CMapProperties>();
    for (const auto& [k, v] : names_[key].items()) properties->values[Wide(k)] = Variant::F64(v.get<double>());
    *set = properties.Detach();
    return S_OK;
  }
  KivResult HasKey(const std::u16string&, int32_t, KivBool*) override { return E_NOTIMPL; }
  KivResult RemoveKey(const std::u16string&, int32_t) override { return E_NOTIMPL; }
  KivResult GetKeyCount(uint32_t*) override { return E_NOTIMPL; }
  KivResult GetKey(uint32_t, std::u16string*, int32_t*) override { return E_NOTIMPL; }
  KivResult Reserved8() override { return E_NOTIMPL; }
  KivResult Reserved9() override { return E_NOTIMPL; }
  KivResult Reserved10() override { return E_NOTIMPL; }
  KivResult Reserved11() override { return E_NOTIMPL; }
  KivResult Reserved12() override { return E_NOTIMPL; }
  KivResult GetQuantityToColorMapping(IKivQuantityToColorMapping**) override { return E_NOTIMPL; }
  KivResult SetQuantityToColorMapping(IKivQuantityToColorMapping*) override { return E_NOTIMPL; }
  json names_;
};

struct Step final : public CWriteBackChannelStateMachineBase {
  Step() : CWriteBackChannelStateMachineBase(nullptr) {}
  AsyncThread GetJobThread() override { return nullptr; }
  KivResult MakeJob(CJobItem*, ComPtr<CWriteBackJobItem>*) override { return E_NOTIMPL; }
  const CExportChannel& item(size_t i) { return *items()[i]; }
};

// A destination whose answers come from the case.
struct Cache final : public CChannelWriterCache {
  explicit Cache(const json& c) : c_(c) {
    if (!c.contains("channels")) return;
    for (const auto& [name, channel] : c["channels"].items()) {
      auto fake = testing::MakeFakeChannel(channel["blocks"]);
      fake->status = channel.value("status", 1u);
      channels_[Wide(name)] = fake;
    }
  }
  uint32_t GetChannelLimit() override { return c_.value("limit", 0u); }
  bool SupportsResampling() override { return c_.value("resampling", true); }
  bool SupportsNativeRate() override { return c_.value("native", true); }
  bool HasStoredChannel(const std::u16string& name) override {
    for (const json& s : ListOf(c_, "stored")) {
      if (Wide(s.get<std::string>()) == name) return true;
    }
    return false;
  }
  KivResult GetExportChannel(const std::u16string& name, ComPtr<IKivChannel>* channel) override {
    auto it = channels_.find(name);
    if (it == channels_.end()) return E_FAIL;
    *channel = it->second;
    return S_OK;
  }
  void PostWriterMessage(uint32_t level, const std::u16string& text) override {
    messages.push_back({level, std::string(text.begin(), text.end())});
  }
  KivResult GetExportScaling(const std::u16string& name, IKivUnknown* context, ExportScaling* scaling) override {
    if (!c_.contains("database")) return CChannelWriterCache::GetExportScaling(name, context, scaling);
    auto database = MakeKiv<PropertyDatabase>(c_["database"]);
    return ExportScalingOf(name, database.Get(), nullptr, scaling);
  }
  ComPtr<CWriteBackChannelStateMachineBase> NewChannelStep() override { return MakeKiv<Step>(); }
  KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) override {
    queued = ComPtr<Step>(static_cast<Step*>(step.Get()));
    return S_OK;
  }

  std::vector<std::pair<uint32_t, std::string>> messages;
  ComPtr<Step> queued;
  const json& c_;
  std::map<std::u16string, ComPtr<testing::FakeChannel>> channels_;
};

class WriteChannelsCallTest : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: the destination's answers, the call, and its result, messages
// ([level, text]) and the items of the step it queued (null: none).
TEST_P(WriteChannelsCallTest, ChecksInOrderAndQueuesWhatHasData) {
  const json c = testing::ReadFixture(GetParam());
  Cache cache(c);
  const json& call = c["call"];
  NameList names;
  for (const json& n : ListOf(call, "names")) names.push_back(Wide(n.get<std::string>()));
  WriteChannelsRequest request;
  request.start = call.value("start", KivTime{0});
  request.end = call.value("end", KivTime{1'000'000});
  request.period = call.value("period", KivTime{0});
  request.resampled = call.contains("period");
  request.names = call.value("unreadable", false) ? nullptr : &names;
  const KivResult r = WriteChannels(cache, request);
  EXPECT_EQ(static_cast<uint32_t>(r), std::stoul(c["result"].get<std::string>(), nullptr, 16));
  std::vector<std::pair<uint32_t, std::string>> messages;
  for (const json& m : ListOf(c, "messages")) messages.push_back({m[0], m[1]});
  EXPECT_EQ(cache.messages, messages);
  if (c["queued"].is_null()) {
    EXPECT_FALSE(cache.queued);
  } else {
    ASSERT_TRUE(cache.queued);
    EXPECT_EQ(cache.queued->itemCount(), c["queued"].get<size_t>());
  }
  // "first_values": the first value of each queued item, in the destination's unit.
  for (size_t i = 0; cache.queued && i < ListOf(c, "first_values").size(); ++i) {
    std::span<const double> values;
    ASSERT_EQ(cache.queued->item(i).blocks().front()->ValuesArray(false, &values), S_OK);
    EXPECT_NEAR(values.front(), c["first_values"][i].get<double>(), 1e-9) << i;
    EXPECT_EQ(cache.queued->item(i).properties.count(u"Filter"), 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, WriteChannelsCallTest, testing::FixtureCases("export/write_calls"),
                         testing::FixtureName);

}  // namespace
}  // namespace velmar
