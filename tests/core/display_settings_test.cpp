#include "core/display_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "core/velmar_test_fixture.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The display settings as the root offers them.
class DisplaySettingsTest : public VelmarTestBase {
 protected:
  uint32_t U32(KivResult (IKivVelmar8::*getter)(uint32_t*)) {
    uint32_t value = 0xDEAD;
    EXPECT_EQ((Root()->*getter)(&value), S_OK);
    return value;
  }
  uint16_t U16(KivResult (IKivVelmar8::*getter)(uint16_t*)) {
    uint16_t value = 0xDEAD;
    EXPECT_EQ((Root()->*getter)(&value), S_OK);
    return value;
  }
  KivBool Labels() {
    KivBool value = 7;
    EXPECT_EQ(Root()->GetDisplayOutingLabels(&value), S_OK);
    return value;
  }
};

TEST_F(DisplaySettingsTest, StartValuesWithNothingStored) {
  EXPECT_EQ(U32(&IKivVelmar8::GetPerformanceFormat), 0u);
  EXPECT_EQ(U32(&IKivVelmar8::GetSpeedUnit), 0u) << "no units component registered here: its base unit";
  EXPECT_EQ(U16(&IKivVelmar8::GetSpeedPrecision), 0u);
  EXPECT_EQ(U16(&IKivVelmar8::GetTimePrecision), 3u);
  EXPECT_EQ(U32(&IKivVelmar8::GetTimeFormat), 0u);
  EXPECT_EQ(Labels(), KIV_TRUE);
  EXPECT_EQ(U32(&IKivVelmar8::GetOutingLabelInitialization), 2u);
  EXPECT_FALSE(Stored(u"TimeFormat")) << "reading writes nothing";
}

TEST_F(DisplaySettingsTest, TheFirstGetReadsTheRegistryAndKeepsWhatItRead) {
  Store(u"PerformanceFormat", 1);
  Store(u"SpeedUnit", 2);
  Store(u"SpeedPrecision", 4);
  Store(u"TimePrecision", 6);
  Store(u"TimeFormat", 2);
  Store(u"DisplayOutingLabels", 0);
  Store(u"OutingLabelInitialization", 1);
  EXPECT_EQ(U32(&IKivVelmar8::GetPerformanceFormat), 1u);
  EXPECT_EQ(U32(&IKivVelmar8::GetSpeedUnit), 2u);
  EXPECT_EQ(U16(&IKivVelmar8::GetSpeedPrecision), 4u);
  EXPECT_EQ(U16(&IKivVelmar8::GetTimePrecision), 6u);
  EXPECT_EQ(U32(&IKivVelmar8::GetTimeFormat), 2u);
  EXPECT_EQ(Labels(), KIV_FALSE);
  EXPECT_EQ(U32(&IKivVelmar8::GetOutingLabelInitialization), 1u);

  Store(u"TimeFormat", 1);  // another process writes: this root keeps what it read
  EXPECT_EQ(U32(&IKivVelmar8::GetTimeFormat), 2u);
}

TEST_F(DisplaySettingsTest, AStoredLabelInitializationOfThreeIsNotTakenAndReadAgain) {
  Store(u"OutingLabelInitialization", 3);
  EXPECT_EQ(U32(&IKivVelmar8::GetOutingLabelInitialization), 2u);
  Store(u"OutingLabelInitialization", 0);
  EXPECT_EQ(U32(&IKivVelmar8::GetOutingLabelInitialization), 0u) << "read again after a refused value";
  Store(u"OutingLabelInitialization", 1);
  EXPECT_EQ(U32(&IKivVelmar8::GetOutingLabelInitialization), 0u) << "kept once taken";
}

TEST_F(DisplaySettingsTest, ASetterWritesTheRegistryAndRaisesItsNotification) {
  Listen<CVelmarNotifications7Sink<>>("");
  EXPECT_EQ(Root()->SetTimeFormat(2), S_OK);
  EXPECT_EQ(Root()->SetTimePrecision(7), S_OK);
  EXPECT_EQ(Root()->SetPerformanceFormat(1), S_OK);
  EXPECT_EQ(Root()->SetSpeedUnit(3), S_OK);
  EXPECT_EQ(Root()->SetSpeedPrecision(2), S_OK);
  EXPECT_EQ(Root()->SetDisplayOutingLabels(KIV_FALSE), S_OK);
  EXPECT_EQ(Root()->SetOutingLabelInitialization(1), S_OK);
  EXPECT_THAT(log_, ElementsAre("TimeFormatChanged", "TimePrecisionChanged", "PerformanceFormatChanged",
                                "SpeedUnitChanged", "SpeedPrecisionChanged", "DisplayOutingLabelsChanged",
                                "OutingLabelInitializationChanged"));
  EXPECT_EQ(Stored(u"TimeFormat"), 2u);
  EXPECT_EQ(Stored(u"TimePrecision"), 7u);
  EXPECT_EQ(Stored(u"PerformanceFormat"), 1u);
  EXPECT_EQ(Stored(u"SpeedUnit"), 3u);
  EXPECT_EQ(Stored(u"SpeedPrecision"), 2u);
  EXPECT_EQ(Stored(u"DisplayOutingLabels"), 0u);
  EXPECT_EQ(Stored(u"OutingLabelInitialization"), 1u);
  EXPECT_EQ(U32(&IKivVelmar8::GetSpeedUnit), 3u);
  EXPECT_EQ(Labels(), KIV_FALSE);
}

