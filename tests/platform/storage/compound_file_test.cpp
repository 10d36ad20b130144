#include "platform/storage/compound_file.h"

#include <gtest/gtest.h>

#include "storage_test_util.h"
#include "velmar/text.h"
#include "support/faulty_file_ops.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

using testing::ClassOf;
using testing::FaultyFileOps;
using testing::FileBytes;
using testing::GetStream;
using testing::kRW;
using testing::kRWT;
using testing::PutStream;
using testing::SubStorage;

constexpr Guid kTasksClass = Guid::Literal("{220CFBCF-DD19-4DF9-9817-4CC0D0DCFEC9}");
constexpr Guid kFactoriesClass = Guid::Literal("{6CE0B38D-2BA0-4D31-B309-AEACC0138B19}");

std::string U32(uint32_t v) { return std::string(reinterpret_cast<const char*>(&v), 4); }

class CompoundFileTest : public ::testing::Test {
 protected:
  ComPtr<IKivStorage> Create(uint32_t mode = kRWT | STGM_CREATE) {
    ComPtr<IKivStorage> root;
    EXPECT_EQ(StgCreateDocfile(path_, mode, root.Put()), S_OK);
    return root;
  }
  ComPtr<IKivStorage> Open(uint32_t mode = kRWT) {
    ComPtr<IKivStorage> root;
    EXPECT_EQ(StgOpenStorage(path_, mode, root.Put()), S_OK);
    return root;
  }
  // A small settings-like file, committed.
  void MakeFile() {
    ComPtr<IKivStorage> root = Create();
    ASSERT_EQ(PutStream(root.Get(), u"Version", U32(6)), S_OK);
    ComPtr<IKivStorage> tasks = SubStorage(root.Get(), u"Tasks");
    ASSERT_EQ(tasks->SetClass(kTasksClass), S_OK);
    ASSERT_EQ(PutStream(tasks.Get(), u"Task List", std::string(5000, 't')), S_OK);
    ASSERT_EQ(tasks->Commit(STGC_DEFAULT), S_OK);
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  }

  testing::TempDir dir_;
  std::filesystem::path path_ = dir_ / "settings.kvs";
};

TEST_F(CompoundFileTest, TreeRoundTripsThroughAFreshOpen) {
  {
    ComPtr<IKivStorage> root = Create();
    ASSERT_EQ(PutStream(root.Get(), u"Version", U32(6)), S_OK);
    ASSERT_EQ(PutStream(root.Get(), u"Groups", ""), S_OK);  // empty stream
    ASSERT_EQ(PutStream(root.Get(), u"Common Channels", std::string(70000, 'c')), S_OK);
    ComPtr<IKivStorage> factories = SubStorage(root.Get(), u"Data Factories");
    ASSERT_EQ(factories->SetClass(kFactoriesClass), S_OK);
    ComPtr<IKivStorage> empty = SubStorage(factories.Get(), u"DataFactory_1");
    ASSERT_EQ(empty->Commit(STGC_DEFAULT), S_OK);
    ComPtr<IKivStorage> deep = SubStorage(factories.Get(), u"DataFactory_2");
    ASSERT_EQ(PutStream(deep.Get(), u"\u00c9tat \u03a9 \U0001F3C1", "unicode"), S_OK);
    ASSERT_EQ(PutStream(deep.Get(), std::u16string(31, u'L'), "long name"), S_OK);
    ASSERT_EQ(deep->Commit(STGC_DEFAULT), S_OK);
    ASSERT_EQ(factories->Commit(STGC_DEFAULT), S_OK);
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  }
  ASSERT_EQ(StgIsStorageFile(path_), S_OK);
  ComPtr<IKivStorage> root = Open();
  EXPECT_EQ(GetStream(root.Get(), u"version"), U32(6));
  EXPECT_EQ(GetStream(root.Get(), u"Groups"), "");
  EXPECT_EQ(GetStream(root.Get(), u"Common Channels"), std::string(70000, 'c'));
  ComPtr<IKivStorage> factories = SubStorage(root.Get(), u"Data Factories");
  EXPECT_EQ(ClassOf(factories.Get()), kFactoriesClass);
  EXPECT_TRUE(testing::ElementNames(SubStorage(factories.Get(), u"DataFactory_1").Get()).empty());
  ComPtr<IKivStorage> deep = SubStorage(factories.Get(), u"DataFactory_2");
  EXPECT_EQ(GetStream(deep.Get(), u"\u00e9TAT \u03a9 \U0001F3C1"), "unicode");
  EXPECT_EQ(GetStream(deep.Get(), std::u16string(31, u'l')), "long name");
  StatStg st;
  ASSERT_EQ(root->Stat(&st), S_OK);
  EXPECT_EQ(st.name, Utf8ToWide(path_.string()));
}

