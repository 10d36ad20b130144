// Math channels through the add-in's factory, over a parent whose channels
// come from the cases in tests/data/addins/math_cases.json: values worked
// out by hand, NaN where there is none, and the messages of definitions
// that are not offered.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "math_factory.h"
#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::math {
namespace {

using Json = nlohmann::json;

double Number(const Json& v) { return v.is_null() ? std::nan("") : v.get<double>(); }

// A recorded channel of one aperiodic block.
class FixedChannel final : public KivObject<IKivChannel> {
 public:
  explicit FixedChannel(const Json& data) {
    std::vector<double> values;
    std::vector<KivTime> times;
    for (const Json& v : data["values"]) values.push_back(Number(v));
    for (const Json& t : data["times"]) times.push_back(std::llround(t.get<double>() * 1e7));
    std::shared_ptr<const DataSection> section;
    ComPtr<IKivDataBlockImplBase> block;
    EXPECT_EQ(DataSection::MakeAperiodic(LockedArray<double>::FromVector(std::move(values)),
                                         LockedArray<KivTime>::FromVector(std::move(times)), &section), S_OK);
    EXPECT_EQ(MakeOutingDataBlock(section, 0, 0, true, &block), S_OK);
    blocks_ = std::make_shared<DataBlockList>(DataBlockList{block});
  }
  KivResult GetName(std::u16string*) override { return E_NOTIMPL; }
  KivResult GetStatus(uint32_t*) override { return E_NOTIMPL; }
  KivResult GetIterator(IKivChannelIterator2** out) override {
    *out = MakeKiv<CChannelIterator>(blocks_, nullptr, nullptr).Detach();
    return S_OK;
  }

 private:
  std::shared_ptr<const DataBlockList> blocks_;
};

class FixedChannels final : public KivObject<IKivChannelFactory> {
 public:
  explicit FixedChannels(const Json& channels) : channels_(channels) {}
  KivResult GetNames(NameList* names) override {
    for (const auto& [name, data] : channels_.items()) names->push_back(u"[7]" + Utf8ToWide(name));
    return S_OK;
  }
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override {
    *channel = MakeKiv<FixedChannel>(channels_[WideToUtf8(name.substr(3))]).Detach();
    return S_OK;
  }
  KivResult GetParent(IKivUnknown**) override { return E_NOTIMPL; }
  KivResult SetParent(IKivUnknown*) override { return E_NOTIMPL; }
  KivResult GetRoot(IKivUnknown**) override { return E_NOTIMPL; }
  KivResult SetRoot(IKivUnknown*) override { return E_NOTIMPL; }
  KivResult GetIcon(int32_t, int32_t, IKivUnknown**) override { return E_NOTIMPL; }

 private:
  Json channels_;
};

std::vector<Json> Cases() {
  std::vector<Json> cases;
  for (const Json& c : testing::Fixture("addins/math_cases.json")) cases.push_back(c);
  return cases;
}

class MathChannels : public ::testing::TestWithParam<Json> {};

TEST_P(MathChannels, GiveTheValuesWorkedOutByHand) {
  const Json& c = GetParam();
  auto factory = MakeKiv<CMathChannelFactory>();
  ASSERT_EQ(factory->SetDefinitions(Utf8ToWide(Json::array({c["definition"]}).dump())), S_OK);
  ASSERT_EQ(factory->SetParent(MakeKiv<FixedChannels>(c["channels"]).Get()), S_OK);
  NameList names;
  std::vector<std::u16string> messages;
  ASSERT_EQ(factory->GetNames(&names), S_OK);
  ASSERT_EQ(factory->GetMessages(&messages), S_OK);
  if (c.contains("error")) {
    EXPECT_TRUE(names.empty());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(WideToUtf8(messages[0]).rfind(c["error"].get<std::string>(), 0), 0u) << WideToUtf8(messages[0]);
    return;
  }
  ASSERT_EQ(names.size(), 1u);
  ComPtr<IKivChannel> channel;
  ComPtr<IKivChannelIterator2> iterator;
  ComPtr<IKivDataBlocks> blocks;
  ComPtr<IKivDataBlock> block;
  std::vector<double> values;
  std::vector<KivTime> times;
  ASSERT_EQ(factory->GetItem(Utf8ToWide(c["definition"]["name"].get<std::string>()), channel.Put()), S_OK);
  ASSERT_EQ(channel->GetIterator(iterator.Put()), S_OK);
  ASSERT_EQ(iterator->GetDataBlocks(blocks.Put()), S_OK);
  ASSERT_EQ(blocks->GetBlock(1, block.Put()), S_OK);
  ASSERT_EQ(block->GetValues(&values), S_OK);
  ASSERT_EQ(block->GetTimes(&times), S_OK);
  const Json& expected = c["expected"];
  ASSERT_EQ(values.size(), expected["values"].size());
  for (size_t i = 0; i < values.size(); ++i) {
    const double want = Number(expected["values"][i]);
    if (std::isnan(want)) {
      EXPECT_TRUE(std::isnan(values[i])) << i;
    } else {
      EXPECT_NEAR(values[i], want, 1e-9) << i;
    }
    EXPECT_EQ(times[i], std::llround(expected["times"][i].get<double>() * 1e7));
  }
  std::u16string unit;
  EXPECT_EQ(factory->GetUnit(names[0], &unit), S_OK);
  EXPECT_EQ(WideToUtf8(unit), expected.value("unit", ""));
}

TEST(MathChannelsPersist, DefinitionsGoThroughTheSettingsStorage) {
  ComPtr<IKivStorage> storage;
  ASSERT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
  auto first = MakeKiv<CMathChannelFactory>();
  ASSERT_EQ(first->InitNew(storage.Get()), S_OK);
  ASSERT_EQ(first->SetDefinitions(u"[{\"name\": \"V\", \"expression\": \"Speed / 3.6\", \"unit\": \"m/s\"}]"), S_OK);
  ASSERT_EQ(first->Save(storage.Get(), KIV_TRUE), S_OK);
  EXPECT_EQ(first->IsDirty(), S_FALSE);
  auto second = MakeKiv<CMathChannelFactory>();
  ASSERT_EQ(second->Load(storage.Get()), S_OK);
  std::u16string unit;
  EXPECT_EQ(second->GetUnit(u"V", &unit), S_OK);
  EXPECT_EQ(unit, u"m/s");
}

INSTANTIATE_TEST_SUITE_P(Cases, MathChannels, ::testing::ValuesIn(Cases()),
                         [](const auto& info) { return "case" + std::to_string(info.index); });

}  // namespace
}  // namespace velmar::math
