// Math channels through the add-in's factory, over a parent whose channels
// come from the cases in tests/data/addins/math_cases.json: values worked
// out by hand, NaN where there is none, and the messages of definitions
// that are not offered.
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "math_factory.h"
#include "outing/blocks/channel_iterator.h"
#include "outing/data_block_test_util.h"
#include "support/fixtures.h"
#include "support/managed_channel_reads.h"
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
    blocks_ = std::make_shared<DataBlockList>(DataBlockList{testing::AperiodicBlock(times, values, true)});
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
  ASSERT_EQ(factory->GetItem(Utf8ToWide(c["definition"]["name"].get<std::string>()), channel.Put()), S_OK);
  const auto blocks = testing::ReadBlocks(channel.Get());
  ASSERT_EQ(blocks.size(), 1u);
  // As the fixture writes it: seconds, values to 1e-9 and NaN as null.
  Json got = {{"times", Json::array()}, {"values", Json::array()}};
  for (size_t i = 0; i < blocks[0].values.size(); ++i) {
    const double v = blocks[0].values[i];
    got["times"].push_back(static_cast<double>(blocks[0].times[i]) / 1e7);
    got["values"].push_back(std::isnan(v) ? Json() : Json(std::round(v * 1e9) / 1e9));
  }
  std::u16string unit;
  EXPECT_EQ(factory->GetUnit(names[0], &unit), S_OK);
  if (!unit.empty()) got["unit"] = WideToUtf8(unit);
  EXPECT_EQ(got, c["expected"]);
}

INSTANTIATE_TEST_SUITE_P(Cases, MathChannels, ::testing::ValuesIn(testing::Fixture("addins/math_cases.json")),
                         [](const auto& info) { return "case" + std::to_string(info.index); });

}  // namespace
}  // namespace velmar::math
