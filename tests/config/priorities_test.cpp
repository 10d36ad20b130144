#include "config/priorities.h"

#include <gtest/gtest.h>

#include "support/got.h"

namespace velmar {
namespace {

using testing::Got;

struct Parent : CPrioritiesParentCallback {
  int told = 0;
  KivResult OnPrioritiesEdited() override {
    ++told;
    return S_OK;
  }
};

TEST(Priorities, AnEmptyListItsLimitAndDefaultColoursThatCompareBeforeTellingTheParent) {
  auto priorities = MakeKiv<CPriorities>();
  EXPECT_EQ(Got(priorities, &CPriorities::GetMaximumCount), 8);
  EXPECT_EQ(Got(priorities, &CPriorities::GetCount), 0);
  ComPtr<IKivPriority> priority;
  EXPECT_EQ(priorities->GetByIndex(1, priority.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(priorities->GetById(1, priority.Put()), DISP_E_BADINDEX);
  EXPECT_FALSE(priority);
  EXPECT_EQ(priorities->Remove(1), DISP_E_BADINDEX);
  EXPECT_EQ(priorities->Add(1, nullptr), E_POINTER);
  Parent parent;
  ASSERT_EQ(priorities->SetParentCallback(&parent), S_OK);
  EXPECT_EQ(Got(priorities, &CPriorities::GetDefaultForeColor), 0xFF0000u);
  EXPECT_EQ(Got(priorities, &CPriorities::GetDefaultBackColor), 0xFFFFFFu);
  EXPECT_EQ(priorities->SetDefaultForeColor(0xFF0000), S_OK);
  EXPECT_EQ(parent.told, 0);
  EXPECT_EQ(priorities->SetDefaultBackColor(0x00FF00), S_OK);
  EXPECT_EQ(parent.told, 1);
  EXPECT_EQ(Got(priorities, &CPriorities::GetDefaultBackColor), 0x00FF00u);
}

TEST(Priorities, EightAtMostAndARemovedIdComesBackWithDefaults) {
  auto priorities = MakeKiv<CPriorities>();
  ASSERT_EQ(priorities->Reset(), S_OK);
  ComPtr<IKivPriority> p;
  ASSERT_EQ(priorities->GetById(1, p.Put()), S_OK);
  ASSERT_EQ(p->SetName(u"trace"), S_OK);
  ASSERT_EQ(priorities->Reset(), S_OK);
  EXPECT_EQ(Got(p, &IKivPriority::GetName), u"trace") << "Reset leaves a list that holds priorities";
  EXPECT_EQ(priorities->Add(0, p.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(priorities->Add(2, p.Put()), DISP_E_BADINDEX);
  for (int32_t id = 5; id <= 8; ++id) ASSERT_EQ(priorities->Add(id, p.Put()), S_OK);
  EXPECT_EQ(priorities->Add(9, p.Put()), KIV_E_PRIORITIES_FULL);
  ASSERT_EQ(priorities->Remove(1), S_OK);
  ASSERT_EQ(priorities->Add(1, p.Put()), S_OK);
  EXPECT_EQ(Got(p, &IKivPriority::GetName), u"priority 1");
  EXPECT_EQ(Got(p, &IKivPriority::GetForeColor), 0xFF0000u);
}

}  // namespace
}  // namespace velmar
