#include "core/object_node.h"

#include <algorithm>

namespace velmar {
namespace {

KivResult CopyText(const std::u16string& text, std::u16string* out) {
  if (!out) return E_POINTER;
  *out = text;
  return S_OK;
}

KivResult CopyNumber(uint32_t value, uint32_t* out) {
  if (!out) return E_POINTER;
  *out = value;
  return S_OK;
}

// A node is worth showing when it has children to show or commands.
bool IsWorthShowing(IKivObjectNode* child) {
  ComPtr<IKivObjectNodes> grandchildren;
  int32_t count = 0;
  if (Failed(child->GetChildren(grandchildren.Put())) || !grandchildren) return false;
  if (Succeeded(grandchildren->GetCount(&count)) && count > 0) return true;
  ObjectNodeCommands commands;
  return Succeeded(child->GetCommands(&commands)) && !commands.empty();
}

}  // namespace

CPicture::CPicture(uint32_t width, uint32_t height, std::vector<uint32_t> argb)
    : width_(width), height_(height), argb_(std::move(argb)) {}

KivResult CPicture::GetSize(uint32_t* width, uint32_t* height) {
  if (!width || !height) return E_POINTER;
  *width = width_;
  *height = height_;
  return S_OK;
}

KivResult CPicture::GetPixels(std::vector<uint32_t>* argb) {
  if (!argb) return E_POINTER;
  *argb = argb_;
  return S_OK;
}

ComPtr<IKivPicture> AddInManagerIcon() {
  // A plug: a dark body with two prongs, on a clear ground.
  static constexpr const char* kRows[16] = {
      "................", "....##....##....", "....##....##....", "....##....##....",
      "..############..", "..#oooooooooo#..", "..#oooooooooo#..", "..#oooooooooo#..",
      "..#oooooooooo#..", "...#oooooooo#...", "....#oooooo#....", ".....######.....",
      ".......##.......", ".......##.......", ".......##.......", "................",
  };
  std::vector<uint32_t> pixels;
  pixels.reserve(256);
  for (const char* row : kRows) {
    for (int x = 0; x < 16; ++x) {
      const char c = row[x];
      pixels.push_back(c == '#' ? 0xFF202830u : c == 'o' ? 0xFF3C8CDCu : 0x00000000u);
    }
  }
  return MakeKiv<CPicture>(16, 16, std::move(pixels));
}

KivResult CObjectNodeCommand::GetGroup(uint32_t* group) { return CopyNumber(fields_.group, group); }
KivResult CObjectNodeCommand::GetDescription(std::u16string* description) {
  return CopyText(fields_.description, description);
}
KivResult CObjectNodeCommand::GetPicture(IKivPicture** picture) {
  if (!picture) return E_POINTER;
  *picture = nullptr;
  if (!fields_.icon) return S_FALSE;
  return fields_.icon.CopyTo(picture);
}
KivResult CObjectNodeCommand::GetId(uint32_t* id) { return CopyNumber(fields_.id, id); }
KivResult CObjectNodeCommand::GetLabel(std::u16string* label) { return CopyText(fields_.label, label); }
KivResult CObjectNodeCommand::GetState(uint32_t* state) { return CopyNumber(fields_.state, state); }

KivResult CObjectNodes::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(children_->size());
  return S_OK;
}

KivResult CObjectNodes::GetItem(int32_t index, IKivObjectNode** node) {
  if (!node) return E_POINTER;
  *node = nullptr;
  if (index < 1 || static_cast<size_t>(index) > children_->size()) return DISP_E_BADINDEX;
  return (*children_)[index - 1].CopyTo(node);
}

KivResult CDataNames::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(names_.size());
  return S_OK;
}

KivResult CDataNames::GetItem(int32_t index, std::u16string* name) {
  if (!name) return E_POINTER;
  name->clear();
  if (index < 1 || static_cast<size_t>(index) > names_.size()) return DISP_E_BADINDEX;
  *name = names_[index - 1];
  return S_OK;
}

void ObjectNodeCore::AddCommand(ComPtr<IKivObjectNodeCommand> command, Handler handler) {
  uint32_t id = 0, group = 0;
  if (!command || Failed(command->GetId(&id)) || Failed(command->GetGroup(&group))) return;
  if (auto it = groups_.find(group); it != groups_.end()) it->second.push_back(id);
  commands_[id] = Entry{std::move(handler), std::move(command)};
}

bool ObjectNodeCore::AddChild(ComPtr<IKivObjectNode> child) {
  if (!child || std::find(all_.begin(), all_.end(), child) != all_.end()) return false;
  all_.push_back(std::move(child));
  return true;
}

bool ObjectNodeCore::RemoveChild(IKivObjectNode* child) {
  auto it = std::find(all_.begin(), all_.end(), ComPtr<IKivObjectNode>(child));
  if (it == all_.end()) return false;
  all_.erase(it);
  return true;
}

bool ObjectNodeCore::ClearChildren() {
  const bool had = !all_.empty();
  all_.clear();
  visible_->clear();
  return had;
}

KivResult ObjectNodeCore::GetDescription(std::u16string* description) const {
  if (!description) return E_POINTER;
  *description = description_;
  return description_.empty() ? S_FALSE : S_OK;
}

KivResult ObjectNodeCore::GetName(std::u16string* name) const { return CopyText(name_, name); }

KivResult ObjectNodeCore::GetChildren(IKivUnknown* self, IKivObjectNodes** children) {
  if (!children) return E_POINTER;
  *children = nullptr;
  visible_->clear();
  for (const ComPtr<IKivObjectNode>& child : ObjectNodeList(all_)) {
    if (IsWorthShowing(child.Get())) visible_->push_back(child);
  }
  ComPtr<IKivObjectNodes> view = MakeKiv<CObjectNodes>(ComPtr<IKivUnknown>(self), visible_);
  *children = view.Detach();
  return S_OK;
}

KivResult ObjectNodeCore::GetCommands(ObjectNodeCommands* commands) const {
  if (!commands) return E_POINTER;
  commands->clear();
  commands->reserve(commands_.size());
  for (const auto& [group, ids] : groups_) {
    for (uint32_t id : ids) {
      if (auto it = commands_.find(id); it != commands_.end()) commands->push_back(it->second.command);
    }
  }
  return S_OK;
}

KivResult ObjectNodeCore::InvokeCommand(uint32_t id, uint32_t a, int32_t b) const {
  auto it = commands_.find(id);
  if (it == commands_.end()) return KIV_E_NO_SUCH_COMMAND;
  uint32_t state = 0;
  if (Failed(it->second.command->GetState(&state))) return E_FAIL;
  if (state & kKivCommandDisabled) return KIV_E_COMMAND_DISABLED;
  // A copy: the handler may rebuild the node's commands while it runs.
  const Entry entry = it->second;
  return entry.handler(entry.command.Get(), a, b);
}

}  // namespace velmar
