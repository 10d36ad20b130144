#include "outing/cache/temp_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

namespace fs = std::filesystem;

size_t EntriesIn(const fs::path& dir) {
  size_t n = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(dir)) ++n;
  return n;
}

TEST(TempFileTest, IsMadeWithThePrefixUnderItsOwnNameAndGoesWithItsOwnerOnce) {
  TempDir dir;
  fs::path made;
  {
    std::optional<CTempFile> file = CTempFile::Create(dir.path(), "kiv");
    ASSERT_TRUE(file.has_value());
    made = file->path();
    EXPECT_EQ(made.parent_path(), dir.path());
    EXPECT_EQ(made.filename().string().rfind("kiv", 0), 0u);
    EXPECT_TRUE(fs::exists(made));
    EXPECT_EQ(::write(file->fd(), "x", 1), 1) << "open for writing";
  }
  EXPECT_FALSE(fs::exists(made));

  // Two files in one folder have two names; a moved file is deleted once.
  auto a = CTempFile::Create(dir.path(), "kiv");
  auto b = CTempFile::Create(dir.path(), "kiv");
  ASSERT_TRUE(a && b);
  EXPECT_NE(a->path(), b->path());
  a->Close();
  EXPECT_FALSE(fs::exists(a->path()));
  CTempFile moved = std::move(*b);
  b.reset();
  EXPECT_TRUE(fs::exists(moved.path()));
  moved.Close();
  EXPECT_EQ(EntriesIn(dir.path()), 0u);
}

TEST(TempFileTest, AMissingFolderMakesNoFile) {
  TempDir dir;
  EXPECT_FALSE(CTempFile::Create(dir / "missing", "kiv").has_value());
}

TEST(TempFileTest, FolderOfADataSetPath) {
  EXPECT_EQ(FolderOf(u"/data/run 1/outing.txt"), fs::path("/data/run 1"));
  EXPECT_EQ(FolderOf(u"outing.txt"), fs::path("."));
  EXPECT_EQ(FolderOf(u"/outing.txt"), fs::path("/"));
}

TEST(TempFileTest, CanCreateDataSetInLeavesNothingBehind) {
  TempDir dir;
  EXPECT_TRUE(CanCreateDataSetIn(Utf8ToWide((dir / "new.txt").string())));
  EXPECT_EQ(EntriesIn(dir.path()), 0u);
  EXPECT_FALSE(fs::exists(dir / "new.txt")) << "only the test file was made";
  EXPECT_FALSE(CanCreateDataSetIn(Utf8ToWide((dir / "missing" / "new.txt").string())));
}

}  // namespace
}  // namespace velmar::testing
