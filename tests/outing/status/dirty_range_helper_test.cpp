#include "outing/status/dirty_range_helper.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"

namespace velmar::testing {
namespace {

using nlohmann::json;
using Range = CDirtyRangeHelper::Range;

KivTime TimeOf(const json& v) {
  if (v.is_string()) return v.get<std::string>() == "min" ? kTimeMin : kTimeMax;
  return v.get<KivTime>();
}

std::vector<Range> RangesOf(const json& list) {
  std::vector<Range> out;
  for (const json& r : list) out.emplace_back(TimeOf(r[0]), TimeOf(r[1]));
  return out;
}

// Records what the helper asks of the channel it serves.
class RecordingRanges final : public CDirtyRangeHelper {
 public:
  KivTime end = 0;
  int failLoads = 0;
  std::vector<std::tuple<KivTime, KivTime, bool>> loads;
  std::vector<KivTime> forgets;

 private:
  KivTime GetEnd() override { return end; }
  bool Load(KivTime from, KivTime to, bool whole) override {
    loads.emplace_back(from, to, whole);
    return failLoads-- <= 0;
  }
  void Forget(KivTime from) override { forgets.push_back(from); }
};

class DirtyRangeCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: ranges added (or a series of them), the ranges held after, and
// what the next read loads and forgets, with what stays for later.
TEST_P(DirtyRangeCases, RangesFoldAndLoadAsTheCaseSays) {
  const json c = ReadFixture(GetParam());
  RecordingRanges helper;
  if (c.value("prepare", false)) {
    helper.Process();
    helper.loads.clear();
    helper.forgets.clear();
  }
  helper.end = TimeOf(c["end"]);
  helper.failLoads = c.value("fail_loads", 0);
  if (c.contains("limit")) helper.SetLimit(TimeOf(c["limit"]));
  for (const Range& r : RangesOf(c.value("add", json::array()))) helper.Add(r.first, r.second);
  if (c.contains("series")) {
    const json& s = c["series"];
    for (KivTime i = 0, start = s["start"].get<KivTime>(); i < s["count"].get<KivTime>();
         ++i, start += s["step"].get<KivTime>())
      helper.Add(start, start + s["length"].get<KivTime>());
  }
  EXPECT_EQ(helper.ranges(), RangesOf(c["after_add"]["ranges"]));
  EXPECT_EQ(helper.reload_all(), c["after_add"]["reload_all"].get<bool>());
  helper.Process();
  std::vector<std::tuple<KivTime, KivTime, bool>> loads;
  for (const json& l : c["loads"]) loads.emplace_back(TimeOf(l[0]), TimeOf(l[1]), l[2].get<bool>());
  std::vector<KivTime> forgets;
  for (const json& f : c["forgets"]) forgets.push_back(TimeOf(f));
  EXPECT_EQ(helper.loads, loads);
  EXPECT_EQ(helper.forgets, forgets);
  EXPECT_EQ(helper.ranges(), RangesOf(c["remaining"]));
}

INSTANTIATE_TEST_SUITE_P(Cases, DirtyRangeCases, FixtureCases("outing/dirty_ranges"), FixtureName);

}  // namespace
}  // namespace velmar::testing
