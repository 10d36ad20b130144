#include "config/colour_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/got.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;

struct Parent : CColourTableParentCallback {
  int told = 0;
  KivResult answer = S_OK;
  KivResult OnColourTableEdited() override {
    ++told;
    return answer;
  }
};

std::vector<uint32_t> Colours(IKivColourTable* table) {
  std::vector<uint32_t> out;
  for (int32_t i = 1, n = testing::Got(table, &IKivColourTable::GetCount); i <= n; ++i) {
    uint32_t c = 0;
    EXPECT_EQ(table->GetColour(i, &c), S_OK);
    out.push_back(c);
  }
  return out;
}

TEST(ColourTable, EditsTellTheParentAndIndexesCountFromOne) {
  auto table = MakeKiv<CColourTable>();
  Parent parent;
  ASSERT_EQ(table->SetParentCallback(&parent), S_OK);
  EXPECT_EQ(table->Add(0x0000FF), S_OK);
  EXPECT_EQ(table->Add(0x00FF00), S_OK);
  EXPECT_EQ(table->SetColour(2, 0x123456), S_OK);
  EXPECT_THAT(Colours(table.Get()), ElementsAre(0x0000FFu, 0x123456u));
  EXPECT_EQ(table->Remove(1), S_OK);
  EXPECT_THAT(Colours(table.Get()), ElementsAre(0x123456u));
  EXPECT_EQ(table->Clear(), S_OK);
  EXPECT_THAT(Colours(table.Get()), ElementsAre());
  EXPECT_EQ(parent.told, 5);
}

TEST(ColourTable, BadIndexesNullOutsAndAParentThatCannotWriteWhoseEditStaysInMemory) {
  auto table = MakeKiv<CColourTable>();
  uint32_t colour = 0;
  EXPECT_EQ(table->GetColour(1, nullptr), E_POINTER);
  EXPECT_EQ(table->GetColour(1, &colour), E_FAIL);
  EXPECT_EQ(table->GetColour(0, &colour), E_FAIL);
  EXPECT_EQ(table->Remove(1), E_FAIL);
  EXPECT_EQ(table->SetColour(1, 5), E_FAIL);
  EXPECT_EQ(table->GetCount(nullptr), E_POINTER);
  Parent parent;
  parent.answer = E_FAIL;
  ASSERT_EQ(table->SetParentCallback(&parent), S_OK);
  EXPECT_EQ(table->Add(0xABCDEF), E_FAIL);
  EXPECT_THAT(Colours(table.Get()), ElementsAre(0xABCDEFu));
  ASSERT_EQ(table->SetParentCallback(nullptr), S_OK);
  EXPECT_EQ(table->Add(1), S_OK) << "without a parent nobody is told";
  EXPECT_EQ(parent.told, 1);
}

}  // namespace
}  // namespace velmar
