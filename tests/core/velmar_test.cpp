#include "core/velmar.h"
#include "core/velmar_global_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "core/branding_test_support.h"
#include "core/data_factory_branding.h"
#include "core/notifications_impl.h"
#include "core/velmar_test_fixture.h"
#include "support/fixtures.h"
#include "support/vtable_slot.h"
#include "velmar/colour_table.h"
#include "velmar/common_channels.h"
#include "velmar/favorites.h"
#include "velmar/priorities.h"
#include "velmar/real_time_settings.h"
#include "velmar/tasks.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class VelmarTest : public VelmarTestBase {};

// What the root does to its parts as it is made and as it closes, in order.
nlohmann::json PartLogFixture() { return Fixture("core/root_part_log.json"); }

TEST_F(VelmarTest, ConstructionMakesTheOwnedObjectsInOrderAndWiresThem) {
  EXPECT_EQ(PartLog(), PartLogFixture()["construction"].get<std::vector<std::string>>());
  EXPECT_EQ(TestTasks::last->root, static_cast<IKivVelmar*>(Root()));
  EXPECT_EQ(root_->ExtentWidth(), 846);
  EXPECT_EQ(root_->ExtentHeight(), 846);
  EXPECT_TRUE(root_->HasUnsavedChanges()) << "a new root has a file to save";
  EXPECT_EQ(LiveVelmarRootCount(), 1u);
  EXPECT_EQ(CVelmarObjGlobalStateChanges::Process().RootCount(), 1u);
}

TEST_F(VelmarTest, AMissingPartStopsConstructionWithItsCode) {
  ASSERT_EQ(ClassRegistry::Process().Unregister(CLSID_KivRealTimeSettings), S_OK);
  ComPtr<CVelmar> second;
  EXPECT_EQ(CVelmar::Create(&second), REGDB_E_CLASSNOTREG);
  EXPECT_FALSE(second);
  RegisterTestParts();
  EXPECT_EQ(LiveVelmarRootCount(), 1u) << "the failed root is not counted";
  EXPECT_EQ(CVelmarObjGlobalStateChanges::Process().RootCount(), 1u);
}

TEST_F(VelmarTest, CloseRaisesClosingFirstThenReleasesInOrderAndRunsOnce) {
  PartLog().clear();
  auto mappingSink = MakeKiv<CQuantityToColorMappingNotificationsSink<>>();
  struct MappingLog : CQuantityToColorMappingNotificationsReceiver {
    void Closing(IKivQuantityToColorMapping*) override { PartLog().push_back("mapping-sink.Closing"); }
  } mappingLog;
  mappingSink->SetReceiver(&mappingLog);
  ASSERT_TRUE(mappingSink->Connect(static_cast<IKivQuantityToColorMappingInternal*>(TestMapping::last)));
  Listen<CVelmarNotificationsSink<>>("root.");
  HookClosing([] { PartLog().push_back("root-sink.Closing"); });

  EXPECT_EQ(Root()->Close(), S_OK);
  EXPECT_EQ(PartLog(), PartLogFixture()["close"].get<std::vector<std::string>>());
  EXPECT_EQ(Root()->Close(), S_FALSE) << "Close runs once";
  EXPECT_THAT(log_, ElementsAre("root.Closing"));
  ComPtr<IKivTasks> tasks;
  EXPECT_EQ(Root()->GetTasks(tasks.Put()), E_UNEXPECTED);
  ComPtr<IKivQuantityToColorMapping> mapping;
  EXPECT_EQ(Root()->GetQuantityToColorMapping(mapping.Put()), E_FAIL);
  EXPECT_EQ(Root()->AddDataFactory(kFactoryA), E_UNEXPECTED);
  EXPECT_EQ(CVelmarObjGlobalStateChanges::Process().RootCount(), 0u);
  EXPECT_EQ(LiveVelmarRootCount(), 1u) << "the root lives until its last reference goes";
  mappingSink->SetReceiver(nullptr);  // the mapping went with its sinks
}

