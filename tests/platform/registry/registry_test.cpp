#include "velmar/registry.h"

#include <gtest/gtest.h>

#include "platform/registry/registry_file.h"
#include "support/faulty_file_ops.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

constexpr std::u16string_view kVelmarKey = u"Software\\Halvane\\Kivara\\Velmar";

class RegistryKeyTest : public ::testing::Test {
 protected:
  std::shared_ptr<RegistryFile> NewFile() { return std::make_shared<RegistryFile>(path_); }
  RegistryKey CreateKey(std::u16string_view path) {
    RegistryKey key;
    EXPECT_EQ(RegistryKey::Create(file_, path, &key), S_OK);
    return key;
  }

  testing::TempDir dir_;
  std::filesystem::path path_ = dir_ / "kivara/registry.json";
  std::shared_ptr<RegistryFile> file_ = NewFile();
};

TEST_F(RegistryKeyTest, ValuesSurviveAFreshLoadWithTheirTypes) {
  RegistryKey key = CreateKey(kVelmarKey);
  ASSERT_EQ(key.SetU32(u"SpeedUnit", 2), S_OK);
  ASSERT_EQ(key.SetString(u"Caption", u"Lap \u00e9t\u00e9 \U0001F3C1"), S_OK);
  ASSERT_EQ(key.SetU64(u"FastLapMinimumTime", 50000000000ULL), S_OK);
  ASSERT_EQ(key.SetBinary(u"FastLapFilterEnabled", {0xFF, 0xFF}), S_OK);
  ASSERT_EQ(key.SetString(u"", u"default value"), S_OK);

  RegistryKey again;
  ASSERT_EQ(RegistryKey::Open(NewFile(), kVelmarKey, &again), S_OK);
  uint32_t unit = 0;
  std::u16string caption, def;
  uint64_t minimum = 0;
  std::vector<uint8_t> flag;
  EXPECT_EQ(again.QueryU32(u"SpeedUnit", &unit), S_OK);
  EXPECT_EQ(again.QueryString(u"Caption", &caption), S_OK);
  EXPECT_EQ(again.QueryU64(u"FastLapMinimumTime", &minimum), S_OK);
  EXPECT_EQ(again.QueryBinary(u"FastLapFilterEnabled", &flag), S_OK);
  EXPECT_EQ(again.QueryString(u"", &def), S_OK);
  EXPECT_EQ(unit, 2u);
  EXPECT_EQ(caption, u"Lap \u00e9t\u00e9 \U0001F3C1");
  EXPECT_EQ(minimum, 50000000000ULL);
  EXPECT_EQ(flag, (std::vector<uint8_t>{0xFF, 0xFF}));
  EXPECT_EQ(def, u"default value");
}

TEST_F(RegistryKeyTest, NamesIgnoreCaseAndKeepTheFirstSpelling) {
  RegistryKey key = CreateKey(u"Software\\Halvane\\Kivara\\Outing Factory");
  ASSERT_EQ(key.SetU32(u"FastLapFilterEnabled", 1), S_OK);
  ASSERT_EQ(key.SetU32(u"FASTLAPFILTERENABLED", 0), S_OK);  // the same value

  RegistryKey upper;
  ASSERT_EQ(RegistryKey::Open(NewFile(), u"SOFTWARE\\halvane\\KIVARA\\outing factory", &upper),
            S_OK);
  uint32_t v = 7;
  EXPECT_EQ(upper.QueryU32(u"fastlapfilterenabled", &v), S_OK);
  EXPECT_EQ(v, 0u);

  std::vector<RegValue> values;
  ASSERT_EQ(upper.EnumValues(&values), S_OK);
  ASSERT_EQ(values.size(), 1u);
  EXPECT_EQ(values[0].name, u"FastLapFilterEnabled");
  RegistryKey root;
  ASSERT_EQ(RegistryKey::Open(file_, u"", &root), S_OK);
  std::vector<std::u16string> keys;
  ASSERT_EQ(root.EnumSubKeys(&keys), S_OK);
  EXPECT_EQ(keys, std::vector<std::u16string>{u"Software"});
}

