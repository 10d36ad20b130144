#include "config/group_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <variant>

#include "core/stream_values.h"
#include "support/got.h"
#include "support/scoped_sink.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;
using testing::Got;

// The members of a group, which must be there.
std::vector<std::u16string> Members(CGroupFactory* groups, const std::u16string& group) {
  std::vector<std::u16string> members;
  EXPECT_EQ(groups->GetMembers(group, &members), S_OK);
  return members;
}

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
  EXPECT_THAT(Members(groups.Get(), u"Brakes"), ElementsAre(u"Brake Temp FL", u"Brake Temp FR"));
  EXPECT_EQ(Got(groups, &CGroupFactory::GetCount), 1u);
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
  ASSERT_EQ(stream_->Seek(0, STREAM_SEEK_CUR, &end), S_OK);
  EXPECT_EQ(end, Got(groups, &CGroupFactory::GetSizeMax));
  Rewind();
  ASSERT_EQ(groups->Save(stream_.Get(), KIV_TRUE), S_OK);
  EXPECT_EQ(groups->IsDirty(), S_FALSE);

  auto loaded = MakeKiv<CGroupFactory>();
  Rewind();
  ASSERT_EQ(loaded->Load(stream_.Get()), S_OK);
  EXPECT_EQ(loaded->IsDirty(), S_FALSE);
  std::u16string first;
  ASSERT_EQ(loaded->GetGroupName(1, &first), S_OK);
  EXPECT_EQ(first, u"Aero");
  EXPECT_THAT(Members(loaded.Get(), u"Brakes"), ElementsAre(u"Brake Temp FL", u""));
  ASSERT_EQ(loaded->InitNew(), S_OK);
  EXPECT_EQ(Got(loaded, &CGroupFactory::GetCount), 0u);
  EXPECT_EQ(loaded->IsDirty(), S_OK);
}

TEST_F(GroupStreamTest, ADamagedStreamIsRefusedAndTheGroupsStay) {
  auto groups = MakeKiv<CGroupFactory>();
  ASSERT_EQ(groups->AddGroup(u"Kept"), S_OK);
  // Loads a stream of these words and texts, in order.
  const auto refused = [&](std::initializer_list<std::variant<uint32_t, std::u16string>> parts) {
    EXPECT_EQ(stream_->SetSize(0), S_OK);
    Rewind();
    for (const auto& p : parts) {
      const auto* word = std::get_if<uint32_t>(&p);
      EXPECT_EQ(word ? WriteStreamU32(stream_.Get(), *word) : WriteStreamText(stream_.Get(), std::get<1>(p)), S_OK);
    }
    Rewind();
    return groups->Load(stream_.Get());
  };
  EXPECT_EQ(refused({CGroupFactory::kStreamVersion + 1}), E_FAIL);
  EXPECT_EQ(refused({1u, 2u, u"A", 0u}), E_FAIL) << "two groups, one written";
  EXPECT_EQ(refused({1u, 1u, u"", 0u}), E_FAIL) << "a group without a name";
  EXPECT_EQ(Got(groups, &CGroupFactory::GetCount), 1u);
  EXPECT_EQ(groups->IsDirty(), S_OK);
}

}  // namespace
}  // namespace velmar
