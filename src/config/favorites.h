// CFavorites: the user's list of named locations, reported to the root
// through its parent callback. Adding and modifying an item compare
// locations as URLs, which comes with the favourites' persistence; until
// then those two give E_NOTIMPL and the list stays as loaded (empty).
//
// Client thread only.
#pragma once

#include <string>
#include <vector>

#include "core/velmar_parts.h"
#include "velmar/favorites.h"

namespace velmar {

class CFavorites final : public KivObject<IKivFavorites, IKivFavoritesInternal> {
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

 private:
  bool InRange(int32_t index) const { return index >= 1 && static_cast<size_t>(index) <= items_.size(); }

  std::vector<Item> items_;
  CFavoritesParentCallback* parent_ = nullptr;
};

}  // namespace velmar
