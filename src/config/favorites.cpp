#include "config/favorites.h"

namespace velmar {

KivResult CFavorites::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(items_.size());
  return S_OK;
}

KivResult CFavorites::GetItem(int32_t index, std::u16string* display, std::u16string* location) {
  if (!display || !location) return E_POINTER;
  if (!InRange(index)) {
    display->clear();
    location->clear();
    return DISP_E_BADINDEX;
  }
  const Item& item = items_[static_cast<size_t>(index - 1)];
  *display = item.display;
  *location = item.location;
  return S_OK;
}

KivResult CFavorites::Add(const std::u16string&, const std::u16string& location) {
  if (location.empty()) return E_INVALIDARG;
  return E_NOTIMPL;
}

KivResult CFavorites::Remove(int32_t index) {
  if (!InRange(index)) return DISP_E_BADINDEX;
  items_.erase(items_.begin() + (index - 1));
  return parent_ ? parent_->OnFavoritesEdited() : S_OK;
}

KivResult CFavorites::Modify(int32_t index, const std::u16string&, const std::u16string& location) {
  if (!InRange(index)) return DISP_E_BADINDEX;
  if (location.empty()) return E_INVALIDARG;
  return E_NOTIMPL;
}

KivResult CFavorites::SetParentCallback(CFavoritesParentCallback* parent) {
  parent_ = parent;
  return S_OK;
}

}  // namespace velmar
