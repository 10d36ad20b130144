// The node face of an object in the host's tree (velmar/object_node.h):
// commands with handlers in the node's owner, children of which only those
// worth showing are listed, and the small counted objects it hands out.
//
// A class gets the face from IKivObjectNodeImpl<T>, listed among its
// interfaces; T registers its commands and children in its constructor:
//
//   class CVelmar : public KivObject<..., IKivObjectNodeImpl<CVelmar>> {
//     CVelmar() {
//       SetNodeName(u"Velmar");
//       AddCommandGroup(0);
//       AddCommand(MakeKiv<CObjectNodeCommand>(fields), &CVelmar::OnAddInManager);
//     }
//   };
//
// Client thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "velmar/object_node.h"
#include "velmar/result.h"

namespace velmar {

using ObjectNodeList = std::vector<ComPtr<IKivObjectNode>>;

// A picture of 32-bit pixels.
class CPicture final : public KivObject<IKivPicture> {
 public:
  CPicture(uint32_t width, uint32_t height, std::vector<uint32_t> argb);
  KivResult GetSize(uint32_t* width, uint32_t* height) override;
  KivResult GetPixels(std::vector<uint32_t>* argb) override;

 private:
  uint32_t width_;
  uint32_t height_;
  std::vector<uint32_t> argb_;
};

// The library's icon of the add-in manager: 16 by 16, drawn here.
ComPtr<IKivPicture> AddInManagerIcon();

class CObjectNodeCommand final : public KivObject<IKivObjectNodeCommand> {
 public:
  struct Fields {
    uint32_t id = 0;
    uint32_t group = 0;
    uint32_t state = 0;  // kKivCommandDisabled, kKivCommandChecked
    ComPtr<IKivPicture> icon;
    std::u16string label;
    std::u16string description;
  };
  explicit CObjectNodeCommand(Fields fields) : fields_(std::move(fields)) {}

  KivResult GetGroup(uint32_t* group) override;
  KivResult GetDescription(std::u16string* description) override;
  KivResult GetPicture(IKivPicture** picture) override;
  KivResult GetId(uint32_t* id) override;
  KivResult GetLabel(std::u16string* label) override;
  KivResult GetState(uint32_t* state) override;

  void SetState(uint32_t state) { fields_.state = state; }

 private:
  Fields fields_;
};

// A read-only view of a node's visible children. It holds the node, and
// sees what the node's latest GetChildren listed.
class CObjectNodes final : public KivObject<IKivObjectNodes> {
 public:
  CObjectNodes(ComPtr<IKivUnknown> node, std::shared_ptr<const ObjectNodeList> children)
      : node_(std::move(node)), children_(std::move(children)) {}
  KivResult GetCount(int32_t* count) override;
  KivResult GetItem(int32_t index, IKivObjectNode** node) override;

 private:
  ComPtr<IKivUnknown> node_;
  std::shared_ptr<const ObjectNodeList> children_;
};

// Names copied in when made.
class CDataNames final : public KivObject<IKivDataNames> {
 public:
  explicit CDataNames(std::vector<std::u16string> names) : names_(std::move(names)) {}
  KivResult GetCount(int32_t* count) override;
  KivResult GetItem(int32_t index, std::u16string* name) override;

 private:
  std::vector<std::u16string> names_;
};

// What every node keeps: the state and the algorithms behind the face.
class ObjectNodeCore {
 public:
  using Handler = std::function<KivResult(IKivObjectNodeCommand*, uint32_t, int32_t)>;

  void SetName(std::u16string name) { name_ = std::move(name); }
  void SetDescription(std::u16string description) { description_ = std::move(description); }
  bool HasName() const { return !name_.empty(); }
  void AddCommandGroup(uint32_t group) { groups_.try_emplace(group); }
  void AddCommand(ComPtr<IKivObjectNodeCommand> command, Handler handler);
  // False when the node is a child already.
  bool AddChild(ComPtr<IKivObjectNode> child);
  // False when it is not a child.
  bool RemoveChild(IKivObjectNode* child);
  // Gives up every child; false when there were none.
  bool ClearChildren();
  // Drops every command and group.
  void ClearCommands() {
    commands_.clear();
    groups_.clear();
  }
  bool HasCommandGroup(uint32_t group) const { return groups_.count(group) != 0; }

  KivResult GetDescription(std::u16string* description) const;
  KivResult GetName(std::u16string* name) const;
  KivResult GetChildren(IKivUnknown* self, IKivObjectNodes** children);
  KivResult GetCommands(ObjectNodeCommands* commands) const;
  KivResult InvokeCommand(uint32_t id, uint32_t a, int32_t b) const;

 private:
  struct Entry {
    Handler handler;
    ComPtr<IKivObjectNodeCommand> command;
  };
  std::u16string name_;
  std::u16string description_;
  ObjectNodeList all_;
  // Shared with the views handed out; rebuilt in place by GetChildren.
  std::shared_ptr<ObjectNodeList> visible_ = std::make_shared<ObjectNodeList>();
  std::map<uint32_t, Entry> commands_;
  std::map<uint32_t, std::vector<uint32_t>> groups_;
};

template <class T>
class IKivObjectNodeImpl : public IKivObjectNode {
 public:
  using Handler = KivResult (T::*)(IKivObjectNodeCommand* command, uint32_t a, int32_t b);

  KivResult GetDescription(std::u16string* description) override { return node_.GetDescription(description); }
  KivResult GetPicture(IKivPicture** picture) override {
    if (!picture) return E_POINTER;
    *picture = nullptr;
    return S_FALSE;
  }
  KivResult GetName(std::u16string* name) override { return node_.GetName(name); }
  KivResult GetChildren(IKivObjectNodes** children) override { return node_.GetChildren(this, children); }
  KivResult GetCommands(ObjectNodeCommands* commands) override { return node_.GetCommands(commands); }
  KivResult InvokeCommand(uint32_t id, uint32_t a, int32_t b) override { return node_.InvokeCommand(id, a, b); }

 protected:
  virtual ~IKivObjectNodeImpl() = default;
  // Tells the sinks; T raises ChildrenChanged from its own point.
  virtual void OnChildrenChanged(IKivObjectNode* argument) { (void)argument; }

  void SetNodeName(std::u16string name) { node_.SetName(std::move(name)); }
  void SetNodeDescription(std::u16string description) { node_.SetDescription(std::move(description)); }
  bool HasNodeName() const { return node_.HasName(); }
  void AddCommandGroup(uint32_t group) { node_.AddCommandGroup(group); }
  bool HasCommandGroup(uint32_t group) const { return node_.HasCommandGroup(group); }
  void ClearCommands() { node_.ClearCommands(); }
  void AddCommand(ComPtr<IKivObjectNodeCommand> command, Handler handler) {
    node_.AddCommand(std::move(command), [this, handler](IKivObjectNodeCommand* c, uint32_t a, int32_t b) {
      return (static_cast<T*>(this)->*handler)(c, a, b);
    });
  }
  bool AddChild(IKivObjectNode* child) {
    if (!node_.AddChild(ComPtr<IKivObjectNode>(child))) return false;
    OnChildrenChanged(child);
    return true;
  }
  bool RemoveChild(IKivObjectNode* child) {
    if (!node_.RemoveChild(child)) return false;
    OnChildrenChanged(child);
    return true;
  }
  // Empties the children and tells the sinks when there were any.
  void ClearChildren() {
    if (node_.ClearChildren()) OnChildrenChanged(nullptr);
  }

 private:
  ObjectNodeCore node_;
};

}  // namespace velmar
