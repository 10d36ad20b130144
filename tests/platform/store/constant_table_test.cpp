// Constants: added, modified and removed through a fresh open.
#include "platform/store/constant_table.h"

#include <gtest/gtest.h>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

TarnConstantRecord Constant(const char16_t* name, double value, const char16_t* text = nullptr,
                            const char16_t* unit = nullptr) {
  TarnConstantRecord c{};
  c.id = ~uint64_t{0};
  c.name = name;
  c.value = value;
  c.text = text;
  c.unit = unit;
  return c;
}

using ConstantTableTest = NewStoreTest;

TEST_F(ConstantTableTest, ConstantsRoundTripInTheOrderAdded) {
  TarnConstantRecord records[] = {Constant(u"Mass", 642.5, nullptr, u"kg"), Constant(u"Setup", 0, u"|")};
  std::vector<uint64_t> ids;
  {
    auto handle = Handle();
    ASSERT_EQ(Writer<IKivTarnConstantWriter>(handle)->AddConstants(2, records, &ids), S_OK);
  }
  Reopen();
  auto list = Constants();
  EXPECT_EQ(Column(list, &TarnConstantRecord::id), ids);
  EXPECT_EQ(Column(list, &TarnConstantRecord::name), (Texts{u"Mass", u"Setup"}));
  EXPECT_EQ(Column(list, &TarnConstantRecord::value), (std::vector<double>{642.5, 0}));
  EXPECT_EQ(Column(list, &TarnConstantRecord::text), (Texts{u"(null)", u"|"}));
  EXPECT_EQ(Column(list, &TarnConstantRecord::unit), (Texts{u"kg", u"(null)"}));
}

TEST_F(ConstantTableTest, ModifyAndRemoveByIdAndRefuseNamelessOnes) {
  TarnConstantRecord records[] = {Constant(u"A", 1), Constant(u"B", 2)};
  std::vector<uint64_t> ids;
  {
    auto handle = Handle();
    auto writer = Writer<IKivTarnConstantWriter>(handle);
    ASSERT_EQ(writer->AddConstants(2, records, &ids), S_OK);
    TarnConstantRecord changed = Constant(u"A2", 10, u"=B*5", u"N");
    changed.id = ids[0];
    ASSERT_EQ(writer->ModifyConstants(1, &changed), S_OK);
    changed.id = 555;
    EXPECT_EQ(writer->ModifyConstants(1, &changed), E_INVALIDARG);
    changed.id = ids[0];
    changed.name = nullptr;
    EXPECT_EQ(writer->ModifyConstants(1, &changed), E_INVALIDARG);
    std::vector<uint64_t> none;
    EXPECT_EQ(writer->AddConstants(1, &changed, &none), E_INVALIDARG) << "a constant needs a name";
    EXPECT_TRUE(none.empty());
    ASSERT_EQ(writer->RemoveConstants(1, &ids[1]), S_OK);
    EXPECT_EQ(writer->RemoveConstants(1, &ids[1]), E_INVALIDARG);
  }
  Reopen();
  auto list = Constants();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(std::make_tuple(Str(list[0].name), list[0].value, Str(list[0].text), Str(list[0].unit)),
            std::make_tuple(std::u16string(u"A2"), 10.0, std::u16string(u"=B*5"), std::u16string(u"N")));
}

}  // namespace
}  // namespace velmar::testing
