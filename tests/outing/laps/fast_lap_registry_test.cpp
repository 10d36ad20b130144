#include "outing/laps/fast_lap_registry.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "platform/registry/registry_file.h"
#include "support/faulty_file_ops.h"
#include "support/temp_dir.h"
#include "velmar/registry.h"

namespace velmar::testing {
namespace {

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

TEST_F(FastLapRegistryTest, WrittenValuesReadBack) {
  ASSERT_EQ(WriteFastLapFilterEnabled(true), S_OK);
  ASSERT_EQ(WriteFastLapMinimumTime(-3), S_OK);
  EXPECT_EQ(ReadFastLapSettings(), (FastLapSettings{true, -3})) << "the time keeps its sign";
  ASSERT_EQ(WriteFastLapFilterEnabled(false), S_OK);
  EXPECT_FALSE(ReadFastLapFilterEnabled());
  std::vector<uint8_t> flag;
  ASSERT_EQ(Key().QueryBinary(kFastLapFilterEnabledValue, &flag), S_OK);
  EXPECT_EQ(flag, (std::vector<uint8_t>{0, 0}));
}

TEST_F(FastLapRegistryTest, AFailedWriteGivesItsCodeAndKeepsTheStoredValue) {
  ASSERT_EQ(WriteFastLapMinimumTime(70 * kTicksPerSecond), S_OK);
  ops_.FailAt(FaultyFileOps::Step::kWrite, STG_E_MEDIUMFULL);
  EXPECT_EQ(WriteFastLapMinimumTime(80 * kTicksPerSecond), STG_E_MEDIUMFULL);
  EXPECT_EQ(ReadFastLapMinimumTime(), 70 * kTicksPerSecond);
}

}  // namespace
}  // namespace velmar::testing
