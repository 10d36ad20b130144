#include "sources/text/byte_source.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include "faulty_text_file_ops.h"
#include "sources/text/ascii_file_handles.h"
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

TEST(ByteSource, AFileIsReadWhole) {
  TempDir dir;
  std::string bytes(40u << 20, 'x');  // more than one read piece
  bytes.replace(0, 20, "KivaraASCIIDataSet\r\n");
  WriteWhole(dir / "big.txt", bytes);
  int fd = -1;
  ASSERT_TRUE(DefaultTextFileOps().Open(dir / "big.txt", FileOpenMode::kRead, &fd).ok());
  FileHandle handle(&DefaultTextFileOps(), fd);
  std::unique_ptr<FileByteSource> source;
  ASSERT_TRUE(FileByteSource::Open(DefaultTextFileOps(), fd, &source).ok());
  SourceBytes loaded;
  ASSERT_TRUE(SourceBytes::Load(*source, &loaded).ok());
  EXPECT_TRUE(loaded.view() == bytes);
}

TEST(ByteSource, AFileThatShrinksOrVanishesWhileReadIsTold) {
  TempDir dir;
  auto path = dir / "a.txt";
  WriteWhole(path, "KivaraASCIIDataSet\r\n{ChannelBlock}\r\nTime\tA\r\n1\t2\r\n");
  int fd = -1;
  ASSERT_TRUE(DefaultTextFileOps().Open(path, FileOpenMode::kRead, &fd).ok());
  FileHandle handle(&DefaultTextFileOps(), fd);
  std::unique_ptr<FileByteSource> source;
  ASSERT_TRUE(FileByteSource::Open(DefaultTextFileOps(), fd, &source).ok());
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

}  // namespace
}  // namespace velmar
