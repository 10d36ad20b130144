#include "config/group_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/stream_values.h"
#include "support/scoped_sink.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;

TEST(GroupFactory, GroupsHoldChannelNamesAndReportChanges) {
  auto groups = MakeKiv<CGroupFactory>();
  struct Log : CGroupFactoryNotificationsReceiver {
    std::vector<std::u16string> seen;
    void OnGroupsChanged(IKivGroupFactory*, const std::u16string& g) override { seen.push_back(g); }
  } log;
  testing::ScopedSink<CGroupFactoryNotificationsSink<>, IKivGroupFactory> sink(&log, groups.Get());

  EXPECT_EQ(groups->AddGroup(u""), E_INVALIDARG);
  EXPECT_EQ(groups->AddGroup(u"Brakes"), S_OK);
  EXPECT_EQ(groups->AddGroup(u"Brakes"), S_FALSE);
  EXPECT_EQ(groups->SetMembers(u"Brakes", {u"Brake Temp FL", u"Brake Temp FR"}), S_OK);
  EXPECT_EQ(groups->SetMembers(u"Brakes", {u"Brake Temp FL", u"Brake Temp FR"}), S_FALSE);
  EXPECT_EQ(groups->SetMembers(u"None", {}), E_INVALIDARG);
  std::vector<std::u16string> members;
  ASSERT_EQ(groups->GetMembers(u"Brakes", &members), S_OK);
  EXPECT_THAT(members, ElementsAre(u"Brake Temp FL", u"Brake Temp FR"));
  uint32_t count = 0;
  ASSERT_EQ(groups->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  std::u16string name;
  EXPECT_EQ(groups->GetGroupName(2, &name), DISP_E_BADINDEX);
  EXPECT_EQ(groups->RemoveGroup(u"Brakes"), S_OK);
  EXPECT_EQ(groups->RemoveGroup(u"Brakes"), E_INVALIDARG);
  EXPECT_THAT(log.seen, ElementsAre(u"Brakes", u"Brakes", u"Brakes"));
}

class GroupStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(StgCreateMemoryStorage(storage_.Put()), S_OK);
    ASSERT_EQ(storage_->CreateStream(u"Groups", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, stream_.Put()), S_OK);
  }
  void Rewind() { ASSERT_EQ(stream_->Seek(0, STREAM_SEEK_SET, nullptr), S_OK); }
  ComPtr<CGroupFactory> Reloaded() {
    Rewind();
    auto groups = MakeKiv<CGroupFactory>();
    EXPECT_EQ(groups->Load(stream_.Get()), S_OK);
    return groups;
  }

  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> stream_;
};

TEST_F(GroupStreamTest, GroupsRoundTripAndSavingClearsDirtyOnlyWhenAsked) {
  auto groups = MakeKiv<CGroupFactory>();
  EXPECT_EQ(groups->IsDirty(), S_FALSE);
  ASSERT_EQ(groups->AddGroup(u"Brakes"), S_OK);
  ASSERT_EQ(groups->SetMembers(u"Brakes", {u"Brake Temp FL", u""}), S_OK);
  ASSERT_EQ(groups->AddGroup(u"Aero"), S_OK);
  EXPECT_EQ(groups->IsDirty(), S_OK);
  ASSERT_EQ(groups->Save(stream_.Get(), KIV_FALSE), S_OK);
  EXPECT_EQ(groups->IsDirty(), S_OK);
  uint64_t end = 0;
  uint64_t sizeMax = 0;
  ASSERT_EQ(stream_->Seek(0, STREAM_SEEK_CUR, &end), S_OK);
  ASSERT_EQ(groups->GetSizeMax(&sizeMax), S_OK);
  EXPECT_EQ(end, sizeMax);
  Rewind();
  ASSERT_EQ(groups->Save(stream_.Get(), KIV_TRUE), S_OK);
  EXPECT_EQ(groups->IsDirty(), S_FALSE);

  auto loaded = Reloaded();
  EXPECT_EQ(loaded->IsDirty(), S_FALSE);
  std::u16string first;
  ASSERT_EQ(loaded->GetGroupName(1, &first), S_OK);
  EXPECT_EQ(first, u"Aero");
  std::vector<std::u16string> members;
  ASSERT_EQ(loaded->GetMembers(u"Brakes", &members), S_OK);
  EXPECT_THAT(members, ElementsAre(u"Brake Temp FL", u""));
  ASSERT_EQ(loaded->InitNew(), S_OK);
  uint32_t count = 9;
  ASSERT_EQ(loaded->GetCount(&count), S_OK);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(loaded->IsDirty(), S_OK);
}

TEST_F(GroupStreamTest, ADamagedStreamIsRefusedAndTheGroupsStay) {
  auto groups = MakeKiv<CGroupFactory>();
  ASSERT_EQ(groups->AddGroup(u"Kept"), S_OK);
  const auto refused = [&](auto&& write) {
    EXPECT_EQ(stream_->SetSize(0), S_OK);
    Rewind();
    write();
    Rewind();
    return groups->Load(stream_.Get());
  };
  EXPECT_EQ(refused([&] { ASSERT_EQ(WriteStreamU32(stream_.Get(), CGroupFactory::kStreamVersion + 1), S_OK); }),
            E_FAIL);
  EXPECT_EQ(refused([&] {
              ASSERT_EQ(WriteStreamU32(stream_.Get(), 1), S_OK);
              ASSERT_EQ(WriteStreamU32(stream_.Get(), 2), S_OK);  // two groups, one written
              ASSERT_EQ(WriteStreamText(stream_.Get(), u"A"), S_OK);
              ASSERT_EQ(WriteStreamU32(stream_.Get(), 0), S_OK);
            }),
            E_FAIL);
  EXPECT_EQ(refused([&] {
              ASSERT_EQ(WriteStreamU32(stream_.Get(), 1), S_OK);
              ASSERT_EQ(WriteStreamU32(stream_.Get(), 1), S_OK);
              ASSERT_EQ(WriteStreamText(stream_.Get(), u""), S_OK);
              ASSERT_EQ(WriteStreamU32(stream_.Get(), 0), S_OK);
            }),
            E_FAIL);
  uint32_t count = 0;
  ASSERT_EQ(groups->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(groups->IsDirty(), S_OK);
}

}  // namespace
}  // namespace velmar