TEST_F(RegistryKeyTest, TypedReadsTellMissingFromWrongType) {
  RegistryKey key = CreateKey(kVelmarKey);
  ASSERT_EQ(key.SetString(u"TimeFormat", u"2"), S_OK);
  uint32_t v = 42;
  EXPECT_EQ(key.QueryU32(u"TimeFormat", &v), REG_E_WRONGTYPE);
  EXPECT_EQ(v, 42u);  // left alone
  EXPECT_EQ(key.QueryU32(u"NoSuchValue", &v), REG_E_NOTFOUND);
  std::vector<uint8_t> bytes;
  EXPECT_EQ(key.QueryBinary(u"TimeFormat", &bytes), REG_E_WRONGTYPE);
  EXPECT_EQ(key.QueryU32(u"TimeFormat", nullptr), E_POINTER);

  RegData data;
  ASSERT_EQ(key.QueryValue(u"TimeFormat", &data), S_OK);
  EXPECT_EQ(TypeOf(data), RegType::kString);
  // A value can change type by being set again.
  ASSERT_EQ(key.SetU32(u"TimeFormat", 2), S_OK);
  EXPECT_EQ(key.QueryU32(u"TimeFormat", &v), S_OK);
  EXPECT_EQ(v, 2u);
}

TEST_F(RegistryKeyTest, OpenOfAMissingKeyFailsCreateMakesParentsAndBadPathsAreRefused) {
  RegistryKey key;
  EXPECT_EQ(RegistryKey::Open(file_, kVelmarKey, &key), REG_E_NOTFOUND);
  EXPECT_FALSE(key.IsOpen());
  EXPECT_FALSE(std::filesystem::exists(path_));  // reading writes nothing

  ASSERT_EQ(RegistryKey::Create(file_, kVelmarKey, &key), S_OK);
  RegistryKey parent;
  EXPECT_EQ(RegistryKey::Open(file_, u"Software\\Halvane", &parent), S_OK);
  RegistryKey sub;
  EXPECT_EQ(parent.OpenSubKey(u"Kivara\\Velmar", &sub), S_OK);
  EXPECT_EQ(sub.path(), u"Software\\Halvane\\Kivara\\Velmar");
  // Bad paths are refused.
  EXPECT_EQ(RegistryKey::Create(file_, u"Software\\\\Halvane", &key), E_INVALIDARG);
  EXPECT_EQ(RegistryKey::Create(file_, u"Software\\", &key), E_INVALIDARG);
  EXPECT_EQ(RegistryKey::Create(file_, u"\\Software", &key), E_INVALIDARG);
  EXPECT_EQ(RegistryKey::Create(file_, std::u16string(256, u'k'), &key), E_INVALIDARG);
  EXPECT_EQ(RegistryKey::Create(file_, std::u16string(255, u'k'), &key), S_OK) << "the longest name";
  EXPECT_EQ(RegistryKey::Open(nullptr, u"Software", &key), E_INVALIDARG);
  EXPECT_EQ(RegistryKey::Open(file_, u"Software", nullptr), E_POINTER);
  RegistryKey closed;
  uint32_t v;
  EXPECT_EQ(closed.QueryU32(u"x", &v), E_UNEXPECTED);
  EXPECT_EQ(closed.SetU32(u"x", 1), E_UNEXPECTED);
}

TEST_F(RegistryKeyTest, DeleteValueAndSubKeyTree) {
  RegistryKey key = CreateKey(u"Software\\Halvane\\Kivara\\Time Regions\\Deep");
  ASSERT_EQ(key.SetU32(u"A", 1), S_OK);
  RegistryKey kivara = CreateKey(u"Software\\Halvane\\Kivara");
  ASSERT_EQ(kivara.SetString(u"InstallDir", u"/opt/kivara"), S_OK);

  EXPECT_EQ(key.DeleteValue(u"a"), S_OK);
  EXPECT_EQ(key.DeleteValue(u"a"), REG_E_NOTFOUND);
  EXPECT_EQ(kivara.DeleteSubKey(u"time regions"), S_OK);
  EXPECT_EQ(kivara.DeleteSubKey(u"Time Regions"), REG_E_NOTFOUND);
  EXPECT_EQ(kivara.DeleteSubKey(u""), E_INVALIDARG);

  // The key object outlives its key: it now reads as not found.
  uint32_t v;
  EXPECT_EQ(key.QueryU32(u"A", &v), REG_E_NOTFOUND);
  EXPECT_EQ(key.SetU32(u"A", 1), REG_E_NOTFOUND);
  std::u16string dir;
  EXPECT_EQ(kivara.QueryString(u"InstallDir", &dir), S_OK);
}

