#include "core/constant_definition.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using Kind = ConstantElement::Kind;

// Each file: a definition's text, the parts read from it (elements as kind,
// name, value), and what writing the parts gives ("written"), or that it
// reads back the same ("round_trips").
class ConstantDefinitions : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(ConstantDefinitions, SplitIntoFileStepsAndTarget) {
  const nlohmann::json c = testing::ReadFixture(GetParam());
  const ConstantDefinitionParts parts = ParseConstantDefinition(Utf8ToWide(c["text"].get<std::string>()));
  EXPECT_EQ(WideToUtf8(parts.file), c["file"].get<std::string>());
  EXPECT_EQ(WideToUtf8(parts.target), c["target"].get<std::string>());
  std::vector<ConstantElement> elements;
  for (const auto& e : c["elements"])
    elements.push_back({static_cast<Kind>(e[0].get<int>()), Utf8ToWide(e[1].get<std::string>()),
                        Utf8ToWide(e[2].get<std::string>())});
  EXPECT_EQ(parts.elements, elements);
  std::u16string written;
  if (c.contains("written")) {
    ASSERT_EQ(WriteConstantDefinition(parts, &written), S_OK);
    EXPECT_EQ(WideToUtf8(written), c["written"].get<std::string>());
  }
  if (c.value("round_trips", false)) {
    ASSERT_EQ(WriteConstantDefinition(parts, &written), S_OK);
    EXPECT_EQ(ParseConstantDefinition(written), parts);
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, ConstantDefinitions, testing::FixtureCases("core/constant_definitions"),
                         testing::FixtureName);

TEST(ConstantDefinition, WritingRefusesUnnamedStepsAndRangeStepsWithoutValue) {
  std::u16string written = u"untouched";
  ConstantDefinitionParts parts{u"f.xlsx", u"A1", {ConstantElement{Kind::kSelectSheet, u"", u""}}};
  EXPECT_EQ(WriteConstantDefinition(parts, &written), E_FAIL);
  parts.elements = {ConstantElement{Kind::kSetRange, u"Gain", u""}};
  EXPECT_EQ(WriteConstantDefinition(parts, &written), E_FAIL);
  EXPECT_EQ(written, u"untouched");
  EXPECT_EQ(WriteConstantDefinition(parts, nullptr), E_POINTER);
}

TEST(ConstantElement, KindChangesFollowTheRules) {
  ConstantElement element{Kind::kSetRange, u"Gain", u"3"};
  EXPECT_EQ(element.SetKind(3), E_INVALIDARG);
  EXPECT_EQ(element.SetKind(-1), E_INVALIDARG);
  EXPECT_EQ(element.value, u"3") << "a refused kind changes nothing";
  EXPECT_EQ(element.SetKind(Kind::kSetRange), S_OK);
  EXPECT_EQ(element.value, u"3") << "kind 2 keeps the value";
  EXPECT_EQ(element.SetKind(Kind::kRunMacro), S_OK);
  EXPECT_TRUE(element.value.empty());
  EXPECT_EQ(element.SetValue(u"4"), E_INVALIDARG) << "only a range step has a value";
}

}  // namespace
}  // namespace velmar
