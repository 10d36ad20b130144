#include "core/data_factory_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/data_factory_branding.h"
#include "core/velmar_test_fixture.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The data factory list as the root runs it.
class DataFactoryListTest : public VelmarTestBase {
 protected:
  void TearDown() override {
    InstallDataFactoryBranding(nullptr);
    VelmarTestBase::TearDown();
  }
  std::optional<std::u16string> NameOf(const Guid& clsid, CVelmar* root = nullptr) {
    return (root ? root : root_.Get())->DataFactories().StorageNameOf(DataFactoryRecord::Native(clsid));
  }
  DataFactoryRecords Active(CVelmar* root = nullptr) {
    return (root ? root : root_.Get())->DataFactories().ActiveRecords();
  }
  TestDataFactory* FactoryAt(size_t i) {
    // The root holds the factory: the pointer outlives the query's reference.
    auto channel = QueryAs<IKivChannelFactory>(root_->DataFactories().Active().at(i).factory.Get());
    return static_cast<TestDataFactory*>(channel.Get());
  }
};

TEST_F(DataFactoryListTest, AddingCreatesTheFactoryGivesItTheRootAndNamesItsStorageOnce) {
  root_->ClearDirty();
  PartLog().clear();
  EXPECT_EQ(Root()->AddDataFactory(kFactoryA), S_OK);
  EXPECT_THAT(Active(), ElementsAre(DataFactoryRecord::Native(kFactoryA)));
  EXPECT_THAT(PartLog(), ElementsAre("factoryA.made", "factoryA.IKivDataFactory::SetRoot(set)",
                                     "factoryA.IKivDataFactoryRootSite::SetRoot(set)"));
  EXPECT_EQ(NameOf(kFactoryA), u"DataFactory_1");
  EXPECT_EQ(root_->DataFactories().NextFactoryId(), 1u);
  EXPECT_TRUE(root_->HasUnsavedChanges());
  ASSERT_EQ(TestTasks::last->factories.size(), 1u) << "the tasks take the new list";
  EXPECT_EQ(TestTasks::last->factories[0].record, DataFactoryRecord::Native(kFactoryA));
  EXPECT_FALSE(MarksDirty([&] { EXPECT_EQ(Root()->AddDataFactory(kFactoryA), S_FALSE); }));
  EXPECT_EQ(Active().size(), 1u);
}

TEST_F(DataFactoryListTest, OnlyDataFactoriesThatAreNotMandatoryOrExcludedMayBeAdded) {
  EXPECT_EQ(Root()->AddDataFactory(kOutsideFactory), E_INVALIDARG) << "not in the category";
  EXPECT_EQ(Root()->AddDataFactory(Guid::Literal("{91311EF1-0EF9-4163-B587-7F4D9FA9104D}")), E_INVALIDARG)
      << "an unknown class";
  EXPECT_EQ(Root()->AddDataFactory(kMandatoryFactory), E_INVALIDARG);
  InstallDataFactoryBranding(
      std::make_shared<DataFactoryBranding>(std::set<Guid>{kFactoryB}, std::set<std::u16string>{}, std::set<uint32_t>{}));
  EXPECT_EQ(Root()->AddDataFactory(kFactoryB), E_INVALIDARG) << "the branding module excludes it";
  EXPECT_THAT(Active(), IsEmpty());
  EXPECT_FALSE(NameOf(kFactoryB));
  // Entries of a wanted list that the module excludes are skipped.
  ASSERT_EQ(Root()->AddDataFactory(kFactoryA), S_OK);
  InstallDataFactoryBranding(
      std::make_shared<DataFactoryBranding>(std::set<Guid>{kFactoryA}, std::set<std::u16string>{}, std::set<uint32_t>{}));
  ASSERT_EQ(Root()->AddDataFactory(kFactoryB), S_OK);
  EXPECT_THAT(Active(), ElementsAre(DataFactoryRecord::Native(kFactoryB)));
}

TEST_F(DataFactoryListTest, AClassThatCannotBeCreatedGetsAStorageNameButNoEntry) {
  EXPECT_EQ(Root()->AddDataFactory(kBrokenFactory), S_OK);
  EXPECT_THAT(Active(), IsEmpty());
  EXPECT_EQ(NameOf(kBrokenFactory), u"DataFactory_1");
  EXPECT_EQ(Root()->RemoveDataFactory(kBrokenFactory), S_FALSE) << "it never became active";
}

