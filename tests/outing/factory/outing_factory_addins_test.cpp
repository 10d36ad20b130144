#include "outing/factory/outing_factory_addins.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "outing/fake_outing_factory.h"
#include "support/got.h"
#include "outing/laps/fast_lap_registry.h"
#include "outing/factory/outing_factory.h"
#include "support/settling_test.h"
#include "platform/registry/registry_file.h"
#include "support/temp_dir.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Guid kAddInA = Guid::Literal("{A9DA1D60-A1F5-4626-A4D4-D62D8E8A5268}");
constexpr Guid kAddInB = Guid::Literal("{1CCAF320-C8F1-4B7D-9608-622C679133ED}");
constexpr Guid kAddInC = Guid::Literal("{6E0C2E0B-4F35-4C36-9B0E-2C8F7A1D4E55}");
constexpr Guid kLapTimerType = Guid::Literal("{0D8A7C55-3D51-4E0E-8C3F-5B7E2A9C1F10}");
constexpr Guid kMadeByA = Guid::Literal("{C2B7D1E4-8F3A-4B6C-9D2E-1A5F7C3B9E80}");
constexpr Guid kMadeByB = Guid::Literal("{D3C8E2F5-9A4B-4C7D-8E3F-2B6A8D4C0F91}");

std::shared_ptr<AddInScript> Script(const Guid& madeId, KivResult result = S_OK) {
  auto script = std::make_shared<AddInScript>();
  script->type = kLapTimerType;
  script->madeId = madeId;
  script->result = result;
  return script;
}

std::u16string IdOf(const ComPtr<IKivOuting>& outing) {
  return Got(QueryAs<IKivOuting2>(outing.Get()), &IKivOuting2::GetOutingId);
}

class OutingFactoryAddInsTest : public SettlingTest {
 protected:
  KivResult CreateEx(const std::vector<std::u16string>& paths, OutingList* outings, bool overrideProperties = false,
                     const Guid& type = kLapTimerType) {
    const Variant array = MakeTextArray(paths);
    return factory_->CreateEx(KIV_TRUE, ToKivBool(overrideProperties), type.ToWide(), &array, outings);
  }

  TempDir dir_;
  ScopedHiveOverride hive_{RegHive::kCurrentUser, std::make_shared<RegistryFile>(dir_ / "user.json")};
  ClassRegistry classes_;
  COutingFactoryAddIns addIns_{classes_};
  ComPtr<COutingFactory> factory_ = MakeKiv<COutingFactory>(addIns_);

  // Enters an add-in of generation Newest, in the category, with a fresh script.
  template <class Newest = IKivNewOutingFactory5>
  std::shared_ptr<AddInScript> AddIn(const Guid& clsid, const Guid& madeId, KivResult result = S_OK) {
    auto script = Script(madeId, result);
    RegisterFakeAddIn<Newest>(classes_, clsid, script);
    return script;
  }
};

// --- The list -----------------------------------------------------------------

TEST_F(OutingFactoryAddInsTest, TheListIsTheCategoryInItsOrderMadeOnce) {
  RegisterFakeAddIn<IKivNewOutingFactory5>(classes_, kAddInB, Script(kMadeByB));
  RegisterFakeAddIn<IKivNewOutingFactory5>(classes_, kAddInA, Script(kMadeByA));
  RegisterFakeAddIn<IKivNewOutingFactory5>(classes_, kAddInC, Script(kMadeByA), /*inCategory=*/false);
  EXPECT_FALSE(addIns_.list_made());
  EXPECT_THAT(addIns_.List(), ElementsAre(kAddInB, kAddInA));
  RegisterFakeAddIn<IKivNewOutingFactory5>(classes_, kAddInC, Script(kMadeByA));
  EXPECT_THAT(addIns_.List(), ElementsAre(kAddInB, kAddInA)) << "once made, the list does not change";
}

TEST_F(OutingFactoryAddInsTest, SetAddInOrderGivesTheOrderBeforeTheListIsMade) {
  AddIn(kAddInA, kMadeByA);
  AddIn(kAddInB, kMadeByB);
  const Variant order = MakeTextArray({kAddInB.ToWide(), kAddInA.ToWide()});
  ASSERT_EQ(factory_->SetAddInOrder(&order), S_OK);
  EXPECT_THAT(addIns_.List(), ElementsAre(kAddInB, kAddInA));
  EXPECT_EQ(factory_->SetAddInOrder(&order), E_FAIL) << "the list is made";
}

