#include "platform/registry/registry_file.h"
#include "platform/registry/registry_tree.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "support/fixtures.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar {
namespace {

std::string ReadText(const std::filesystem::path& p) {
  std::string s;
  EXPECT_EQ(DefaultFileOps().ReadAll(p, &s), S_OK);
  return s;
}

void WriteText(const std::filesystem::path& p, const std::string& text) {
  std::filesystem::create_directories(p.parent_path());
  std::ofstream(p, std::ios::binary) << text;
}

class RegistryFileTest : public ::testing::Test {
 protected:
  RegistryKey Key(const std::shared_ptr<RegistryFile>& file) {
    RegistryKey key;
    EXPECT_EQ(RegistryKey::Create(file, u"Software\\Halvane\\Kivara\\Velmar", &key), S_OK);
    return key;
  }
  uint32_t ReadU32(const std::shared_ptr<RegistryFile>& file, std::u16string_view name) {
    uint32_t v = 0;
    EXPECT_EQ(Key(file).QueryU32(name, &v), S_OK) << WideToUtf8(name);
    return v;
  }

  testing::TempDir dir_;
  std::filesystem::path path_ = dir_ / "registry.json";
};

TEST_F(RegistryFileTest, TwoWritersWithStaleViewsBothKeepTheirValues) {
  auto a = std::make_shared<RegistryFile>(path_);  // as two processes would hold it
  auto b = std::make_shared<RegistryFile>(path_);
  RegistryKey ka = Key(a), kb = Key(b);
  ASSERT_EQ(ka.SetU32(u"SpeedUnit", 1), S_OK);        // b has not seen this
  ASSERT_EQ(kb.SetU32(u"PerformanceFormat", 1), S_OK);  // and writes from its old view
  ASSERT_EQ(ka.SetU32(u"TimeFormat", 2), S_OK);

  auto fresh = std::make_shared<RegistryFile>(path_);
  EXPECT_EQ(ReadU32(fresh, u"SpeedUnit"), 1u);
  EXPECT_EQ(ReadU32(fresh, u"PerformanceFormat"), 1u);
  EXPECT_EQ(ReadU32(fresh, u"TimeFormat"), 2u);
  // A reader sees another writer's change without being told.
  EXPECT_EQ(ReadU32(b, u"TimeFormat"), 2u);
}

TEST_F(RegistryFileTest, ProcessesWritingAtOnceLoseNothing) {
  constexpr int kChildren = 4, kWrites = 25;
  { RegistryKey k = Key(std::make_shared<RegistryFile>(path_)); }
  std::vector<pid_t> pids;
  for (int c = 0; c < kChildren; ++c) {
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      auto file = std::make_shared<RegistryFile>(path_);
      RegistryKey key;
      bool ok = Succeeded(RegistryKey::Open(file, u"Software\\Halvane\\Kivara\\Velmar", &key));
      for (int i = 0; ok && i < kWrites; ++i)
        ok = Succeeded(key.SetU32(Utf8ToWide("P" + std::to_string(c) + "_" + std::to_string(i)), i));
      ::_exit(ok ? 0 : 1);
    }
    pids.push_back(pid);
  }
  for (pid_t pid : pids) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  std::vector<RegValue> values;
  ASSERT_EQ(Key(std::make_shared<RegistryFile>(path_)).EnumValues(&values), S_OK);
  EXPECT_EQ(values.size(), size_t{kChildren * kWrites});
}

TEST_F(RegistryFileTest, ThreadsWritingThroughSeparateFilesLoseNothing) {
  constexpr int kThreads = 4, kWrites = 20;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      auto file = std::make_shared<RegistryFile>(path_);
      RegistryKey key = Key(file);
      for (int i = 0; i < kWrites; ++i)
        EXPECT_EQ(key.SetU32(Utf8ToWide("T" + std::to_string(t) + "_" + std::to_string(i)), i), S_OK);
    });
  }
  for (auto& th : threads) th.join();
  std::vector<RegValue> values;
  ASSERT_EQ(Key(std::make_shared<RegistryFile>(path_)).EnumValues(&values), S_OK);
  EXPECT_EQ(values.size(), size_t{kThreads * kWrites});
}

