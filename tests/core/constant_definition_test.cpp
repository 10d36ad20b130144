#include "core/constant_definition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmar {
namespace {

using ::testing::ElementsAre;
using Kind = ConstantElement::Kind;

TEST(ConstantDefinition, AFullTextSplitsIntoFileStepsAndTargetAndWritesBackTheSame) {
  const std::u16string text = u"|book.xls|Sheet1|?Recalc|$Speed=200|Sheet2!B7";
  const ConstantDefinitionParts parts = ParseConstantDefinition(text);
  EXPECT_EQ(parts.file, u"book.xls");
  EXPECT_EQ(parts.target, u"Sheet2!B7");
  EXPECT_THAT(parts.elements, ElementsAre(ConstantElement{Kind::kSelectSheet, u"Sheet1", u""},
                                          ConstantElement{Kind::kRunMacro, u"Recalc", u""},
                                          ConstantElement{Kind::kSetRange, u"Speed", u"200"}));
  std::u16string written;
  ASSERT_EQ(WriteConstantDefinition(parts, &written), S_OK);
  EXPECT_EQ(written, text);
}

TEST(ConstantDefinition, StepsThatCannotBeReadAreDropped) {
  const auto parts = ParseConstantDefinition(u"|b.xlsx|$=5|?|$Gain=|$NoEquals|Sheet3|A1");
  EXPECT_THAT(parts.elements, ElementsAre(ConstantElement{Kind::kSelectSheet, u"Sheet3", u""}));
  EXPECT_EQ(parts.target, u"A1");
  // A value may itself hold "=": only the first one splits.
  const auto withEquals = ParseConstantDefinition(u"|b.xlsx|$F=a=b|A1");
  EXPECT_THAT(withEquals.elements, ElementsAre(ConstantElement{Kind::kSetRange, u"F", u"a=b"}));
}

TEST(ConstantDefinition, AnEmptyFieldEndsTheParse) {
  const auto parts = ParseConstantDefinition(u"|book.xls||Sheet1|A1");
  EXPECT_EQ(parts.file, u"book.xls");
  EXPECT_TRUE(parts.elements.empty());
  EXPECT_TRUE(parts.target.empty());
}

TEST(ConstantDefinition, ANewDefinitionIsEmptyAndStaysEmptyThroughARoundTrip) {
  const auto parts = ParseConstantDefinition(u"|");
  EXPECT_TRUE(parts.file.empty());
  EXPECT_TRUE(parts.target.empty());
  std::u16string written;
  ASSERT_EQ(WriteConstantDefinition(parts, &written), S_OK);
  EXPECT_EQ(ParseConstantDefinition(written), parts);
}

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
