#include "outing/factory/outing_type_table.h"

#include <gtest/gtest.h>

namespace velmar::testing {
namespace {

TEST(OutingTypeTableTest, EachRowIsItsOwnOutingType) {
  for (size_t i = 0; i < kOutingTypeRowCount; ++i) {
    const auto type = static_cast<OutingType>(i);
    EXPECT_EQ(OutingTypeRowOf(type).type, type);
    EXPECT_EQ(&FindOutingTypeRow(OutingTypeRowOf(type).typeId), &OutingTypeRowOf(type));
  }
}

TEST(OutingTypeTableTest, AnUnknownOrNullGuidFindsRowZero) {
  EXPECT_FALSE(FindOutingTypeRow(GUID_NULL).known());
  EXPECT_FALSE(FindOutingTypeRow(Guid::Literal("{8B1F3E5A-0C2D-4E6F-9A7B-1C3D5E7F9A0B}")).known());
  EXPECT_EQ(FindOutingTypeRow(kMatFileOutingTypeId).type, OutingType::kMatFile);
}

}  // namespace
}  // namespace velmar::testing