TEST_F(RegistryFileTest, CorruptFileReadsAsEmptyAndIsMovedAsideBeforeAWrite) {
  const std::string garbage = "{ \"format\": \"kivara-registry\", \"root\": [oops";
  WriteText(path_, garbage);
  auto file = std::make_shared<RegistryFile>(path_);
  RegistryKey key;
  EXPECT_EQ(RegistryKey::Open(file, u"Software", &key), REG_E_NOTFOUND);
  EXPECT_EQ(ReadText(path_), garbage);  // reading leaves it alone

  ASSERT_EQ(RegistryKey::Create(file, u"Software", &key), S_OK);
  ASSERT_EQ(key.SetU32(u"A", 1), S_OK);
  EXPECT_EQ(ReadText(dir_ / "registry.json.bad"), garbage);
  auto fresh = std::make_shared<RegistryFile>(path_);
  uint32_t v = 0;
  ASSERT_EQ(RegistryKey::Open(fresh, u"Software", &key), S_OK);
  EXPECT_EQ(key.QueryU32(u"A", &v), S_OK);
  EXPECT_EQ(v, 1u);

  // A second bad file does not overwrite the first copy.
  WriteText(path_, "not json either");
  ASSERT_EQ(RegistryKey::Create(fresh, u"Software", &key), S_OK);
  EXPECT_EQ(ReadText(dir_ / "registry.json.bad"), garbage);
  EXPECT_EQ(ReadText(dir_ / "registry.json.bad.1"), "not json either");
}

// Each file: JSON that is not a registry file; it reads as an empty tree.
class ForeignFiles : public RegistryFileTest, public ::testing::WithParamInterface<std::filesystem::path> {};

TEST_P(ForeignFiles, CountAsCorrupt) {
  std::filesystem::copy_file(GetParam(), path_);
  EXPECT_EQ(std::make_shared<RegistryFile>(path_)->Read([](const RegNode& root) {
    return root.keys.empty() && root.values.empty() ? S_OK : E_FAIL;
  }), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Cases, ForeignFiles, testing::FixtureCases("platform/registry/foreign_files"),
                         testing::FixtureName);

TEST(RegistryTreeTest, JsonRoundTripKeepsEveryTypeAndNamesThatDifferInCase) {
  RegNode root;
  RegNode& key = root.FindOrAddKey(u"Software").FindOrAddKey(u"Kivara");
  key.SetValue(u"Text", RegData(std::u16string(u"caf\u00e9")));
  key.SetValue(u"U32", RegData(uint32_t{0xFFFFFFFF}));
  key.SetValue(u"U64", RegData(uint64_t{0xFFFFFFFFFFFFFFFF}));
  key.SetValue(u"Bytes", RegData(std::vector<uint8_t>{}));
  // Two spellings of one name can only come from a hand-edited file, but
  // neither may be lost on the way through.
  root.keys.push_back(RegNode{u"SOFTWARE", {}, {}});

  auto back = RegistryFromJson(RegistryToJson(root));
  ASSERT_TRUE(back);
  ASSERT_EQ(back->keys.size(), 2u);
  const RegNode* k = Walk(*back, {u"software", u"KIVARA"});
  ASSERT_NE(k, nullptr);
  ASSERT_EQ(k->values.size(), 4u);
  EXPECT_EQ(k->FindValue(u"text")->data, RegData(std::u16string(u"caf\u00e9")));
  EXPECT_EQ(k->FindValue(u"u32")->data, RegData(uint32_t{0xFFFFFFFF}));
  EXPECT_EQ(k->FindValue(u"u64")->data, RegData(uint64_t{0xFFFFFFFFFFFFFFFF}));
  EXPECT_EQ(k->FindValue(u"bytes")->data, RegData(std::vector<uint8_t>{}));
}

TEST_F(RegistryFileTest, FileIsReadableJsonAndAnUnwritableOneGivesAnError) {
  RegistryKey key = Key(std::make_shared<RegistryFile>(path_));
  ASSERT_EQ(key.SetBinary(u"Blob", {0x00, 0xAB}), S_OK);
  std::string text = ReadText(path_);
  EXPECT_NE(text.find("\"Velmar\""), std::string::npos);
  EXPECT_NE(text.find("\"00ab\""), std::string::npos);
  // A location that cannot be written gives an error, not a crash.
  WriteText(dir_ / "blocker", "a file where a folder should be");
  auto file = std::make_shared<RegistryFile>(dir_ / "blocker/kivara/registry.json");
  EXPECT_TRUE(Failed(RegistryKey::Create(file, u"Software", &key)));
  EXPECT_EQ(RegistryKey::Open(file, u"Software", &key), REG_E_NOTFOUND);
}

}  // namespace
}  // namespace velmar
