// The math factory as a data factory add-in: one instance per data
// selection over the selection's own channels, following the outing, the
// definitions and the active list; and its definitions kept in the root's
// settings file and given back when the file is read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "math_factory.h"
#include "support/managed_channel_reads.h"
#include "support/settings_file_support.h"
#include "tasks/selection_fixture.h"
#include "velmar/class_registry.h"
#include "velmar/data_block.h"

namespace velmar::testing {
namespace {

using ::testing::Contains;
using ::testing::Not;

constexpr char16_t kDoubled[] = u"[{\"name\": \"Doubled\", \"expression\": \"Speed * 2\", \"unit\": \"m/s\"}]";

std::vector<double> Values(IKivChannel* channel) {
  const auto blocks = ReadBlocks(channel);
  return blocks.empty() ? std::vector<double>{} : blocks[0].values;
}

class MathInSelections : public SelectionFixture {
 protected:
  ActiveDataFactories Active() {
    return {ActiveDataFactory{DataFactoryRecord::Native(CLSID_KivMathChannels),
                              ComPtr<IKivUnknown>(static_cast<IKivChannelFactory*>(math_.Get())), nullptr}};
  }
  NameList Names() {
    NameList names;
    EXPECT_EQ(QueryAs<IKivChannelFactory>(selection_.Get())->GetNames(&names), S_OK);
    return names;
  }
  // The selection on a new outing, its data in.
  void ShowOuting(const char* name, uint64_t seed) {
    ComPtr<IKivOuting> outing = Sample(name, seed);
    ASSERT_EQ(selection_->Update(kSelectionOuting, outing.Get(), nullptr, 0, 0, 1, KIV_FALSE), S_OK);
    (void)Names();
    ASSERT_TRUE(Settle());
  }

  ComPtr<math::CMathChannelFactory> math_ = MakeKiv<math::CMathChannelFactory>();
};

TEST_F(MathInSelections, EachSelectionComputesFromItsOwnOutingAndFollowsTheList) {
  ASSERT_EQ(math_->SetDefinitions(kDoubled), S_OK);
  ASSERT_EQ(task_->SetDataFactoryList(Active()), S_OK);
  EXPECT_THAT(Names(), Not(Contains(u"Doubled"))) << "no operand yet";
  ShowOuting("first.txt", 1);
  ASSERT_THAT(Names(), Contains(u"Doubled")) << "listed once the outing's names came";

  auto channels = QueryAs<IKivChannelFactory>(selection_.Get());
  ComPtr<IKivChannel> doubled, speed;
  ASSERT_EQ(channels->GetItem(u"Doubled", doubled.Put()), S_OK);
  NameList names = Names();
  const auto speedKey = std::find_if(names.begin(), names.end(),
                                     [](const std::u16string& n) { return ChannelDisplayName(n) == u"Speed"; });
  ASSERT_NE(speedKey, names.end());
  ASSERT_EQ(channels->GetItem(*speedKey, speed.Put()), S_OK);
  auto check = [&] {
    const std::vector<double> twice = Values(doubled.Get()), once = Values(speed.Get());
    ASSERT_EQ(twice.size(), once.size());
    ASSERT_FALSE(once.empty());
    for (size_t i = 0; i < once.size(); i += once.size() / 7 + 1) EXPECT_DOUBLE_EQ(twice[i], 2 * once[i]) << i;
  };
  check();
  const double firstValue = Values(doubled.Get()).at(5);
  ShowOuting("second.txt", 2);
  check();
  EXPECT_NE(Values(doubled.Get()).at(5), firstValue) << "the proxy reads the new outing";

  ASSERT_EQ(math_->SetDefinitions(u"[{\"name\": \"Tripled\", \"expression\": \"Speed * 3\"}]"), S_OK);
  EXPECT_THAT(Names(), Contains(u"Tripled"));
  KivBool live = KIV_TRUE;
  ASSERT_EQ(QueryAs<IKivDataProxy>(doubled.Get())->GetActive(&live), S_OK);
  EXPECT_EQ(live, KIV_FALSE) << "its definition went";

  ASSERT_EQ(task_->SetDataFactoryList({}), S_OK);
  EXPECT_THAT(Names(), Not(Contains(u"Tripled")));
  EXPECT_TRUE(math_->listeners().empty()) << "the selection let its instance go";
}

TEST(MathInTheSettingsFile, DefinitionsComeBackWhenTheFileIsRead) {
  static ComPtr<math::CMathChannelFactory> made;
  ClassRegistry::ClassInfo info;
  info.clsid = CLSID_KivMathChannels;
  info.display_name = u"Math Channels";
  info.categories = {CATID_KivDataFactory};
  info.create = [](IKivUnknown** out) {
    made = MakeKiv<math::CMathChannelFactory>();
    return GiveOut(static_cast<IKivChannelFactory*>(made.Get()), out);
  };
  ASSERT_TRUE(Succeeded(ClassRegistry::Process().Register(std::move(info))));
  std::string bytes;
  {
    SettingsRoot first;
    ASSERT_EQ(first.persist->InitNew(first.storage.Get()), S_OK);
    ASSERT_EQ(first.root->AddDataFactory(CLSID_KivMathChannels), S_OK);
    ASSERT_TRUE(made);
    ASSERT_EQ(made->SetDefinitions(kDoubled), S_OK);
    ASSERT_EQ(first.persist->Save(first.storage.Get(), KIV_TRUE), S_OK);
    EXPECT_EQ(made->IsDirty(), S_FALSE) << "saved with the file";
    ASSERT_EQ(first.storage->Commit(STGC_DEFAULT), S_OK);
    bytes = first.Bytes();
  }
  made = nullptr;
  SettingsRoot second(bytes);
  ASSERT_EQ(second.persist->Load(second.storage.Get()), S_OK);
  ASSERT_TRUE(made) << "the list brought the factory back";
  std::u16string unit;
  EXPECT_EQ(made->GetUnit(u"Doubled", &unit), S_OK);
  EXPECT_EQ(unit, u"m/s");
  EXPECT_EQ(made->IsDirty(), S_FALSE);
  made = nullptr;
}

}  // namespace
}  // namespace velmar::testing
