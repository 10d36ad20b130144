#include "core/display_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "core/velmar_test_fixture.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// One display setting as the root offers it, read and written as a number
// (the label flag as KivBool): its registry name and notification, the value
// with nothing stored, another it takes, and one it refuses (0: none).
struct Setting {
  const char16_t* name;
  std::string changed;
  uint32_t start, other, refused;
  std::function<uint32_t()> get;
  std::function<KivResult(uint32_t)> set;
};

class DisplaySettingsTest : public VelmarTestBase {
 protected:
  template <class I, class T>
  std::function<uint32_t()> Getter(KivResult (I::*getter)(T*)) {
    return [this, getter] {
      T value = static_cast<T>(0xDEAD);
      EXPECT_EQ((Root()->*getter)(&value), S_OK);
      return static_cast<uint32_t>(value);
    };
  }
  template <class I, class T>
  std::function<KivResult(uint32_t)> Setter(KivResult (I::*setter)(T)) {
    return [this, setter](uint32_t v) { return (Root()->*setter)(static_cast<T>(v)); };
  }
  uint32_t Get(std::u16string_view name) {
    for (const Setting& s : settings_)
      if (s.name == name) return s.get();
    return 0xBAD;
  }

#define VELMAR_SETTING(Name, start, other, refused) \
  {u"" #Name, #Name "Changed", start, other, refused, Getter(&IKivVelmar8::Get##Name), Setter(&IKivVelmar8::Set##Name)}
  const uint32_t kTrue = static_cast<uint32_t>(KIV_TRUE), kMinusOne = static_cast<uint32_t>(-1);
  // In the order the root writes them; no units component is registered
  // here, so the speed unit starts at its base unit.
  const std::vector<Setting> settings_ = {
      VELMAR_SETTING(PerformanceFormat, 0, 1, 2),         VELMAR_SETTING(SpeedUnit, 0, 3, 4),
      VELMAR_SETTING(SpeedPrecision, 0, 4, kMinusOne),    VELMAR_SETTING(TimePrecision, 3, 6, kMinusOne),
      VELMAR_SETTING(TimeFormat, 0, 2, 3),                VELMAR_SETTING(DisplayOutingLabels, kTrue, 0, 0),
      VELMAR_SETTING(OutingLabelInitialization, 2, 1, 3)};
#undef VELMAR_SETTING
};

TEST_F(DisplaySettingsTest, StartValuesWithNothingStored) {
  for (const Setting& s : settings_) EXPECT_EQ(s.get(), s.start) << s.changed;
  EXPECT_FALSE(Stored(u"TimeFormat")) << "reading writes nothing";
}

TEST_F(DisplaySettingsTest, TheFirstGetReadsTheRegistryAndKeepsWhatItRead) {
  for (const Setting& s : settings_) Store(s.name, s.other);
  for (const Setting& s : settings_) EXPECT_EQ(s.get(), s.other) << s.changed;
  Store(u"TimeFormat", 1);  // another process writes: this root keeps what it read
  EXPECT_EQ(Get(u"TimeFormat"), 2u);
}

TEST_F(DisplaySettingsTest, AStoredLabelInitializationOfThreeIsNotTakenAndReadAgain) {
  Store(u"OutingLabelInitialization", 3);
  EXPECT_EQ(Get(u"OutingLabelInitialization"), 2u);
  Store(u"OutingLabelInitialization", 0);
  EXPECT_EQ(Get(u"OutingLabelInitialization"), 0u) << "read again after a refused value";
  Store(u"OutingLabelInitialization", 1);
  EXPECT_EQ(Get(u"OutingLabelInitialization"), 0u) << "kept once taken";
}

TEST_F(DisplaySettingsTest, ASetterWritesTheRegistryAndRaisesItsNotificationWithTheNewValue) {
  Listen<CVelmarNotifications7Sink<>>("");
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
  std::vector<std::string> changed;
  for (const Setting& s : settings_) {
    EXPECT_EQ(s.set(s.other), S_OK) << s.changed;
    EXPECT_EQ(Stored(s.name), s.other) << s.changed;
    EXPECT_EQ(s.get(), s.other) << s.changed;
    changed.push_back(s.changed);
  }
  EXPECT_EQ(log_, changed);
  EXPECT_THAT(values.seen, ElementsAre(1u, 3u, 4u, 2u, 1u));
  sink->SetReceiver(nullptr);
}

TEST_F(DisplaySettingsTest, TheValueAlreadyHeldRaisesNothingAndWritesNothing) {
  Listen<CVelmarNotifications7Sink<>>("");
  Store(u"SpeedUnit", 3);  // compared with what the getter reads, not with the start value
  for (const Setting& s : settings_)
    EXPECT_EQ(s.set(s.name == std::u16string_view(u"SpeedUnit") ? 3 : s.start), S_OK) << s.changed;
  EXPECT_THAT(log_, IsEmpty());
  EXPECT_FALSE(Stored(u"TimeFormat"));
  EXPECT_FALSE(Stored(u"DisplayOutingLabels"));
}

TEST_F(DisplaySettingsTest, ValuesOutOfRangeAreRefusedAndRaiseNothing) {
  Listen<CVelmarNotifications7Sink<>>("");
  for (const Setting& s : settings_) {
    if (s.refused) {
      EXPECT_EQ(s.set(s.refused), E_INVALIDARG) << s.changed;
    }
  }
  EXPECT_THAT(log_, IsEmpty());
  for (const Setting& s : settings_) EXPECT_EQ(s.get(), s.start) << s.changed;
  EXPECT_FALSE(Stored(u"SpeedUnit"));
}

TEST_F(DisplaySettingsTest, AFailedWriteKeepsTheNewValueOfTheFirstFive) {
  Listen<CVelmarNotifications7Sink<>>("");
  std::vector<std::string> changed;
  for (int i = 0; i < 5; ++i) {
    const Setting& s = settings_[i];
    ops_.FailAt(FaultyFileOps::Step::kWrite, STG_E_MEDIUMFULL);
    EXPECT_EQ(s.set(s.other), S_OK) << s.changed;
    EXPECT_EQ(ops_.failures(), 1 + i);
    EXPECT_EQ(s.get(), s.other) << s.changed;
    EXPECT_FALSE(Stored(s.name)) << "the registry does not hold it";
    changed.push_back(s.changed);
  }
  EXPECT_EQ(log_, changed);
}

TEST_F(DisplaySettingsTest, AFailedWriteOfTheLabelSettingsIsAFailureAndChangesNothing) {
  Listen<CVelmarNotifications7Sink<>>("");
  ops_.FailAt(FaultyFileOps::Step::kWrite, STG_E_MEDIUMFULL);
  EXPECT_EQ(Root()->SetDisplayOutingLabels(KIV_FALSE), E_FAIL);
  EXPECT_EQ(Get(u"DisplayOutingLabels"), kTrue);
  ops_.FailAt(FaultyFileOps::Step::kRename, STG_E_ACCESSDENIED);
  EXPECT_EQ(Root()->SetOutingLabelInitialization(0), E_FAIL);
  EXPECT_EQ(Get(u"OutingLabelInitialization"), 2u);
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
  EXPECT_EQ(Get(u"DisplayOutingLabels"), kTrue);
  EXPECT_EQ(Root()->SetTimeFormat(1), S_OK);
  EXPECT_EQ(Get(u"TimeFormat"), 1u);
}

// The class on its own.

TEST(DisplaySettings, LegacyStartValuesHoldUntilTheRegistryIsRead) {
  TempDir dir;
  auto file = std::make_shared<RegistryFile>(dir / "user.json");
  ScopedHiveOverride hive(RegHive::kCurrentUser, file);
  DisplaySettings settings(1);
  settings.SetLegacyStartValues(2, 4);
  EXPECT_TRUE(settings.NeedsRead(DisplaySetting::kTimeFormat));
  EXPECT_EQ(settings.Get(DisplaySetting::kTimeFormat), 2u);
  EXPECT_EQ(settings.Get(DisplaySetting::kTimePrecision), 4u);
  EXPECT_EQ(settings.Get(DisplaySetting::kSpeedUnit), 1u);
  EXPECT_FALSE(settings.NeedsRead(DisplaySetting::kTimeFormat));
  settings.SetLegacyStartValues(0, 3);
  EXPECT_EQ(settings.Get(DisplaySetting::kTimeFormat), 2u) << "too late: the value was read";
  // A stored label flag other than 1 reads as false.
  RegistryKey key;
  ASSERT_EQ(RegistryKey::Create(file, kVelmarUserKey, &key), S_OK);
  ASSERT_EQ(key.SetU32(u"DisplayOutingLabels", 7), S_OK);
  EXPECT_EQ(DisplaySettings(0).Get(DisplaySetting::kDisplayOutingLabels), 0u);
}

}  // namespace
}  // namespace velmar::testing
