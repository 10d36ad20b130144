#include "sources/text/ascii_outing_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ascii_outing_fixture.h"
#include "faulty_text_file_ops.h"
#include "sources/text/ascii_outing_information.h"
#include "sources/text/ascii_outing_job_item.h"
#include "sources/text/sample_generator.h"
#include "sources/text/text_format.h"
#include "sources/text/text_writer.h"
#include "support/fixtures.h"
#include "support/temp_dir.h"
#include "text_test_util.h"

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

TEST(AsciiOutingInformation, PropertiesOfTheBlockInNameOrder) {
  std::vector<TextInfoEntry> lines = {{u"TrackName", u"Halvane Park"}, {u"SessionNumber", u"4"},
                                      {u"Custom", u"x"},               {u"EngineTest", u"TRUE"},
                                      {u"DriverName", u"Jo Castell"},  {u"DriverName", u"Rita Verne"}};
  auto info = MakeKiv<CAsciiOutingInformation>(InformationToProperties(lines));
  PropertyList all;
  ASSERT_EQ(info->GetProperties(&all), S_OK);
  // The four of the block (a later line of a key wins), and the fast lap worked out.
  EXPECT_EQ(all, (PropertyList{{u"Driver name", Variant::Text(u"Rita Verne")}, {u"Engine test", Variant::Bool(true)},
                               {u"Fast lap number", Variant::I32(0)}, {u"Fast lap time", Variant::Time(0)},
                               {u"Session number", Variant::I32(4)}, {u"Track name", Variant::Text(u"Halvane Park")}}));
  Variant v;
  ASSERT_EQ(info->GetProperty(u"Session number", &v), S_OK);
  EXPECT_EQ(v.AsI32(), 4);
}

TEST(AsciiOutingInformation, UnknownNamesNullOutsAndEditsAreRefused) {
  auto info = MakeKiv<CAsciiOutingInformation>(std::vector<InformationProperty>{});
  Variant v;
  EXPECT_EQ(info->GetProperty(u"Driver name", &v), E_INVALIDARG);
  EXPECT_EQ(info->GetProperty(u"Driver name", nullptr), E_POINTER);
  EXPECT_EQ(info->GetProperties(nullptr), E_POINTER);
  EXPECT_EQ(info->SetProperty(u"Driver name", Variant::Text(u"")), E_INVALIDARG) << "an empty text";
  EXPECT_EQ(info->SetProperty(u"Fast lap number", Variant::I32(2)), E_INVALIDARG) << "worked out, not edited";
  EXPECT_EQ(info->SetProperty(u"Driver name", Variant::Text(u"x")), E_FAIL) << "checked; no outing to write to";
  EXPECT_EQ(info->SetProperties({}), E_FAIL);
}

using testing::TempDir;
using testing::WriteWhole;

class LoadAsciiOutingTest : public ::testing::Test {
 protected:
  // Writes bytes to a file and loads it.
  TextStatus Load(std::string_view bytes, AsciiOutingData* data) {
    WriteWhole(path_, bytes);
    return LoadAsciiOuting(path_, DefaultTextFileOps(), data);
  }

  TempDir dir_;
  std::filesystem::path path_ = dir_ / "outing.txt";
};

TEST_F(LoadAsciiOutingTest, ASampleOutingGivesEveryKindOfItem) {
  SampleOptions options;
  options.laps = 2;
  options.rate = 20;
  AsciiOutingData data;
  ASSERT_TRUE(Load(GenerateSampleOuting(options), &data).ok());

  EXPECT_TRUE(data.hasInformation);
  EXPECT_EQ(data.informationLines.back().key, u"SampleSeed") << "unknown keys are kept for a rewrite";
  EXPECT_EQ(data.channels.size(), SampleFastColumns().size() + SampleSlowColumns().size());
  ASSERT_TRUE(data.channels.contains(u"Speed"));
  EXPECT_EQ(data.channels.at(u"Speed").unit, u"km/h");
  ASSERT_TRUE(data.events.contains(u"End of lap"));
  EXPECT_EQ(data.events.at(u"End of lap").size(), 2u);
  EXPECT_EQ(data.constants.size(), 8u);
  EXPECT_EQ(data.lapMarkers.size(), 2u);  // numbers and spans: the load cases
}

class LoadCase : public LoadAsciiOutingTest, public ::testing::WithParamInterface<std::filesystem::path> {};

// Each case: a file's lines (or bytes) and what its load gives: the code,
// the first lap, lap markers [time, number], the spans of the outing and of
// its channels, channels {name: [unit, samples]}, and whether it is empty.
TEST_P(LoadCase, GivesWhatTheFileHolds) {
  using nlohmann::json;
  const json c = ReadFixture(GetParam());
  AsciiOutingData data;
  data.firstLap = 99;  // a failed load clears the result first
  const TextStatus st = Load(c.value("bytes", "") + FixtureLines(c.value("lines", json::array())), &data);
  json got = {{"code", TextCodeName(st.code())}, {"first_lap", data.firstLap}, {"empty", data.empty()},
              {"outing", {data.outingStart, data.outingEnd}}, {"channel_span", {data.channelStart, data.channelEnd}},
              {"lap_markers", json::array()}, {"channels", json::object()}};
  for (const TextLapMarker& m : data.lapMarkers) got["lap_markers"].push_back({m.time, m.number});
  for (const auto& [name, channel] : data.channels) {
    got["channels"][WideToUtf8(name)] = {WideToUtf8(channel.unit), channel.count()};
  }
  ExpectGiven(got, c);
}

INSTANTIATE_TEST_SUITE_P(Cases, LoadCase, FixtureCases("sources/text/loads"), FixtureName);

TEST_F(LoadAsciiOutingTest, AMissingFileIsNotFound) {
  AsciiOutingData data;
  EXPECT_EQ(LoadAsciiOuting(dir_ / "missing.txt", DefaultTextFileOps(), &data).code(), TextCode::kFileNotFound);
}

TEST_F(LoadAsciiOutingTest, AFileHeldElsewhereIsLockedAndReleasedAfterALoad) {
  WriteWhole(path_, NewFileBytes());
  {
    CAsciiFileHandles holder(path_);
    ASSERT_TRUE(holder.Open(true).ok());
    AsciiOutingData data;
    EXPECT_EQ(LoadAsciiOuting(path_, DefaultTextFileOps(), &data).code(), TextCode::kFileLocked);
  }
  AsciiOutingData data;
  ASSERT_TRUE(LoadAsciiOuting(path_, DefaultTextFileOps(), &data).ok());
  EXPECT_TRUE(data.empty());
  // The load let go of the file: another handle takes it at once.
  CAsciiFileHandles after(path_);
  EXPECT_TRUE(after.Open(true).ok());
}

}  // namespace
}  // namespace velmar::testing
