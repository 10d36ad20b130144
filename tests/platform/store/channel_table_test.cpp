// Channel descriptions: every field through a fresh open, modify and
// remove, and the list read apart from the samples.
#include "platform/store/channel_table.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <tuple>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

// Every field but the id, texts as strings.
auto Fields(const TarnChannelDescription& r) {
  return std::make_tuple(r.displayMaximum, r.displayMinimum, r.rangeHigh, r.rangeLow, Str(r.displayName),
                         Str(r.tagName), Str(r.userType), r.decimalPlaces, r.quantityId, r.unitId, r.colour,
                         r.revision, r.flags, r.sampleType, r.autoscale, r.reserved);
}

class ChannelTableTest : public NewStoreTest {
 protected:
  std::vector<uint64_t> AddChannels(std::vector<TarnChannelDescription> records, KivResult expected = S_OK) {
    auto handle = Handle();
    std::vector<uint64_t> ids;
    EXPECT_EQ(Writer<IKivTarnChannelWriter>(handle)->AddChannels(static_cast<uint32_t>(records.size()),
                                                                  records.data(), &ids),
              expected);
    return ids;
  }
};

TEST_F(ChannelTableTest, EveryDescriptionFieldRoundTrips) {
  TarnChannelDescription a = Description(u"Speed", 6);
  a.quantityId = -4;
  a.reserved = 9;
  a.displayName = u"Speed [km/h] \u00e9\u4e2d";
  TarnChannelDescription b = Description(u"Rpm", 1);
  b.userType = nullptr;
  b.displayMaximum = std::nan("");
  auto ids = AddChannels({a, b});
  ASSERT_EQ(ids.size(), 2u);
  EXPECT_LT(ids[0], ids[1]);
  Reopen();
  auto list = Channels();
  ASSERT_EQ(Column(list, &TarnChannelDescription::id), ids);
  EXPECT_EQ(Fields(list[0]), Fields(a));
  EXPECT_EQ(list[1].userType, nullptr);
  EXPECT_TRUE(std::isnan(list[1].displayMaximum));
}

TEST_F(ChannelTableTest, ModifyReplacesTheDescription) {
  auto ids = AddChannels({Description(u"Speed", 7)});
  Reopen();
  auto handle = Handle();
  TarnChannelDescription changed = Description(u"Velocity", 6);
  changed.id = ids[0];
  changed.colour = 5;
  auto writer = Writer<IKivTarnChannelWriter>(handle);
  ASSERT_EQ(writer->ModifyChannels(1, &changed), S_OK);
  changed.id = ids[0] + 100;
  EXPECT_EQ(writer->ModifyChannels(1, &changed), E_INVALIDARG);
  ASSERT_EQ(handle->Commit(), S_OK);
  Reopen();
  auto list = Channels();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(Fields(list[0]), Fields(changed));
}

TEST_F(ChannelTableTest, SampleTypeOfAChannelWithSamplesIsFixed) {
  uint64_t id = AddChannel(u"Speed", 7);
  auto handle = Handle();
  auto writer = Writer<IKivTarnChannelWriter>(handle);
  double v[2] = {1, 2};
  int64_t period = 10;
  TarnChannelData block = Periodic(0, &period, v, 2);
  std::vector<uint64_t> blocks;
  ASSERT_EQ(writer->AddChannelData(1, &id, &block, &blocks), S_OK);
  TarnChannelDescription changed = Description(u"Speed", 6);
  changed.id = id;
  EXPECT_EQ(writer->ModifyChannels(1, &changed), E_INVALIDARG);
  changed.sampleType = 7;
  EXPECT_EQ(writer->ModifyChannels(1, &changed), S_OK);
}

TEST_F(ChannelTableTest, RemoveTakesTheSamplesWithIt) {
  uint64_t keep = AddChannel(u"Keep", 7);
  uint64_t gone = AddChannel(u"Gone", 7);
  auto handle = Handle();
  auto writer = Writer<IKivTarnChannelWriter>(handle);
  double v[3] = {1, 2, 3};
  int64_t period = 10;
  TarnChannelData blocks[2] = {Periodic(0, &period, v, 3), Periodic(0, &period, v, 3)};
  uint64_t ids[2] = {keep, gone};
  std::vector<uint64_t> made;
  ASSERT_EQ(writer->AddChannelData(2, ids, blocks, &made), S_OK);
  ASSERT_EQ(writer->RemoveChannels(1, &gone), S_OK);
  EXPECT_EQ(writer->RemoveChannels(1, &gone), E_INVALIDARG);
  ASSERT_EQ(handle->Commit(), S_OK);
  Reopen();
  EXPECT_EQ(Column(Channels(), &TarnChannelDescription::id), std::vector<uint64_t>{keep});
  EXPECT_EQ(Data(keep).size(), 1u);
  ComPtr<IKivTarnChannelDataRecords> none;
  EXPECT_EQ(List<IKivTarnChannels>()->GetChannelData(kDefaultWaitLimit, gone, kTimeMin, kTimeMax, none.Put()),
            E_INVALIDARG);
  // Ids are not given out twice.
  EXPECT_GT(AddChannel(u"New"), gone);
}

// The list needs only the channel table: with the sample table broken, the
// names still come and only a data read fails.
TEST_F(ChannelTableTest, ListIsReadWithoutTouchingSamples) {
  AddChannels({Description(u"Speed", 7), Description(u"Rpm", 7)});
  store_ = nullptr;
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open((dir_.path() / "outing.trn").c_str(), &db), SQLITE_OK);
  char* error = nullptr;
  EXPECT_EQ(sqlite3_exec(db, "DROP TABLE chunks; CREATE TABLE chunks(unrelated)", nullptr, nullptr, &error), SQLITE_OK)
      << (error ? error : "");
  sqlite3_free(error);
  sqlite3_close(db);
  Reopen();
  auto list = Channels();
  ASSERT_EQ(list.size(), 2u);
  ComPtr<IKivTarnChannelDataRecords> data;
  EXPECT_EQ(List<IKivTarnChannels>()->GetChannelData(kDefaultWaitLimit, list[0].id, kTimeMin, kTimeMax, data.Put()),
            STG_E_DOCFILECORRUPT);
}

TEST_F(ChannelTableTest, EmptyAndNullArguments) {
  auto handle = Handle();
  auto writer = Writer<IKivTarnChannelWriter>(handle);
  std::vector<uint64_t> ids = {42};
  EXPECT_EQ(writer->AddChannels(0, nullptr, &ids), S_FALSE);
  EXPECT_TRUE(ids.empty());
  EXPECT_EQ(writer->AddChannels(1, nullptr, &ids), E_POINTER);
  EXPECT_EQ(writer->RemoveChannels(1, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
