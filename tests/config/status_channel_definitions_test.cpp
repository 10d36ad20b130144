#include "config/status_channel_definitions.h"

#include <gtest/gtest.h>

#include "support/got.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

std::u16string Wide(const json& text) { return Utf8ToWide(text.get<std::string>()); }

std::vector<StatusDefinitionSource> Definitions(const json& list) {
  std::vector<StatusDefinitionSource> out;
  for (const auto& d : list) {
    StatusDefinitionSource& def = out.emplace_back(StatusDefinitionSource{Wide(d["name"]), d["value"], {}});
    for (const auto& f : d["fields"]) {
      StatusBitField field{Wide(f["a"]), Wide(f["b"]), f["va"], Wide(f["c"]), f["vb"], {}};
      for (const auto& e : f["entries"]) field.entries.push_back({Wide(e[0]), e[1], e[2]});
      def.fields.push_back(std::move(field));
    }
  }
  return out;
}

std::vector<uint8_t> Hex(const std::string& text) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i + 1 < text.size(); i += 2) bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

// The tree as the fixture's "expect" writes it, read through the interfaces.
json Walk(IKivStatusChannelDefinitions* tree) {
  json out = json::array();
  for (int32_t i = 1, n = Got(tree, &IKivStatusChannelDefinitions::GetCount); i <= n; ++i) {
    ComPtr<IKivStatusChannelDefinition> d;
    EXPECT_EQ(tree->GetItem(i, d.Put()), S_OK);
    out.push_back({{"key", WideToUtf8(Got(d, &IKivStatusChannelDefinition::GetChannelKeyText))},
                   {"value", Got(d, &IKivStatusChannelDefinition::GetValue)},
                   {"fields", Got(d, &IKivStatusChannelDefinition::GetCount)}});
  }
  return out;
}

class StatusDefinitionsBlobTest : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(StatusDefinitionsBlobTest, BuildsTheTreeOfTheMappedChannels) {
  const json c = ReadFixture(GetParam());
  std::vector<uint8_t> blob = c.contains("hex") ? Hex(c["hex"]) : WriteStatusDefinitionsBlob(Definitions(c["definitions"]));
  if (c.contains("cut")) blob.resize(blob.size() - c["cut"].get<size_t>());
  std::vector<StatusChannelRecord> records;
  for (const auto& r : c["channels"]) records.push_back({Wide(r[0]), Wide(r[1]), r[2]});
  const auto map = BuildStatusChannelMap(records, c["largestQuantity"]);
  std::vector<StatusDefinitionSource> parsed;
  EXPECT_EQ(Succeeded(ParseStatusDefinitionsBlob(blob, &parsed)), !c.value("refused", false));
  if (c.contains("definitions") && !c.value("refused", false)) {
    EXPECT_EQ(parsed, Definitions(c["definitions"]));
  }
  EXPECT_EQ(Walk(StatusChannelDefinitionsFromBlob(blob, map).Get()), c["expect"]);
}

INSTANTIATE_TEST_SUITE_P(Cases, StatusDefinitionsBlobTest, FixtureCases("realtime/status_definitions"), FixtureName);

TEST(StatusChannelDefinitionsTest, ItemsCountFromOneAndCheckTheIndexBeforeTheOut) {
  const auto source = std::vector<StatusDefinitionSource>{{u"Gear", 3, {{u"a", u"b", 1, u"c", 2, {{u"N", 0, 1}}}}}};
  const auto tree = BuildStatusChannelDefinitions(source, {{u"Gear", u"[4]GEAR"}});
  ComPtr<IKivStatusChannelDefinition> definition;
  EXPECT_EQ(tree->GetItem(0, nullptr), E_INVALIDARG);
  EXPECT_EQ(tree->GetItem(1, nullptr), E_POINTER);
  EXPECT_EQ(tree->GetCount(nullptr), E_POINTER);
  ASSERT_EQ(tree->GetItem(1, definition.Put()), S_OK);
  ComPtr<IKivBitFieldDefinition> field;
  ASSERT_EQ(definition->GetItem(1, field.Put()), S_OK);
  EXPECT_EQ(field->GetItem(2, nullptr), E_INVALIDARG);
  ComPtr<IKivBitFieldDefinitionEntry> entry;
  ASSERT_EQ(field->GetItem(1, entry.Put()), S_OK);
  EXPECT_EQ(entry->GetText(nullptr), E_INVALIDARG) << "an entry's getters refuse a null out as an argument";
  EXPECT_EQ(Got(entry, &IKivBitFieldDefinitionEntry::GetText), u"N");
}

}  // namespace
}  // namespace velmar::testing