TEST_F(OutingFactoryAddInsTest, ABadOrderIsRefusedAndKeepsNothing) {
  EXPECT_EQ(factory_->SetAddInOrder(nullptr), E_POINTER);
  const Variant badText = MakeTextArray({kAddInA.ToWide(), u"{not-a-class}"});
  const Variant nullText = Variant::Array({Variant::Text(kAddInA.ToWide()), Variant()});
  const Variant notAnArray = Variant::Text(kAddInA.ToWide());
  const Variant twoDimensions = Variant::Array({MakeTextArray({kAddInA.ToWide()})});
  for (const Variant* bad : {&badText, &nullText, &notAnArray, &twoDimensions}) {
    EXPECT_EQ(factory_->SetAddInOrder(bad), E_INVALIDARG);
    EXPECT_FALSE(addIns_.list_made());
  }
  const Variant good = MakeTextArray({kAddInA.ToWide()});
  EXPECT_EQ(factory_->SetAddInOrder(&good), S_OK);
}

// --- Types ------------------------------------------------------------------------

TEST_F(OutingFactoryAddInsTest, GetTypesListsTheFileTypesThenTheAddInsOnceAndFixesTheOrder) {
  AddIn(kAddInB, kMadeByB)->typesResult = E_FAIL;
  auto a = AddIn(kAddInA, kMadeByA);
  a->types = {{u"lap", u"Lap Timer Dataset", kLapTimerType.ToWide()}};
  auto self = AddIn(CLSID_KivOutingFactory, kMadeByA);

  const OutingTypeList types = Got(factory_, &COutingFactory::GetTypes);
  EXPECT_THAT(types, ElementsAre(OutingTypeRecord{u"txt", u"ASCII Dataset", u"{3F4B8C0F-F636-4C4B-A8B3-98BF06470C97}"},
                                 OutingTypeRecord{u"mat", u"MATLAB Dataset", u"{F44BF473-A14F-44C7-B9A0-EDD2DBDABCA7}"},
                                 OutingTypeRecord{u"trn", u"Kivara Dataset", u"{9EC637DD-9F67-4E6A-A264-6BEE79750B56}"},
                                 OutingTypeRecord{u"lap", u"Lap Timer Dataset", kLapTimerType.ToWide()}));
  EXPECT_EQ(Got(factory_, &COutingFactory::GetTypes), types);
  EXPECT_THAT(a->log, ElementsAre("GetTypes")) << "the array is built once";
  EXPECT_THAT(self->log, IsEmpty()) << "the factory's own class is passed over";
  EXPECT_EQ(factory_->GetTypes(nullptr), E_POINTER);
  const Variant order = MakeTextArray({kAddInA.ToWide()});
  EXPECT_EQ(factory_->SetAddInOrder(&order), E_FAIL) << "the walk made the list";
}

TEST_F(OutingFactoryAddInsTest, AnAddInThatCannotBeMadeIsPassedOver) {
  ClassRegistry::ClassInfo broken;
  broken.clsid = kAddInA;
  broken.categories = {CATID_KivOutingFactories};  // known, but without a way to make it
  ASSERT_EQ(classes_.Register(std::move(broken)), S_OK);
  AddIn(kAddInB, kMadeByB);
  OutingList outings;
  EXPECT_EQ(CreateEx({u"/laps/one.lap"}, &outings), S_OK);
  EXPECT_EQ(IdOf(outings[0]), kMadeByB.ToWide());
}

// --- Creation by add-ins --------------------------------------------------------------

TEST_F(OutingFactoryAddInsTest, TheFirstAddInThatSucceedsMakesTheOutingsWithTheStoredSettings) {
  ASSERT_EQ(WriteFastLapFilterEnabled(true), S_OK);
  ASSERT_EQ(WriteFastLapMinimumTime(42), S_OK);
  auto self = AddIn(CLSID_KivOutingFactory, kMadeByA);
  auto refusing = AddIn(kAddInA, kMadeByA, E_INVALIDARG);
  auto taking = AddIn(kAddInB, kMadeByB);
  OutingList outings;
  ASSERT_EQ(CreateEx({u"/laps/one.lap", u"/laps/two.lap"}, &outings, /*overrideProperties=*/true), S_OK);
  ASSERT_EQ(outings.size(), 2u);
  EXPECT_EQ(IdOf(outings[0]), kMadeByB.ToWide());
  EXPECT_EQ(IdOf(outings[1]), kMadeByB.ToWide());
  const std::string createEx = "CreateEx:-1:0:" + kLapTimerType.ToString();
  EXPECT_THAT(refusing->log, ElementsAre("SetFilter:-1", "SetMinimum:42", createEx));
  EXPECT_THAT(taking->log, ElementsAre("SetFilter:-1", "SetMinimum:42", createEx))
      << "the override flag is not passed on";
  EXPECT_THAT(self->log, IsEmpty());
}

