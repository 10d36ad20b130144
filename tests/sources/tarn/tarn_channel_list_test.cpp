#include "sources/tarn/tarn_channel_list.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmar {
namespace {

TarnChannelDescription Record(uint64_t id, const char16_t* tag, int32_t quantity, uint32_t sampleType = 7) {
  TarnChannelDescription d{};
  d.id = id;
  d.tagName = tag;
  d.quantityId = quantity;
  d.sampleType = sampleType;
  return d;
}

TEST(BuildChannelMap, BracketsInATagNameBecomeUnderscoresInTheKey) {
  std::vector<TarnChannelDescription> records{Record(1, u"T[1]", 0)};
  EXPECT_TRUE(BuildChannelMap(records, 21).contains(u"[0]T_1_"));
}

TEST(BuildChannelMap, ReadableRecordsAreKeyedByTheirKeyText) {
  std::vector<TarnChannelDescription> records{Record(10, u"Speed", 3, 6), Record(11, u"Rpm", 7, 2)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  ASSERT_EQ(map.size(), 2u);
  EXPECT_EQ(map.at(u"[3]Speed"), (TarnChannelEntry{10, 6}));
  EXPECT_EQ(map.at(u"[7]Rpm"), (TarnChannelEntry{11, 2}));
}

TEST(BuildChannelMap, TheFirstOfTwoRecordsWithOneKeyIsKept) {
  std::vector<TarnChannelDescription> records{Record(1, u"Speed", 3), Record(2, u"Speed", 3), Record(3, u"Speed", 4)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  EXPECT_EQ(map.size(), 2u);
  EXPECT_EQ(map.at(u"[3]Speed").id, 1u);
}

TEST(BuildChannelMap, UnreadableRecordsAreSkippedAndTheOthersRead) {
  std::vector<TarnChannelDescription> records{Record(1, nullptr, 3), Record(2, u"", 3), Record(3, u"Neg", -1),
                                              Record(4, u"Eight", 3, 8), Record(5, u"Good", 3, 0)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  ASSERT_EQ(map.size(), 1u);
  EXPECT_EQ(map.begin()->first, u"[3]Good");
}

TEST(BuildChannelMap, AQuantityAboveTheLargestKnownIsReadAsZero) {
  std::vector<TarnChannelDescription> records{Record(1, u"Odd", 22), Record(2, u"Known", 21)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  EXPECT_TRUE(map.contains(u"[0]Odd"));
  EXPECT_TRUE(map.contains(u"[21]Known"));
}

TEST(ReconcileChannelList, RemovedReplacedKeptAndAddedNamesAreToldApart) {
  std::map<std::u16string, uint64_t> held{{u"[0]Gone", 1}, {u"[0]Kept", 2}, {u"[0]Moved", 3}};
  TarnChannelMap read{{u"[0]Kept", {2, 7}}, {u"[0]Moved", {9, 7}}, {u"[0]New", {4, 7}}};
  TarnChannelListChange change = ReconcileChannelList(held, read);
  EXPECT_EQ(change.removed, NameList{u"[0]Gone"});
  EXPECT_EQ(change.replaced, NameList{u"[0]Moved"});
  EXPECT_EQ(change.kept, NameList{u"[0]Kept"});
  EXPECT_EQ(change.added, (NameList{u"[0]Moved", u"[0]New"}));
}

TEST(ReconcileChannelList, AFirstListAddsEverything) {
  TarnChannelMap read{{u"[0]A", {1, 7}}, {u"[0]B", {2, 7}}};
  TarnChannelListChange change = ReconcileChannelList({}, read);
  EXPECT_TRUE(change.removed.empty());
  EXPECT_TRUE(change.kept.empty());
  EXPECT_EQ(change.added.size(), 2u);
}

}  // namespace
}  // namespace velmar
