// The tree of the library's objects as a host shows it: each node has a
// name, a description, children and commands, and the root object is the
// top node ("Velmar"). A command is a menu entry; invoking it runs its
// node's handler. Lists of names (IKivDataNames) are the data factories'
// and tasks' answer to "which names".
//
//   auto node = QueryAs<IKivObjectNode>(root.Get());
//   ObjectNodeCommands commands;
//   node->GetCommands(&commands);          // "&Add-in Manager...", id 1
//   node->InvokeCommand(1, 0, 0);
//
// Indexes count from 1. Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/notification_family.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivObjectNode;
struct IKivObjectNodeCommand;

// A small image a host can draw: 32-bit pixels, 0xAARRGGBB, row by row.
struct IKivPicture : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C0A80F47-C55A-48E5-89EA-DDCAFE1EDCC2}");
  virtual KivResult GetSize(uint32_t* width, uint32_t* height) = 0;
  virtual KivResult GetPixels(std::vector<uint32_t>* argb) = 0;
};

// The root's one command, "&Add-in Manager...".
inline constexpr uint32_t kKivAddInManagerCommand = 1;

// Command state bits.
inline constexpr uint32_t kKivCommandDisabled = 1;
inline constexpr uint32_t kKivCommandChecked = 2;

struct IKivObjectNodeCommand : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{9827A415-07AD-4F4E-8F91-93D2008267DF}");
  virtual KivResult GetGroup(uint32_t* group) = 0;
  // An empty text when it has none.
  virtual KivResult GetDescription(std::u16string* description) = 0;
  // The command's icon as a picture; null and S_FALSE without one.
  virtual KivResult GetPicture(IKivPicture** picture) = 0;
  virtual KivResult GetId(uint32_t* id) = 0;
  // Menu text, "&" before the access key.
  virtual KivResult GetLabel(std::u16string* label) = 0;
  virtual KivResult GetState(uint32_t* state) = 0;
};

using ObjectNodeCommands = std::vector<ComPtr<IKivObjectNodeCommand>>;

struct IKivObjectNodes : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{CFD1E82A-ED98-4CB9-9FDA-0AB78F52E169}");
  virtual KivResult GetCount(int32_t* count) = 0;
  // A bad index gives a null node and DISP_E_BADINDEX.
  virtual KivResult GetItem(int32_t index, IKivObjectNode** node) = 0;
};

struct IKivObjectNode : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F5BCF2B2-3EAF-4EFD-8A01-842734AEB56C}");
  // An empty text and S_FALSE when the node has none.
  virtual KivResult GetDescription(std::u16string* description) = 0;
  // Always null and S_FALSE.
  virtual KivResult GetPicture(IKivPicture** picture) = 0;
  virtual KivResult GetName(std::u16string* name) = 0;
  // The children worth showing: those with children or commands of their
  // own. Every view handed out follows the latest call.
  virtual KivResult GetChildren(IKivObjectNodes** children) = 0;
  // Sorted by group, in order of registration within a group.
  virtual KivResult GetCommands(ObjectNodeCommands* commands) = 0;
  // KIV_E_NO_SUCH_COMMAND, KIV_E_COMMAND_DISABLED, or the handler's result.
  virtual KivResult InvokeCommand(uint32_t id, uint32_t a, int32_t b) = 0;
};

struct IKivDataNames : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{05BB096D-7689-489D-AB37-F573E064C645}");
  virtual KivResult GetCount(int32_t* count) = 0;
  // A bad index gives an empty text and DISP_E_BADINDEX.
  virtual KivResult GetItem(int32_t index, std::u16string* name) = 0;
};

#define KIV_OBJECT_NODE_NOTIFICATIONS_1(X)                                     \
  X(CommandsChanged, (IKivObjectNode * node), (node))                          \
  X(ChildrenChanged, (IKivObjectNode * node), (node))
KIV_NOTIFICATION_FAMILY(ObjectNodeNotifications, "{00EC56F8-A1AC-4978-86F3-32B71B921AF4}",
                        KIV_OBJECT_NODE_NOTIFICATIONS_1)

}  // namespace velmar
