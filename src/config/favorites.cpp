#include "config/favorites.h"

#include <algorithm>

namespace velmar {

namespace {

std::u16string_view WithoutTrailingSlash(std::u16string_view s) {
  if (!s.empty() && (s.back() == u'/' || s.back() == u'\\')) s.remove_suffix(1);
  return s;
}

char16_t Lower(char16_t c) { return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c - u'A' + u'a') : c; }

bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char16_t x, char16_t y) { return Lower(x) == Lower(y); });
}

}  // namespace

bool SameLocation(const std::u16string& a, const std::u16string& b) {
  // A null location (stored as an empty text) equals only another.
  if (a.empty() || b.empty()) return a.empty() && b.empty();
  return EqualIgnoringCase(WithoutTrailingSlash(a), WithoutTrailingSlash(b));
}

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

ptrdiff_t CFavorites::Find(const std::u16string& location, ptrdiff_t except) const {
  for (size_t i = 0; i < items_.size(); ++i) {
    if (static_cast<ptrdiff_t>(i) != except && SameLocation(items_[i].location, location)) {
      return static_cast<ptrdiff_t>(i);
    }
  }
  return -1;
}

KivResult CFavorites::Add(const std::u16string& display, const std::u16string& location) {
  if (location.empty()) return E_INVALIDARG;
  if (Find(location, -1) >= 0) return KIV_E_FAVOURITE_EXISTS;
  items_.push_back({display, location});
  return Edited();
}

KivResult CFavorites::Remove(int32_t index) {
  if (!InRange(index)) return DISP_E_BADINDEX;
  items_.erase(items_.begin() + (index - 1));
  return Edited();
}

KivResult CFavorites::Modify(int32_t index, const std::u16string& display, const std::u16string& location) {
  if (!InRange(index)) return DISP_E_BADINDEX;
  if (location.empty()) return E_INVALIDARG;
  const auto at = static_cast<ptrdiff_t>(index - 1);
  Item& item = items_[static_cast<size_t>(at)];
  if (SameLocation(item.location, location) && EqualIgnoringCase(item.display, display)) return S_FALSE;
  if (Find(location, at) >= 0) return KIV_E_FAVOURITE_DUPLICATE;
  item = {display, location};
  return Edited();
}

KivResult CFavorites::SetParentCallback(CFavoritesParentCallback* parent) {
  parent_ = parent;
  return S_OK;
}

KivResult CFavorites::Reset() {
  items_.clear();
  return S_OK;
}

KivResult CFavorites::Load(IKivStream* stream) {
  if (!stream) return Reset();
  std::vector<Item> read;
  const KivResult r = CatchSerialise([&] {
    ExpectVersionZero(stream);
    const auto count = ReadValue<uint32_t>(stream);
    for (uint32_t i = 0; i < count; ++i) {
      ExpectVersionZero(stream);
      Item item;
      item.display = ReadText(stream);
      item.location = ReadText(stream);
      read.push_back(std::move(item));
    }
  });
  if (Failed(r)) return r;
  items_ = std::move(read);
  return S_OK;
}

KivResult CFavorites::Save(IKivStream* stream) {
  return CatchSerialise([&] {
    WriteValue<uint16_t>(stream, 0);
    WriteValue<uint32_t>(stream, static_cast<uint32_t>(items_.size()));
    for (const auto& item : items_) {
      WriteValue<uint16_t>(stream, 0);
      WriteText(stream, item.display);
      WriteText(stream, item.location);
    }
  });
}

}  // namespace velmar
