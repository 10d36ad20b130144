#include "outing/factory/data_factory_impl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "outing/factory/outing_data_factory.h"
#include "support/got.h"
#include "velmar/velmar_notifications.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A stand-alone channel factory whose names come from `source` on FillNames.
class ListFactory : public KivObject<IKivDataFactoryImpl<int*, IKivChannelFactory>> {
 public:
  KivResult GetItem(const std::u16string&, IKivChannel** channel) override {
    if (!channel) return E_POINTER;
    *channel = nullptr;
    return E_NOTIMPL;
  }
  NameList source;
  bool ready = true;  // FillNames finds the data there
  int fills = 0, parentSets = 0, rootSets = 0;
  CVelmarNotifications7Receiver* receiver = nullptr;
  std::vector<ComPtr<IKivDataFactory>> iconSources;
  using IKivDataFactoryImpl::parent;
  using IKivDataFactoryImpl::SetListed;

 protected:
  void FillNames() override {
    ++fills;
    if (!ready) return;
    for (const auto& name : source) items().try_emplace(name, nullptr);
    SetListed(true);
  }
  void OnParentSet() override { ++parentSets; }
  void OnRootSet() override { ++rootSets; }
  CVelmarNotifications7Receiver* RootReceiver() override { return receiver; }
  std::vector<ComPtr<IKivDataFactory>> IconSources() override { return iconSources; }
};

// A factory that has an icon: it hands out a counted object.
class IconFactory : public ListFactory {
 public:
  KivResult GetIcon(int32_t, int32_t size, IKivUnknown** picture) override {
    if (size != 32) return E_FAIL;
    icon = MakeKiv<ListFactory>();
    return icon.As<IKivUnknown>().CopyTo(picture);
  }
  ComPtr<ListFactory> icon;
};

// A root that raises the root notifications.
class FakeRoot : public KivObject<IKivNotificationsImpl<FakeRoot, IKivVelmarNotifications7>> {
 public:
  void Close() { FireNotification(&IKivVelmarNotifications::Closing, nullptr); }
  size_t Listeners() { return NotificationPoints().Point<IKivVelmarNotifications7>().ConnectedCount(); }
};

struct ClosingLog : CVelmarNotificationsReceiverImpl {
  void Closing(IKivVelmar*) override { ++closings; }
  int closings = 0;
};

TEST(DataFactoryImplTest, GetNamesFillsOnceReadyThenGivesTheMapInOrder) {
  auto factory = MakeKiv<ListFactory>();
  factory->ready = false;
  EXPECT_THAT(Got(factory, &ListFactory::GetNames), IsEmpty());
  factory->ready = true;
  factory->source = {u"Speed", u"Gear", u"Brake"};
  EXPECT_THAT(Got(factory, &ListFactory::GetNames), ElementsAre(u"Brake", u"Gear", u"Speed"))
      << "an unready fill asks again next time";
  (void)Got(factory, &ListFactory::GetNames);
  EXPECT_EQ(factory->fills, 2) << "the list is up to date";
  factory->SetListed(false);
  (void)Got(factory, &ListFactory::GetNames);
  EXPECT_EQ(factory->fills, 3);
  EXPECT_EQ(factory->GetNames(nullptr), E_POINTER);
}

TEST(DataFactoryImplTest, ParentIsSetOnceAndClearedOnce) {
  auto factory = MakeKiv<ListFactory>();
  auto parent = MakeKiv<ListFactory>();
  ComPtr<IKivUnknown> got;
  EXPECT_EQ(factory->GetParent(got.Put()), E_UNEXPECTED);
  EXPECT_EQ(factory->GetParent(nullptr), E_POINTER);
  EXPECT_EQ(factory->SetParent(nullptr), E_INVALIDARG) << "nothing to clear";
  EXPECT_EQ(factory->SetParent(parent->PrimaryUnknown()), S_OK);
  EXPECT_EQ(factory->parentSets, 1);
  EXPECT_EQ(factory->SetParent(parent->PrimaryUnknown()), E_INVALIDARG) << "one is held";
  EXPECT_EQ(Got(factory, &ListFactory::GetParent).Get(), parent->PrimaryUnknown());
  EXPECT_EQ(factory->SetParent(nullptr), S_OK);
  EXPECT_EQ(factory->parentSets, 2);
  EXPECT_EQ(factory->parent(), nullptr);
}

TEST(DataFactoryImplTest, RootIsSetOnlyOnce) {
  auto factory = MakeKiv<ListFactory>();
  auto root = MakeKiv<FakeRoot>();
  ComPtr<IKivUnknown> got;
  EXPECT_EQ(factory->GetRoot(got.Put()), E_UNEXPECTED);
  EXPECT_EQ(factory->SetRoot(nullptr), E_POINTER);
  EXPECT_EQ(factory->SetRoot(root->PrimaryUnknown()), S_OK);
  EXPECT_EQ(factory->SetRoot(root->PrimaryUnknown()), E_UNEXPECTED);
  EXPECT_EQ(factory->rootSets, 1);
  EXPECT_EQ(Got(factory, &ListFactory::GetRoot).Get(), root->PrimaryUnknown());
  EXPECT_EQ(root->Listeners(), 0u) << "no receiver, no sink";
}

TEST(DataFactoryImplTest, TheRootSinkForwardsToTheReceiverUntilTheFactoryGoes) {
  auto root = MakeKiv<FakeRoot>();
  ClosingLog log;
  {
    auto factory = MakeKiv<ListFactory>();
    factory->receiver = &log;
    ASSERT_EQ(factory->SetRoot(root->PrimaryUnknown()), S_OK);
    EXPECT_EQ(root->Listeners(), 1u);
    root->Close();
    EXPECT_EQ(log.closings, 1);
  }
  EXPECT_EQ(root->Listeners(), 0u) << "the factory disconnected on its way out";
  root->Close();
  EXPECT_EQ(log.closings, 1);
}

TEST(DataFactoryImplTest, GetIconAsksTheUnderlyingFactoriesInOrder) {
  auto factory = MakeKiv<ListFactory>();
  IKivUnknown* picture = reinterpret_cast<IKivUnknown*>(0x1);
  EXPECT_EQ(factory->GetIcon(0, 16, &picture), E_FAIL) << "nobody to ask";
  EXPECT_EQ(picture, nullptr);
  EXPECT_EQ(factory->GetIcon(0, 16, nullptr), E_POINTER);

  auto none = MakeKiv<ListFactory>();
  auto has = MakeKiv<IconFactory>();
  factory->iconSources = {none.As<IKivDataFactory>(), has.As<IKivDataFactory>()};
  EXPECT_EQ(factory->GetIcon(0, 16, &picture), E_FAIL) << "size 16 is nobody's";
  ComPtr<IKivUnknown> icon;
  EXPECT_EQ(factory->GetIcon(0, 32, icon.Put()), S_OK);
  EXPECT_EQ(icon.Get(), has->icon->PrimaryUnknown());
}

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

NameList Names(UseFactory& factory) { return Got(&factory, &UseFactory::GetNames); }

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

TEST(OutingDataFactoryTest, ARemovalAskedForDuringAWalkIsRefusedAndTheWalkGoesOnAnErasedNameIsLeftOut) {
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

  (void)factory->AddNames({u"A", u"B"});
  factory->onDrop = [&](const std::u16string& name) {
    if (name == u"A") factory->RemoveItemDirectly(u"B");
  };
  EXPECT_THAT(factory->RemoveAllItems(), ElementsAre(u"A")) << "a drop that erases another name leaves it out";
}

}  // namespace
}  // namespace velmar::testing
