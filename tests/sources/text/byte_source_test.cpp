#include "sources/text/byte_source.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <unistd.h>

#include "faulty_text_file_ops.h"
#include "sources/text/ascii_file_handles.h"
#include "sources/text/large_buffer.h"
#include "sources/text/text_file_ops.h"
#include "sources/text/text_reader.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

using testing::TempDir;
using testing::WriteWhole;

TEST(ByteSource, MemoryIsViewedInPlace) {
  std::string bytes = "KivaraASCIIDataSet\r\n";
  MemoryByteSource source(bytes);
  SourceBytes loaded;
  ASSERT_TRUE(SourceBytes::Load(source, &loaded).ok());
  EXPECT_EQ(loaded.view().data(), bytes.data());
  char buf[8];
  size_t got = 0;
  ASSERT_TRUE(source.ReadAt(16, buf, sizeof buf, &got).ok());
  EXPECT_EQ(std::string(buf, got), "et\r\n");
}

// A byte source over the file at `path`, and the handle that keeps it open.
std::unique_ptr<FileByteSource> OpenSource(const std::filesystem::path& path, FileHandle* handle) {
  int fd = -1;
  std::unique_ptr<FileByteSource> source;
  EXPECT_TRUE(DefaultTextFileOps().Open(path, FileOpenMode::kRead, &fd).ok());
  *handle = FileHandle(&DefaultTextFileOps(), fd);
  EXPECT_TRUE(FileByteSource::Open(DefaultTextFileOps(), fd, &source).ok());
  return source;
}

TEST(ByteSource, AFileIsReadWhole) {
  TempDir dir;
  std::string bytes(40u << 20, 'x');  // more than one read piece
  bytes.replace(0, 20, "KivaraASCIIDataSet\r\n");
  WriteWhole(dir / "big.txt", bytes);
  FileHandle handle;
  auto source = OpenSource(dir / "big.txt", &handle);
  ASSERT_TRUE(source);
  SourceBytes loaded;
  ASSERT_TRUE(SourceBytes::Load(*source, &loaded).ok());
  EXPECT_TRUE(loaded.view() == bytes);
}

TEST(ByteSource, AFileThatShrinksOrVanishesWhileReadIsTold) {
  TempDir dir;
  auto path = dir / "a.txt";
  WriteWhole(path, "KivaraASCIIDataSet\r\n{ChannelBlock}\r\nTime\tA\r\n1\t2\r\n");
  FileHandle handle;
  auto source = OpenSource(path, &handle);
  ASSERT_TRUE(source);
  // Another program cuts the file and deletes it after its size was taken.
  ASSERT_EQ(::truncate(path.c_str(), 10), 0);
  std::filesystem::remove(path);
  TextDataSet data;
  TextStatus st = ReadTextDataSet(*source, {}, &data);
  EXPECT_EQ(st.code(), TextCode::kFileChanged);
  EXPECT_EQ(st.result(), STG_E_READFAULT);
}

TEST(ByteSource, AMappedFileCutWhileReadIsToldNotACrash) {
  TempDir dir;
  auto path = dir / "a.txt";
  std::string bytes = "KivaraASCIIDataSet\r\n{ChannelBlock}\r\nTime\tA\r\n";
  for (int i = 0; i < 100000; ++i) bytes += std::to_string(i) + "\t1\r\n";  // many pages
  WriteWhole(path, bytes);
  CAsciiFileHandles file(path);
  ASSERT_TRUE(file.Open(false).ok());
  ASSERT_TRUE(file.Intact().ok());
  // Another program cuts the file while it is mapped: the lost pages read
  // as zeros, and the read is told the file changed.
  ASSERT_EQ(::truncate(path.c_str(), 100), 0);
  std::vector<TextColumn> columns;
  EXPECT_TRUE(file.ReadChannels(&columns).ok());
  EXPECT_EQ(file.Intact().code(), TextCode::kFileChanged);
}

TEST(LargeBuffer, BigSampleBuffersStartOnAHugePage) {
  SampleBuffer big = AllocateSamples(size_t{3} << 20);  // 24 MB
  ASSERT_NE(big, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(big.get()) % (uintptr_t{2} << 20), 0u);
  big[0] = 1.5;
  big[(size_t{3} << 20) - 1] = 2.5;  // the whole range is usable
  EXPECT_EQ(big[0] + big[(size_t{3} << 20) - 1], 4.0);
}

TEST(LargeBuffer, SmallAndEmptyBuffersAreValid) {
  SampleBuffer none = AllocateSamples(0);
  EXPECT_NE(none, nullptr);
  SampleBuffer small = AllocateSamples(3);
  small[2] = 7;
  EXPECT_EQ(small[2], 7);
  EXPECT_THROW(AllocateSamples(SIZE_MAX / 4), std::bad_alloc);
}

using testing::CountFiles;
using testing::FaultyTextFileOps;
using testing::ReadWhole;
using Fault = FaultyTextFileOps::Fault;

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

TEST(TextFileOps, ReplaceWritesTheNewContentsAndCanHandOverTheLockedFile) {
  TempDir dir;
  auto path = dir / "a.txt";
  WriteWhole(path, "old");
  FileHandle held;
  ASSERT_TRUE(ReplaceFile(DefaultTextFileOps(), path, "new contents", &held).ok());
  ASSERT_TRUE(held.valid());
  EXPECT_EQ(ReadWhole(path), "new contents");
  EXPECT_EQ(CountFiles(dir.path()), 1u);  // no temporary left behind
  ASSERT_TRUE(ReplaceFile(DefaultTextFileOps(), dir / "fresh.txt", "x").ok());
  EXPECT_EQ(ReadWhole(dir / "fresh.txt"), "x");
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
