// The folder watch of a task on a temporary folder: files copied in after
// the start are taken up (mode 1 each, mode 2 the newest), a file another
// writer holds waits until it is free, colours come from the root's table.
// Waits are on conditions with generous limits; nothing here is timed.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <set>

#include "sources/autoupdate/autoupdate_scan.h"
#include "sources/autoupdate/next_colour.h"
#include "support/fixtures.h"
#include "support/selection_binding.h"
#include "support/temp_dir.h"
#include "tasks/task.h"
#include "velmar/classes.h"
#include "velmar/client_thread.h"
#include "velmar/colour_table.h"
#include "velmar/convert.h"
#include "velmar/outing_factory.h"
#include "velmar/persist.h"
#include "velmar/storage.h"
#include "velmar/sample.h"
#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar::testing {
namespace {

namespace fs = std::filesystem;
constexpr auto kLimit = std::chrono::seconds(60);

// Writes `to` again until its file time is later than `after` (a clock tick
// may hold several writes); gives that time.
int64_t WriteNewer(const fs::path& to, int64_t after, const std::function<void()>& write) {
  for (WatchedFile written;;) {
    write();
    if (ReadWatchedFile(Utf8ToWide(to.string()), &written) && written.time > after) return written.time;
    fs::remove(to);
  }
}

class TakenLog final : public CTaskNotifications3Receiver {
 public:
  void OnWatchTookFile(IKivTask*, const std::u16string& path) override { paths.push_back(WideToUtf8(path)); }
  std::vector<std::string> paths;
};

class WatchTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    ASSERT_TRUE(Succeeded(KivRegisterBuiltInClasses()));
    source_ = new TempDir();
    const std::u16string text = Utf8ToWide((*source_ / "sample.txt").string());
    ASSERT_EQ(KivWriteSampleOuting(text, {1, 10.0, 7}), S_OK);
    ComPtr<IKivNewOutingFactory> factory;
    ASSERT_EQ(KivCreateInstance(CLSID_KivOutingFactory, &factory), S_OK);
    const Variant paths = MakeTextArray({text});
    OutingList outings;
    ASSERT_EQ(factory->Create(KIV_FALSE, kTextOutingTypeId.ToWide(), &paths, &outings), S_OK);
    const auto wait = [] { return KivClientThread::Current().RunUntilSettled(kLimit); };
    {
      BoundSelection bound(outings.front().Get());
      ASSERT_EQ(KivConvertToTarn(outings.front().Get(), Utf8ToWide(Template().string()), wait), S_OK);
    }
    outings.clear();
    ASSERT_TRUE(wait());
  }
  static void TearDownTestSuite() { delete source_; }
  static fs::path Template() { return *source_ / "template.trn"; }

  void SetUp() override {
    ASSERT_EQ(KivCreateInstance(CLSID_KivVelmar, &root_), S_OK);
    ASSERT_EQ(StgCreateMemoryStorage(settings_.Put()), S_OK);  // the settings file, with its colour table
    ASSERT_EQ(QueryAs<IKivPersistStorage>(root_.Get())->InitNew(settings_.Get()), S_OK);
    ComPtr<IKivTasks> tasks;
    ASSERT_EQ(root_->GetTasks(tasks.Put()), S_OK);
    ASSERT_EQ(tasks->AddTask(task_.Put()), S_OK);
    sink_->SetReceiver(&taken_);
    ASSERT_TRUE(sink_->Connect(task_.Get()));
    fs::create_directories(folder());
    Drop("old.trn");
    std::ofstream(folder() / "notes.txt") << "not an outing\n";
  }
  void TearDown() override {
    sink_->SetReceiver(nullptr);
    sink_->Disconnect(task_.Get());
    task_ = nullptr;
    (void)root_->Close();
    root_ = nullptr;
    EXPECT_TRUE(client_.RunUntilSettled(kLimit));
  }

  virtual fs::path folder() const { return dir_.path() / "logger"; }
  CTask* task() { return static_cast<CTask*>(task_.Get()); }
  void Watch(uint32_t mode) {
    const std::u16string text = Utf8ToWide(folder().string() + "/");
    ASSERT_EQ(task_->Update(kTaskWatch, nullptr, 0, 0, u"", u"", 0, text, 0, KIV_TRUE, mode, nullptr), S_OK);
    ASSERT_NE(task()->watch(), nullptr);
  }
  // Runs the client thread until the watch has made `more` further scans.
  void Scans(uint64_t more) {
    // The scans post nothing to this thread: look in slices.
    const uint64_t until = task()->watch()->scans() + more;
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (task()->watch()->scans() < until && std::chrono::steady_clock::now() < end)
      client_.RunFor(std::chrono::milliseconds(20));
    ASSERT_GE(task()->watch()->scans(), until);
    client_.RunUntilIdle();
  }
  int32_t Count() {
    ComPtr<IKivDataSelections> selections;
    int32_t count = 0;
    EXPECT_EQ(task_->GetSelections(selections.Put()), S_OK);
    EXPECT_EQ(selections->GetCount(&count), S_OK);
    return count;
  }
  bool CountReaches(int32_t n) { return client_.RunUntil([&] { return Count() >= n; }, kLimit); }
  ComPtr<IKivDataSelection4> Selection(int32_t index) {
    ComPtr<IKivDataSelections> selections;
    ComPtr<IKivDataSelection4> selection;
    EXPECT_EQ(task_->GetSelections(selections.Put()), S_OK);
    EXPECT_EQ(selections->GetItem(index, selection.Put()), S_OK);
    return selection;
  }
  std::string OutingFile(int32_t index) {
    ComPtr<IKivOuting> outing;
    std::u16string file;
    if (Selection(index)->GetOuting(outing.Put()) == S_OK) (void)outing->GetFileName(&file);
    return WideToUtf8(file);
  }
  // A copy of the template whose file time is later than any before it.
  fs::path Drop(const std::string& name) {
    WatchedFile newest;
    WalkPattern(Utf8ToWide(folder().string() + "/*"), [&](const WatchedFile& f) { newest.time = std::max(newest.time, f.time); });
    const fs::path to = folder() / name;
    WriteNewer(to, newest.time, [&] { fs::copy_file(Template(), to, fs::copy_options::overwrite_existing); });
    return to;
  }

  static TempDir* source_;
  KivClientThread client_ = KivClientThread::Current();
  TempDir dir_;
  ComPtr<IKivVelmar> root_;
  ComPtr<IKivStorage> settings_;
  ComPtr<IKivTask> task_;
  TakenLog taken_;
  ComPtr<CTaskNotifications3Sink<>> sink_ = MakeKiv<CTaskNotifications3Sink<>>();
};
TempDir* WatchTest::source_ = nullptr;

