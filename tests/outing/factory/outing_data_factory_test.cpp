#include "outing/factory/outing_data_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Items are plain counters of the outstanding uses of a name.
struct Use {
  int count = 1;
};

class UseFactory : public KivObject<COutingDataFactory<Use*, IKivChannelFactory>> {
 public:
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override {
    if (!channel) return E_POINTER;
    *channel = nullptr;
    auto it = items().find(name);
    if (it == items().end()) return E_INVALIDARG;
    if (!it->second) it->second = &uses[name];
    return E_NOTIMPL;  // no channel objects here; the use is what counts
  }
  // As a channel reaching back into its factory's map would.
  void RemoveItemDirectly(const std::u16string& name) { items().erase(name); }
  std::map<std::u16string, Use> uses;
  std::vector<std::u16string> dropped;
  std::function<void(const std::u16string&)> onDrop;

 protected:
  void DropItem(const std::u16string& name, Use*& item) override {
    dropped.push_back(name + (item ? u"*" : u""));
    if (onDrop) onDrop(name);
  }
};

NameList Names(UseFactory& factory) {
  NameList names;
  EXPECT_EQ(factory.GetNames(&names), S_OK);
  return names;
}

TEST(OutingDataFactoryTest, AddNamesEntersOnlyNewNamesAndMarksTheListUpToDate) {
  auto factory = MakeKiv<UseFactory>();
  EXPECT_THAT(factory->AddNames({u"Speed", u"Gear"}), ElementsAre(u"Speed", u"Gear"));
  EXPECT_THAT(factory->AddNames({u"Gear", u"Brake"}), ElementsAre(u"Brake"));
  EXPECT_THAT(Names(*factory), ElementsAre(u"Brake", u"Gear", u"Speed"));
}

TEST(OutingDataFactoryTest, RemoveItemsGivesTheNamesThatReallyWent) {
  auto factory = MakeKiv<UseFactory>();
  (void)factory->AddNames({u"Speed", u"Gear", u"Brake"});
  IKivChannel* channel = nullptr;
  (void)factory->GetItem(u"Gear", &channel);
  EXPECT_THAT(factory->RemoveItems({u"Gear", u"Missing", u"Speed"}), ElementsAre(u"Gear", u"Speed"));
  EXPECT_THAT(factory->dropped, ElementsAre(u"Gear*", u"Speed")) << "an item made for a name is dropped with it";
  EXPECT_THAT(Names(*factory), ElementsAre(u"Brake"));
}

TEST(OutingDataFactoryTest, RemoveAllItemsEmptiesTheMapInNameOrderAndUnlistsIt) {
  auto factory = MakeKiv<UseFactory>();
  (void)factory->AddNames({u"Speed", u"Gear"});
  EXPECT_THAT(factory->RemoveAllItems(), ElementsAre(u"Gear", u"Speed"));
  EXPECT_THAT(factory->dropped, ElementsAre(u"Gear", u"Speed"));
  EXPECT_THAT(Names(*factory), IsEmpty());
  EXPECT_THAT(factory->RemoveAllItems(), IsEmpty());
}

TEST(OutingDataFactoryTest, ARemovalAskedForDuringAWalkIsRefusedAndTheWalkGoesOn) {
  auto factory = MakeKiv<UseFactory>();
  (void)factory->AddNames({u"A", u"B", u"C"});
  std::vector<NameList> reentered;
  factory->onDrop = [&](const std::u16string& name) {
    EXPECT_TRUE(factory->removing());
    reentered.push_back(factory->RemoveItems({name, u"C"}));
    EXPECT_THAT(factory->RemoveAllItems(), IsEmpty());
  };
  EXPECT_THAT(factory->RemoveAllItems(), ElementsAre(u"A", u"B", u"C"));
  EXPECT_THAT(reentered, ElementsAre(IsEmpty(), IsEmpty(), IsEmpty()));
  EXPECT_THAT(factory->dropped, ElementsAre(u"A", u"B", u"C")) << "each name dropped once";
  EXPECT_FALSE(factory->removing());
  factory->onDrop = nullptr;
  (void)factory->AddNames({u"D"});
  EXPECT_THAT(factory->RemoveItems({u"D"}), ElementsAre(u"D")) << "the guard is down after the walk";
}

TEST(OutingDataFactoryTest, ADropThatErasesAnotherNameLeavesItOutOfTheResult) {
  auto factory = MakeKiv<UseFactory>();
  (void)factory->AddNames({u"A", u"B"});
  factory->onDrop = [&](const std::u16string& name) {
    if (name == u"A") factory->RemoveItemDirectly(u"B");
  };
  EXPECT_THAT(factory->RemoveAllItems(), ElementsAre(u"A"));
}

TEST(OutingDataFactoryTest, AFacetAnswersOnlyForItsOwnInterface) {
  auto factory = MakeKiv<UseFactory>();
  EXPECT_TRUE(factory.As<IKivChannelFactory>());
  EXPECT_FALSE(factory.As<IKivDataFactory>()) << "the owning outing answers IKivDataFactory";
  EXPECT_EQ(factory->AsDataFactory(), static_cast<IKivDataFactory*>(factory.Get()));
}

}  // namespace
}  // namespace velmar::testing