TEST_F(VelmarTest, ASinkMayDetachItselfInClosing) {
  ComPtr<CVelmarNotificationsSink<>> self;
  self = HookClosing([&] {
    log_.push_back("detacher");
    self->SetReceiver(nullptr);
    self->Disconnect(Root());
    self = nullptr;
  });
  Listen<CVelmarNotificationsSink<>>("after.");
  Listen<CVelmarNotifications3Sink<>>("gen3.");
  EXPECT_EQ(Root()->Close(), S_OK);
  EXPECT_THAT(log_, ElementsAre("detacher", "after.Closing", "gen3.Closing"));
  EXPECT_FALSE(self);
}

TEST_F(VelmarTest, TheHostMayLetGoOfTheRootInClosing) {
  HookClosing([&] { root_ = nullptr; });
  IKivVelmar8* raw = Root();
  EXPECT_EQ(raw->Close(), S_OK);
  EXPECT_FALSE(root_);
  EXPECT_EQ(LiveVelmarRootCount(), 0u) << "the root went when Close let go of itself";
}

TEST_F(VelmarTest, GettersRefuseNullOutsAndWhatNeedsTheSettingsFileFailsWithoutOne) {
  EXPECT_EQ(Root()->GetTasks(nullptr), E_POINTER);
  EXPECT_EQ(Root()->GetCircuitMapData(nullptr), E_POINTER);
  EXPECT_EQ(Root()->GetChannelPropertyFactory(nullptr), E_POINTER);
  EXPECT_EQ(Root()->GetOutingCaptionFormat(nullptr), E_POINTER);
  EXPECT_EQ(root_->GetFont(nullptr), E_POINTER);
  // What needs the settings file fails without one and raises nothing.
  Listen<CVelmarNotifications7Sink<>>("");
  EXPECT_EQ(Root()->SetOutingCaptionFormat(u"%name%"), E_FAIL);
  EXPECT_EQ(Root()->SetOutingCaptionFormat(u""), E_FAIL) << "no file is checked first";
  EXPECT_EQ(Root()->SetSpareSettingA(5), E_FAIL);
  EXPECT_EQ(Root()->SetSpareSettingB(5), E_FAIL);
  EXPECT_EQ(Root()->SetChannelPropertyFactory(nullptr), E_INVALIDARG);
  EXPECT_EQ(Root()->SetChannelPropertyFactory(TestChannelProperties::last), E_FAIL);
  EXPECT_EQ(Root()->SetEventPropertyFactory(nullptr), E_INVALIDARG);
  EXPECT_EQ(Root()->SetEventPropertyFactory(TestEventProperties::last), E_FAIL);
  EXPECT_EQ(Root()->SetGroupFactory(nullptr), E_INVALIDARG);
  EXPECT_EQ(Root()->SetGroupFactory(TestGroups::last), E_FAIL);
  EXPECT_EQ(Root()->SetCircuitMapData(nullptr), S_FALSE) << "no map held, none given";
  EXPECT_THAT(log_, IsEmpty());

  std::u16string caption;
  ASSERT_EQ(Root()->GetOutingCaptionFormat(&caption), S_OK);
  EXPECT_EQ(caption, u"%default%");
  uint32_t spare = 0;
  ASSERT_EQ(Root()->GetSpareSettingA(&spare), S_OK);
  EXPECT_EQ(spare, 1u);
  ASSERT_EQ(Root()->GetSpareSettingB(&spare), S_OK);
  EXPECT_EQ(spare, 6u);
}

TEST_F(VelmarTest, AGenerationNSinkHearsGenerationsOneToN) {
  Listen<CVelmarNotificationsSink<>>("g1.");
  Listen<CVelmarNotifications2Sink<>>("g2.");
  Listen<CVelmarNotifications4Sink<>>("g4.");
  Listen<CVelmarNotifications7Sink<>>("g7.");
  ASSERT_EQ(root_->SharedStores().commonChannels->Set(0, u"[1]Odometer"), S_OK);        // generation 1
  ASSERT_EQ(Root()->SetTimeFormat(1), S_OK);                                              // 2
  ASSERT_EQ(Root()->SetTimePrecision(5), S_OK);                                           // 3
  ASSERT_EQ(Root()->SetSpeedUnit(2), S_OK);                                               // 4
  ASSERT_EQ(Root()->SetOutingLabelInitialization(0), S_OK);                               // 7
  EXPECT_THAT(log_, ElementsAre("g1.CommonChannelsChanged", "g2.CommonChannelsChanged", "g4.CommonChannelsChanged",
                                "g7.CommonChannelsChanged", "g2.TimeFormatChanged", "g4.TimeFormatChanged",
                                "g7.TimeFormatChanged", "g4.TimePrecisionChanged", "g7.TimePrecisionChanged",
                                "g4.SpeedUnitChanged", "g7.SpeedUnitChanged", "g7.OutingLabelInitializationChanged"));
}

