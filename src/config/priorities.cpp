#include "config/priorities.h"

namespace velmar {

KivResult CPriorities::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(priorities_.size());
  return S_OK;
}

KivResult CPriorities::SetDefault(uint32_t& field, uint32_t colour) {
  if (field == colour) return S_OK;
  field = colour;
  return parent_ ? parent_->OnPrioritiesEdited() : S_OK;
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
  return priorities_[static_cast<size_t>(index - 1)].CopyTo(priority);
}

KivResult CPriorities::GetById(int32_t id, IKivPriority** priority) {
  if (!priority) return E_POINTER;
  *priority = nullptr;
  for (const auto& p : priorities_) {
    int32_t held = 0;
    if (Succeeded(p->GetId(&held)) && held == id) return p.CopyTo(priority);
  }
  return DISP_E_BADINDEX;
}

KivResult CPriorities::GetMaximumCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = kMaximumCount;
  return S_OK;
}

KivResult CPriorities::Add(int32_t, IKivPriority** priority) {
  if (!priority) return E_POINTER;
  *priority = nullptr;
  if (priorities_.size() >= kMaximumCount) return KIV_E_PRIORITIES_FULL;
  return E_NOTIMPL;
}

KivResult CPriorities::Remove(int32_t index) {
  if (index < 1 || static_cast<size_t>(index) > priorities_.size()) return DISP_E_BADINDEX;
  return E_NOTIMPL;
}

KivResult CPriorities::SetParentCallback(CPrioritiesParentCallback* parent) {
  parent_ = parent;
  return S_OK;
}

}  // namespace velmar