TEST_F(WatchTest, EachNewFileBecomesASelectionColouredFromTheTable) {
  ComPtr<IKivColourTable> table;
  ASSERT_EQ(root_.As<IKivVelmar6>()->GetColourTable(table.Put()), S_OK);
  const std::vector<uint32_t> colours = ReadColourTable(table.Get());
  ASSERT_GE(colours.size(), 2u);
  Watch(kWatchEachFile);
  Scans(1);  // old.trn is old now
  const std::string b = Drop("b.trn").string(), c = Drop("C.TRN").string();
  std::ofstream(folder() / "d.txt") << "ignored\n";
  ASSERT_TRUE(CountReaches(2));
  Scans(3);
  ASSERT_EQ(Count(), 2);
  ASSERT_EQ(taken_.paths.size(), 2u);  // in path order when taken up in one scan
  EXPECT_EQ(std::set<std::string>(taken_.paths.begin(), taken_.paths.end()), (std::set<std::string>{b, c}));
  for (int32_t i : {1, 2}) {
    EXPECT_EQ(OutingFile(i), taken_.paths[static_cast<size_t>(i) - 1]);
    uint32_t colour = 0;
    EXPECT_EQ(Selection(i)->GetColour(&colour), S_OK);
    EXPECT_EQ(colour, colours[static_cast<size_t>(i) - 1]);
  }
}

// The folder is made only after the watch started; it goes on regardless.
class LateFolderTest : public WatchTest {
 protected:
  void SetUp() override {
    WatchTest::SetUp();
    fs::remove_all(folder());
  }
  fs::path folder() const override { return dir_.path() / "later" / "logger"; }
};

TEST_F(LateFolderTest, NewestFileGoesIntoTheFollowedSelection) {
  Watch(kWatchNewest);
  Scans(2);
  fs::create_directories(folder());
  const std::string a = Drop("a.trn").string();
  ASSERT_TRUE(CountReaches(1));
  ComPtr<IKivDataSelection4> followed;
  ASSERT_EQ(task_->GetWatchSelection(followed.Put()), S_OK);
  EXPECT_EQ(followed.Get(), Selection(1).Get());
  const std::string b = Drop("b.trn").string();
  ASSERT_TRUE(client_.RunUntil([&] { return taken_.paths.size() >= 2; }, kLimit));
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(OutingFile(1), b);
  EXPECT_EQ(taken_.paths, (std::vector<std::string>{a, b}));
}

