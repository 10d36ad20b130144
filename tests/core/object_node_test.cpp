// The node face: commands by group, disabled commands, children worth
// showing and views that follow the latest listing.
#include "core/object_node.h"

#include <gtest/gtest.h>

#include "velmar/object_node.h"

namespace velmar {
namespace {

class TestNode final : public KivObject<IKivObjectNodeImpl<TestNode>> {
 public:
  using IKivObjectNodeImpl<TestNode>::AddChild;
  using IKivObjectNodeImpl<TestNode>::AddCommand;
  using IKivObjectNodeImpl<TestNode>::AddCommandGroup;
  KivResult Handle(IKivObjectNodeCommand*, uint32_t a, int32_t b) {
    calls.push_back(a * 100 + b);
    return S_OK;
  }
  void OnChildrenChanged(IKivObjectNode*) override { ++childrenChanged; }
  std::vector<uint32_t> calls;
  int childrenChanged = 0;
};

ComPtr<CObjectNodeCommand> Command(uint32_t id, uint32_t group, uint32_t state = 0) {
  return MakeKiv<CObjectNodeCommand>(CObjectNodeCommand::Fields{id, group, state, nullptr, u"&Go", {}});
}

std::vector<uint32_t> Ids(IKivObjectNode* node) {
  ObjectNodeCommands commands;
  EXPECT_EQ(node->GetCommands(&commands), S_OK);
  std::vector<uint32_t> ids;
  for (const auto& c : commands) (void)c->GetId(&ids.emplace_back());
  return ids;
}

TEST(ObjectNode, CommandsComeByGroupAndDisabledOnesDoNotRun) {
  auto node = MakeKiv<TestNode>();
  node->AddCommandGroup(5);
  node->AddCommandGroup(2);
  node->AddCommand(Command(10, 5), &TestNode::Handle);
  node->AddCommand(Command(20, 2), &TestNode::Handle);
  node->AddCommand(Command(21, 2, kKivCommandDisabled), &TestNode::Handle);
  node->AddCommand(Command(30, 9), &TestNode::Handle);  // group never added: invocable, not listed
  EXPECT_EQ(Ids(node.Get()), (std::vector<uint32_t>{20, 21, 10}));
  EXPECT_EQ(node->InvokeCommand(21, 1, 2), KIV_E_COMMAND_DISABLED);
  EXPECT_EQ(node->InvokeCommand(99, 1, 2), KIV_E_NO_SUCH_COMMAND);
  EXPECT_EQ(node->InvokeCommand(30, 1, 2), S_OK);
  EXPECT_EQ(node->calls, std::vector<uint32_t>{102});
  ComPtr<IKivPicture> picture;
  EXPECT_EQ(node->GetPicture(picture.Put()), S_FALSE);
  EXPECT_FALSE(picture);
}

TEST(ObjectNode, EmptyChildrenAreHiddenAndViewsFollowTheLatestListing) {
  auto parent = MakeKiv<TestNode>();
  auto leaf = MakeKiv<TestNode>();
  auto withCommand = MakeKiv<TestNode>();
  withCommand->AddCommandGroup(0);
  withCommand->AddCommand(Command(1, 0), &TestNode::Handle);
  EXPECT_TRUE(parent->AddChild(leaf.Get()));
  EXPECT_FALSE(parent->AddChild(leaf.Get()));
  EXPECT_EQ(parent->childrenChanged, 1);
  ComPtr<IKivObjectNodes> early, late;
  int32_t count = -1;
  ASSERT_EQ(parent->GetChildren(early.Put()), S_OK);
  ASSERT_EQ(early->GetCount(&count), S_OK);
  EXPECT_EQ(count, 0);
  EXPECT_TRUE(parent->AddChild(withCommand.Get()));
  ASSERT_EQ(parent->GetChildren(late.Put()), S_OK);
  ASSERT_EQ(early->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1);
  ComPtr<IKivObjectNode> item;
  EXPECT_EQ(early->GetItem(1, item.Put()), S_OK);
  EXPECT_EQ(item.Get(), static_cast<IKivObjectNode*>(withCommand.Get()));
  EXPECT_EQ(early->GetItem(2, item.Put()), DISP_E_BADINDEX);
  EXPECT_FALSE(item);
}

TEST(ObjectNode, DataNamesCountFromOne) {
  auto names = MakeKiv<CDataNames>(std::vector<std::u16string>{u"Speed", u"Gear"});
  std::u16string name;
  EXPECT_EQ(names->GetItem(2, &name), S_OK);
  EXPECT_EQ(name, u"Gear");
  EXPECT_EQ(names->GetItem(0, &name), DISP_E_BADINDEX);
  EXPECT_EQ(names->GetItem(1, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar
