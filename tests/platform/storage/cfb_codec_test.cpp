#include "platform/storage/cfb_codec.h"

#include <gsf/gsf.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>

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

// Reads the bytes with libgsf directly, as another program using it would.
TEST(CfbCodecTest, OutputReadsBackThroughLibgsfDirectly) {
  std::string bytes;
  ASSERT_EQ(SerializeCompoundFile(*SampleTree(), &bytes), S_OK);
  GsfInput* in = gsf_input_memory_new(reinterpret_cast<const guint8*>(bytes.data()),
                                      static_cast<gsf_off_t>(bytes.size()), FALSE);
  GsfInfile* ole = gsf_infile_msole_new(in, nullptr);
  ASSERT_NE(ole, nullptr);
  guint8 raw[16];
  ASSERT_TRUE(gsf_infile_msole_get_class_id(GSF_INFILE_MSOLE(ole), raw));
  EXPECT_EQ(raw[0], 0x6B);  // little-endian first field of {60C1F36B-...}
  GsfInput* tasks = gsf_infile_child_by_name(ole, "Tasks");
  ASSERT_NE(tasks, nullptr);
  EXPECT_EQ(gsf_infile_num_children(GSF_INFILE(tasks)), 2);
  GsfInput* list = gsf_infile_child_by_name(GSF_INFILE(tasks), "Task List");
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(gsf_input_size(list), 9000);
  GsfInput* accent = gsf_infile_child_by_name(GSF_INFILE(tasks), "\xc3\x89t\xc3\xa9");
  EXPECT_NE(accent, nullptr);
  if (accent) g_object_unref(accent);
  g_object_unref(list);
  g_object_unref(tasks);
  g_object_unref(ole);
  g_object_unref(in);
}

// olefile is an independent reader; the test runs where it is installed.
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

// A compound file laid out by hand as other writers lay it out: a real
// directory tree (not a list), a mini stream, one FAT sector.
std::string HandMadeFile() {
  std::string f(512 * 5, '\0');
  auto u16 = [&](size_t at, uint16_t v) { std::memcpy(&f[at], &v, 2); };
  auto u32 = [&](size_t at, uint32_t v) { std::memcpy(&f[at], &v, 4); };
  const char sig[] = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
  std::memcpy(&f[0], sig, 8);
  u16(0x18, 0x3E); u16(0x1A, 3); u16(0x1C, 0xFFFE); u16(0x1E, 9); u16(0x20, 6);
  u32(0x2C, 1);           // FAT sectors
  u32(0x30, 1);           // first directory sector
  u32(0x38, 4096);        // mini stream cutoff
  u32(0x3C, 3);           // first mini FAT sector
  u32(0x40, 1);           // mini FAT sectors
  u32(0x44, 0xFFFFFFFE);  // no DIFAT sectors
  for (int i = 0; i < 109; ++i) u32(0x4C + 4 * i, i == 0 ? 0 : 0xFFFFFFFF);
  auto sector = [](int n) { return size_t(512) * (n + 1); };
  // FAT: 0 itself, 1 directory, 2 mini stream, 3 mini FAT.
  for (int i = 0; i < 128; ++i) u32(sector(0) + 4 * i, 0xFFFFFFFF);
  u32(sector(0), 0xFFFFFFFD);
  for (int i = 1; i <= 3; ++i) u32(sector(0) + 4 * i, 0xFFFFFFFE);
  auto entry = [&](int index, std::u16string name, uint8_t type, uint32_t left, uint32_t right,
                   uint32_t child, uint32_t start, uint32_t size, const Guid& clsid) {
    size_t at = sector(1) + 128 * index;
    for (size_t i = 0; i < name.size(); ++i) u16(at + 2 * i, name[i]);
    u16(at + 64, static_cast<uint16_t>(2 * (name.size() + 1)));
    f[at + 66] = static_cast<char>(type);
    f[at + 67] = 1;  // black
    u32(at + 68, left); u32(at + 72, right); u32(at + 76, child);
    u32(at + 80, clsid.data1); u16(at + 84, clsid.data2); u16(at + 86, clsid.data3);
    std::memcpy(&f[at + 88], clsid.data4.data(), 8);
    u32(at + 116, start); u32(at + 120, size);
  };
  const uint32_t none = 0xFFFFFFFF;
  entry(0, u"Root Entry", 5, none, none, 1, 2, 128, kRootClass);
  entry(1, u"Version", 2, 2, none, none, 0, 4, GUID_NULL);  // "Tasks" sorts before it
  entry(2, u"Tasks", 1, none, none, 3, 0, 0, kTasksClass);
  entry(3, u"Task List", 2, none, none, none, 1, 10, GUID_NULL);
  std::memcpy(&f[sector(2)], "\x06\0\0\0", 4);
  std::memcpy(&f[sector(2) + 64], "ten bytes!", 10);
  for (int i = 0; i < 128; ++i) u32(sector(3) + 4 * i, i < 2 ? 0xFFFFFFFE : 0xFFFFFFFF);
  return f;
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