TEST_F(VelmarTest, OwnedObjectEditsNeedTheSettingsFileAndDatabaseChangesOnlyMarkDirty) {
  Listen<CVelmarNotifications7Sink<>>("");
  root_->ClearDirty();
  EXPECT_EQ(TestPriorities::last->Edit(), E_FAIL);
  EXPECT_EQ(TestColourTable::last->Edit(), E_FAIL);
  EXPECT_THAT(log_, IsEmpty()) << "a stream that can't be rewritten raises nothing";
  EXPECT_FALSE(root_->HasUnsavedChanges());
  TestMapping::last->Edit();
  EXPECT_TRUE(root_->HasUnsavedChanges()) << "the mapping's callback only marks dirty";
  EXPECT_THAT(log_, IsEmpty());
  // Database changes only mark dirty, too.
  EXPECT_TRUE(MarksDirty([] { TestChannelProperties::last->ReportChange(); }));
  EXPECT_TRUE(MarksDirty([] { TestGroups::last->ReportChange(); }));
  EXPECT_THAT(log_, IsEmpty());
}

// A map that tells its sinks of a change.
class ChangingMap final
    : public KivObject<IKivCircuitMapData, IKivNotificationsImpl<ChangingMap, IKivCircuitMapDataNotifications2>> {
 public:
  KivResult GetClassId(Guid* clsid) override { return (*clsid = Guid(), S_OK); }
  KivResult GetLapTime(KivTime* time) override { return (*time = 0, S_OK); }
  void Change() { FireNotification(&IKivCircuitMapDataNotifications::OnMapDataChanged, this); }
};

TEST_F(VelmarTest, ACircuitMapIsHeldAndTheChangeIsRaisedOncePerMap) {
  Listen<CVelmarNotificationsSink<>>("");
  root_->ClearDirty();
  auto map = MakeKiv<ChangingMap>();
  IKivCircuitMapData* data = map.Get();
  ComPtr<IKivCircuitMapData> held;
  EXPECT_EQ(Root()->GetCircuitMapData(held.Put()), S_FALSE) << "a new root holds no map";
  ASSERT_EQ(Root()->SetCircuitMapData(data), S_OK);
  EXPECT_EQ(Root()->SetCircuitMapData(data), S_FALSE) << "the map held already";
  ASSERT_EQ(Root()->GetCircuitMapData(held.Put()), S_OK);
  EXPECT_EQ(held.Get(), data);
  EXPECT_TRUE(root_->HasUnsavedChanges());
  EXPECT_TRUE(MarksDirty([&] { map->Change(); })) << "the map's own change marks the settings dirty";
  ASSERT_EQ(Root()->SetCircuitMapData(nullptr), S_OK);
  EXPECT_EQ(Root()->GetCircuitMapData(held.Put()), S_FALSE);
  EXPECT_THAT(log_, ElementsAre("CircuitMapDataChanged", "CircuitMapDataChanged"));
}

TEST_F(VelmarTest, ChangeCallbacksMarkDirtyAndRaise) {
  Listen<CVelmarNotificationsSink<>>("");
  EXPECT_TRUE(MarksDirty([] { TestRealTimeSettings::last->Change(); }));
  EXPECT_TRUE(MarksDirty([&] { ASSERT_EQ(root_->SharedStores().commonChannels->Set(3, u"[3]GPS Speed"), S_OK); }));
  EXPECT_EQ(root_->SharedStores().commonChannels->Set(3, u"[3]GPS Speed"), S_FALSE);
  EXPECT_THAT(log_, ElementsAre("RealTimeSettingsChanged", "CommonChannelsChanged"));
}

