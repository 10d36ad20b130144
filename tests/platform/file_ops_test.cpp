#include "platform/file_ops.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <fstream>

#include "support/faulty_file_ops.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

using testing::FaultyFileOps;

std::string Read(const std::filesystem::path& p) {
  std::string s;
  EXPECT_EQ(DefaultFileOps().ReadAll(p, &s), S_OK);
  return s;
}

size_t EntriesIn(const std::filesystem::path& dir) {
  return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(dir),
                                           std::filesystem::directory_iterator()));
}

TEST(FileOpsTest, ReplaceCreatesThenReplaces) {
  testing::TempDir dir;
  const auto file = dir / "f.bin";
  ASSERT_EQ(ReplaceFileAtomically(DefaultFileOps(), file, std::string("one\0two", 7)), S_OK);
  EXPECT_EQ(Read(file), std::string("one\0two", 7));
  ASSERT_EQ(ReplaceFileAtomically(DefaultFileOps(), file, ""), S_OK);
  EXPECT_EQ(Read(file), "");
  EXPECT_EQ(EntriesIn(dir.path()), 1u);
}

TEST(FileOpsTest, EachFailedStepLeavesTheOldFileAndNoTemporary) {
  testing::TempDir dir;
  const auto file = dir / "f.bin";
  ASSERT_EQ(ReplaceFileAtomically(DefaultFileOps(), file, "old"), S_OK);
  FaultyFileOps ops;
  for (auto step : {FaultyFileOps::Step::kWrite, FaultyFileOps::Step::kShortWrite,
                    FaultyFileOps::Step::kSyncFile, FaultyFileOps::Step::kRename}) {
    ops.FailAt(step, STG_E_MEDIUMFULL);
    EXPECT_EQ(ReplaceFileAtomically(ops, file, "new contents"), STG_E_MEDIUMFULL);
    EXPECT_EQ(Read(file), "old");
    EXPECT_EQ(EntriesIn(dir.path()), 1u);
  }
  EXPECT_EQ(ops.failures(), 4);
}

TEST(FileOpsTest, ErrorsMapToStorageCodes) {
  testing::TempDir dir;
  std::string s;
  FileStamp st;
  auto& ops = DefaultFileOps();
  EXPECT_EQ(ops.ReadAll(dir / "missing", &s), STG_E_FILENOTFOUND);
  EXPECT_EQ(ops.WriteNew(dir / "no/such/dir/f", "x"), STG_E_PATHNOTFOUND);
  EXPECT_EQ(ops.ReadAll(dir.path(), &s), STG_E_ACCESSDENIED);
  EXPECT_EQ(ops.Stat(dir / "missing", &st), S_OK);
  EXPECT_FALSE(st.exists);
  EXPECT_EQ(ops.Rename(dir / "missing", dir / "other"), STG_E_PATHNOTFOUND);
}

TEST(FileOpsTest, StampChangesWithEveryReplace) {
  testing::TempDir dir;
  const auto file = dir / "f";
  auto& ops = DefaultFileOps();
  ASSERT_EQ(ReplaceFileAtomically(ops, file, "aaaa"), S_OK);
  FileStamp a, b;
  ASSERT_EQ(ops.Stat(file, &a), S_OK);
  ASSERT_EQ(ReplaceFileAtomically(ops, file, "bbbb"), S_OK);  // same size, maybe same mtime
  ASSERT_EQ(ops.Stat(file, &b), S_OK);
  EXPECT_TRUE(a.exists && b.exists);
  EXPECT_NE(a, b);  // a new inode at least
}

TEST(FileOpsTest, LockExcludesOthersUntilReleased) {
  testing::TempDir dir;
  const auto lock_file = dir / "f.lock";
  auto try_lock = [&] {
    int fd = ::open(lock_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    bool got = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
    ::close(fd);
    return got;
  };
  {
    std::unique_ptr<FileLock> lock;
    ASSERT_EQ(DefaultFileOps().LockExclusive(lock_file, &lock), S_OK);
    EXPECT_FALSE(try_lock());
  }
  EXPECT_TRUE(try_lock());
}

}  // namespace
}  // namespace velmar
