#include "sources/realtime/rt_live_event_set.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"

namespace velmar::testing {
namespace {

// tests/data/realtime/event_ranges.json: per case, ops on one set:
// ["data", from, to, told or null], ["read", event times the server holds,
// "ok" or "pending"], ["discard", time, any went, events left].
TEST(RtLiveEventSetTest, TellsEachNewRangeOnceAndReadsWhatIsPending) {
  const auto table = Fixture("realtime/event_ranges.json");
  for (const auto& c : table["cases"]) {
    RtLiveEventSet set;
    for (const auto& op : c["ops"]) {
      const std::string kind = op[0];
      if (kind == "data") {
        const auto told = set.OnData(op[1], op[2]);
        EXPECT_EQ(told.has_value(), !op[3].is_null()) << c["name"] << " " << op.dump();
        if (told && !op[3].is_null()) {
          EXPECT_EQ((nlohmann::json{told->first, told->second}), op[3]) << c["name"];
        }
      } else if (kind == "read") {
        const auto held = op[1].get<std::vector<KivTime>>();
        const KivResult r = set.Read([&](KivTime from, KivTime to, std::vector<rt::WireEvent>* out) {
          for (size_t i = 0; i < held.size(); ++i) {
            rt::WireEvent event;
            event.id = i + 1;
            event.time = held[i];
            if (held[i] >= from && held[i] <= to) out->push_back(event);
          }
          return S_OK;
        });
        EXPECT_EQ(r, op[2] == "ok" ? S_OK : KIV_E_PENDING) << c["name"] << " " << op.dump();
      } else {
        EXPECT_EQ(set.Discard(op[1]), op[2].get<bool>()) << c["name"];
        EXPECT_EQ(set.events().size(), op[3].get<size_t>()) << c["name"];
      }
    }
  }
}

}  // namespace
}  // namespace velmar::testing