TEST_F(VelmarTest, ANameIsInUseWhenATaskShowsItOrACommonChannelNamesIt) {
  TestTasks::last->names = {u"Brake Pressure"};
  uint32_t reason = 0;
  EXPECT_TRUE(TestChannelProperties::last->AskInUse(u"Brake Pressure", &reason));
  EXPECT_EQ(reason, kNameUsedByTask);
  EXPECT_TRUE(TestChannelProperties::last->AskInUse(u"Lap Distance", &reason));
  EXPECT_EQ(reason, kNameUsedByCommonChannel);
  reason = 0;
  EXPECT_FALSE(TestChannelProperties::last->AskInUse(u"Oil Temp", &reason));
  EXPECT_EQ(reason, 0u);
  EXPECT_TRUE(TestEventProperties::last->AskInUse(u"Brake Pressure", &reason));
  EXPECT_EQ(reason, kNameUsedByTask);
  EXPECT_FALSE(TestEventProperties::last->AskInUse(u"Lap Distance", &reason)) << "events ask the tasks only";
}

TEST_F(VelmarTest, ControlColoursAndFont) {
  ComPtr<IKivUnknown> font;
  EXPECT_EQ(root_->GetFont(font.Put()), S_FALSE);

  EXPECT_FALSE(MarksDirty([&] { EXPECT_EQ(root_->SetGridColor(0xD0D0D0), S_OK); }))
      << "an unchanged grid colour does nothing at all";
  EXPECT_EQ(root_->SetBackColor(0xFFFFFF), S_OK);
  EXPECT_TRUE(root_->HasUnsavedChanges()) << "the back colour setter stores even the same value";
  EXPECT_TRUE(MarksDirty([&] { EXPECT_EQ(root_->SetGridColor(0x101010), S_OK); }));
}

TEST_F(VelmarTest, BrandingFeatureOneWithoutAnInstalledToolNodeIsNoFailure) {
  InstallDataFactoryBranding(std::make_shared<DataFactoryBranding>(
      std::set<Guid>{}, std::set<std::u16string>{}, std::set<uint32_t>{kBrandingFeatureToolNode}));
  ASSERT_EQ(ClassRegistry::Process().Unregister(CLSID_KivHostToolNode), S_OK);
  ComPtr<CVelmar> withoutNode;
  EXPECT_EQ(CVelmar::Create(&withoutNode), S_OK) << "a tool node that isn't installed is no failure";
  EXPECT_TRUE(withoutNode->ChildNodes().empty());
  InstallDataFactoryBranding(nullptr);
  RegisterTestParts();
  (void)withoutNode->Close();
}

TEST_F(VelmarTest, TheBrandingModuleHidesFactoriesAndMakesTheToolNode) {
  ScopedBranding branded(TestBrandingModule());
  const auto hiddenMandatory = DataFactoryRecord::Native(Guid::Literal("{431C3042-F301-4701-85F0-5EF9EC7FC68E}"));
  EXPECT_EQ(MandatoryDataFactories().size(), 7u) << "a native and a managed mandatory factory are hidden";
  EXPECT_FALSE(IsMandatoryDataFactory(hiddenMandatory));
  EXPECT_FALSE(IsMandatoryDataFactory(DataFactoryRecord::Managed(kBrandingHiddenTool)));

  PartLog().clear();
  ComPtr<CVelmar> branded_root;
  ASSERT_EQ(CVelmar::Create(&branded_root), S_OK);
  EXPECT_THAT(PartLogWith("toolNode"), ElementsAre("toolNode.made", "toolNode.SetRoot(set)"));
  EXPECT_EQ(branded_root->ChildNodes().size(), 1u);

  EXPECT_EQ(branded_root->AddDataFactory(kFactoryB), E_INVALIDARG) << "the module hides it";
  EXPECT_EQ(branded_root->AddDataFactory(hiddenMandatory.clsid), E_INVALIDARG);
  // A wanted list that names a hidden factory runs without it, in every root.
  ASSERT_EQ(CVelmarObjGlobalStateChanges::Process().ApplyDataFactoryList(
                {DataFactoryRecord::Native(kFactoryB), DataFactoryRecord::Native(kFactoryA)}),
            S_OK);
  EXPECT_THAT(branded_root->DataFactories().ActiveRecords(), ElementsAre(DataFactoryRecord::Native(kFactoryA)));
  EXPECT_THAT(root_->DataFactories().ActiveRecords(), ElementsAre(DataFactoryRecord::Native(kFactoryA)));
  EXPECT_FALSE(branded_root->DataFactories().StorageNameOf(DataFactoryRecord::Native(kFactoryB)))
      << "a hidden factory gets no storage";
  (void)branded_root->Close();
}

