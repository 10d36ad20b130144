// CFavorites: the user's list of named locations ("Favorites"), reported to
// the root through its parent callback. Two items are equal when their
// locations are equal as URLs: letters compared without case, and a
// trailing slash ignored.
//
// Stream: u16 version 0; u32 count; per item u16 version 0, text display,
// text location.
//
// Client thread only.
#pragma once

#include <string>
#include <vector>

#include "core/persisted_object.h"
#include "core/velmar_parts.h"
#include "velmar/favorites.h"

namespace velmar {

// Whether two locations name the same place.
bool SameLocation(const std::u16string& a, const std::u16string& b);

class CFavorites final : public KivObject<IKivFavorites, IKivFavoritesInternal, CPersistedObject> {
 public:
  struct Item {
    std::u16string display;
    std::u16string location;
  };

  KivResult GetCount(int32_t* count) override;
  // A bad index gives DISP_E_BADINDEX and two empty texts.
  KivResult GetItem(int32_t index, std::u16string* display, std::u16string* location) override;
  KivResult Add(const std::u16string& display, const std::u16string& location) override;
  KivResult Remove(int32_t index) override;
  KivResult Modify(int32_t index, const std::u16string& display, const std::u16string& location) override;

  KivResult SetParentCallback(CFavoritesParentCallback* parent) override;

  // CPersistedObject: Reset empties the list.
  KivResult Reset() override;
  KivResult Load(IKivStream* stream) override;
  KivResult Save(IKivStream* stream) override;

 private:
  bool InRange(int32_t index) const { return index >= 1 && static_cast<size_t>(index) <= items_.size(); }
  // The index from 0 of an item at that location other than `except`, or -1.
  ptrdiff_t Find(const std::u16string& location, ptrdiff_t except) const;
  KivResult Edited() { return parent_ ? parent_->OnFavoritesEdited() : S_OK; }

  std::vector<Item> items_;
  CFavoritesParentCallback* parent_ = nullptr;
};

}  // namespace velmar