TEST_F(CompoundFileTest, OnlyCommittedChangesReachTheFile) {
  MakeFile();
  ComPtr<IKivStorage> root = Open();
  ASSERT_EQ(PutStream(root.Get(), u"Version", U32(7)), S_OK);
  ComPtr<IKivStorage> tasks = SubStorage(root.Get(), u"Tasks");
  ASSERT_EQ(tasks->DestroyElement(u"Task List"), S_OK);
  ASSERT_EQ(tasks->Commit(STGC_DEFAULT), S_OK);  // into the root only
  EXPECT_EQ(GetStream(Open().Get(), u"Version"), U32(6));

  ASSERT_EQ(root->Revert(), S_OK);
  EXPECT_EQ(tasks->Commit(STGC_DEFAULT), STG_E_REVERTED);
  EXPECT_EQ(GetStream(root.Get(), u"Version"), U32(6));
  tasks = SubStorage(root.Get(), u"Tasks");
  EXPECT_EQ(GetStream(tasks.Get(), u"Task List"), std::string(5000, 't'));

  ASSERT_EQ(PutStream(root.Get(), u"Version", U32(8)), S_OK);
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(GetStream(Open().Get(), u"Version"), U32(8));
}

TEST_F(CompoundFileTest, AFailedCommitLeavesTheOldFileByteForByte) {
  MakeFile();
  const std::string before = FileBytes(path_);
  FaultyFileOps ops;
  ComPtr<IKivStorage> root;
  ASSERT_EQ(OpenCompoundFile(ops, path_, kRWT, root.Put()), S_OK);
  ASSERT_EQ(PutStream(root.Get(), u"Version", U32(9)), S_OK);
  ASSERT_EQ(PutStream(root.Get(), u"Extra", std::string(20000, 'x')), S_OK);

  for (auto step : {FaultyFileOps::Step::kWrite, FaultyFileOps::Step::kShortWrite,
                    FaultyFileOps::Step::kSyncFile, FaultyFileOps::Step::kRename}) {
    ops.FailAt(step, STG_E_MEDIUMFULL);
    EXPECT_EQ(root->Commit(STGC_DEFAULT), STG_E_MEDIUMFULL);
    EXPECT_EQ(FileBytes(path_), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.path()),
                            std::filesystem::directory_iterator()),
              1);  // no temporary left behind
  }
  // The changes are still there to commit once the disk has room.
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(GetStream(Open().Get(), u"Version"), U32(9));
  EXPECT_EQ(ops.failures(), 4);
}

TEST_F(CompoundFileTest, AFailedFolderSyncIsReported) {
  MakeFile();
  FaultyFileOps ops;
  ComPtr<IKivStorage> root;
  ASSERT_EQ(OpenCompoundFile(ops, path_, kRWT, root.Put()), S_OK);
  ASSERT_EQ(PutStream(root.Get(), u"Version", U32(9)), S_OK);
  ops.FailAt(FaultyFileOps::Step::kSyncDir);
  EXPECT_EQ(root->Commit(STGC_DEFAULT), STG_E_WRITEFAULT);
  // The rename happened: the file is whole, old or new, never torn.
  ComPtr<IKivStorage> check = Open();
  EXPECT_EQ(GetStream(check.Get(), u"Version"), U32(9));
}

