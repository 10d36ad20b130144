#include "sources/text/sample_generator.h"

#include <gtest/gtest.h>

#include <cmath>

#include "faulty_text_file_ops.h"
#include "sources/text/sample_car.h"
#include "sources/text/text_format.h"
#include "support/temp_dir.h"
#include "velmar/sample.h"
#include "velmar/text.h"
#include "text_test_util.h"

namespace velmar {
namespace {

using testing::MustRead;
using testing::Problems;

TEST(SampleGenerator, OutingParsesBackWithItsChannelsLapsAndInformation) {
  SampleOptions options;
  options.laps = 3;
  options.rate = 50;
  options.seed = 7;
  std::string bytes = GenerateSampleOuting(options);
  Problems problems;
  TextDataSet data = MustRead(bytes, &problems);
  EXPECT_TRUE(problems.items.empty());

  std::vector<std::u16string> headers;
  for (const auto& c : data.columns) headers.push_back(c.header);
  std::vector<std::u16string> expected = SampleFastColumns();
  expected.insert(expected.end(), SampleSlowColumns().begin(), SampleSlowColumns().end());
  EXPECT_EQ(headers, expected);

  const TextColumn& speed = data.columns[1];
  EXPECT_EQ(speed.name, u"Speed");
  EXPECT_EQ(speed.unit, u"km/h");
  SampleCar car(7, 3);
  double duration = car.Duration();
  // The data runs to the first slow sample (every 0.2 s) at or after the last crossing.
  EXPECT_GE(speed.times().back(), duration);
  EXPECT_NEAR(speed.count, duration * 50, 11.0);
  EXPECT_DOUBLE_EQ(speed.times()[1] - speed.times()[0], 0.02);
  double top = 0, low = 1e9;
  for (double v : speed.values()) {
    top = std::max(top, v);
    low = std::min(low, v);
  }
  EXPECT_GT(top, 200);
  EXPECT_LT(low, 120);
  EXPECT_NEAR(data.columns.back().times()[1], 0.2, 1e-12);  // the slow block runs at a tenth

  auto laps = GroupEvents(data.events).at(u"End of lap");
  ASSERT_EQ(laps.size(), 3u);
  double previous = 0;
  for (const auto& [time, e] : laps) {
    double lapTime = static_cast<double>(time) / 1e7 - previous;
    EXPECT_GT(lapTime, 80);
    EXPECT_LT(lapTime, 100);
    EXPECT_EQ(e.category, kEventFromCar);
    previous = static_cast<double>(time) / 1e7;
  }
  const TextColumn& distance = data.columns[0];
  EXPECT_NEAR(distance.values()[distance.count - 1], 3 * SampleCar::CircuitLength(), 5.0);

  auto props = InformationToProperties(data.information);
  EXPECT_EQ(props.size(), 10u);  // every key of the format
  EXPECT_EQ(data.information.back().key, u"SampleSeed");
  EXPECT_NE(data.information[7].value.find(u"\r\n"), std::u16string::npos);
  EXPECT_EQ(data.constants.size(), 8u);
}

TEST(SampleGenerator, CircuitIsAClosedLoopOfAFewKilometres) {
  EXPECT_GT(SampleCar::CircuitLength(), 3000);
  EXPECT_LT(SampleCar::CircuitLength(), 6000);
  EXPECT_GT(SampleCar::ReferenceLapTime(), 80);
  EXPECT_LT(SampleCar::ReferenceLapTime(), 100);
  // Where the car starts and where it ends a lap are one place.
  SampleCar car(1, 2);
  KivTime start = 0;
  auto end = static_cast<KivTime>(std::llround(car.LapEnd(0) * 1e7));
  double dLat = car.Value(SampleChannel::kLatitude, start) - car.Value(SampleChannel::kLatitude, end);
  double dLon = car.Value(SampleChannel::kLongitude, start) - car.Value(SampleChannel::kLongitude, end);
  EXPECT_LT(std::hypot(dLat * 111320, dLon * 68000), 5.0);  // metres, GPS noise included
}

TEST(SampleGenerator, SameOptionsSameBytes) {
  SampleOptions options;
  options.laps = 1;
  EXPECT_EQ(GenerateSampleOuting(options), GenerateSampleOuting(options));
  SampleOptions other = options;
  other.seed = 2;
  EXPECT_NE(GenerateSampleOuting(options), GenerateSampleOuting(other));
}

TEST(SampleGenerator, WideTableHasTwentyColumnsAndTheSizeAskedFor) {
  std::string bytes = GenerateWideTable(3u << 20);
  EXPECT_NEAR(static_cast<double>(bytes.size()), 3.0 * (1 << 20), 0.05 * (1 << 20));
  TextDataSet data = MustRead(bytes);
  ASSERT_EQ(data.columns.size(), 20u);
  std::vector<std::u16string> headers;
  for (const auto& c : data.columns) {
    headers.push_back(c.header);
    EXPECT_EQ(c.count, data.columns[0].count);
    EXPECT_EQ(c.block, 0u);
  }
  EXPECT_EQ(headers, SampleWideColumns());
}

TEST(SampleGenerator, WritesAFileAndSaysWhyNot) {
  testing::TempDir dir;
  const std::string bytes = GenerateSampleOuting({1, 10, 3});
  size_t written = 0;
  ASSERT_EQ(KivWriteSampleOuting(Utf8ToWide((dir / "sample.txt").string()), {1, 10, 3}, &written), S_OK);
  EXPECT_EQ(written, bytes.size());
  EXPECT_EQ(testing::ReadWhole(dir / "sample.txt"), bytes);
  EXPECT_EQ(MustRead(bytes).events.size(), 1u);
  EXPECT_EQ(KivWriteSampleOuting(Utf8ToWide((dir / "x.txt").string()), {0, 10, 3}), E_INVALIDARG);
  EXPECT_EQ(KivWriteSampleOuting(Utf8ToWide((dir / "x.txt").string()), {1, 0, 3}), E_INVALIDARG);
  EXPECT_TRUE(Failed(KivWriteSampleOuting(Utf8ToWide((dir / "no" / "x.txt").string()), {1, 10, 3})));
}

}  // namespace
}  // namespace velmar
