#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

#include "outing/information/outing_caption_helper.h"
#include "outing/information/outing_information_prop_def.h"
#include "outing/laps/fast_lap.h"
#include "outing/laps/fast_lap_registry.h"
#include "platform/registry/registry_file.h"
#include "support/faulty_file_ops.h"
#include "support/fixtures.h"
#include "support/map_properties.h"
#include "support/temp_dir.h"
#include "velmar/registry.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using Json = nlohmann::json;

KivTime Ticks(const Json& seconds) { return std::llround(seconds.get<double>() * 1e7); }

Variant ValueOf(const Json& v) {
  if (v.is_string()) return Variant::Text(Utf8ToWide(v.get<std::string>()));
  if (v.is_number_integer()) return Variant::I32(v.get<int32_t>());
  return Variant::F64(v.get<double>());
}

// {"text": "Jo"}, {"i32": 4}, {"f64": 2.5}, {"bool": true}
Variant TypedValue(const Json& v) {
  if (v.contains("text")) return Variant::Text(Utf8ToWide(v["text"].get<std::string>()));
  if (v.contains("i32")) return Variant::I32(v["i32"].get<int32_t>());
  if (v.contains("bool")) return Variant::Bool(v["bool"].get<bool>());
  return Variant::F64(v["f64"].get<double>());
}

TEST(OutingInformation, FastLapOfEachFixtureCase) {
  const Json table = Fixture("fast_lap.json");  // kept: the loop walks inside it
  for (const Json& c : table["cases"]) {
    SCOPED_TRACE(c["name"].get<std::string>());
    FastLapInput in;
    for (const Json& m : c["markers"]) in.markers.push_back(Ticks(m));
    in.filter = c.value("filter", false);
    in.minimum = Ticks(c.value("minimum", Json(0)));
    if (c.contains("channels")) {
      in.hasChannels = true;
      in.channelStart = Ticks(c["channels"][0]);
      in.channelEnd = Ticks(c["channels"][1]);
    }
    if (c.contains("outing")) {
      in.outingStart = Ticks(c["outing"][0]);
      in.outingEnd = Ticks(c["outing"][1]);
    }
    const FastLap lap = ComputeFastLap(in);
    EXPECT_EQ(lap.found ? lap.lap : -1, c["lap"].get<int>());
    EXPECT_EQ(lap.time, Ticks(c["time"]));
  }
}

class FileCallback final : public COutingCaptionHelperCallback {
 public:
  std::u16string GetDefaultCaption(IKivPropertySet* properties) override {
    return DefaultCaption(properties, u"ASCII Outing");
  }
  std::u16string GetPath() override { return u"/data/runs/f.txt"; }
  void OnCaptionInvalid() override {}
};

TEST(OutingInformation, CaptionOfEachFixtureCase) {
  FileCallback callback;
  COutingCaptionHelper helper(&callback);
  const Json table = Fixture("captions.json");  // kept: the loop walks inside it
  for (const Json& c : table["cases"]) {
    SCOPED_TRACE(c.dump());
    auto properties = MakeKiv<CMapProperties>();
    for (const auto& [name, value] : c["properties"].items()) properties->values[Utf8ToWide(name)] = ValueOf(value);
    if (c.contains("fast_lap")) {
      properties->values[u"Fast lap number"] = Variant::I32(c["fast_lap"].get<int32_t>());
      properties->values[u"Fast lap time"] = Variant::Time(Ticks(c["fast_time"]));
    }
    CaptionSettings settings;
    settings.format = Utf8ToWide(c["format"].get<std::string>());
    EXPECT_EQ(WideToUtf8(helper.BuildCaption(properties.Get(), settings)), c["caption"].get<std::string>());
  }
  EXPECT_EQ(helper.BuildCaption(nullptr, {}), u"ASCII Outing") << "no information at all still has a caption";
}

TEST(OutingInformation, EditChecksOfEachFixtureCase) {
  const std::map<std::string, KivResult> codes = {{"S_OK", S_OK},
                                                  {"E_INVALIDARG", E_INVALIDARG},
                                                  {"DISP_E_TYPEMISMATCH", DISP_E_TYPEMISMATCH}};
  EXPECT_EQ(COutingInformationPropDef::Table().size(), 19u);
  const Json table = Fixture("information_edits.json");  // kept: the loop walks inside it
  for (const Json& c : table["cases"]) {
    SCOPED_TRACE(c.dump());
    const Variant held = c.contains("held") ? TypedValue(c["held"]) : Variant();
    Variant stored;
    EXPECT_EQ(COutingInformationPropDef::CheckEdit(Utf8ToWide(c["name"].get<std::string>()), TypedValue(c["value"]),
                                                   c.contains("held") ? &held : nullptr, &stored),
              codes.at(c["result"].get<std::string>()));
    if (c.contains("stored")) {
      EXPECT_EQ(stored, TypedValue(c["stored"]));
    }
  }
}

class FastLapRegistryTest : public ::testing::Test {
 protected:
  RegistryKey Key() {
    RegistryKey key;
    EXPECT_EQ(RegistryKey::Create(RegHive::kCurrentUser, kOutingFactoryKey, &key), S_OK);
    return key;
  }

  TempDir dir_;
  FaultyFileOps ops_;
  ScopedHiveOverride hive_{RegHive::kCurrentUser, std::make_shared<RegistryFile>(dir_ / "user.json", ops_)};
};

TEST_F(FastLapRegistryTest, NothingStoredOrValuesOfAnotherShapeReadAsTheDefaults) {
  EXPECT_FALSE(ReadFastLapFilterEnabled());
  EXPECT_EQ(ReadFastLapMinimumTime(), 5 * kTicksPerSecond);
  EXPECT_EQ(ReadFastLapSettings(), FastLapSettings{});
  // So do values of another shape.
  ASSERT_EQ(Key().SetU32(kFastLapFilterEnabledValue, 1), S_OK);
  ASSERT_EQ(Key().SetBinary(kFastLapMinimumTimeValue, {1, 2, 3, 4}), S_OK);
  EXPECT_FALSE(ReadFastLapFilterEnabled());
  EXPECT_EQ(ReadFastLapMinimumTime(), kDefaultFastLapMinimumTime);
}

TEST_F(FastLapRegistryTest, WrittenValuesReadBackAFailedWriteKeepsThem) {
  ASSERT_EQ(WriteFastLapFilterEnabled(true), S_OK);
  ASSERT_EQ(WriteFastLapMinimumTime(-3), S_OK);
  EXPECT_EQ(ReadFastLapSettings(), (FastLapSettings{true, -3})) << "the time keeps its sign";
  ASSERT_EQ(WriteFastLapFilterEnabled(false), S_OK);
  EXPECT_FALSE(ReadFastLapFilterEnabled());
  std::vector<uint8_t> flag;
  ASSERT_EQ(Key().QueryBinary(kFastLapFilterEnabledValue, &flag), S_OK);
  EXPECT_EQ(flag, (std::vector<uint8_t>{0, 0}));
  // A failed write gives its code and keeps the stored value.
  ASSERT_EQ(WriteFastLapMinimumTime(70 * kTicksPerSecond), S_OK);
  ops_.FailAt(FaultyFileOps::Step::kWrite, STG_E_MEDIUMFULL);
  EXPECT_EQ(WriteFastLapMinimumTime(80 * kTicksPerSecond), STG_E_MEDIUMFULL);
  EXPECT_EQ(ReadFastLapMinimumTime(), 70 * kTicksPerSecond);
}

}  // namespace
}  // namespace velmar::testing
