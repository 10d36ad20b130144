#include "velmar/storage.h"

#include <gtest/gtest.h>

#include "storage_test_util.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using testing::ClassOf;
using testing::ElementNames;
using testing::Elements;
using testing::GetStream;
using testing::kRW;
using testing::kRWT;
using testing::PutStream;
using testing::SubStorage;

constexpr Guid kTasksClass = Guid::Literal("{220CFBCF-DD19-4DF9-9817-4CC0D0DCFEC9}");

class StorageTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(StgCreateMemoryStorage(root_.Put()), S_OK); }
  ComPtr<IKivStorage> root_;
};

TEST_F(StorageTest, TransactedSubStorageHidesChangesUntilCommit) {
  ComPtr<IKivStorage> tasks = SubStorage(root_.Get(), u"Tasks");
  ASSERT_EQ(PutStream(tasks.Get(), u"Task 1", "one"), S_OK);
  ASSERT_EQ(WriteClassStg(tasks.Get(), kTasksClass), S_OK);

  ASSERT_EQ(Elements(root_.Get()).size(), 1u);
  EXPECT_EQ(Elements(root_.Get())[0].clsid, GUID_NULL);  // not committed yet
  ASSERT_EQ(tasks->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(Elements(root_.Get())[0].clsid, kTasksClass);
  tasks = nullptr;
  tasks = SubStorage(root_.Get(), u"Tasks");
  EXPECT_EQ(GetStream(tasks.Get(), u"Task 1"), "one");
  EXPECT_EQ(ClassOf(tasks.Get()), kTasksClass);
}

TEST_F(StorageTest, RevertDropsChangesSinceTheLastCommit) {
  ComPtr<IKivStorage> sub = SubStorage(root_.Get(), u"Channel Properties");
  ASSERT_EQ(PutStream(sub.Get(), u"Kept", "k"), S_OK);
  ASSERT_EQ(sub->Commit(STGC_DEFAULT), S_OK);
  ASSERT_EQ(PutStream(sub.Get(), u"Dropped", "d"), S_OK);
  ASSERT_EQ(sub->DestroyElement(u"Kept"), S_OK);
  ASSERT_EQ(sub->Revert(), S_OK);
  EXPECT_EQ(ElementNames(sub.Get()), std::vector<std::u16string>{u"Kept"});
  EXPECT_EQ(GetStream(sub.Get(), u"Kept"), "k");
}

TEST_F(StorageTest, ParentRevertRevertsOpenChildren) {
  ComPtr<IKivStorage> sub = SubStorage(root_.Get(), u"Global Constants");
  ComPtr<IKivStream> stream;
  ASSERT_EQ(root_->CreateStream(u"Settings", kRW, stream.Put()), S_OK);
  ASSERT_EQ(root_->Revert(), S_OK);
  EXPECT_EQ(PutStream(sub.Get(), u"x", "x"), STG_E_REVERTED);
  EXPECT_EQ(sub->Commit(STGC_DEFAULT), STG_E_REVERTED);
  EXPECT_EQ(stream->Write("a", 1, nullptr), STG_E_REVERTED);
  StatStg st;
  EXPECT_EQ(stream->Stat(&st), STG_E_REVERTED);
  EXPECT_TRUE(ElementNames(root_.Get()).empty());
}

TEST_F(StorageTest, DirectSubStorageChangesItsParentAtOnce) {
  ComPtr<IKivStorage> direct = SubStorage(root_.Get(), u"Data Factories", kRW);
  ASSERT_EQ(PutStream(direct.Get(), u"Version", std::string("\x02\0\0\0", 4)), S_OK);
  direct = nullptr;
  ComPtr<IKivStorage> again = SubStorage(root_.Get(), u"Data Factories");
  EXPECT_EQ(GetStream(again.Get(), u"Version"), std::string("\x02\0\0\0", 4));
}

TEST_F(StorageTest, NestedTransactionsCommitLevelByLevel) {
  ComPtr<IKivStorage> outer = SubStorage(root_.Get(), u"Data Factories");
  ComPtr<IKivStorage> inner = SubStorage(outer.Get(), u"DataFactory_1");
  ASSERT_EQ(PutStream(inner.Get(), u"State", "s"), S_OK);
  ASSERT_EQ(inner->Commit(STGC_DEFAULT), S_OK);
  ASSERT_EQ(outer->Revert(), S_OK);  // drops what inner committed into it
  EXPECT_EQ(inner->Commit(STGC_DEFAULT), STG_E_REVERTED);
  inner = SubStorage(outer.Get(), u"DataFactory_1");
  EXPECT_TRUE(ElementNames(inner.Get()).empty());
  ASSERT_EQ(PutStream(inner.Get(), u"State", "t"), S_OK);
  ASSERT_EQ(inner->Commit(STGC_DEFAULT), S_OK);
  ASSERT_EQ(outer->Commit(STGC_DEFAULT), S_OK);
  inner = nullptr;
  outer = nullptr;
  outer = SubStorage(root_.Get(), u"Data Factories");
  inner = SubStorage(outer.Get(), u"DataFactory_1");
  EXPECT_EQ(GetStream(inner.Get(), u"State"), "t");
}

TEST_F(StorageTest, CreateRefusesAnExistingNameUnlessAskedToReplace) {
  ASSERT_EQ(PutStream(root_.Get(), u"Groups", "old"), S_OK);
  ComPtr<IKivStream> s;
  EXPECT_EQ(root_->CreateStream(u"GROUPS", kRW, s.Put()), STG_E_FILEALREADYEXISTS);
  ComPtr<IKivStorage> st;
  EXPECT_EQ(root_->CreateStorage(u"Groups", kRWT, st.Put()), STG_E_FILEALREADYEXISTS);
  // STGM_CREATE replaces, even an element of the other kind.
  ASSERT_EQ(root_->CreateStorage(u"Groups", kRWT | STGM_CREATE, st.Put()), S_OK);
  ASSERT_EQ(Elements(root_.Get()).size(), 1u);
  EXPECT_EQ(Elements(root_.Get())[0].type, STGTY_STORAGE);
  EXPECT_EQ(root_->OpenStream(u"Groups", kRW, s.Put()), STG_E_FILENOTFOUND);
}

TEST_F(StorageTest, ElementsOpenExclusively) {
  ComPtr<IKivStream> a, b;
  ASSERT_EQ(root_->CreateStream(u"RealTime Settings", kRW, a.Put()), S_OK);
  EXPECT_EQ(root_->OpenStream(u"realtime settings", kRW, b.Put()), STG_E_ACCESSDENIED);
  EXPECT_EQ(root_->CreateStream(u"RealTime Settings", kRW | STGM_CREATE, b.Put()),
            STG_E_ACCESSDENIED);
  a = nullptr;
  EXPECT_EQ(root_->OpenStream(u"RealTime Settings", kRW, b.Put()), S_OK);
}

TEST_F(StorageTest, RenameAndDestroyEvenWhileOpen) {
  ASSERT_EQ(PutStream(root_.Get(), u"Channel Properties Temp", "new"), S_OK);
  ASSERT_EQ(PutStream(root_.Get(), u"Channel Properties", "old"), S_OK);
  EXPECT_EQ(root_->RenameElement(u"Channel Properties Temp", u"Channel Properties"),
            STG_E_FILEALREADYEXISTS);
  ASSERT_EQ(root_->DestroyElement(u"channel properties"), S_OK);
  ASSERT_EQ(root_->RenameElement(u"Channel Properties Temp", u"Channel Properties"), S_OK);
  EXPECT_EQ(GetStream(root_.Get(), u"Channel Properties"), "new");
  EXPECT_EQ(root_->DestroyElement(u"Channel Properties Temp"), STG_E_FILENOTFOUND);
  EXPECT_EQ(root_->RenameElement(u"Missing", u"X"), STG_E_FILENOTFOUND);
  // A change of letter case only is a rename too.
  ASSERT_EQ(root_->RenameElement(u"Channel Properties", u"CHANNEL PROPERTIES"), S_OK);
  EXPECT_EQ(ElementNames(root_.Get()), std::vector<std::u16string>{u"CHANNEL PROPERTIES"});
  EXPECT_EQ(root_->RenameElement(u"CHANNEL PROPERTIES", u"bad/name"), STG_E_INVALIDNAME);
  // An open element stays usable under its new name; destroying it reverts it.
  ComPtr<IKivStream> s;
  ASSERT_EQ(root_->CreateStream(u"Groups Temp", kRW, s.Put()), S_OK);
  ASSERT_EQ(root_->RenameElement(u"Groups Temp", u"Groups"), S_OK);
  ASSERT_EQ(s->Write("g", 1, nullptr), S_OK);
  StatStg st;
  ASSERT_EQ(s->Stat(&st), S_OK);
  EXPECT_EQ(st.name, u"Groups");
  ASSERT_EQ(root_->DestroyElement(u"Groups"), S_OK);
  EXPECT_EQ(s->Write("g", 1, nullptr), STG_E_REVERTED);
}

TEST_F(StorageTest, NamesFollowTheCompoundFileRules) {
  const std::u16string longest(31, u'n');
  EXPECT_EQ(PutStream(root_.Get(), longest, "31"), S_OK);
  EXPECT_EQ(PutStream(root_.Get(), std::u16string(32, u'n'), "32"), STG_E_INVALIDNAME);
  const std::u16string bad[] = {u"", u"a/b", u"a\\b", u"a:b", u"a!b", u"\xD800", u"\xDC00x", {u"a\0b", 3}};
  for (const auto& name : bad) EXPECT_EQ(PutStream(root_.Get(), name, "x"), STG_E_INVALIDNAME) << WideToUtf8(name);
  EXPECT_EQ(PutStream(root_.Get(), u"\U0001F3C1 flag", "x"), S_OK);  // a whole surrogate pair
  EXPECT_EQ(PutStream(root_.Get(), u"\x05SummaryInformation", "x"), S_OK);
  EXPECT_EQ(GetStream(root_.Get(), u"\U0001F3C1 FLAG"), "x");
}

TEST_F(StorageTest, EnumerationFollowsTheCompoundFileOrder) {
  for (auto name : {u"Tasks", u"Version", u"ab", u"AA", u"Settings"})
    ASSERT_EQ(PutStream(root_.Get(), name, "x"), S_OK);
  EXPECT_EQ(ElementNames(root_.Get()),
            (std::vector<std::u16string>{u"AA", u"ab", u"Tasks", u"Version", u"Settings"}));
}

TEST_F(StorageTest, StreamReadWriteSeekSizeAndCopy) {
  ComPtr<IKivStream> s;
  ASSERT_EQ(root_->CreateStream(u"Settings", kRW, s.Put()), S_OK);
  uint64_t pos = 0;
  ASSERT_EQ(s->Seek(4, STREAM_SEEK_SET, &pos), S_OK);
  ASSERT_EQ(s->Write("ab", 2, nullptr), S_OK);  // the gap reads as zeros
  StatStg st;
  ASSERT_EQ(s->Stat(&st), S_OK);
  EXPECT_EQ(st.size, 6u);
  EXPECT_EQ(st.type, STGTY_STREAM);

  char buf[8] = {};
  uint32_t read = 0;
  ASSERT_EQ(s->Seek(-6, STREAM_SEEK_END, &pos), S_OK);
  EXPECT_EQ(pos, 0u);
  EXPECT_EQ(s->Read(buf, 8, &read), S_FALSE);  // fewer bytes than asked
  EXPECT_EQ(read, 6u);
  EXPECT_EQ(std::string(buf, 6), std::string("\0\0\0\0ab", 6));
  EXPECT_EQ(s->Read(buf, 1, &read), S_FALSE);
  EXPECT_EQ(read, 0u);

  EXPECT_EQ(s->Seek(-1, STREAM_SEEK_SET, &pos), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(s->Seek(0, 7, &pos), STG_E_INVALIDFUNCTION);
  ASSERT_EQ(s->SetSize(2), S_OK);
  ASSERT_EQ(s->Stat(&st), S_OK);
  EXPECT_EQ(st.size, 2u);
  EXPECT_EQ(s->SetSize(uint64_t{1} << 32), STG_E_MEDIUMFULL);
  EXPECT_EQ(s->Read(nullptr, 1, &read), E_POINTER);
  EXPECT_EQ(s->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(s->Revert(), S_OK);

  ASSERT_EQ(PutStream(root_.Get(), u"Source", "0123456789"), S_OK);
  ComPtr<IKivStream> src, dst;
  ASSERT_EQ(root_->OpenStream(u"Source", kRW, src.Put()), S_OK);
  ASSERT_EQ(root_->CreateStream(u"Copy", kRW, dst.Put()), S_OK);
  ASSERT_EQ(src->Seek(2, STREAM_SEEK_SET, nullptr), S_OK);
  uint64_t copiedIn = 0, copiedOut = 0;
  ASSERT_EQ(src->CopyTo(dst.Get(), 100, &copiedIn, &copiedOut), S_OK);
  EXPECT_EQ(copiedIn, 8u);
  EXPECT_EQ(copiedOut, 8u);
  dst = nullptr;
  EXPECT_EQ(GetStream(root_.Get(), u"Copy"), "23456789");
}

TEST_F(StorageTest, ReadOnlyOpensRefuseChanges) {
  ASSERT_EQ(PutStream(root_.Get(), u"Version", "6"), S_OK);
  ComPtr<IKivStream> s;
  ASSERT_EQ(root_->OpenStream(u"Version", STGM_READ | STGM_SHARE_EXCLUSIVE, s.Put()), S_OK);
  EXPECT_EQ(s->Write("7", 1, nullptr), STG_E_ACCESSDENIED);
  EXPECT_EQ(s->SetSize(0), STG_E_ACCESSDENIED);
  s = nullptr;

  ComPtr<IKivStorage> sub = SubStorage(root_.Get(), u"Tasks", STGM_READ | STGM_TRANSACTED);
  ComPtr<IKivStorage> deeper;
  EXPECT_EQ(sub->CreateStorage(u"x", kRW, deeper.Put()), STG_E_ACCESSDENIED);
  EXPECT_EQ(sub->SetClass(kTasksClass), STG_E_ACCESSDENIED);
  EXPECT_EQ(root_->OpenStream(u"Version", 3, s.Put()), STG_E_INVALIDFLAG);
  EXPECT_EQ(root_->OpenStream(u"Version", kRWT, s.Put()), STG_E_INVALIDFLAG);
}

TEST_F(StorageTest, MoveElementThroughATemporaryStorage) {
  // Moves "Map" out to a temporary and on into "Circuit Map" as "MapStream".
  ASSERT_EQ(PutStream(root_.Get(), u"Map", "map bytes"), S_OK);
  ComPtr<IKivStorage> temp;
  ASSERT_EQ(StgCreateMemoryStorage(temp.Put()), S_OK);
  ASSERT_EQ(root_->MoveElementTo(u"Map", temp.Get(), u"MapStream", STGMOVE_MOVE), S_OK);
  EXPECT_TRUE(ElementNames(root_.Get()).empty());
  ComPtr<IKivStorage> map = SubStorage(root_.Get(), u"Circuit Map");
  ASSERT_EQ(temp->MoveElementTo(u"MapStream", map.Get(), u"MapStream", STGMOVE_MOVE), S_OK);
  ASSERT_EQ(map->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(GetStream(map.Get(), u"MapStream"), "map bytes");
  EXPECT_TRUE(ElementNames(temp.Get()).empty());

  EXPECT_EQ(map->MoveElementTo(u"Missing", temp.Get(), u"X", STGMOVE_COPY), STG_E_FILENOTFOUND);
  ASSERT_EQ(map->MoveElementTo(u"MapStream", temp.Get(), u"Copy", STGMOVE_COPY), S_OK);
  EXPECT_EQ(map->MoveElementTo(u"MapStream", temp.Get(), u"Copy", STGMOVE_COPY),
            STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(GetStream(map.Get(), u"MapStream"), "map bytes");
}

TEST_F(StorageTest, CopyToCopiesAWholeTreeWithClasses) {
  ComPtr<IKivStorage> old = SubStorage(root_.Get(), u"DataFactory_3");
  ASSERT_EQ(old->SetClass(kTasksClass), S_OK);
  ASSERT_EQ(PutStream(old.Get(), u"State", "s"), S_OK);
  ComPtr<IKivStorage> deep = SubStorage(old.Get(), u"Deep");
  ASSERT_EQ(PutStream(deep.Get(), u"Leaf", "leaf"), S_OK);
  ASSERT_EQ(deep->Commit(STGC_DEFAULT), S_OK);

  ComPtr<IKivStorage> other;
  ASSERT_EQ(StgCreateMemoryStorage(other.Put()), S_OK);
  ComPtr<IKivStorage> target = SubStorage(other.Get(), u"DataFactory_1");
  ASSERT_EQ(old->CopyTo(target.Get()), S_OK);  // uncommitted view of `old` included
  EXPECT_EQ(ClassOf(target.Get()), kTasksClass);
  EXPECT_EQ(GetStream(target.Get(), u"State"), "s");
  EXPECT_EQ(GetStream(SubStorage(target.Get(), u"Deep").Get(), u"Leaf"), "leaf");
  // Copying into a storage below itself ends.
  deep = nullptr;
  ASSERT_EQ(old->CopyTo(SubStorage(old.Get(), u"Deep").Get()), S_OK);
}

TEST_F(StorageTest, MemoryStorageRoundTripsThroughBytes) {
  ASSERT_EQ(root_->SetClass(kTasksClass), S_OK);
  ComPtr<IKivStorage> sub = SubStorage(root_.Get(), u"Tasks");
  ASSERT_EQ(PutStream(sub.Get(), u"Big", std::string(10000, 'b')), S_OK);
  ASSERT_EQ(sub->Commit(STGC_DEFAULT), S_OK);
  std::string bytes;
  ASSERT_EQ(StgSaveToBytes(root_.Get(), &bytes), S_OK);

  ComPtr<IKivStorage> copy;
  ASSERT_EQ(StgOpenMemoryStorage(bytes, kRWT, copy.Put()), S_OK);
  EXPECT_EQ(ClassOf(copy.Get()), kTasksClass);
  EXPECT_EQ(GetStream(SubStorage(copy.Get(), u"Tasks").Get(), u"Big"), std::string(10000, 'b'));
  EXPECT_EQ(StgOpenMemoryStorage("not a compound file", kRWT, copy.Put()), STG_E_DOCFILECORRUPT);
}

TEST_F(StorageTest, NullArgumentsAreRefused) {
  EXPECT_EQ(root_->CreateStream(u"x", kRW, nullptr), E_POINTER);
  EXPECT_EQ(root_->EnumElements(nullptr), E_POINTER);
  EXPECT_EQ(root_->Stat(nullptr), E_POINTER);
  EXPECT_EQ(root_->CopyTo(nullptr), E_POINTER);
  EXPECT_EQ(root_->MoveElementTo(u"x", nullptr, u"y", STGMOVE_COPY), E_POINTER);
  EXPECT_EQ(StgCreateMemoryStorage(nullptr), E_POINTER);
  EXPECT_EQ(ReadClassStg(nullptr, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar
