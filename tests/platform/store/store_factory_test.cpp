// Opening and creating files: the codes for missing, foreign, damaged and
// newer files, and what a new file holds.
#include "platform/store/store_factory.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "platform/store/store_test_helper.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

namespace fs = std::filesystem;

class StoreFactoryTest : public StoreTest {
 protected:
  fs::path FileOf(const std::u16string& path) const { return fs::path(WideToUtf8(path)); }

  void WriteBytes(const std::string& name, const std::string& bytes) {
    std::ofstream(dir_.path() / name, std::ios::binary) << bytes;
  }

  // Runs SQL on a file behind the store's back.
  void Sql(const std::u16string& path, const char* sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(WideToUtf8(path).c_str(), &db), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, &error), SQLITE_OK) << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
  }

  // Every read of the main object and its lists gives `code`.
  void ExpectEveryReadGives(KivResult code) {
    KivTime a = 0, b = 0;
    EXPECT_EQ(store_->GetOutingRange(kDefaultWaitLimit, &a, &b), code);
    EXPECT_EQ(store_->GetMovementRange(kDefaultWaitLimit, &a, &b), code);
    ComPtr<IKivTarnOutingRecords> details;
    EXPECT_EQ(List<IKivTarnOutingDetails>()->GetDetails(kDefaultWaitLimit, details.Put()), code);
    ComPtr<IKivTarnChannelRecords> channels;
    EXPECT_EQ(List<IKivTarnChannels>()->GetChannelList(kDefaultWaitLimit, channels.Put()), code);
    ComPtr<IKivTarnEventNameRecords> names;
    EXPECT_EQ(List<IKivTarnEvents>()->GetEventNames(kDefaultWaitLimit, names.Put()), code);
    ComPtr<IKivTarnLapMarkerRecords> markers;
    EXPECT_EQ(List<IKivTarnLapMarkers>()->GetLapMarkers(kDefaultWaitLimit, markers.Put()), code);
    ComPtr<IKivTarnConstantRecords> constants;
    EXPECT_EQ(List<IKivTarnConstants>()->GetConstants(kDefaultWaitLimit, constants.Put()), code);
    ComPtr<IKivTarnBlobRecords> blobs;
    EXPECT_EQ(List<IKivTarnBlobs>()->GetBlobList(kDefaultWaitLimit, blobs.Put()), code);
    ComPtr<IKivTarnMediaChannelRecords> media;
    EXPECT_EQ(List<IKivTarnMedia>()->GetMediaChannels(kDefaultWaitLimit, media.Put()), code);
    ComPtr<IKivTarnWriteHandle> handle;
    EXPECT_EQ(List<IKivTarnWriteAccess>()->GetWriteHandle(kDefaultWaitLimit, IKivTarnWriteHandle::iid,
                                                          handle.PutVoid()),
              code);
  }
};

TEST_F(StoreFactoryTest, NewFileHoldsOneDefaultDetailsRecordAndNothingElseAtVersionOne) {
  Create();
  auto details = Details();
  ASSERT_EQ(details.size(), 1u);
  EXPECT_EQ(details[0].firstLapNumber, 1u);
  EXPECT_EQ(details[0].lastLapNumber, 0u);
  EXPECT_EQ(details[0].trackName, nullptr);
  // Made now: days since 30 December 1899.
  double today = 25569.0 + std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count() /
                               86400.0;
  EXPECT_NEAR(details[0].createDate, today, 1.0 / 24);
  EXPECT_TRUE(Channels().empty());
  EXPECT_TRUE(LapMarkers().empty());
  EXPECT_TRUE(Constants().empty());
  EXPECT_TRUE(Blobs().empty());
  EXPECT_TRUE(EventNames().empty());
  EXPECT_TRUE(MediaChannels().empty());
  KivTime start = -1, end = -1;
  EXPECT_EQ(store_->GetOutingRange(kDefaultWaitLimit, &start, &end), S_OK);
  EXPECT_EQ(start, 0);
  EXPECT_EQ(end, 0);
  EXPECT_EQ(store_->GetMovementRange(kDefaultWaitLimit, &start, &end), S_FALSE);
  std::u16string name;
  EXPECT_EQ(store_->GetFileName(&name), S_OK);
  EXPECT_EQ(name, path_);
  uint32_t version = 0;
  EXPECT_EQ(factory_->GetFileVersion(path_, &version), S_OK);
  EXPECT_EQ(version, 1u);
  EXPECT_EQ(factory_->GetFileVersion(PathOf("none.trn"), &version), STG_E_FILENOTFOUND);
  EXPECT_EQ(factory_->GetFileVersion(path_, nullptr), E_POINTER);
}

TEST_F(StoreFactoryTest, CreateAndOpenRefuseWhatIsNotThereOrIsThereAlready) {
  Create("a.trn");
  store_ = nullptr;
  std::vector<std::string> files;
  for (const auto& e : fs::directory_iterator(dir_.path())) files.push_back(e.path().filename().string());
  EXPECT_EQ(files, std::vector<std::string>{"a.trn"});
  ComPtr<IKivTarnStore> again;
  EXPECT_EQ(factory_->CreateFile(path_, IKivTarnStore::iid, again.PutVoid()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(factory_->CreateFile(PathOf("missing/b.trn"), IKivTarnStore::iid, again.PutVoid()), STG_E_FILENOTFOUND);
  EXPECT_EQ(factory_->CreateFile(u"", IKivTarnStore::iid, again.PutVoid()), E_INVALIDARG);
  EXPECT_EQ(factory_->CreateFile(PathOf("c.trn"), IKivTarnStore::iid, nullptr), E_POINTER);
  // Opening refuses a missing file, a folder and an empty path.
  Open(PathOf("nothing.trn"), STG_E_FILENOTFOUND);
  Open(W(dir_.path().string()), STG_E_ACCESSDENIED);
  Open(u"", E_INVALIDARG);
  EXPECT_EQ(factory_->OpenFile(PathOf("x.trn"), IKivTarnStore::iid, nullptr), E_POINTER);
}

TEST_F(StoreFactoryTest, FilesThatAreNotStoreFilesAreCorrupt) {
  WriteBytes("text.trn", "Time,Speed\n0,1\n1,2\n");
  Open(PathOf("text.trn"), STG_E_DOCFILECORRUPT);
  WriteBytes("empty.trn", "");
  Open(PathOf("empty.trn"), STG_E_DOCFILECORRUPT);
  // An SQLite database of something else.
  Sql(PathOf("other.trn"), "CREATE TABLE people(name TEXT)");
  Open(PathOf("other.trn"), STG_E_DOCFILECORRUPT);
  uint32_t version = 0;
  EXPECT_EQ(factory_->GetFileVersion(PathOf("other.trn"), &version), STG_E_DOCFILECORRUPT);
  // A store file with a missing table.
  Create();
  store_ = nullptr;
  Sql(path_, "DROP TABLE constants");
  Open(path_, STG_E_DOCFILECORRUPT);
}

TEST_F(StoreFactoryTest, UnknownVersionOpensAndEveryReadSaysSo) {
  Create();
  store_ = nullptr;
  Sql(path_, "UPDATE store_info SET value = 99 WHERE key = 'format_version'");
  store_ = Open(path_);
  ASSERT_TRUE(store_);
  ExpectEveryReadGives(E_BADFILEVERSION);
  uint32_t version = 0;
  EXPECT_EQ(factory_->GetFileVersion(path_, &version), S_OK);
  EXPECT_EQ(version, 99u);
}

// A file cut short: opening or reading gives a code, never a crash.
TEST_F(StoreFactoryTest, TruncatedFileGivesCodes) {
  Create();
  auto handle = Handle();
  auto channels = Writer<IKivTarnChannelWriter>(handle);
  TarnChannelDescription d = Description(u"Speed", 7);
  std::vector<uint64_t> ids;
  ASSERT_EQ(channels->AddChannels(1, &d, &ids), S_OK);
  std::vector<double> samples(20000, 1.5);
  int64_t period = 1000;
  TarnChannelData block = Periodic(0, &period, samples.data(), static_cast<int32_t>(samples.size()));
  std::vector<uint64_t> blocks;
  ASSERT_EQ(channels->AddChannelData(1, ids.data(), &block, &blocks), S_OK);
  ASSERT_EQ(handle->Commit(), S_OK);
  handle = nullptr;
  store_ = nullptr;
  const fs::path file = FileOf(path_);
  for (uintmax_t size : {fs::file_size(file) / 2, uintmax_t{100}, uintmax_t{4096}}) {
    fs::path cut = dir_.path() / ("cut" + std::to_string(size) + ".trn");
    fs::copy_file(file, cut);
    fs::resize_file(cut, size);
    ComPtr<IKivTarnStore> s;
    KivResult r = factory_->OpenFile(W(cut.string()), IKivTarnStore::iid, s.PutVoid());
    if (Failed(r)) {
      EXPECT_EQ(r, STG_E_DOCFILECORRUPT) << size;
      continue;
    }
    ComPtr<IKivTarnChannelDataRecords> data;
    KivResult read = s.As<IKivTarnChannels>()->GetChannelData(kDefaultWaitLimit, ids[0], kTimeMin, kTimeMax,
                                                              data.Put());
    EXPECT_TRUE(read == STG_E_DOCFILECORRUPT || read == E_INVALIDARG) << size << " " << ResultName(read);
  }
}

TEST_F(StoreFactoryTest, ReadOnlyFileOpensForReadingOnly) {
  if (geteuid() == 0) GTEST_SKIP() << "root writes read-only files";
  Create();
  AddChannel(u"Speed");
  store_ = nullptr;
  fs::permissions(FileOf(path_), fs::perms::owner_read, fs::perm_options::replace);
  store_ = Open(path_);
  ASSERT_TRUE(store_);
  EXPECT_EQ(Channels().size(), 1u);
  ComPtr<IKivTarnWriteHandle> handle;
  EXPECT_EQ(List<IKivTarnWriteAccess>()->GetWriteHandle(kDefaultWaitLimit, IKivTarnWriteHandle::iid,
                                                        handle.PutVoid()),
            STG_E_ACCESSDENIED);
}

}  // namespace
}  // namespace velmar::testing