TEST_F(DisplaySettingsTest, TheNotificationsCarryTheNewValue) {
  struct Values : CVelmarNotifications7Receiver {
    std::vector<uint32_t> seen;
    void TimeFormatChanged(IKivVelmar*, uint32_t v) override { seen.push_back(v); }
    void SpeedUnitChanged(IKivVelmar*, uint32_t v) override { seen.push_back(v); }
    void SpeedPrecisionChanged(IKivVelmar*, uint16_t v) override { seen.push_back(v); }
    void PerformanceFormatChanged(IKivVelmar*, uint32_t v) override { seen.push_back(v); }
    void OutingLabelInitializationChanged(IKivVelmar*, uint32_t v) override { seen.push_back(v); }
  } values;
  auto sink = MakeKiv<CVelmarNotifications7Sink<>>();
  sink->SetReceiver(&values);
  ASSERT_TRUE(sink->Connect(Root()));
  ASSERT_EQ(Root()->SetTimeFormat(1), S_OK);
  ASSERT_EQ(Root()->SetSpeedUnit(2), S_OK);
  ASSERT_EQ(Root()->SetSpeedPrecision(9), S_OK);
  ASSERT_EQ(Root()->SetPerformanceFormat(1), S_OK);
  ASSERT_EQ(Root()->SetOutingLabelInitialization(0), S_OK);
  EXPECT_THAT(values.seen, ElementsAre(1u, 2u, 9u, 1u, 0u));
  sink->SetReceiver(nullptr);
}

TEST_F(DisplaySettingsTest, TheValueAlreadyHeldRaisesNothingAndWritesNothing) {
  Listen<CVelmarNotifications7Sink<>>("");
  Store(u"SpeedUnit", 2);
  EXPECT_EQ(Root()->SetPerformanceFormat(0), S_OK);
  EXPECT_EQ(Root()->SetSpeedUnit(2), S_OK) << "compared with what the getter reads";
  EXPECT_EQ(Root()->SetSpeedPrecision(0), S_OK);
  EXPECT_EQ(Root()->SetTimePrecision(3), S_OK);
  EXPECT_EQ(Root()->SetTimeFormat(0), S_OK);
  EXPECT_EQ(Root()->SetDisplayOutingLabels(KIV_TRUE), S_OK);
  EXPECT_EQ(Root()->SetOutingLabelInitialization(2), S_OK);
  EXPECT_THAT(log_, IsEmpty());
  EXPECT_FALSE(Stored(u"TimeFormat"));
  EXPECT_FALSE(Stored(u"DisplayOutingLabels"));
}

TEST_F(DisplaySettingsTest, ValuesOutOfRangeAreRefusedAndRaiseNothing) {
  Listen<CVelmarNotifications7Sink<>>("");
  EXPECT_EQ(Root()->SetTimeFormat(3), E_INVALIDARG);
  EXPECT_EQ(Root()->SetPerformanceFormat(2), E_INVALIDARG);
  EXPECT_EQ(Root()->SetSpeedUnit(4), E_INVALIDARG);
  EXPECT_EQ(Root()->SetOutingLabelInitialization(3), E_INVALIDARG);
  EXPECT_EQ(Root()->SetSpeedPrecision(-1), E_INVALIDARG);
  EXPECT_EQ(Root()->SetTimePrecision(-1), E_INVALIDARG);
  EXPECT_THAT(log_, IsEmpty());
  EXPECT_EQ(U32(&IKivVelmar8::GetTimeFormat), 0u);
  EXPECT_EQ(U32(&IKivVelmar8::GetOutingLabelInitialization), 2u);
  EXPECT_EQ(U16(&IKivVelmar8::GetTimePrecision), 3u);
  EXPECT_FALSE(Stored(u"SpeedUnit"));
}

