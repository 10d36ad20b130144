#include "managed/dotnet_tool.h"

namespace velmar::managed {

CDotNetToolSimpleObjectNode::CDotNetToolSimpleObjectNode(CDotNetTool* owner, std::u16string name) : owner_(owner) {
  SetNodeName(std::move(name));
}

void CDotNetToolSimpleObjectNode::AddNodeCommand(ComPtr<IKivObjectNodeCommand> command) {
  AddCommand(std::move(command), &CDotNetToolSimpleObjectNode::OnCommand);
}

KivResult CDotNetToolSimpleObjectNode::OnCommand(IKivObjectNodeCommand* command, uint32_t a, int32_t b) {
  return owner_ ? owner_->OnCommand(command, a, b) : E_FAIL;
}

CDotNetTool::CDotNetTool(DotNetToolTypeLibrary& library, CDotNetToolParentDirtyCallback* parent)
    : wrapper_(std::make_unique<CDotNetToolWrapper>(library, *this)), parent_(parent) {}

CDotNetTool::~CDotNetTool() {
  parent_ = nullptr;
  wrapper_.reset();
  for (auto& node : subNodes_) node->Detach();
}

bool CDotNetTool::Create(const std::u16string& typeName, const std::vector<uint8_t>* state, IKivUnknown* root) {
  if (!wrapper_->CreateTool(typeName, state, root)) return false;
  if (!nameSet_ && !HasNodeName()) SetNodeName(wrapper_->GetName());
  nameSet_ = true;
  wrapper_->RefreshCommands();
  return true;
}

KivResult CDotNetTool::OnCommand(IKivObjectNodeCommand* command, uint32_t a, int32_t b) {
  if (a > 1) return KIV_E_BAD_COMMAND_ARG;
  uint32_t id = 0;
  if (!command || Failed(command->GetId(&id))) return E_FAIL;
  // Hold this tool: the command may make the host let go of it.
  ComPtr<IKivObjectNode> self(this);
  return wrapper_->ExecuteCommand(id, b) ? S_OK : E_FAIL;
}

void CDotNetTool::OnChildrenChanged(IKivObjectNode*) {
  (void)FireNotification(&IKivObjectNodeNotifications::ChildrenChanged, static_cast<IKivObjectNode*>(this));
}

void CDotNetTool::ClearNodes() {
  for (auto& node : subNodes_) node->Detach();
  subNodes_.clear();
  ClearChildren();
  ClearCommands();
  current_.clear();
}

void CDotNetTool::OnToolChanged() {
  if (wrapper_->SupportsPersistence() && parent_) parent_->OnToolDirty(wrapper_->typeName());
  wrapper_->RefreshCommands();
}

void CDotNetTool::BeginCommands() { current_.push_back(this); }

void CDotNetTool::BeginSubCommands(const std::u16string& name) {
  auto node = MakeKiv<CDotNetToolSimpleObjectNode>(this, name);
  subNodes_.push_back(node);
  current_.back()->AddChildNode(node.Get());
  current_.push_back(node.Get());
}

void CDotNetTool::AddCommand(const std::u16string& name, const std::u16string* description, uint32_t group,
                             IKivPicture* icon, uint32_t id, uint32_t state) {
  CDotNetToolCommonNode* node = current_.back();
  if (!node->HasGroup(group)) node->AddGroup(group);
  CObjectNodeCommand::Fields fields;
  fields.id = id;
  fields.group = group;
  fields.state = state;
  fields.label = name;
  if (description) fields.description = *description;
  fields.icon = icon;
  node->AddNodeCommand(MakeKiv<CObjectNodeCommand>(std::move(fields)));
}

void CDotNetTool::AddNodeCommand(ComPtr<IKivObjectNodeCommand> command) {
  IKivObjectNodeImpl<CDotNetTool>::AddCommand(std::move(command), &CDotNetTool::OnCommand);
}

void CDotNetTool::EndSubCommands() { current_.pop_back(); }

void CDotNetTool::EndCommands() {
  current_.pop_back();
  (void)FireNotification(&IKivObjectNodeNotifications::CommandsChanged, static_cast<IKivObjectNode*>(this));
}

}  // namespace velmar::managed
