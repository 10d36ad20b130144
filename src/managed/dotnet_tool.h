// The native object of one plug-in tool: a node of the host's tree whose
// commands and sub-menus the plug-in supplies, rebuilt whenever the plug-in
// says they changed (their ids hold until then).
//
// Client thread only.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "core/object_node.h"
#include "managed/tool_wrapper.h"

namespace velmar::managed {

// Where a tool's saved state goes when it changes: the root rewrites the
// tool's stream and marks itself dirty.
class CDotNetToolParentDirtyCallback {
 public:
  virtual void OnToolDirty(const std::u16string& typeName) = 0;

 protected:
  ~CDotNetToolParentDirtyCallback() = default;
};

class CDotNetTool;

// What the tool and its sub-menus share, in slot order.
class CDotNetToolCommonNode {
 public:
  virtual bool AddChildNode(IKivObjectNode* node) = 0;
  virtual bool HasGroup(uint32_t group) const = 0;
  virtual void AddGroup(uint32_t group) = 0;
  virtual void AddNodeCommand(ComPtr<IKivObjectNodeCommand> command) = 0;

 protected:
  ~CDotNetToolCommonNode() = default;
};

// A sub-menu: a node with commands and no tool.
class CDotNetToolSimpleObjectNode final : public KivObject<IKivObjectNodeImpl<CDotNetToolSimpleObjectNode>>,
                                          public CDotNetToolCommonNode {
 public:
  CDotNetToolSimpleObjectNode(CDotNetTool* owner, std::u16string name);
  bool AddChildNode(IKivObjectNode* node) override { return AddChild(node); }
  bool HasGroup(uint32_t group) const override { return HasCommandGroup(group); }
  void AddGroup(uint32_t group) override { AddCommandGroup(group); }
  void AddNodeCommand(ComPtr<IKivObjectNodeCommand> command) override;
  void Detach() { owner_ = nullptr; }

 private:
  KivResult OnCommand(IKivObjectNodeCommand* command, uint32_t a, int32_t b);
  CDotNetTool* owner_;  // the tool holds this node, and detaches it when it goes
};

class CDotNetTool final
    : public KivObject<IKivObjectNodeImpl<CDotNetTool>, IKivNotificationsImpl<CDotNetTool, IKivObjectNodeNotifications>>,
      public CDotNetToolWrapperCallback,
      public CDotNetToolCommonNode {
 public:
  CDotNetTool(DotNetToolTypeLibrary& library, CDotNetToolParentDirtyCallback* parent);
  ~CDotNetTool() override;

  // Makes the plug-in's tool (from a saved state when given); the node takes
  // the tool's display name unless one is set.
  bool Create(const std::u16string& typeName, const std::vector<uint8_t>* state, IKivUnknown* root);
  CDotNetToolWrapper& wrapper() { return *wrapper_; }
  // The parent goes: changes are no longer reported.
  void DetachParent() { parent_ = nullptr; }

  // The handler of every command of the tool and of its sub-menus.
  KivResult OnCommand(IKivObjectNodeCommand* command, uint32_t a, int32_t b);

  // CDotNetToolWrapperCallback
  void ClearNodes() override;
  void OnToolChanged() override;
  void BeginCommands() override;
  void BeginSubCommands(const std::u16string& name) override;
  void AddCommand(const std::u16string& name, const std::u16string* description, uint32_t group,
                  IKivPicture* icon, uint32_t id, uint32_t state) override;
  void EndSubCommands() override;
  void EndCommands() override;

  // CDotNetToolCommonNode
  bool AddChildNode(IKivObjectNode* node) override { return AddChild(node); }
  bool HasGroup(uint32_t group) const override { return HasCommandGroup(group); }
  void AddGroup(uint32_t group) override { AddCommandGroup(group); }
  void AddNodeCommand(ComPtr<IKivObjectNodeCommand> command) override;

 protected:
  void OnChildrenChanged(IKivObjectNode* argument) override;

 private:
  std::unique_ptr<CDotNetToolWrapper> wrapper_;
  std::vector<ComPtr<CDotNetToolSimpleObjectNode>> subNodes_;
  std::vector<CDotNetToolCommonNode*> current_;
  CDotNetToolParentDirtyCallback* parent_;
  bool nameSet_ = false;
};

}  // namespace velmar::managed
