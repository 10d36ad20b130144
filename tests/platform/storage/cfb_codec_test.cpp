#include "platform/storage/cfb_codec.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include "support/fixtures.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr Guid kRootClass = Guid::Literal("{60C1F36B-48BF-4D6C-B340-D445116F4B1F}");
constexpr Guid kTasksClass = Guid::Literal("{220CFBCF-DD19-4DF9-9817-4CC0D0DCFEC9}");

std::shared_ptr<StorageNode> SampleTree() {
  auto root = StorageNode::NewStorage(u"Root Entry");
  root->clsid = kRootClass;
  root->Add(StorageNode::NewStream(u"Version", std::string("\x06\0\0\0", 4)));
  auto tasks = StorageNode::NewStorage(u"Tasks");
  tasks->clsid = kTasksClass;
  tasks->Add(StorageNode::NewStream(u"Task List", std::string(9000, 'q')));
  tasks->Add(StorageNode::NewStream(u"\u00c9t\u00e9", "accent"));
  root->Add(tasks);
  return root;
}

// olefile is an independent reader (the codec itself reads through libgsf);
// the test runs where it is installed.
TEST(CfbCodecTest, OutputReadsBackThroughOlefile) {
  if (std::system("/usr/bin/python3 -c 'import olefile' >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "python3-olefile is not installed";
  testing::TempDir dir;
  std::string bytes;
  ASSERT_EQ(SerializeCompoundFile(*SampleTree(), &bytes), S_OK);
  std::ofstream(dir / "f.cfb", std::ios::binary) << bytes;
  std::string cmd = "/usr/bin/python3 -c \"import olefile,sys; o=olefile.OleFileIO(sys.argv[1]); "
                    "print(sorted('/'.join(p) for p in o.listdir(streams=True, storages=True))); "
                    "print(o.getclsid('Tasks')); print(len(o.openstream('Tasks/Task List').read()))\" " +
                    (dir / "f.cfb").string();
  FILE* p = ::popen(cmd.c_str(), "r");
  ASSERT_NE(p, nullptr);
  std::string out;
  char buf[256];
  while (size_t n = std::fread(buf, 1, sizeof buf, p)) out.append(buf, n);
  ASSERT_EQ(::pclose(p), 0) << out;
  EXPECT_EQ(out,
            "['Tasks', 'Tasks/Task List', 'Tasks/\xc3\x89t\xc3\xa9', 'Version']\n"
            "220CFBCF-DD19-4DF9-9817-4CC0D0DCFEC9\n9000\n");
}

// A compound file laid out by hand as other writers lay it out; the layout
// is in the fixture, field by field.
std::string HandMadeFile() {
  const nlohmann::json f = testing::Fixture("platform/storage/hand_made_cfb.json");
  std::string bytes(f["size"].get<size_t>(), '\0');
  auto put = [&](size_t at, auto v) { std::memcpy(&bytes[at], &v, sizeof v); };
  for (const auto& r : f["u32_fill"])
    for (size_t i = 0; i < r["count"].get<size_t>(); ++i)
      put(r["at"].get<size_t>() + 4 * i, r["value"].get<uint32_t>());
  for (const auto& r : f["hex"]) {
    const std::string hex = r["bytes"];
    for (size_t i = 0; i < hex.size() / 2; ++i)
      bytes[r["at"].get<size_t>() + i] = static_cast<char>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
  }
  for (const auto& r : f["u16"])
    for (size_t i = 0; i < r["values"].size(); ++i) put(r["at"].get<size_t>() + 2 * i, r["values"][i].get<uint16_t>());
  for (const auto& r : f["u32"])
    for (size_t i = 0; i < r["values"].size(); ++i) put(r["at"].get<size_t>() + 4 * i, r["values"][i].get<uint32_t>());
  for (size_t n = 0; n < f["entries"].size(); ++n) {
    const auto& e = f["entries"][n];
    const size_t at = f["directory"].get<size_t>() + 128 * n;
    const std::u16string name = Utf8ToWide(e["name"].get<std::string>());
    for (size_t i = 0; i < name.size(); ++i) put(at + 2 * i, static_cast<uint16_t>(name[i]));
    put(at + 64, static_cast<uint16_t>(2 * (name.size() + 1)));
    bytes[at + 66] = static_cast<char>(e["type"].get<int>());
    bytes[at + 67] = 1;  // black
    put(at + 68, e["left"].get<uint32_t>());
    put(at + 72, e["right"].get<uint32_t>());
    put(at + 76, e["child"].get<uint32_t>());
    const Guid clsid = e.contains("clsid") ? *Guid::Parse(e["clsid"].get<std::string>()) : GUID_NULL;
    put(at + 80, clsid.data1);
    put(at + 84, clsid.data2);
    put(at + 86, clsid.data3);
    std::memcpy(&bytes[at + 88], clsid.data4.data(), 8);
    put(at + 116, e["start"].get<uint32_t>());
    put(at + 120, e["size"].get<uint32_t>());
  }
  return bytes;
}

TEST(CfbCodecTest, ReadsAFileLaidOutByAnotherWriter) {
  std::shared_ptr<StorageNode> root;
  ASSERT_EQ(ParseCompoundFile(HandMadeFile(), &root), S_OK);
  EXPECT_EQ(root->clsid, kRootClass);
  auto version = root->Find(u"VERSION");
  ASSERT_TRUE(version);
  EXPECT_EQ(version->Bytes(), std::string("\x06\0\0\0", 4));
  auto tasks = root->Find(u"Tasks");
  ASSERT_TRUE(tasks && tasks->is_storage);
  EXPECT_EQ(tasks->clsid, kTasksClass);
  auto list = tasks->Find(u"Task List");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->Bytes(), "ten bytes!");
}

TEST(CfbCodecTest, RoundTripKeepsTreeClassesAndBytes) {
  std::string bytes, again;
  ASSERT_EQ(SerializeCompoundFile(*SampleTree(), &bytes), S_OK);
  std::shared_ptr<StorageNode> back;
  ASSERT_EQ(ParseCompoundFile(bytes, &back), S_OK);
  EXPECT_EQ(back->clsid, kRootClass);
  ASSERT_EQ(back->children.size(), 2u);
  EXPECT_EQ(back->Find(u"Tasks")->Find(u"task list")->Bytes(), std::string(9000, 'q'));
  EXPECT_EQ(back->Find(u"Tasks")->Find(u"\u00e9T\u00c9")->Bytes(), "accent");
  // The same tree gives the same bytes: nothing depends on time or order of making.
  ASSERT_EQ(SerializeCompoundFile(*back, &again), S_OK);
  EXPECT_EQ(again, bytes);
}

TEST(CfbCodecTest, RejectsDamagedHeaders) {
  std::string good = HandMadeFile();
  std::shared_ptr<StorageNode> root;
  for (size_t field : {size_t{0}, size_t{0x1C}, size_t{0x1E}, size_t{0x20}, size_t{0x38}}) {
    std::string bad = good;
    bad[field] = static_cast<char>(bad[field] + 1);
    EXPECT_EQ(ParseCompoundFile(bad, &root), STG_E_DOCFILECORRUPT) << field;
  }
  // A stream that claims more bytes than the file has is never read as
  // that many (libgsf drops such an entry; a refusal would do as well).
  std::string big = good;
  uint32_t huge = 0x7FFFFFF0;
  std::memcpy(&big[512 * 2 + 128 * 3 + 120], &huge, 4);
  KivResult r = ParseCompoundFile(big, &root);
  if (r == S_OK) {
    auto tasks = root->Find(u"Tasks");
    auto list = tasks ? tasks->Find(u"Task List") : nullptr;
    EXPECT_TRUE(!list || list->Bytes().size() <= big.size());
  } else {
    EXPECT_EQ(r, STG_E_DOCFILECORRUPT);
  }
  EXPECT_EQ(ParseCompoundFile(good, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar
