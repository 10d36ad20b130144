#include "sources/text/ascii_outing_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ascii_outing_fixture.h"
#include "sources/text/text_writer.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AsciiOutingCacheTest : public AsciiOutingFixture {};

TEST_F(AsciiOutingCacheTest, ANewDataSetIsCreatedOnTheWorkerAndTheAskingOutingHears) {
  const std::u16string path = PathOf("new.txt");
  a_ = Open(path);
  b_ = Open(path);
  OutingListener& heardA = Listen(a_.Get());
  OutingListener& heardB = Listen(b_.Get());
  ASSERT_TRUE(b_->cache()->CreateDataSet());
  EXPECT_FALSE(b_->cache()->CreateDataSet()) << "one creation per cache";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(heardB.log, ElementsAre("Created:-1")) << "the outing attached last asked";
  EXPECT_THAT(heardA.log, IsEmpty());
  EXPECT_EQ(testing::ReadWhole(TextFilePath(path)), NewFileBytes());

  // The new file loads as an empty outing.
  (void)Names(a_->channels());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kDone);
  EXPECT_TRUE(a_->cache()->data()->empty());
}

TEST_F(AsciiOutingCacheTest, CreationInAFolderThatCannotBeWrittenIsRefusedAtOnce) {
  a_ = Open(PathOf("no such folder/new.txt"));
  EXPECT_FALSE(a_->cache()->CreateDataSet());
}

TEST_F(AsciiOutingCacheTest, LapMarkersComeFromEndOfLapEvents) {
  const std::u16string path = PathOf("laps.txt");
  WriteSample(path, 3);
  a_ = Open(path);
  std::vector<TextLapMarker> markers;
  EXPECT_FALSE(a_->cache()->ReadLapMarkers(&markers)) << "not loaded yet";
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(a_->cache()->ReadLapMarkers(&markers));
  ASSERT_EQ(markers.size(), 3u);
  EXPECT_EQ(markers[0].number, 1);
  EXPECT_EQ(markers[2].number, 3);
  EXPECT_TRUE(a_->cache()->holds_lap_list());
}

}  // namespace
}  // namespace velmar::testing