TEST_F(WatchTest, LockedFileIsTakenUpOnceReleased) {
  Watch(kWatchEachFile);
  Scans(1);
  const fs::path locked = Drop("locked.trn");
  const int fd = ::open(locked.c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::flock(fd, LOCK_EX), 0);
  Scans(4);
  EXPECT_EQ(Count(), 0);
  ::close(fd);
  ASSERT_TRUE(CountReaches(1));
  Scans(3);
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(taken_.paths, std::vector<std::string>{locked.string()});
}

TEST_F(WatchTest, LoadedTaskWatchesAgainAndCloseStops) {
  ComPtr<IKivStorage> storage;
  ComPtr<CTask> saved, loaded;
  ASSERT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
  ASSERT_EQ(CreateTask(&saved), S_OK);
  ASSERT_EQ(saved->InitNew(storage.Get()), S_OK);
  const std::u16string text = Utf8ToWide(folder().string() + "/");
  ASSERT_EQ(saved->Update(kTaskWatch, nullptr, 0, 0, u"", u"", 0, text, 0, KIV_TRUE, 1, nullptr), S_OK);
  EXPECT_NE(saved->watch(), nullptr);
  saved->ReleaseParts();
  ASSERT_EQ(saved->Close(), S_OK);
  EXPECT_EQ(saved->watch(), nullptr);
  ASSERT_EQ(CreateTask(&loaded), S_OK);
  ASSERT_EQ(loaded->Load(storage.Get()), S_OK);
  EXPECT_NE(loaded->watch(), nullptr);
  ASSERT_EQ(loaded->Close(), S_OK);
}

TEST(AutoupdateScanTest, NewestOfOneScanAndLongPatterns) {
  TempDir dir;
  std::vector<std::u16string> found;
  CAutoupdate newest(Utf8ToWide(dir.path().string() + "/"), kWatchNewest, [&](auto& n) { found.push_back(n); });
  newest.Scan(true);
  int64_t after = newest.last_time();
  for (const char* name : {"1.trn", "2.trn", "3.trn"})
    after = WriteNewer(dir / name, after, [&] { std::ofstream(dir / name) << name; });
  newest.Scan(false);
  newest.Scan(false);
  EXPECT_EQ(found, std::vector<std::u16string>{u"3.trn"});
  // A pattern of 260 characters names nothing, though the folder is there.
  const fs::path deep = dir.path() / std::string(260 - dir.path().string().size() - 7, 'x');
  fs::create_directories(deep);
  CAutoupdate tooLong(Utf8ToWide(deep.string() + "/"), kWatchEachFile, [&](auto& n) { found.push_back(n); });
  ASSERT_EQ(tooLong.pattern().size(), kMaxPatternLength);
  tooLong.Scan(true);
  std::ofstream(deep / "new.trn") << "x";
  for (int i = 0; i < 3; ++i) tooLong.Scan(false);
  EXPECT_EQ(found.size(), 1u);
}

class NextColourCases : public ::testing::TestWithParam<fs::path> {};
TEST_P(NextColourCases, Index) {
  const auto c = ReadFixture(GetParam());
  EXPECT_EQ(NextColourIndex(c["others"].get<std::vector<uint32_t>>(), c["count"].get<size_t>(),
                            c["table"].get<std::vector<uint32_t>>()),
            c["index"].get<int32_t>());
}
INSTANTIATE_TEST_SUITE_P(Cases, NextColourCases, FixtureCases("autoupdate/next_colour"), FixtureName);

class MaskCases : public ::testing::TestWithParam<fs::path> {};
TEST_P(MaskCases, Match) {
  const auto c = ReadFixture(GetParam());
  for (const auto& [name, matches] : c["names"].items())
    EXPECT_EQ(MatchesMask(Utf8ToWide(name), Utf8ToWide(c["mask"].get<std::string>())), matches.get<bool>()) << name;
}
INSTANTIATE_TEST_SUITE_P(Cases, MaskCases, FixtureCases("autoupdate/masks"), FixtureName);

}  // namespace
}  // namespace velmar::testing