TEST_F(VelmarTest, WithoutABrandingModuleNothingIsHiddenAndThereIsNoToolNode) {
  ScopedBranding none(u"no-such-brand.so");
  EXPECT_EQ(MandatoryDataFactories().size(), 9u);
  ComPtr<CVelmar> plain;
  ASSERT_EQ(CVelmar::Create(&plain), S_OK);
  EXPECT_TRUE(plain->ChildNodes().empty());
  EXPECT_EQ(plain->AddDataFactory(kFactoryB), S_OK);
  (void)plain->Close();
}

// Every root of the process shares the constants and the common channels.
class VelmarGlobalStateTest : public VelmarTestBase {};

TEST_F(VelmarGlobalStateTest, TwoRootsShareTheConstantsAndTheCommonChannels) {
  ComPtr<CVelmar> second;
  ASSERT_EQ(CVelmar::Create(&second), S_OK);
  EXPECT_EQ(root_->SharedStores().constants, second->SharedStores().constants);
  EXPECT_EQ(root_->SharedStores().commonChannels, second->SharedStores().commonChannels);
  EXPECT_EQ(CVelmarObjGlobalStateChanges::Process().RootCount(), 2u);
  EXPECT_EQ(LiveVelmarRootCount(), 2u);

  auto constants = root_->SharedStores().constants;
  auto channels = root_->SharedStores().commonChannels;
  ASSERT_EQ(constants->Add(u"Fuel Density", 0), S_OK);
  EXPECT_TRUE(second->SharedStores().constants->Find(u"Fuel Density")) << "a change in one reaches the other";

  ASSERT_EQ(channels->Set(3, u"[3]GPS Speed"), S_OK);
  EXPECT_EQ(second->Close(), S_OK);
  EXPECT_TRUE(constants->Find(u"Fuel Density")) << "closing one root leaves the shared stores";
  std::u16string speed;
  ASSERT_EQ(channels->Get(3, &speed), S_OK);
  EXPECT_EQ(speed, u"[3]GPS Speed");

  second = nullptr;
  EXPECT_EQ(LiveVelmarRootCount(), 1u);
  ASSERT_EQ(Root()->Close(), S_OK);
  EXPECT_EQ(constants->size(), 0u) << "the last root out clears them";
  ASSERT_EQ(channels->Get(3, &speed), S_OK);
  EXPECT_EQ(speed, u"[3]Speed");
}

TEST_F(VelmarGlobalStateTest, ACommonChannelChangeMarksEveryRootDirtyAndEachRaises) {
  ComPtr<CVelmar> second;
  ASSERT_EQ(CVelmar::Create(&second), S_OK);
  Listen<CVelmarNotificationsSink<>>("first.");
  Listen<CVelmarNotificationsSink<>>("second.", second.Get());
  root_->ClearDirty();
  second->ClearDirty();
  ASSERT_EQ(second->SharedStores().commonChannels->Set(11, u"[6]GPS Time"), S_OK);
  EXPECT_TRUE(root_->HasUnsavedChanges());
  EXPECT_TRUE(second->HasUnsavedChanges());
  EXPECT_THAT(log_, ElementsAre("first.CommonChannelsChanged", "second.CommonChannelsChanged"));
  EXPECT_EQ(second->Close(), S_OK);
}

TEST(VelmarObjGlobalStateChanges, TheFanOutWalksACopyOfItsRoots) {
  struct Root : CVelmarObjStateChanges {
    CVelmarObjGlobalStateChanges* fanOut = nullptr;
    Root* leaveAlso = nullptr;
    int applied = 0;
    KivResult ApplyDataFactoryList(const DataFactoryRecords&) override {
      ++applied;
      if (leaveAlso) (void)fanOut->Leave(leaveAlso);
      return applied == 1 ? E_FAIL : S_OK;
    }
    void OnCommonChannelsChanged() override {}
  };
  CVelmarObjGlobalStateChanges fanOut;
  Root a, b;
  a.fanOut = &fanOut;
  a.leaveAlso = &b;
  (void)fanOut.Join(&a);
  (void)fanOut.Join(&b);
  (void)fanOut.Join(&a);
  EXPECT_EQ(fanOut.RootCount(), 2u) << "joining twice adds once";
  EXPECT_EQ(fanOut.ApplyDataFactoryList({}), E_FAIL) << "the first failure";
  EXPECT_EQ(b.applied, 0) << "a root that left during the walk is not called";
  EXPECT_EQ(fanOut.Leave(&b), S_FALSE);
  EXPECT_EQ(fanOut.Leave(&a), S_OK);
}

