#include "regions/region_steps.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"

namespace velmar {
namespace {

using nlohmann::json;

StepRegions RegionsOf(const json& list) {
  StepRegions regions;
  for (const json& r : list) regions.push_back({r[0].get<KivTime>(), r[1].get<KivTime>(), r[2].get<bool>()});
  return regions;
}

std::optional<TimeSpan> SpanOf(const json& value) {
  if (value.is_null()) return std::nullopt;
  return TimeSpan{value[0].get<KivTime>(), value[1].get<KivTime>()};
}

std::string Show(const std::optional<TimeSpan>& span) {
  return span ? "[" + std::to_string(span->start) + ", " + std::to_string(span->end) + "]" : "none";
}

class RegionStepsTest : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: regions [start, end, auxiliary], a span, and where each step
// takes it ([start, end, stays] or null), with optional starting-mode spans.
TEST_P(RegionStepsTest, StepsAndModesLandWhereTheCaseSays) {
  const json c = testing::ReadFixture(GetParam());
  const StepRegions regions = RegionsOf(c["regions"]);
  const TimeSpan from{c["span"][0].get<KivTime>(), c["span"][1].get<KivTime>()};
  const bool skip = c["skip_auxiliary"].get<bool>();
  const std::pair<const char*, RegionStep> steps[] = {
      {"first", RegionStep::kFirst}, {"last", RegionStep::kLast},
      {"next", RegionStep::kNext},   {"previous", RegionStep::kPrevious}};
  for (const auto& [word, step] : steps) {
    const json& expected = c["steps"][word];
    const std::optional<StepTarget> got = StepTo(step, regions, from, skip);
    EXPECT_EQ(Show(got ? std::optional(got->span) : std::nullopt), Show(SpanOf(expected))) << word;
    if (got && !expected.is_null()) {
      EXPECT_EQ(got->stays, expected[2].get<bool>()) << word;
    }
  }
  if (!c.contains("modes")) return;
  const json& modes = c["modes"];
  if (modes.contains("default")) {
    const std::optional<int32_t> index =
        modes["default_index"].is_null() ? std::nullopt : std::optional(modes["default_index"].get<int32_t>());
    EXPECT_EQ(Show(SpanOfDefault(regions, index, skip)), Show(SpanOf(modes["default"]))) << "default";
  }
  if (modes.contains("last_complete")) {
    EXPECT_EQ(Show(SpanOfLastComplete(regions, modes["last_complete_index"].get<int32_t>(), skip)),
              Show(SpanOf(modes["last_complete"])));
  }
  if (modes.contains("whole")) {
    EXPECT_EQ(Show(SpanOfWhole(regions, skip)), Show(SpanOf(modes["whole"])));
  }
  if (modes.contains("last")) {
    EXPECT_EQ(Show(SpanOfLast(regions)), Show(SpanOf(modes["last"])));
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, RegionStepsTest, testing::FixtureCases("regions/steps"), testing::FixtureName);

}  // namespace
}  // namespace velmar
