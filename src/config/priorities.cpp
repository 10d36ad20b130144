#include "config/priorities.h"

#include "velmar/text.h"

namespace velmar {

void CPriority::Write(IKivStream* stream) const {
  WriteValue<uint16_t>(stream, 0);
  WriteValue<int32_t>(stream, id_);
  WriteValue<uint32_t>(stream, fore_);
  WriteValue<uint32_t>(stream, back_);
  WriteText(stream, name_);
}

CPriorities::~CPriorities() { Clear(); }

KivResult CPriorities::Edited() { return parent_ ? parent_->OnPrioritiesEdited() : S_OK; }

KivResult CPriorities::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(priorities_.size());
  return S_OK;
}

KivResult CPriorities::SetDefault(uint32_t& field, uint32_t colour) {
  if (field == colour) return S_OK;
  field = colour;
  return Edited();
}

KivResult CPriorities::SetDefaultForeColor(uint32_t colour) { return SetDefault(defaultForeColor_, colour); }

KivResult CPriorities::GetDefaultForeColor(uint32_t* colour) {
  if (!colour) return E_POINTER;
  *colour = defaultForeColor_;
  return S_OK;
}

KivResult CPriorities::SetDefaultBackColor(uint32_t colour) { return SetDefault(defaultBackColor_, colour); }

KivResult CPriorities::GetDefaultBackColor(uint32_t* colour) {
  if (!colour) return E_POINTER;
  *colour = defaultBackColor_;
  return S_OK;
}

KivResult CPriorities::GetByIndex(int32_t index, IKivPriority** priority) {
  if (!priority) return E_POINTER;
  *priority = nullptr;
  if (index < 1 || static_cast<size_t>(index) > priorities_.size()) return DISP_E_BADINDEX;
  return GiveOut<IKivPriority>(priorities_[static_cast<size_t>(index - 1)].Get(), priority);
}

KivResult CPriorities::GetById(int32_t id, IKivPriority** priority) {
  if (!priority) return E_POINTER;
  *priority = nullptr;
  auto it = byId_.find(id);
  if (it == byId_.end()) return DISP_E_BADINDEX;
  return GiveOut<IKivPriority>(priorities_[it->second].Get(), priority);
}

KivResult CPriorities::GetMaximumCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = kMaximumCount;
  return S_OK;
}

void CPriorities::Append(ComPtr<CPriority> priority) {
  byId_[priority->Id()] = priorities_.size();
  priorities_.push_back(std::move(priority));
}

KivResult CPriorities::Add(int32_t id, IKivPriority** priority) {
  if (!priority) return E_POINTER;
  *priority = nullptr;
  if (priorities_.size() >= kMaximumCount) return KIV_E_PRIORITIES_FULL;
  if (id < 1 || byId_.contains(id)) return DISP_E_BADINDEX;
  const std::u16string name = u"priority " + Utf8ToWide(std::to_string(id));
  auto made = MakeKiv<CPriority>(this, id, defaultForeColor_, defaultBackColor_, name);
  Append(made);
  const KivResult told = Edited();
  const KivResult r = GiveOut<IKivPriority>(made.Get(), priority);
  return Failed(told) ? told : r;
}

KivResult CPriorities::Remove(int32_t index) {
  if (index < 1 || static_cast<size_t>(index) > priorities_.size()) return DISP_E_BADINDEX;
  const size_t at = static_cast<size_t>(index - 1);
  priorities_[at]->Detach();
  priorities_.erase(priorities_.begin() + static_cast<std::ptrdiff_t>(at));
  byId_.clear();
  for (size_t i = 0; i < priorities_.size(); ++i) byId_[priorities_[i]->Id()] = i;
  return Edited();
}

KivResult CPriorities::SetParentCallback(CPrioritiesParentCallback* parent) {
  parent_ = parent;
  return S_OK;
}

void CPriorities::Clear() {
  for (auto& p : priorities_) p->Detach();
  priorities_.clear();
  byId_.clear();
}

KivResult CPriorities::Reset() {
  if (!priorities_.empty()) return S_OK;
  defaultForeColor_ = kDefaultForeColor;
  defaultBackColor_ = kDefaultBackColor;
  struct Default {
    int32_t id;
    uint32_t fore;
    const char16_t* name;
  };
  static constexpr Default kDefaults[] = {
      {1, 0xC0C0C0, u"debug"}, {2, 0x00CCFF, u"system"}, {3, 0x669933, u"status"}, {4, 0x0000FF, u"error"}};
  for (const auto& d : kDefaults) Append(MakeKiv<CPriority>(this, d.id, d.fore, kDefaultBackColor, d.name));
  return S_OK;
}

KivResult CPriorities::Load(IKivStream* stream) {
  if (!stream) return Reset();
  uint32_t fore = 0;
  uint32_t back = 0;
  std::vector<ComPtr<CPriority>> read;
  const KivResult r = CatchSerialise([&] {
    ExpectVersionZero(stream);
    fore = ReadValue<uint32_t>(stream);
    back = ReadValue<uint32_t>(stream);
    const uint16_t count = ReadValue<uint16_t>(stream);
    std::map<int32_t, bool> seen;
    for (uint16_t i = 0; i < count; ++i) {
      ExpectVersionZero(stream);
      const auto id = ReadValue<int32_t>(stream);
      const auto f = ReadValue<uint32_t>(stream);
      const auto b = ReadValue<uint32_t>(stream);
      std::u16string name = ReadText(stream);
      if (id < 1 || !seen.emplace(id, true).second || read.size() >= kMaximumCount) throw CSerialiseException{};
      read.push_back(MakeKiv<CPriority>(this, id, f, b, std::move(name)));
    }
  });
  if (Failed(r)) {
    for (auto& p : read) p->Detach();
    return r;
  }
  Clear();
  defaultForeColor_ = fore;
  defaultBackColor_ = back;
  for (auto& p : read) Append(std::move(p));
  return S_OK;
}

KivResult CPriorities::Save(IKivStream* stream) {
  return CatchSerialise([&] {
    WriteValue<uint16_t>(stream, 0);
    WriteValue<uint32_t>(stream, defaultForeColor_);
    WriteValue<uint32_t>(stream, defaultBackColor_);
    WriteValue<uint16_t>(stream, static_cast<uint16_t>(priorities_.size()));
    for (const auto& p : priorities_) p->Write(stream);
  });
}

}  // namespace velmar
