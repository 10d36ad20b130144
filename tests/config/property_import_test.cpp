#include "config/property_import.h"

#include <gtest/gtest.h>

#include "config/channel_property_factory.h"
#include "config/event_property_factory.h"
#include "support/got.h"
#include "velmar/quantity_to_color_mapping.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar {
namespace {

StoredChannelProperties Record(const nlohmann::json& r) {
  return {Utf8ToWide(r["name"].get<std::string>()), Utf8ToWide(r["user_type"].get<std::string>()), r["max"], r["min"],
          r["alarm_max"], r["alarm_min"], r["places"], r["quantity"], r["unit"], r["colour"], r["sample_type"],
          r["autoscale"]};
}

// Cases of tests/data/property_import.json: records merged into a database,
// then properties of keys ("name|quantity"); null: the property is not set.
TEST(PropertyImport, ChannelRecordsFollowTheOverrideAndCheckRules) {
  for (const auto& c : testing::Fixture("property_import.json")) {
    SCOPED_TRACE(c["about"].get<std::string>());
    auto factory = MakeKiv<CChannelPropertyFactory>();
    ComPtr<IKivPropertySet> set;
    for (const auto& key : c.value("existing", nlohmann::json::array())) {
      ASSERT_EQ(factory->GetPropertySet(Utf8ToWide(key[0].get<std::string>()), key[1], set.Put()), S_OK);
    }
    std::vector<StoredChannelProperties> records;
    for (const auto& r : c["records"]) records.push_back(Record(r));
    MergeChannelProperties(factory.Get(), c["override"], records);
    for (const auto& [key, expected] : c["expect"].items()) {
      const size_t bar = key.find('|');
      const std::u16string name = Utf8ToWide(key.substr(0, bar));
      const int32_t quantity = std::stoi(key.substr(bar + 1));
      KivBool found = KIV_FALSE;
      ASSERT_EQ(factory->HasKey(name, quantity, &found), S_OK);
      ASSERT_EQ(FromKivBool(found), expected != "absent") << key;
      if (expected == "absent") continue;
      ASSERT_EQ(factory->GetPropertySet(name, quantity, set.Put()), S_OK);
      for (const auto& [property, value] : expected.items()) {
        Variant held;
        const KivResult r = set->GetProperty(Utf8ToWide(property), &held);
        if (value.is_null()) {
          EXPECT_EQ(r, E_INVALIDARG) << key << " " << property;
        } else {
          const double want = value.is_boolean() ? (value.get<bool>() ? -1.0 : 0.0)  /* KIV_TRUE */ : value.get<double>();
          EXPECT_NEAR(held.ToDouble().value_or(-1e300), want, 1e-9) << key << " " << property;
        }
      }
    }
  }
}

TEST(PropertyImport, EventNamesJoinTheDatabaseOnce) {
  auto factory = MakeKiv<CEventPropertyFactory>();
  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(factory->GetPropertySet(u"Pit", set.Put()), S_OK);
  ASSERT_EQ(set->SetProperty(u"Priority", Variant::I32(3)), S_OK);
  MergeEventNames(factory.Get(), {u"Pit", u"Flag", u""});
  EXPECT_EQ(testing::Got(factory, &CEventPropertyFactory::GetCount), 2u);
  Variant priority;
  ASSERT_EQ(set->GetProperty(u"Priority", &priority), S_OK);
  EXPECT_EQ(priority.AsI32(), 3) << "a known name keeps its priority";
}

}  // namespace
}  // namespace velmar
