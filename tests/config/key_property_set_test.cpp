#include "config/key_property_set.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(KeyPropertySet, SetsAndListsInNameOrderAndReportsOnceForSeveral) {
  int reports = 0;
  auto set = MakeKiv<CKeyPropertySet>(PropertyList{{u"Unit", Variant::I32(0)}});
  set->SetChangeCallback([&] { ++reports; });
  Variant v;
  EXPECT_EQ(set->GetProperty(u"Missing", &v), E_INVALIDARG);
  EXPECT_EQ(set->GetProperty(u"Unit", nullptr), E_POINTER);
  EXPECT_EQ(set->SetProperties({{u"Unit", Variant::I32(2)}, {u"Autoscale", Variant::Bool(false)}}), S_OK);
  EXPECT_EQ(reports, 1);
  EXPECT_EQ(set->SetProperties({{u"Unit", Variant::I32(2)}}), S_FALSE);
  EXPECT_EQ(set->SetProperties({{u"", Variant::I32(2)}, {u"Unit", Variant::I32(5)}}), E_INVALIDARG);
  EXPECT_EQ(reports, 1);
  PropertyList all;
  ASSERT_EQ(set->GetProperties(&all), S_OK);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].name, u"Autoscale");
  EXPECT_EQ(all[1].value, Variant::I32(2)) << "the refused list changed nothing";
}

}  // namespace
}  // namespace velmar
