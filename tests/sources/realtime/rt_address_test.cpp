#include "sources/realtime/rt_address.h"

#include <gtest/gtest.h>

#include "sources/realtime/rt_connection_state.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

std::u16string Wide(const nlohmann::json& text) { return Utf8ToWide(text.get<std::string>()); }

// tests/data/realtime/addresses.json: addresses with what they parse to,
// hosts with their class, host lists with their class and hosts.
TEST(RtAddressTest, ParsesAndClassesAsTheTableSays) {
  const auto table = Fixture("realtime/addresses.json");
  for (const auto& c : table["addresses"]) {
    RtAddress address;
    ASSERT_EQ(ParseRtAddress(Wide(c[0]), &address), c[1].get<bool>()) << c[0];
    if (!c[1].get<bool>()) continue;
    EXPECT_EQ(address.host, Wide(c[2])) << c[0];
    EXPECT_EQ(address.port, c[3].get<uint16_t>()) << c[0];
    EXPECT_EQ(address.name, Wide(c[4])) << c[0];
    EXPECT_EQ(address.star, c[5].get<bool>()) << c[0];
  }
  for (const auto& c : table["hosts"]) {
    EXPECT_EQ(static_cast<int>(ClassifyRtHost(Wide(c[0]))), c[1].get<int>()) << c[0];
  }
  for (const auto& c : table["lists"]) {
    RtHostList list;
    EXPECT_EQ(static_cast<int>(ClassifyRtHostList(Wide(c[0]), &list)), c[1].get<int>()) << c[0];
    EXPECT_EQ(list.mainHost, Wide(c[2])) << c[0];
    std::set<std::u16string> others;
    for (const auto& h : c[3]) others.insert(Wide(h));
    EXPECT_EQ(list.others, others) << c[0];
  }
}

TEST(RtConnectionStateTest, CaptionFieldsAndStatusStates) {
  EXPECT_EQ(RtCaptionNumber(2), u"002");
  EXPECT_EQ(RtCaptionNumber(-5), u"-05");
  EXPECT_EQ(RtCaptionNumber(1000), u"###");
  EXPECT_EQ(RtCaptionNumber(-100), u"###");
  EXPECT_EQ(RtStateCaption(RtConnectionState::kConnecting), u"Connecting...");
  EXPECT_EQ(RtStateOfStatus(static_cast<KivResult>(0x8000010D)), RtConnectionState::kServerUnknown);
  EXPECT_EQ(RtStateOfStatus(static_cast<KivResult>(0x80000107)), RtConnectionState::kOutingNotCreated);
  EXPECT_EQ(RtStateOfStatus(E_FAIL), RtConnectionState::kWorking) << "a failure the table doesn't name";
}

}  // namespace
}  // namespace velmar::testing