TEST_F(CompoundFileTest, CreateAndOpenResults) {
  ComPtr<IKivStorage> root;
  EXPECT_EQ(StgOpenStorage(path_, kRWT, root.Put()), STG_E_FILENOTFOUND);
  ASSERT_EQ(StgCreateDocfile(path_, kRWT, root.Put()), S_OK);
  root = nullptr;
  EXPECT_TRUE(std::filesystem::exists(path_));  // a new file exists at once
  EXPECT_EQ(StgCreateDocfile(path_, kRWT, root.Put()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(StgCreateDocfile(path_, STGM_READ | STGM_CREATE, root.Put()), STG_E_INVALIDFLAG);
  EXPECT_EQ(StgOpenStorage(path_, kRWT, nullptr), E_POINTER);
  EXPECT_EQ(StgOpenStorage("", kRWT, root.Put()), STG_E_INVALIDNAME);
  EXPECT_EQ(StgOpenStorage(dir_.path(), kRWT, root.Put()), STG_E_ACCESSDENIED);
  // Created over an old file, the new one replaces it only at its commit.
  MakeFile();
  const std::string before = FileBytes(path_);
  root = Create(kRWT | STGM_CREATE);
  EXPECT_TRUE(testing::ElementNames(root.Get()).empty());
  EXPECT_EQ(FileBytes(path_), before);
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_TRUE(testing::ElementNames(Open().Get()).empty());
}

TEST_F(CompoundFileTest, ADirectRootWritesWhenReleasedAReadOnlyOneNever) {
  {
    ComPtr<IKivStorage> root = Create(kRW | STGM_CREATE);
    ASSERT_EQ(PutStream(root.Get(), u"Version", U32(6)), S_OK);
  }
  EXPECT_EQ(GetStream(Open().Get(), u"Version"), U32(6));
  const std::string before = FileBytes(path_);
  ComPtr<IKivStorage> root = Open(STGM_READ | STGM_TRANSACTED);
  EXPECT_EQ(PutStream(root.Get(), u"Version", U32(1)), STG_E_ACCESSDENIED);
  EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  root = nullptr;
  EXPECT_EQ(FileBytes(path_), before);
}

TEST_F(CompoundFileTest, DamagedFilesGiveACodeNotACrash) {
  MakeFile();
  const std::string good = FileBytes(path_);
  auto open_bytes = [&](const std::string& bytes) {
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
    ComPtr<IKivStorage> root;
    return StgOpenStorage(path_, kRWT, root.Put());
  };
  EXPECT_EQ(open_bytes(""), STG_E_DOCFILECORRUPT);
  EXPECT_EQ(open_bytes("plain text, not a compound file"), STG_E_DOCFILECORRUPT);
  EXPECT_EQ(open_bytes(good.substr(0, 512)), STG_E_DOCFILECORRUPT);
  EXPECT_EQ(open_bytes(good.substr(0, good.size() / 2)), STG_E_DOCFILECORRUPT);
  std::string bad_sector = good;
  bad_sector[0x1E] = 30;  // sector shift out of range
  EXPECT_EQ(open_bytes(bad_sector), STG_E_DOCFILECORRUPT);
  // Flipping bytes anywhere may or may not be noticed, but never crashes.
  for (size_t at = 0; at < good.size(); at += 97) {
    std::string flipped = good;
    flipped[at] = static_cast<char>(flipped[at] ^ 0x5A);
    KivResult r = open_bytes(flipped);
    EXPECT_TRUE(r == S_OK || r == STG_E_DOCFILECORRUPT) << at;
  }
  EXPECT_EQ(StgIsStorageFile(path_), S_OK);
  EXPECT_EQ(open_bytes(good), S_OK);
  std::ofstream(path_, std::ios::binary | std::ios::trunc) << "text";
  EXPECT_EQ(StgIsStorageFile(path_), S_FALSE);
}

}  // namespace
}  // namespace velmar