TEST_F(OutingFactoryAddInsTest, OlderAddInsAreCalledThroughTheirOwnGeneration) {
  auto second = AddIn<IKivNewOutingFactory2>(kAddInA, kMadeByA, E_FAIL);
  auto first = AddIn<IKivNewOutingFactory>(kAddInB, kMadeByB);
  OutingList outings;
  ASSERT_EQ(CreateEx({u"/laps/one.lap"}, &outings), S_OK);
  const std::string create = "Create:-1:" + kLapTimerType.ToString();
  EXPECT_THAT(second->log, ElementsAre("SetFilter:0", "SetMinimum:50000000", create));
  EXPECT_THAT(first->log, ElementsAre(create));
}

TEST_F(OutingFactoryAddInsTest, AnAddInsSFalseFillsItsNullElementsWithEmptyOutings) {
  AddIn(kAddInA, kMadeByA, S_FALSE)->fill = 1;
  OutingList outings;
  ASSERT_EQ(CreateEx({u"/laps/one.lap", u"/laps/two.lap"}, &outings, /*overrideProperties=*/true), S_FALSE);
  ASSERT_EQ(outings.size(), 2u);
  EXPECT_EQ(IdOf(outings[0]), kMadeByA.ToWide()) << "what the add-in made stays";
  EXPECT_EQ(IdOf(outings[1]), kLapTimerType.ToWide());
  EXPECT_EQ(Got(QueryAs<IKivOuting4>(outings[1].Get()), &IKivOuting4::GetOverrideProperties), KIV_TRUE)
      << "the stand-in takes the caller's flag";
}

TEST_F(OutingFactoryAddInsTest, ATypeNobodyTakesGivesEmptyOutingsOfThatType) {
  AddIn(kAddInA, kMadeByA, E_NOTIMPL);
  OutingList outings;
  ASSERT_EQ(CreateEx({u"/laps/one.lap", u"/laps/two.lap"}, &outings), S_FALSE);
  ASSERT_EQ(outings.size(), 2u);
  for (const ComPtr<IKivOuting>& outing : outings) {
    EXPECT_EQ(Got(outing, &IKivOuting::GetOutingType), 0u);
    EXPECT_EQ(IdOf(outing), kLapTimerType.ToWide());
  }
}

TEST_F(OutingFactoryAddInsTest, ANullLastPathThatNobodyTakesIsOutOfMemory) {
  const Variant paths = Variant::Array({Variant::Text(u"/laps/one.lap"), Variant()});
  OutingList outings;
  EXPECT_EQ(factory_->CreateEx(KIV_FALSE, KIV_FALSE, kLapTimerType.ToWide(), &paths, &outings), E_OUTOFMEMORY);
  ASSERT_EQ(outings.size(), 2u);
  EXPECT_TRUE(outings[0]);
  EXPECT_FALSE(outings[1]);
}

TEST_F(OutingFactoryAddInsTest, AnUnknownTypeIsRealTimeWhenTheFirstAddInSupportingItSaysSo) {
  auto other = AddIn(kAddInA, kMadeByA);
  other->type = kMadeByA;  // supports another type only
  other->realTime = true;
  auto supporting = AddIn(kAddInB, kMadeByB);
  supporting->realTime = true;
  KivBool realTime = KIV_FALSE;
  ASSERT_EQ(factory_->IsRealTimeType(kLapTimerType.ToWide(), &realTime), S_OK);
  EXPECT_EQ(realTime, KIV_TRUE);
  EXPECT_THAT(other->log, ElementsAre("SupportsType"));
  EXPECT_THAT(supporting->log, ElementsAre("SupportsType", "IsRealTimeType"));

  KivBool supported = KIV_TRUE;
  ASSERT_EQ(factory_->SupportsType(kLapTimerType.ToWide(), &supported), S_OK);
  EXPECT_EQ(supported, KIV_FALSE) << "add-ins are not asked";
  EXPECT_THAT(supporting->log, ElementsAre("SupportsType", "IsRealTimeType"));
}

TEST_F(OutingFactoryAddInsTest, AnUnknownTypeNoAddInSupportsIsNotRealTime) {
  AddIn<IKivNewOutingFactory2>(kAddInA, kMadeByA);
  KivBool realTime = KIV_TRUE;
  ASSERT_EQ(factory_->IsRealTimeType(kLapTimerType.ToWide(), &realTime), S_OK);
  EXPECT_EQ(realTime, KIV_FALSE);
}

TEST_F(OutingFactoryAddInsTest, FastLapSettingsReachEveryAddInThatTakesThem) {
  auto modern = AddIn<IKivNewOutingFactory3>(kAddInA, kMadeByA);
  auto old = AddIn<IKivNewOutingFactory>(kAddInB, kMadeByB);
  ASSERT_EQ(factory_->SetFastLapFilterEnabled(KIV_TRUE), S_OK);
  ASSERT_EQ(factory_->SetFastLapMinimumTime(12), S_OK);
  EXPECT_THAT(modern->log, ElementsAre("SetFilter:-1", "SetMinimum:12"));
  EXPECT_THAT(old->log, IsEmpty());
}

}  // namespace
}  // namespace velmar::testing