// The root's notifications, generation by generation.
#define VELMAR_NAME(Name, Params, Args) #Name,
const std::vector<std::string> kSlotOrder = {
    KIV_VELMAR_NOTIFICATIONS_1(VELMAR_NAME) KIV_VELMAR_NOTIFICATIONS_2(VELMAR_NAME)
        KIV_VELMAR_NOTIFICATIONS_3(VELMAR_NAME) KIV_VELMAR_NOTIFICATIONS_4(VELMAR_NAME)
            KIV_VELMAR_NOTIFICATIONS_5(VELMAR_NAME) KIV_VELMAR_NOTIFICATIONS_6(VELMAR_NAME)
                KIV_VELMAR_NOTIFICATIONS_7(VELMAR_NAME)};
#undef VELMAR_NAME

#ifdef VELMAR_HAS_VTABLE_SLOT

TEST(VelmarNotifications, OperationsSitInTheirSlots) {
  std::vector<size_t> slots;
#define VELMAR_SLOT(Name, Params, Args) slots.push_back(VtableSlot(&IKivVelmarNotifications7::Name));
  KIV_VELMAR_NOTIFICATIONS_1(VELMAR_SLOT) KIV_VELMAR_NOTIFICATIONS_2(VELMAR_SLOT)
  KIV_VELMAR_NOTIFICATIONS_3(VELMAR_SLOT) KIV_VELMAR_NOTIFICATIONS_4(VELMAR_SLOT)
  KIV_VELMAR_NOTIFICATIONS_5(VELMAR_SLOT) KIV_VELMAR_NOTIFICATIONS_6(VELMAR_SLOT)
  KIV_VELMAR_NOTIFICATIONS_7(VELMAR_SLOT)
#undef VELMAR_SLOT
  std::vector<size_t> expected;
  for (size_t slot = 3; slot <= 23; ++slot) expected.push_back(slot);
  EXPECT_EQ(slots, expected);
  EXPECT_EQ(VtableSlot(&IKivVelmarNotifications::Closing), 9u);
  EXPECT_EQ(VtableSlot(&IKivVelmarNotifications4::SpeedPrecisionChanged), 19u);
}
#endif

// Calls `member` on `target` with value-initialised arguments.
template <class T, class I, class... P>
KivResult CallWithDefaults(T* target, KivResult (I::*member)(P...)) {
  return (target->*member)(std::remove_cvref_t<P>{}...);
}

TEST(VelmarNotifications, NewestSinkForwardsEveryNotification) {
  std::vector<std::string> log;
  RootLog receiver(&log, "");
  auto sink = MakeKiv<CVelmarNotifications7Sink<>>();
  sink->SetReceiver(&receiver);
  IKivVelmarNotifications7* notifications = sink.Get();
#define VELMAR_CALL(Name, Params, Args) \
  EXPECT_EQ(CallWithDefaults(notifications, &IKivVelmarNotifications7::Name), S_OK);
  KIV_VELMAR_NOTIFICATIONS_1(VELMAR_CALL) KIV_VELMAR_NOTIFICATIONS_2(VELMAR_CALL)
  KIV_VELMAR_NOTIFICATIONS_3(VELMAR_CALL) KIV_VELMAR_NOTIFICATIONS_4(VELMAR_CALL)
  KIV_VELMAR_NOTIFICATIONS_5(VELMAR_CALL) KIV_VELMAR_NOTIFICATIONS_6(VELMAR_CALL)
  KIV_VELMAR_NOTIFICATIONS_7(VELMAR_CALL)
#undef VELMAR_CALL
  EXPECT_THAT(log, ElementsAreArray(kSlotOrder));

  CVelmarNotificationsReceiverImpl silent;
  sink->SetReceiver(&silent);
  EXPECT_EQ(notifications->SpeedPrecisionChanged(nullptr, 2), S_OK) << "the do-nothing set";
}

