// The add-in manager: names without "Kivara ", rows with the running add-ins
// on top, moves, and OK and Cancel through the root's command and icon.
#include "core/addin_manager.h"

#include <gtest/gtest.h>

#include "core/velmar_test_fixture.h"
#include "velmar/object_node.h"

namespace velmar {
namespace {

constexpr Guid kZeta = Guid::Literal("{6A8C1E0B-0D3C-4D8F-9C55-1B2E7E0A0001}");
constexpr Guid kAlpha = Guid::Literal("{6A8C1E0B-0D3C-4D8F-9C55-1B2E7E0A0002}");
constexpr Guid kBeta = Guid::Literal("{6A8C1E0B-0D3C-4D8F-9C55-1B2E7E0A0003}");

std::vector<std::u16string> Names(const std::vector<KivAddInRow>& rows) {
  std::vector<std::u16string> names;
  for (const auto& row : rows) names.push_back((row.checked ? u"+" : u"") + row.display_name);
  return names;
}

std::vector<KivAddInRow> Available() {
  ClassRegistry registry;
  const Guid category[] = {CATID_KivDataFactory};
  for (auto [clsid, name] : {std::pair{kZeta, u"kivara Zeta"}, {kAlpha, u"Alpha"}, {kBeta, u"KIVARA Beta"}}) {
    EXPECT_EQ(registry.Register(KivClassEntry{clsid, nullptr, name, nullptr, category, 1}), S_OK);
  }
  return ReadAvailableDataFactories(registry);
}

TEST(AddInManager, RunningAddInsLeadInTheirOrderAndTheRestFollowByName) {
  const auto all = [](const DataFactoryRecord&) { return true; };
  EXPECT_EQ(Names(MakeAddInRows(Available(), {}, all)), (std::vector<std::u16string>{u"Alpha", u"Beta", u"Zeta"}));
  const DataFactoryRecords working{DataFactoryRecord::Native(kZeta), DataFactoryRecord::Native(kBeta)};
  KivAddInManager model(MakeAddInRows(Available(), working, all));
  EXPECT_EQ(Names(model.Rows()), (std::vector<std::u16string>{u"+Zeta", u"+Beta", u"Alpha"}));
  EXPECT_EQ(model.Selected(), 0);
  EXPECT_FALSE(model.CanMoveUp());
  EXPECT_TRUE(model.Toggle(2));  // Alpha on, and selected
  EXPECT_TRUE(model.MoveUp());
  EXPECT_FALSE(model.Toggle(3));
  EXPECT_EQ(Names(model.Rows()), (std::vector<std::u16string>{u"+Zeta", u"+Alpha", u"+Beta"}));
  EXPECT_EQ(CheckedRecords(model).size(), 3u);
  const auto notBeta = [](const DataFactoryRecord& r) { return r.clsid != kBeta; };
  EXPECT_EQ(Names(MakeAddInRows(Available(), working, notBeta)), (std::vector<std::u16string>{u"+Zeta", u"Alpha"}));
}

class AddInManagerRoot : public testing::VelmarTestBase {
 protected:
  void TearDown() override {
    KivSetAddInManagerDialog(nullptr);
    VelmarTestBase::TearDown();
  }
  DataFactoryRecords Active() const { return root_->DataFactories().ActiveRecords(); }
  KivResult Invoke() { return QueryAs<IKivObjectNode>(Root())->InvokeCommand(kKivAddInManagerCommand, 1, 0); }
};

TEST_F(AddInManagerRoot, OkAppliesTheCheckedRowsBehindTheMandatoryOnesAndCancelChangesNothing) {
  bool mandatoryShown = true;
  DataFactoryRecords checked;
  KivSetAddInManagerDialog([&](KivAddInManager& model, int32_t) {
    mandatoryShown = model.Find(testing::kMandatoryFactory.ToWide()) >= 0;
    EXPECT_TRUE(model.Toggle(model.Find(testing::kFactoryB.ToWide())));
    EXPECT_TRUE(model.Toggle(model.Find(testing::kFactoryA.ToWide())));
    EXPECT_TRUE(model.MoveUp() || model.Selected() == 0);
    checked = CheckedRecords(model);
    return true;
  });
  ASSERT_EQ(Invoke(), S_OK);
  EXPECT_FALSE(mandatoryShown);
  ASSERT_EQ(checked.size(), 2u);
  // The mandatory factories first, then the checked rows in row order.
  const DataFactoryRecords after = Active();
  ASSERT_GT(after.size(), 2u);
  EXPECT_TRUE(std::equal(checked.begin(), checked.end(), after.end() - 2));
  EXPECT_TRUE(std::all_of(after.begin(), after.end() - 2, IsMandatoryDataFactory));

  KivSetAddInManagerDialog([](KivAddInManager& model, int32_t) {
    (void)model.Toggle(0);
    return false;
  });
  ASSERT_EQ(Invoke(), S_OK);
  EXPECT_EQ(Active(), after);
}

TEST_F(AddInManagerRoot, TheRootOffersTheCommandWithItsIcon) {
  auto node = QueryAs<IKivObjectNode>(Root());
  ASSERT_TRUE(node);
  ObjectNodeCommands commands;
  ASSERT_EQ(node->GetCommands(&commands), S_OK);
  ASSERT_EQ(commands.size(), 1u);
  uint32_t id = 0, width = 0, height = 0;
  ComPtr<IKivPicture> icon;
  EXPECT_EQ(commands[0]->GetId(&id), S_OK);
  EXPECT_EQ(id, kKivAddInManagerCommand);
  ASSERT_EQ(commands[0]->GetPicture(icon.Put()), S_OK);
  ASSERT_EQ(icon->GetSize(&width, &height), S_OK);
  EXPECT_EQ(width * height, 256u);
  EXPECT_EQ(node->InvokeCommand(kKivAddInManagerCommand, 2, 0), KIV_E_BAD_COMMAND_ARG);
  EXPECT_EQ(node->InvokeCommand(kKivAddInManagerCommand, 0, 0), S_OK);  // no dialog: nothing happens
}

}  // namespace
}  // namespace velmar
