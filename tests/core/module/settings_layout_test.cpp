// Layouts of the settings file, one case a file under tests/data/settings/:
// a fresh file, edited as a case says (elements removed, streams set from
// hex, storages made or given another class), loaded by a new root; then
// the code, the bytes of named streams, class identities, and which
// elements are there.
#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "support/settings_file_support.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using Json = nlohmann::json;
using testing::SettingsRoot;
constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// A part of the case, empty when the case leaves it out.
const Json& Part(const Json& c, const char* key) {
  static const Json kNone = Json::object();
  return c.contains(key) ? c[key] : kNone;
}

std::string Hex(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (unsigned char c : bytes) out += {kDigits[c >> 4], kDigits[c & 15]};
  return out;
}

std::string Unhex(const std::string& hex) {
  std::string out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return out;
}

// The storage that holds the last part of `path` ("A/B/name"), and that part.
ComPtr<IKivStorage> Parent(IKivStorage* root, const std::string& path, std::u16string* leaf) {
  ComPtr<IKivStorage> at(root);
  size_t from = 0;
  for (size_t slash; (slash = path.find('/', from)) != std::string::npos; from = slash + 1) {
    ComPtr<IKivStorage> next;
    if (Failed(at->OpenStorage(Utf8ToWide(path.substr(from, slash - from)), kMode, next.Put()))) return nullptr;
    at = next;
  }
  *leaf = Utf8ToWide(path.substr(from));
  return at;
}

std::optional<std::string> ReadStream(IKivStorage* root, const std::string& path) {
  std::u16string leaf;
  auto parent = Parent(root, path, &leaf);
  ComPtr<IKivStream> stream;
  StatStg stat;
  if (!parent || Failed(parent->OpenStream(leaf, kMode, stream.Put())) || Failed(stream->Stat(&stat))) return {};
  std::string bytes(stat.size, '\0');
  uint32_t read = 0;
  (void)stream->Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &read);
  return bytes;
}

bool Present(IKivStorage* root, const std::string& path) {
  std::u16string leaf;
  auto parent = Parent(root, path, &leaf);
  std::vector<StatStg> elements;
  if (!parent || Failed(parent->EnumElements(&elements))) return false;
  return std::any_of(elements.begin(), elements.end(), [&](const StatStg& e) { return e.name == leaf; });
}

Guid ClassOf(IKivStorage* root, const std::string& path) {
  std::u16string leaf;
  auto parent = Parent(root, path, &leaf);
  ComPtr<IKivStorage> storage;
  Guid clsid;
  if (parent && Succeeded(parent->OpenStorage(leaf, kMode, storage.Put()))) (void)ReadClassStg(storage.Get(), &clsid);
  return clsid;
}

// The case's edits, made on a copy of `bytes`.
std::string Edit(const std::string& bytes, const Json& c) {
  ComPtr<IKivStorage> root;
  EXPECT_EQ(StgOpenMemoryStorage(bytes, kMode, root.Put()), S_OK);
  std::u16string leaf;
  for (const auto& path : Part(c, "remove")) {
    EXPECT_EQ(Parent(root.Get(), path, &leaf)->DestroyElement(leaf), S_OK) << path;
  }
  // New storages are made, existing ones opened; both are given the class.
  for (const char* key : {"storages", "classes_set"}) {
    for (const auto& [path, clsid] : Part(c, key).items()) {
      ComPtr<IKivStorage> storage;
      ComPtr<IKivStorage> parent = Parent(root.Get(), path, &leaf);
      EXPECT_EQ(key == std::string("storages") ? parent->CreateStorage(leaf, kMode | STGM_CREATE, storage.Put())
                                               : parent->OpenStorage(leaf, kMode, storage.Put()),
                S_OK);
      EXPECT_EQ(WriteClassStg(storage.Get(), *Guid::Parse(clsid.get<std::string>())), S_OK);
    }
  }
  for (const auto& [path, hex] : Part(c, "set").items()) {
    ComPtr<IKivStream> stream;
    EXPECT_EQ(Parent(root.Get(), path, &leaf)->CreateStream(leaf, kMode | STGM_CREATE, stream.Put()), S_OK);
    const std::string content = Unhex(hex);
    EXPECT_EQ(stream->Write(content.data(), static_cast<uint32_t>(content.size()), nullptr), S_OK);
  }
  std::string edited;
  EXPECT_EQ(StgSaveToBytes(root.Get(), &edited), S_OK);
  return edited;
}

void Check(const std::string& bytes, const Json& c) {
  ComPtr<IKivStorage> file;
  ASSERT_EQ(StgOpenMemoryStorage(bytes, kMode, file.Put()), S_OK);
  for (const auto& [path, hex] : Part(c, "streams").items()) {
    EXPECT_EQ(Hex(ReadStream(file.Get(), path).value_or("missing")), hex) << path;
  }
  for (const auto& [path, hex] : Part(c, "prefixes").items()) {
    EXPECT_EQ(Hex(ReadStream(file.Get(), path).value_or("missing")).substr(0, hex.get<std::string>().size()), hex)
        << path;
  }
  for (const auto& [path, clsid] : Part(c, "classes").items()) {
    EXPECT_EQ(ClassOf(file.Get(), path).ToString(), clsid) << path;
  }
  for (const auto& path : Part(c, "present")) EXPECT_TRUE(Present(file.Get(), path)) << path;
  for (const auto& path : Part(c, "absent")) EXPECT_FALSE(Present(file.Get(), path)) << path;
}

std::string FreshFile() {
  SettingsRoot fresh;
  EXPECT_EQ(fresh.persist->InitNew(fresh.storage.Get()), S_OK);
  return fresh.Bytes();
}

class SettingsLayout : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(SettingsLayout, LoadsAsTheCaseSays) {
  const Json c = testing::ReadFixture(GetParam());
  const std::string edited = Edit(FreshFile(), c);
  if (c["load"].is_null()) return Check(edited, c);
  SettingsRoot loaded(edited);
  const KivResult r = loaded.persist->Load(loaded.storage.Get());
  const std::string expected = c["load"];
  EXPECT_EQ(r, expected == "S_OK" ? S_OK : static_cast<KivResult>(std::stoul(expected, nullptr, 16)));
  if (c.value("unchanged", false)) {
    EXPECT_EQ(loaded.Bytes(), edited) << "a refused file is left alone";
  }
  if (!c.value("save_other", false)) return Check(loaded.Bytes(), c);
  SettingsRoot other;
  ASSERT_EQ(loaded.persist->Save(other.storage.Get(), KIV_FALSE), S_OK);
  Check(other.Bytes(), c);
}

INSTANTIATE_TEST_SUITE_P(Cases, SettingsLayout, testing::FixtureCases("settings"), testing::FixtureName);

}  // namespace
}  // namespace velmar
