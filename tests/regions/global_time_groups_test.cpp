#include "regions/global_time_groups.h"

#include <gtest/gtest.h>

#include <list>
#include <map>
#include <string>

#include "support/fixtures.h"

namespace velmar::testing {
namespace {

class GlobalTimeCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: members entering with [name, offset ticks, clock seconds], some
// leaving, the reference after, and each remaining member's shift.
TEST_P(GlobalTimeCases, TheLeastClockIsTheReferenceAndTheOthersShiftToIt) {
  const nlohmann::json c = ReadFixture(GetParam());
  // A group of its own: groups are keyed by their task's address.
  static std::list<int> tasks;
  const void* task = &tasks.emplace_back();
  GlobalTimeGroup& group = GlobalTimeGroupOf(task);
  std::map<std::string, int> ids;
  std::map<std::string, GlobalTimeAnchor> anchors;
  for (const auto& e : c["enter"]) {
    const std::string name = e[0];
    anchors[name] = {e[1].get<KivTime>(), e[2].get<double>()};
    group.Enter(&ids[name], anchors[name]);
  }
  EXPECT_TRUE(group.dirty);
  for (const auto& name : c["remove"]) {
    group.Remove(&ids[name.get<std::string>()]);
    anchors.erase(name.get<std::string>());
  }
  EXPECT_EQ(group.best, anchors.at(c["reference"].get<std::string>()));
  for (const auto& [name, shift] : c["shifts"].items()) {
    EXPECT_EQ(GlobalTimeShift(anchors.at(name), group.best), shift.get<KivTime>()) << name;
  }
  EXPECT_EQ(FindGlobalTimeGroup(task), &group);
}

INSTANTIATE_TEST_SUITE_P(Cases, GlobalTimeCases, FixtureCases("regions/global_time"), FixtureName);

}  // namespace
}  // namespace velmar::testing