TEST_F(DataFactoryListTest, RemovingLetsTheFactoryGoAndAddingAgainGivesItsOldStorageName) {
  ASSERT_EQ(Root()->AddDataFactory(kFactoryA), S_OK);
  ASSERT_EQ(Root()->AddDataFactory(kFactoryB), S_OK);
  EXPECT_EQ(Root()->RemoveDataFactory(kMandatoryFactory), E_INVALIDARG);
  EXPECT_EQ(Root()->RemoveDataFactory(kOutsideFactory), S_FALSE);
  PartLog().clear();
  EXPECT_EQ(Root()->RemoveDataFactory(kFactoryA), S_OK);
  EXPECT_THAT(PartLog(), ElementsAre("factoryA.~ sinks=0")) << "disconnected, then released";
  EXPECT_THAT(Active(), ElementsAre(DataFactoryRecord::Native(kFactoryB)));
  EXPECT_EQ(TestTasks::last->factories.size(), 1u);
  // Added again, it gets its old storage name.
  ASSERT_EQ(Root()->AddDataFactory(kFactoryA), S_OK);
  EXPECT_EQ(NameOf(kFactoryA), u"DataFactory_1");
  EXPECT_EQ(NameOf(kFactoryB), u"DataFactory_2");
  EXPECT_EQ(root_->DataFactories().NextFactoryId(), 2u) << "no new number for a factory the file has seen";
  EXPECT_THAT(Active(), ElementsAre(DataFactoryRecord::Native(kFactoryB), DataFactoryRecord::Native(kFactoryA)));
}

TEST_F(DataFactoryListTest, ProgramIdsNameTheClass) {
  EXPECT_EQ(Root()->AddDataFactoryByProgId(u"VelmarTest.NoSuchFactory.1"), E_INVALIDARG);
  EXPECT_EQ(Root()->AddDataFactoryByProgId(kFactoryAProgId), S_OK);
  EXPECT_EQ(Root()->AddDataFactoryByProgId(u"velmartest.factorya"), S_FALSE) << "version-independent, any case";
  EXPECT_EQ(Root()->RemoveDataFactoryByProgId(u"VelmarTest.NoSuchFactory.1"), E_INVALIDARG);
  EXPECT_EQ(Root()->RemoveDataFactoryByProgId(kFactoryAProgId), S_OK);
  EXPECT_THAT(Active(), IsEmpty());
}

TEST_F(DataFactoryListTest, ANewListReachesEveryRoot) {
  ComPtr<CVelmar> second;
  ASSERT_EQ(CVelmar::Create(&second), S_OK);
  ASSERT_EQ(Root()->AddDataFactory(kFactoryA), S_OK);
  EXPECT_THAT(Active(second.Get()), ElementsAre(DataFactoryRecord::Native(kFactoryA)));
  EXPECT_EQ(NameOf(kFactoryA, second.Get()), u"DataFactory_1");
  EXPECT_NE(root_->DataFactories().Active()[0].factory, second->DataFactories().Active()[0].factory)
      << "each root runs its own instance";
  ASSERT_EQ(second->RemoveDataFactory(kFactoryA), S_OK);
  EXPECT_THAT(Active(), IsEmpty());
  EXPECT_EQ(second->Close(), S_OK);
  EXPECT_EQ(Root()->AddDataFactory(kFactoryB), S_OK);
  EXPECT_THAT(Active(second.Get()), IsEmpty()) << "a closed root has left the fan-out";
}

// A factory's report marks dirty, a reload asks the constants and each
// factory that can reload, and Close lets go of every active factory.
TEST_F(DataFactoryListTest, ActiveFactoriesReportReloadAndGoWithClose) {
  ASSERT_EQ(Root()->AddDataFactory(kFactoryA), S_OK);
  ASSERT_EQ(Root()->AddDataFactory(kFactoryB), S_OK);
  EXPECT_TRUE(MarksDirty([&] { FactoryAt(0)->ReportNames(); }));
  PartLog().clear();
  EXPECT_EQ(Root()->ReloadExternalData(), S_OK);
  EXPECT_THAT(PartLog(), ElementsAre("constants.ReloadSpreadsheetConstants", "factoryA.Reload", "factoryB.Reload"));
  ASSERT_EQ(Root()->Close(), S_OK);
  EXPECT_THAT(PartLogWith("factoryA.~"), ElementsAre("factoryA.~ sinks=0"));
  EXPECT_THAT(Active(), IsEmpty());
}

TEST(DataFactoryRecord, MatchesByIdentityWithinAKind) {
  EXPECT_TRUE(DataFactoryRecord::Native(kFactoryA).SameFactory(DataFactoryRecord::Native(kFactoryA)));
  EXPECT_FALSE(DataFactoryRecord::Native(kFactoryA).SameFactory(DataFactoryRecord::Native(kFactoryB)));
  EXPECT_TRUE(DataFactoryRecord::Managed(u"A.Tool").SameFactory(DataFactoryRecord::Managed(u"A.Tool")));
  EXPECT_FALSE(DataFactoryRecord::Managed(u"A.Tool").SameFactory(DataFactoryRecord::Managed(u"a.tool")));
  EXPECT_FALSE(DataFactoryRecord::Managed(u"").SameFactory(DataFactoryRecord::Native(GUID_NULL)));
}

}  // namespace
}  // namespace velmar::testing
