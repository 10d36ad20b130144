#include "core/velmar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/branding_test_support.h"
#include "core/data_factory_branding.h"
#include "core/velmar_test_fixture.h"
#include "velmar/colour_table.h"
#include "velmar/common_channels.h"
#include "velmar/favorites.h"
#include "velmar/priorities.h"
#include "velmar/real_time_settings.h"
#include "velmar/tasks.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class VelmarTest : public VelmarTestBase {};

TEST_F(VelmarTest, ConstructionMakesTheOwnedObjectsInOrderAndWiresThem) {
  EXPECT_THAT(PartLogWith(""),
              ElementsAre("colourTable.made", "colourTable.SetParentCallback(set)", "favorites.made",
                          "favorites.SetParentCallback(set)", "priorities.made", "priorities.SetParentCallback(set)",
                          "mapping.made", "mapping.SetParentCallback(set)", "constants.made",
                          "constants.SetRootBackReference(set)", "tasks.made", "realTime.made",
                          "realTime.SetChangeCallback(set)", "commonChannels.made", "channelProperties.made",
                          "channelProperties.SetQuantityToColorMapping(null)", "eventProperties.made", "groups.made",
                          "tasks.SetRoot(set)", "commonChannels.AttachStore(set)", "constants.AttachCache(set)"));
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

TEST_F(VelmarTest, CloseRaisesClosingFirstThenReleasesInOrder) {
  PartLog().clear();
  auto mappingSink = MakeKiv<CQuantityToColorMappingNotificationsSink<>>();
  struct MappingLog : CQuantityToColorMappingNotificationsReceiver {
    void Closing(IKivQuantityToColorMapping*) override { PartLog().push_back("mapping-sink.Closing"); }
  } mappingLog;
  mappingSink->SetReceiver(&mappingLog);
  ASSERT_TRUE(mappingSink->Connect(static_cast<IKivQuantityToColorMappingInternal*>(TestMapping::last)));
  Listen<CVelmarNotificationsSink<>>("root.");
  struct ClosingToLog : CVelmarNotificationsReceiver {
    void Closing(IKivVelmar*) override { PartLog().push_back("root-sink.Closing"); }
  } closingToLog;
  auto rootSink = MakeKiv<CVelmarNotificationsSink<>>();
  rootSink->SetReceiver(&closingToLog);
  ASSERT_TRUE(rootSink->Connect(Root()));

  EXPECT_EQ(Root()->Close(), S_OK);
  EXPECT_THAT(PartLog(),
              ElementsAre("root-sink.Closing", "tasks.CloseAll", "mapping.NotifyClosing", "mapping-sink.Closing",
                          "tasks.SetRoot(null)", "tasks.~", "constants.SetRootBackReference(null)", "constants.~",
                          "commonChannels.~", "realTime.SetChangeCallback(null)", "realTime.~",
                          "channelProperties.~ sinks=0", "eventProperties.~ sinks=0", "groups.~ sinks=0",
                          "priorities.SetParentCallback(null)", "priorities.~", "mapping.SetParentCallback(null)",
                          "mapping.~", "colourTable.SetParentCallback(null)", "colourTable.~",
                          "favorites.SetParentCallback(null)", "favorites.~"));
  EXPECT_THAT(log_, ElementsAre("root.Closing"));
  EXPECT_EQ(CVelmarObjGlobalStateChanges::Process().RootCount(), 0u);
  EXPECT_EQ(LiveVelmarRootCount(), 1u) << "the root lives until its last reference goes";
  rootSink->SetReceiver(nullptr);
  mappingSink->SetReceiver(nullptr);  // the mapping went with its sinks
}

TEST_F(VelmarTest, CloseRunsOnce) {
  Listen<CVelmarNotifications7Sink<>>("");
  EXPECT_EQ(Root()->Close(), S_OK);
  EXPECT_EQ(Root()->Close(), S_FALSE);
  EXPECT_THAT(log_, ElementsAre("Closing"));
  ComPtr<IKivTasks> tasks;
  EXPECT_EQ(Root()->GetTasks(tasks.Put()), E_UNEXPECTED);
  ComPtr<IKivQuantityToColorMapping> mapping;
  EXPECT_EQ(Root()->GetQuantityToColorMapping(mapping.Put()), E_FAIL);
  EXPECT_EQ(Root()->AddDataFactory(kFactoryA), E_UNEXPECTED);
}

// Detaches its own sink when it hears Closing.
class Detacher : public CVelmarNotificationsReceiver {
 public:
  Detacher(IKivVelmar* root, std::vector<std::string>* log) : root_(root), log_(log) {}
  void Closing(IKivVelmar*) override {
    log_->push_back("detacher");
    sink->SetReceiver(nullptr);
    sink->Disconnect(root_);
    sink = nullptr;
  }
  ComPtr<CVelmarNotificationsSink<>> sink;

 private:
  IKivVelmar* root_;
  std::vector<std::string>* log_;
};

TEST_F(VelmarTest, ASinkMayDetachItselfInClosing) {
  Detacher detacher(Root(), &log_);
  detacher.sink = MakeKiv<CVelmarNotificationsSink<>>();
  detacher.sink->SetReceiver(&detacher);
  ASSERT_TRUE(detacher.sink->Connect(Root()));
  Listen<CVelmarNotificationsSink<>>("after.");
  Listen<CVelmarNotifications3Sink<>>("gen3.");
  EXPECT_EQ(Root()->Close(), S_OK);
  EXPECT_THAT(log_, ElementsAre("detacher", "after.Closing", "gen3.Closing"));
  EXPECT_FALSE(detacher.sink);
}

TEST_F(VelmarTest, TheHostMayLetGoOfTheRootInClosing) {
  struct Dropper : CVelmarNotificationsReceiver {
    ComPtr<CVelmar>* root = nullptr;
    void Closing(IKivVelmar*) override { *root = nullptr; }
  } dropper;
  dropper.root = &root_;
  auto sink = MakeKiv<CVelmarNotificationsSink<>>();
  sink->SetReceiver(&dropper);
  ASSERT_TRUE(sink->Connect(Root()));
  IKivVelmar8* raw = Root();
  EXPECT_EQ(raw->Close(), S_OK);
  EXPECT_FALSE(root_);
  EXPECT_EQ(LiveVelmarRootCount(), 0u) << "the root went when Close let go of itself";
}

TEST_F(VelmarTest, GettersHandOutNoCircuitMapAndRefuseNullOuts) {
  EXPECT_EQ(Root()->GetTasks(nullptr), E_POINTER);
  EXPECT_EQ(Root()->GetCircuitMapData(nullptr), E_POINTER);
  EXPECT_EQ(Root()->GetChannelPropertyFactory(nullptr), E_POINTER);
  EXPECT_EQ(Root()->GetOutingCaptionFormat(nullptr), E_POINTER);
  EXPECT_EQ(root_->GetFont(nullptr), E_POINTER);
  ComPtr<IKivCircuitMapData> map;
  EXPECT_EQ(Root()->GetCircuitMapData(map.Put()), S_FALSE);
  EXPECT_FALSE(map);
}

TEST_F(VelmarTest, WhatNeedsTheSettingsFileFailsWithoutOneAndRaisesNothing) {
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
  root_->ClearDirty();
  TestChannelProperties::last->ReportChange();
  EXPECT_TRUE(root_->HasUnsavedChanges());
  root_->ClearDirty();
  TestGroups::last->ReportChange();
  EXPECT_TRUE(root_->HasUnsavedChanges());
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
  ASSERT_EQ(Root()->SetCircuitMapData(data), S_OK);
  EXPECT_EQ(Root()->SetCircuitMapData(data), S_FALSE) << "the map held already";
  ComPtr<IKivCircuitMapData> held;
  ASSERT_EQ(Root()->GetCircuitMapData(held.Put()), S_OK);
  EXPECT_EQ(held.Get(), data);
  EXPECT_TRUE(root_->HasUnsavedChanges());
  root_->ClearDirty();
  map->Change();
  EXPECT_TRUE(root_->HasUnsavedChanges()) << "the map's own change marks the settings dirty";
  ASSERT_EQ(Root()->SetCircuitMapData(nullptr), S_OK);
  EXPECT_EQ(Root()->GetCircuitMapData(held.Put()), S_FALSE);
  EXPECT_THAT(log_, ElementsAre("CircuitMapDataChanged", "CircuitMapDataChanged"));
}

TEST_F(VelmarTest, ChangeCallbacksMarkDirtyAndRaise) {
  Listen<CVelmarNotificationsSink<>>("");
  root_->ClearDirty();
  TestRealTimeSettings::last->Change();
  EXPECT_TRUE(root_->HasUnsavedChanges());
  root_->ClearDirty();
  ASSERT_EQ(root_->SharedStores().commonChannels->Set(3, u"[3]GPS Speed"), S_OK);
  EXPECT_TRUE(root_->HasUnsavedChanges());
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

  root_->ClearDirty();
  EXPECT_EQ(root_->SetGridColor(0xD0D0D0), S_OK);
  EXPECT_FALSE(root_->HasUnsavedChanges()) << "an unchanged grid colour does nothing at all";
  EXPECT_EQ(root_->SetBackColor(0xFFFFFF), S_OK);
  EXPECT_TRUE(root_->HasUnsavedChanges()) << "the back colour setter stores even the same value";
  root_->ClearDirty();
  EXPECT_EQ(root_->SetGridColor(0x101010), S_OK);
  EXPECT_TRUE(root_->HasUnsavedChanges());
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

}  // namespace
}  // namespace velmar::testing