TEST_F(DisplaySettingsTest, AFailedWriteKeepsTheNewValueOfTheFirstFive) {
  Listen<CVelmarNotifications7Sink<>>("");
  struct Case {
    const char16_t* name;
    std::function<KivResult()> set;
    std::function<uint32_t()> get;
    uint32_t expected;
  };
  const std::vector<Case> cases = {
      {u"PerformanceFormat", [&] { return Root()->SetPerformanceFormat(1); },
       [&] { return U32(&IKivVelmar8::GetPerformanceFormat); }, 1},
      {u"SpeedUnit", [&] { return Root()->SetSpeedUnit(3); }, [&] { return U32(&IKivVelmar8::GetSpeedUnit); }, 3},
      {u"SpeedPrecision", [&] { return Root()->SetSpeedPrecision(5); },
       [&] { return uint32_t{U16(&IKivVelmar8::GetSpeedPrecision)}; }, 5},
      {u"TimePrecision", [&] { return Root()->SetTimePrecision(1); },
       [&] { return uint32_t{U16(&IKivVelmar8::GetTimePrecision)}; }, 1},
      {u"TimeFormat", [&] { return Root()->SetTimeFormat(2); }, [&] { return U32(&IKivVelmar8::GetTimeFormat); }, 2},
  };
  for (const auto& c : cases) {
    ops_.FailAt(FaultyFileOps::Step::kWrite, STG_E_MEDIUMFULL);
    EXPECT_EQ(c.set(), S_OK);
    EXPECT_EQ(ops_.failures(), 1 + static_cast<int>(&c - cases.data()));
    EXPECT_EQ(c.get(), c.expected);
    EXPECT_FALSE(Stored(c.name)) << "the registry does not hold it";
  }
  EXPECT_THAT(log_, ElementsAre("PerformanceFormatChanged", "SpeedUnitChanged", "SpeedPrecisionChanged",
                                "TimePrecisionChanged", "TimeFormatChanged"));
}

TEST_F(DisplaySettingsTest, AFailedWriteOfTheLabelSettingsIsAFailureAndChangesNothing) {
  Listen<CVelmarNotifications7Sink<>>("");
  ops_.FailAt(FaultyFileOps::Step::kWrite, STG_E_MEDIUMFULL);
  EXPECT_EQ(Root()->SetDisplayOutingLabels(KIV_FALSE), E_FAIL);
  EXPECT_EQ(Labels(), KIV_TRUE);
  ops_.FailAt(FaultyFileOps::Step::kRename, STG_E_ACCESSDENIED);
  EXPECT_EQ(Root()->SetOutingLabelInitialization(0), E_FAIL);
  EXPECT_EQ(U32(&IKivVelmar8::GetOutingLabelInitialization), 2u);
  EXPECT_THAT(log_, IsEmpty());
  EXPECT_EQ(ops_.failures(), 2);

  EXPECT_EQ(Root()->SetOutingLabelInitialization(0), S_OK) << "the registry works again";
  EXPECT_EQ(Stored(u"OutingLabelInitialization"), 0u);
  EXPECT_THAT(log_, ElementsAre("OutingLabelInitializationChanged"));
}

TEST_F(DisplaySettingsTest, ARegistryInAFolderThatCannotBeMadeFailsTheWrite) {
  override_.reset();
  override_.emplace(RegHive::kCurrentUser,
                    std::make_shared<RegistryFile>(std::filesystem::path("/proc/velmar-no-such-folder/user.json")));
  EXPECT_EQ(Root()->SetDisplayOutingLabels(KIV_FALSE), E_FAIL);
  EXPECT_EQ(Labels(), KIV_TRUE);
  EXPECT_EQ(Root()->SetTimeFormat(1), S_OK);
  EXPECT_EQ(U32(&IKivVelmar8::GetTimeFormat), 1u);
}

// The class on its own.

TEST(DisplaySettings, LegacyStartValuesHoldUntilTheRegistryIsRead) {
  TempDir dir;
  ScopedHiveOverride hive(RegHive::kCurrentUser, std::make_shared<RegistryFile>(dir / "user.json"));
  DisplaySettings settings(1);
  settings.SetLegacyStartValues(2, 4);
  EXPECT_TRUE(settings.NeedsRead(DisplaySetting::kTimeFormat));
  EXPECT_EQ(settings.Get(DisplaySetting::kTimeFormat), 2u);
  EXPECT_EQ(settings.Get(DisplaySetting::kTimePrecision), 4u);
  EXPECT_EQ(settings.Get(DisplaySetting::kSpeedUnit), 1u);
  EXPECT_FALSE(settings.NeedsRead(DisplaySetting::kTimeFormat));
  settings.SetLegacyStartValues(0, 3);
  EXPECT_EQ(settings.Get(DisplaySetting::kTimeFormat), 2u) << "too late: the value was read";
}

TEST(DisplaySettings, AStoredLabelFlagOtherThanOneReadsAsFalse) {
  TempDir dir;
  auto file = std::make_shared<RegistryFile>(dir / "user.json");
  ScopedHiveOverride hive(RegHive::kCurrentUser, file);
  RegistryKey key;
  ASSERT_EQ(RegistryKey::Create(file, kVelmarUserKey, &key), S_OK);
  ASSERT_EQ(key.SetU32(u"DisplayOutingLabels", 7), S_OK);
  DisplaySettings settings(0);
  EXPECT_EQ(settings.Get(DisplaySetting::kDisplayOutingLabels), 0u);
}

}  // namespace
}  // namespace velmar::testing