// A stand-in root with one point per generation.
class FakeRoot : public KivObject<IKivNotificationsImpl<FakeRoot, IKivVelmarNotifications7>> {
 public:
  using IKivNotificationsImpl::FireNotification;
};

// Which generation heard what, as "<generation>:<notification>".
class GenerationLog : public CVelmarNotificationsReceiverImpl {
 public:
  explicit GenerationLog(std::vector<std::string>* all, int generation) : all_(all), generation_(generation) {}
  void TimeFormatChanged(IKivVelmar*, uint32_t format) override {
    all_->push_back(std::to_string(generation_) + ":TimeFormat" + std::to_string(format));
  }
  void Closing(IKivVelmar*) override { all_->push_back(std::to_string(generation_) + ":Closing"); }
  void OutingLabelInitializationChanged(IKivVelmar*, uint32_t) override {
    all_->push_back(std::to_string(generation_) + ":OutingLabelInitialization");
  }

 private:
  std::vector<std::string>* all_;
  int generation_;
};

template <class Sink>
ComPtr<Sink> ConnectGeneration(FakeRoot* root, GenerationLog* receiver) {
  auto sink = MakeKiv<Sink>();
  sink->SetReceiver(receiver);
  EXPECT_TRUE(sink->Connect(root));
  return sink;
}

TEST(VelmarNotifications, RootNotificationsReachEachGenerationOldestFirst) {
  auto root = MakeKiv<FakeRoot>();
  std::vector<std::string> log;
  std::vector<std::unique_ptr<GenerationLog>> receivers;
  for (int g = 1; g <= 7; ++g) receivers.push_back(std::make_unique<GenerationLog>(&log, g));
  // Connected newest first: the order of hearing comes from the generations.
  auto s7 = ConnectGeneration<CVelmarNotifications7Sink<>>(root.Get(), receivers[6].get());
  auto s6 = ConnectGeneration<CVelmarNotifications6Sink<>>(root.Get(), receivers[5].get());
  auto s5 = ConnectGeneration<CVelmarNotifications5Sink<>>(root.Get(), receivers[4].get());
  auto s4 = ConnectGeneration<CVelmarNotifications4Sink<>>(root.Get(), receivers[3].get());
  auto s3 = ConnectGeneration<CVelmarNotifications3Sink<>>(root.Get(), receivers[2].get());
  auto s2 = ConnectGeneration<CVelmarNotifications2Sink<>>(root.Get(), receivers[1].get());
  auto s1 = ConnectGeneration<CVelmarNotificationsSink<>>(root.Get(), receivers[0].get());
  EXPECT_EQ(s1->Cookie(), 1u);
  EXPECT_EQ(s7->Cookie(), 7u);

  EXPECT_EQ(root->FireNotification(&IKivVelmarNotifications::Closing, nullptr), S_OK);
  EXPECT_THAT(log, ElementsAre("1:Closing", "2:Closing", "3:Closing", "4:Closing", "5:Closing", "6:Closing",
                               "7:Closing"));
  log.clear();
  root->FireNotification(&IKivVelmarNotifications2::TimeFormatChanged, nullptr, 3u);
  EXPECT_THAT(log, ElementsAre("2:TimeFormat3", "3:TimeFormat3", "4:TimeFormat3", "5:TimeFormat3",
                               "6:TimeFormat3", "7:TimeFormat3"));
  log.clear();
  root->FireNotification(&IKivVelmarNotifications7::OutingLabelInitializationChanged, nullptr, 1u);
  EXPECT_THAT(log, ElementsAre("7:OutingLabelInitialization"));

  s1->SetReceiver(nullptr);
  EXPECT_TRUE(s1->Disconnect(root.Get()));
  EXPECT_TRUE(s7->Disconnect(root.Get()));
  EXPECT_TRUE(s2->Disconnect(root.Get()) && s3->Disconnect(root.Get()) && s4->Disconnect(root.Get()) &&
              s5->Disconnect(root.Get()) && s6->Disconnect(root.Get()));
}

}  // namespace
}  // namespace velmar::testing
