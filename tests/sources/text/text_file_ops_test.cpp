#include "sources/text/text_file_ops.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "faulty_text_file_ops.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

using testing::CountFiles;
using testing::FaultyTextFileOps;
using testing::ReadWhole;
using testing::TempDir;
using testing::WriteWhole;
using Fault = FaultyTextFileOps::Fault;

TEST(TextFileOps, ReplaceWritesTheNewContents) {
  TempDir dir;
  auto path = dir / "a.txt";
  WriteWhole(path, "old");
  ASSERT_TRUE(ReplaceFile(DefaultTextFileOps(), path, "new contents").ok());
  EXPECT_EQ(ReadWhole(path), "new contents");
  EXPECT_EQ(CountFiles(dir.path()), 1u);  // no temporary left behind
  ASSERT_TRUE(ReplaceFile(DefaultTextFileOps(), dir / "fresh.txt", "x").ok());
  EXPECT_EQ(ReadWhole(dir / "fresh.txt"), "x");
}

TEST(TextFileOps, AnyFailedStepLeavesTheOldFileIntact) {
  for (Fault fault : {Fault::kWriteDiskFull, Fault::kWriteHalfThenFull, Fault::kSync, Fault::kRename}) {
    TempDir dir;
    auto path = dir / "a.txt";
    WriteWhole(path, "the old bytes\r\n");
    FaultyTextFileOps ops;
    ops.fault = fault;
    TextStatus st = ReplaceFile(ops, path, std::string(100000, 'n'));
    EXPECT_FALSE(st.ok());
    EXPECT_EQ(ReadWhole(path), "the old bytes\r\n") << static_cast<int>(fault);
    EXPECT_EQ(CountFiles(dir.path()), 1u) << static_cast<int>(fault);
    if (fault == Fault::kWriteDiskFull) {
      EXPECT_EQ(st.code(), TextCode::kDiskFull);
      EXPECT_EQ(st.result(), E_FAIL);
    }
  }
}

TEST(TextFileOps, ReplaceCanHandOverTheLockedNewFile) {
  TempDir dir;
  auto path = dir / "a.txt";
  WriteWhole(path, "old");
  FileHandle held;
  ASSERT_TRUE(ReplaceFile(DefaultTextFileOps(), path, "new", &held).ok());
  ASSERT_TRUE(held.valid());
  int other = -1;
  ASSERT_TRUE(DefaultTextFileOps().Open(path, FileOpenMode::kRead, &other).ok());
  FileHandle otherHandle(&DefaultTextFileOps(), other);
  EXPECT_EQ(DefaultTextFileOps().Lock(other).code(), TextCode::kFileLocked);
  held.Reset();
  EXPECT_TRUE(DefaultTextFileOps().Lock(other).ok());
}

TEST(TextFileOps, AFailedAppendIsCutBack) {
  TempDir dir;
  auto path = dir / "a.txt";
  WriteWhole(path, "0123456789");
  FaultyTextFileOps ops;
  int fd = -1;
  ASSERT_TRUE(ops.Open(path, FileOpenMode::kReadWrite, &fd).ok());
  FileHandle handle(&ops, fd);
  ops.fault = Fault::kWriteHalfThenFull;
  EXPECT_EQ(AppendToFile(ops, fd, 10, "appended block").code(), TextCode::kDiskFull);
  EXPECT_EQ(ReadWhole(path), "0123456789");
  ops.fault = Fault::kNone;
  ASSERT_TRUE(AppendToFile(ops, fd, 10, "+tail").ok());
  EXPECT_EQ(ReadWhole(path), "0123456789+tail");
}

TEST(TextFileOps, OpenFailuresAreTold) {
  TempDir dir;
  int fd = -1;
  EXPECT_EQ(DefaultTextFileOps().Open(dir / "missing.txt", FileOpenMode::kRead, &fd).code(), TextCode::kFileNotFound);
  WriteWhole(dir / "there.txt", "x");
  EXPECT_FALSE(DefaultTextFileOps().Open(dir / "there.txt", FileOpenMode::kCreateNew, &fd).ok());
  EXPECT_EQ(ReplaceFile(DefaultTextFileOps(), dir / "no" / "such" / "dir.txt", "x").code(), TextCode::kWriteFailed);
}

}  // namespace
}  // namespace velmar