TEST_F(RegistryKeyTest, EnumerationIsInNameOrder) {
  RegistryKey key = CreateKey(u"Software");
  for (auto name : {u"beta", u"Alpha", u"gamma"}) {
    RegistryKey sub;
    ASSERT_EQ(key.CreateSubKey(name, &sub), S_OK);
    ASSERT_EQ(key.SetU32(name, 1), S_OK);
  }
  std::vector<std::u16string> keys;
  ASSERT_EQ(key.EnumSubKeys(&keys), S_OK);
  EXPECT_EQ(keys, (std::vector<std::u16string>{u"Alpha", u"beta", u"gamma"}));
  std::vector<RegValue> values;
  ASSERT_EQ(key.EnumValues(&values), S_OK);
  ASSERT_EQ(values.size(), 3u);
  EXPECT_EQ(values[0].name, u"Alpha");
  EXPECT_EQ(values[2].name, u"gamma");
}

TEST_F(RegistryKeyTest, AFailedWriteKeepsTheOldValueAndFile) {
  testing::FaultyFileOps ops;
  auto file = std::make_shared<RegistryFile>(path_, ops);
  RegistryKey key;
  ASSERT_EQ(RegistryKey::Create(file, kVelmarKey, &key), S_OK);
  ASSERT_EQ(key.SetU32(u"DisplayOutingLabels", 1), S_OK);
  const std::string before = [&] {
    std::string s;
    EXPECT_EQ(DefaultFileOps().ReadAll(path_, &s), S_OK);
    return s;
  }();

  for (auto step : {testing::FaultyFileOps::Step::kShortWrite, testing::FaultyFileOps::Step::kSyncFile,
                    testing::FaultyFileOps::Step::kRename, testing::FaultyFileOps::Step::kLock}) {
    ops.FailAt(step);
    EXPECT_TRUE(Failed(key.SetU32(u"DisplayOutingLabels", 0)));
    uint32_t v = 7;
    EXPECT_EQ(key.QueryU32(u"DisplayOutingLabels", &v), S_OK);
    EXPECT_EQ(v, 1u);
    std::string after;
    ASSERT_EQ(DefaultFileOps().ReadAll(path_, &after), S_OK);
    EXPECT_EQ(after, before);
  }
  // No temporary files are left beside it.
  int files = 0;
  for (const auto& e : std::filesystem::directory_iterator(path_.parent_path()))
    files += e.path().extension() == ".tmp";
  EXPECT_EQ(files, 0);
}

using testing::ScopedEnv;

TEST(RegistryHiveTest, EnvironmentChoosesEachHivesFile) {
  testing::TempDir dir;
  ScopedEnv user("VELMAR_REGISTRY_USER", (dir / "user.json").string());
  ScopedEnv machine("VELMAR_REGISTRY_MACHINE", (dir / "machine.json").string());
  RegistryKey key;
  ASSERT_EQ(RegistryKey::Create(RegHive::kCurrentUser, u"Software\\Halvane\\Kivara\\Velmar", &key),
            S_OK);
  ASSERT_EQ(key.SetU32(u"SpeedUnit", 3), S_OK);
  ASSERT_EQ(RegistryKey::Create(RegHive::kLocalMachine, u"Software\\Halvane\\Kivara", &key), S_OK);
  ASSERT_EQ(key.SetString(u"ActiveBrandDLL", u"brand.so"), S_OK);

  EXPECT_TRUE(std::filesystem::exists(dir / "user.json"));
  EXPECT_TRUE(std::filesystem::exists(dir / "machine.json"));
  RegistryKey other;
  EXPECT_EQ(RegistryKey::Open(RegHive::kCurrentUser, u"Software\\Halvane\\Kivara\\Velmar", &other),
            S_OK);
  std::u16string brand;
  EXPECT_EQ(other.QueryString(u"ActiveBrandDLL", &brand), REG_E_NOTFOUND);
}

TEST(RegistryHiveTest, UserHiveDefaultsUnderTheConfigFolder) {
  testing::TempDir dir;
  ScopedEnv clear("VELMAR_REGISTRY_USER", "");
  ScopedEnv xdg("XDG_CONFIG_HOME", dir.path().string());
  EXPECT_EQ(RegistryFile::HivePath(RegHive::kCurrentUser), dir / "kivara/registry.json");
  ScopedEnv relative("XDG_CONFIG_HOME", "not/absolute");
  ScopedEnv home("HOME", dir.path().string());
  EXPECT_EQ(RegistryFile::HivePath(RegHive::kCurrentUser), dir / ".config/kivara/registry.json");
  ScopedEnv machine("VELMAR_REGISTRY_MACHINE", "");
  EXPECT_EQ(RegistryFile::HivePath(RegHive::kLocalMachine), "/etc/kivara/registry.json");
}

}  // namespace
}  // namespace velmar
